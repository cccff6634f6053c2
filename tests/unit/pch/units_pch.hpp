// Read once for all unit tests of a group.
#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>
