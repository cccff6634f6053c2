#include "another_bus_error.hpp"
#include "monitor/spdm_dbus_client.hpp"
#include "private_bus.hpp"
#include "raw_bus.hpp"
#include "recorded_console.hpp"

#include <gtest/gtest.h>
#include <sdbusplus/exception.hpp>
#include <systemd/sd-bus.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <dlfcn.h>
#include <functional>
#include <new>
#include <string>
#include <thread>

namespace
{

constexpr std::chrono::seconds deadline{20};

/// Happens before each wait of the monitor.
std::function<void()> before_wait;

/// The steps of the monitor's loop from its first wait on: 'w' for a wait, 'p' for processing, 'P' where that
/// did something.
std::string steps;

/// How many of them are 'w' and 'P', for other threads.
std::atomic<int> waits = 0;
std::atomic<int> processed = 0;

/// Holds std::thread's constructor up, once the thread is there.
std::function<void()> hold_up;

template <typename Function>
Function* next(const char* name)
{
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

void wait_until(const std::function<bool()>& condition)
{
    const auto end = std::chrono::steady_clock::now() + deadline;
    while (!condition() && std::chrono::steady_clock::now() < end)
    {
        std::this_thread::sleep_for(std::chrono::milliseconds{1});
    }
}

} // namespace

// Replace functions of the bus library and of the C++ library, also for those libraries, and call them.

/// The bus library waits, too, but never for a millisecond.
extern "C" int sd_bus_wait(sd_bus* connection, std::uint64_t microseconds)
{
    static const auto real = next<decltype(sd_bus_wait)>("sd_bus_wait");
    if (microseconds == 1000)
    {
        if (before_wait)
        {
            before_wait();
        }
        steps += 'w';
        ++waits;
    }
    return real(connection, microseconds);
}

/// The bus library calls it, too, to set a connection up.
extern "C" int sd_bus_process(sd_bus* connection, sd_bus_message** message)
{
    static const auto real = next<decltype(sd_bus_process)>("sd_bus_process");
    const int result = real(connection, message);
    if (waits > 0)
    {
        steps += result > 0 ? 'P' : 'p';
        processed += result > 0 ? 1 : 0;
    }
    return result;
}

/// std::thread's constructor.
extern "C" void start_thread(void* thread, void* state, void (*depend)()) asm(
    "_ZNSt6thread15_M_start_threadESt10unique_ptrINS_6_StateESt14default_deleteIS1_EEPFvvE");

extern "C" void start_thread(void* thread, void* state, void (*depend)())
{
    static const auto real = next<decltype(start_thread)>(
        "_ZNSt6thread15_M_start_threadESt10unique_ptrINS_6_StateESt14default_deleteIS1_EEPFvvE");
    real(thread, state, depend);
    if (hold_up)
    {
        hold_up();
    }
}

namespace
{

class Monitor : public testing::Test
{
  protected:
    Monitor()
    {
        steps.clear();
        waits = 0;
        processed = 0;
    }

    ~Monitor() override
    {
        before_wait = nullptr;
        hold_up = nullptr;
    }

    const PrivateBus daemon;
};

void send_info(sd_bus* connection)
{
    require(sd_bus_emit_signal(connection, "/com/varn/bmc/spdm/spdm/info",
                               "com.varn.bmc.spdm.spdmInfo", "Info", "q", 1));
}

TEST_F(Monitor, HandlesOneMessageAndWaitsOnceATurn)
{
    constexpr int signals = 50;
    const auto sender = open_raw_bus();
    const RecordedConsole console;
    spdm_dbus_client monitor;
    // All are on their way before the first turn ends.
    before_wait = [&] {
        for (int sent = 0; waits == 0 && sent < signals; ++sent)
        {
            send_info(sender.get());
        }
        require(sd_bus_flush(sender.get()));
    };
    monitor.start_monitor();
    wait_until([] { return processed >= signals; });
    monitor.stop_monitor();
    EXPECT_GE(processed, signals);
    for (std::size_t place = 0; place < steps.size(); ++place)
    {
        ASSERT_EQ(steps[place] == 'w', place % 2 == 0) << steps;
    }
}

TEST_F(Monitor, RunsOnIfItsThreadIsQuickerThanItsStarter)
{
    spdm_dbus_client monitor;
    hold_up = [] { wait_until([] { return waits > 0; }); };
    monitor.start_monitor();
    EXPECT_GT(waits, 0) << "the thread has ended at its first turn";
    monitor.stop_monitor();
}

TEST_F(Monitor, EndsAtAnyBusError)
{
    const RecordedConsole console;
    spdm_dbus_client monitor;
    std::atomic<bool> failed = false;
    before_wait = [&failed] {
        failed = true;
        throw AnotherBusError{};
    };
    monitor.start_monitor();
    wait_until([&failed] { return failed.load(); });
    monitor.stop_monitor();
    EXPECT_EQ(console.lines(), "Something went wrong :test.Error.Another: another bus error\n");
}

void monitor_without_memory()
{
    before_wait = [] { throw std::bad_alloc{}; };
    const PrivateBus daemon;
    spdm_dbus_client monitor;
    monitor.start_monitor();
    std::this_thread::sleep_for(std::chrono::seconds{30});
    monitor.stop_monitor();
}

TEST(MonitorDeathTest, EndsTheProcessAtWhatIsNoBusError)
{
    EXPECT_EXIT(monitor_without_memory(), testing::KilledBySignal(SIGABRT), "std::bad_alloc");
}

void destroy_at_work()
{
    const PrivateBus daemon;
    spdm_dbus_client monitor;
    monitor.start_monitor();
}

TEST(MonitorDeathTest, EndsTheProcessWhenDestroyedAtWork)
{
    EXPECT_EXIT(destroy_at_work(), testing::KilledBySignal(SIGABRT), "without an active exception");
}

} // namespace
