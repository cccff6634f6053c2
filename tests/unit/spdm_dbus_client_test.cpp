#include "monitor/spdm_dbus_client.hpp"
#include "private_bus.hpp"

#include <gtest/gtest.h>
#include <systemd/sd-bus.h>

#include <chrono>
#include <csignal>
#include <cstdint>
#include <dlfcn.h>
#include <new>
#include <thread>

namespace
{
bool monitor_cannot_wait = false;
}

/// Replaces the bus library's function, also for the library itself. If the test says so, the monitor's wait of a
/// millisecond fails with something other than a bus error.
extern "C" int sd_bus_wait(sd_bus* connection, std::uint64_t microseconds)
{
    if (monitor_cannot_wait && microseconds == 1000)
    {
        throw std::bad_alloc{};
    }
    static const auto next =
        reinterpret_cast<decltype(&sd_bus_wait)>(dlsym(RTLD_NEXT, "sd_bus_wait"));
    return next(connection, microseconds);
}

namespace
{

void monitor_for_a_while()
{
    monitor_cannot_wait = true;
    const PrivateBus daemon;
    spdm_dbus_client monitor;
    monitor.start_monitor();
    std::this_thread::sleep_for(std::chrono::seconds{30});
    monitor.stop_monitor();
}

TEST(Monitor, EndsTheProcessAtWhatIsNoBusError)
{
    EXPECT_EXIT(monitor_for_a_while(), testing::KilledBySignal(SIGABRT), "std::bad_alloc");
}

void destroy_at_work()
{
    const PrivateBus daemon;
    spdm_dbus_client monitor;
    monitor.start_monitor();
}

TEST(Monitor, EndsTheProcessWhenDestroyedAtWork)
{
    EXPECT_EXIT(destroy_at_work(), testing::KilledBySignal(SIGABRT), "without an active exception");
}

} // namespace
