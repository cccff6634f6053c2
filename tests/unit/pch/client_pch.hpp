// Read once for all of the client's unit tests.
#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>
