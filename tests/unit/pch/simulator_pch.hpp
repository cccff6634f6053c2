// Read once for all of the simulator's unit tests.
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
