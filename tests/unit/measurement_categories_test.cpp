#include "recorded_console.hpp"
#include "shell/discovery.hpp"
#include "suites/measurement_categories.hpp"

#include <gtest/gtest.h>

#include <string>

namespace
{

/// No device reports these, as slots are 0 to 7.
SlotList slots_8_and_255(Eid)
{
    return {8, 255};
}

TEST(FailureTests, SkipSlotsThatAreSupported)
{
    ASSERT_TRUE(discovered_objects.empty()); // so that every call fails at once
    const RecordedConsole console;
    const auto result = run_failure_tests(12, slots_8_and_255);
    const auto printed = console.lines();
    // With the line end before it: a line that was not flushed alone has a mark in between.
    const auto skipped_8 = printed.find("\nℹ INFO: Skipping slot 8 as it is actually supported\n");
    const auto tested_15 = printed.find("Testing with invalid slot 15:\n");
    const auto skipped_255 =
        printed.find("\nℹ INFO: Skipping slot 255 as it is actually supported\n");
    EXPECT_LT(skipped_8, tested_15) << printed;
    EXPECT_LT(tested_15, skipped_255) << printed;
    EXPECT_LT(skipped_255, printed.size()) << printed;
    EXPECT_EQ(printed.find("Testing with invalid slot 8:"), std::string::npos) << printed;
    EXPECT_EQ(printed.find("Testing with invalid slot 255:"), std::string::npos) << printed;
    EXPECT_EQ(result.total, 5U); // three indices, the unsupported slot 0, slot 15
    EXPECT_EQ(result.passed, 5U);
}

} // namespace
