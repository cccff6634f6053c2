#include "monitor/service_signal_handlers.hpp"
#include "private_bus.hpp"
#include "raw_bus.hpp"
#include "recorded_console.hpp"
#include "shell/discovery.hpp"

#include <gtest/gtest.h>

#include <map>
#include <string>

namespace
{

constexpr auto removed_path = "/com/varn/bmc/spdm/spdm/cpu/cpu_12";
constexpr auto path_kept = "/com/varn/bmc/spdm/spdm/cpu/cpu_2";

/// The signal that the device at `removed_path` went away.
RawMessage interfaces_removed(sd_bus* connection)
{
    sd_bus_message* created = nullptr;
    require(sd_bus_message_new_signal(connection, &created, "/com/varn/bmc/spdm/spdm/cpu",
                                      "org.freedesktop.DBus.ObjectManager", "InterfacesRemoved"));
    RawMessage signal{created};
    require(sd_bus_message_append(signal.get(), "oas", removed_path, 0));
    require(sd_bus_message_seal(signal.get(), 1, 0));
    return signal;
}

TEST(InterfacesRemoved, ForgetsTheLowestEidOfThePathAlone)
{
    const PrivateBus daemon;
    const auto connection = open_raw_bus();
    const auto raw = interfaces_removed(connection.get());
    sdbusplus::message_t signal{raw.get()};
    discovered_objects = {
        {1, path_kept}, {3, removed_path}, {12, removed_path}, {65535, removed_path}};

    const RecordedConsole console;
    handle_interfaces_removed(signal);
    EXPECT_EQ(discovered_objects, (std::map<Eid, std::string>{
                                      {1, path_kept}, {12, removed_path}, {65535, removed_path}}));
    EXPECT_EQ(console.lines(), "Received Interface Removed  Signal.\n"
                               "Object removed:/com/varn/bmc/spdm/spdm/cpu/cpu_12\n"
                               "Interface Removed handler is completed.\n");
    discovered_objects.clear();
}

} // namespace
