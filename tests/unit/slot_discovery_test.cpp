#include "recorded_console.hpp"
#include "shell/discovery.hpp"
#include "suites/slot_discovery.hpp"

#include <gtest/gtest.h>

namespace
{

TEST(SlotDiscovery, OfAnUnknownDeviceFindsNothing)
{
    const RecordedConsole console;
    const auto slots = get_supported_slots(12);
    EXPECT_EQ(console.lines(), "Object name not found.\n");
    EXPECT_EQ(slots, SlotList{});
    EXPECT_TRUE(discovered_objects.empty());
}

} // namespace
