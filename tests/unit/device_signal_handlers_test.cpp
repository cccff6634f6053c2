#include "monitor/device_signal_handlers.hpp"
#include "private_bus.hpp"
#include "raw_bus.hpp"
#include "recorded_console.hpp"
#include "shell/discovery.hpp"

#include <gtest/gtest.h>

namespace
{

constexpr auto path = "/com/varn/bmc/spdm/spdm/cpu/cpu_12";

/// The signal that the device at `path` has met error 5.
RawMessage device_error(sd_bus* connection)
{
    sd_bus_message* created = nullptr;
    require(sd_bus_message_new_signal(connection, &created, path, "com.varn.bmc.spdm.spdm",
                                      "DeviceError"));
    RawMessage signal{created};
    require(sd_bus_message_append(signal.get(), "q", 5));
    require(sd_bus_message_seal(signal.get(), 1, 0));
    return signal;
}

TEST(DeviceError, NamesEveryEidOfItsPath)
{
    const PrivateBus daemon;
    const auto connection = open_raw_bus();
    const auto raw = device_error(connection.get());
    sdbusplus::message_t signal{raw.get()};
    discovered_objects = {{3, path}, {12, "/com/varn/bmc/spdm/spdm/cpu/cpu_2"}, {65535, path}};

    const RecordedConsole console;
    handle_device_error(signal);
    EXPECT_EQ(console.lines(), "Received Error Signal for EID: 3\n"
                               "Received Error Signal for EID: 65535\n"
                               "Error: 5\n"
                               "Error handler is completed.\n");
    discovered_objects.clear();
}

} // namespace
