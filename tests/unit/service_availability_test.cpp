#include "recorded_console.hpp"
#include "shell/discovery.hpp"
#include "suites/service_availability.hpp"

#include <gtest/gtest.h>

#include <string>

namespace
{

class UnknownDevice : public testing::TestWithParam<Eid>
{
};

/// Any call would print its result, so the text also proves that none is made.
TEST_P(UnknownDevice, IsNotAvailable)
{
    const RecordedConsole console;
    const auto available = check_service_availability(GetParam());
    EXPECT_EQ(console.lines(), "\n=== Checking SPDM Service Availability ===\n"
                               "✗ FAIL: Device EID " +
                                   std::to_string(GetParam()) + " not found in device list\n");
    EXPECT_EQ(available, 0);
    EXPECT_TRUE(discovered_objects.empty());
}

INSTANTIATE_TEST_SUITE_P(Eids, UnknownDevice, testing::Values<Eid>(0, 12, 65535));

} // namespace
