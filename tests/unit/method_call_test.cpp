// The order of an operation's steps, and its readings of the clock: wrappers of the functions of the bus library and
// of the C library record each step, then call the real function.

#include "another_bus_error.hpp"
#include "name_of.hpp"
#include "operations/certificates.hpp"
#include "operations/measurements.hpp"
#include "operations/properties.hpp"
#include "operations/signed_measurements.hpp"
#include "private_bus.hpp"
#include "raw_bus.hpp"
#include "recorded_console.hpp"
#include "shell/discovery.hpp"
#include "stand_in.hpp"
#include "suites/comprehensive_suite.hpp"
#include "suites/service_availability.hpp"

#include <gtest/gtest.h>
#include <sdbusplus/exception.hpp>

#include <cerrno>
#include <dlfcn.h>
#include <functional>
#include <stdexcept>
#include <string>
#include <time.h>
#include <utility>
#include <vector>

namespace
{

/// The steps of the test's thread since a call was created; repetitions of a step count once.
using Steps = std::vector<std::string>;
thread_local Steps* steps = nullptr;

/// Replaces the exchange, if set.
thread_local std::function<void()> failure;

/// Readings of the system clock in nanoseconds, in their order.
thread_local std::vector<long> readings;

void note(const std::string& step)
{
    if (steps != nullptr && (steps->empty() || steps->back() != step))
    {
        steps->push_back(step);
    }
}

template <typename Function>
Function* next(const char* name)
{
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

} // namespace

extern "C" int clock_gettime(clockid_t clock, timespec* time) noexcept
{
    static const auto real = next<int(clockid_t, timespec*)>("clock_gettime");
    if (clock != CLOCK_REALTIME || steps == nullptr || readings.empty())
    {
        return real(clock, time);
    }
    note("clock");
    *time = {1'000'000, readings.front()};
    readings.erase(readings.begin());
    return 0;
}

extern "C" int sd_bus_message_new_method_call(sd_bus* connection, sd_bus_message** call,
                                              const char* destination, const char* path,
                                              const char* interface, const char* member)
{
    static const auto real =
        next<decltype(sd_bus_message_new_method_call)>("sd_bus_message_new_method_call");
    if (steps != nullptr)
    {
        *steps = {"create"};
    }
    return real(connection, call, destination, path, interface, member);
}

extern "C" int sd_bus_message_append_basic(sd_bus_message* message, char type, const void* value)
{
    static const auto real =
        next<decltype(sd_bus_message_append_basic)>("sd_bus_message_append_basic");
    note("append");
    return real(message, type, value);
}

extern "C" int sd_bus_call(sd_bus* connection, sd_bus_message* call, std::uint64_t timeout,
                           sd_bus_error* error, sd_bus_message** reply)
{
    static const auto real = next<decltype(sd_bus_call)>("sd_bus_call");
    note("call");
    if (failure)
    {
        failure();
    }
    return real(connection, call, timeout, error, reply);
}

extern "C" int sd_bus_message_read_basic(sd_bus_message* message, char type, void* value)
{
    static const auto real = next<decltype(sd_bus_message_read_basic)>("sd_bus_message_read_basic");
    note("read");
    return real(message, type, value);
}

namespace
{

constexpr Eid eid = 12;

struct Operation
{
    std::string name;
    int (*run)();
    Answers answers;
    std::string steps;
    /// The last line printed when the exchange raises a standard exception other than a bus error.
    std::string complaint;
    /// The same for a bus error, if it is another line.
    std::string bus_complaint = {};
};

std::ostream& operator<<(std::ostream& out, const Operation& operation)
{
    return out << operation.name;
}

class MethodCallSteps : public testing::TestWithParam<Operation>
{
  protected:
    MethodCallSteps()
    {
        discovered_objects = {{eid, "/com/varn/bmc/spdm/spdm/cpu/cpu_12"}};
        steps = &done;
    }

    ~MethodCallSteps() override
    {
        steps = nullptr;
        failure = nullptr;
        readings.clear();
        discovered_objects.clear();
        std::cout << std::noboolalpha;
    }

    /// Runs the operation with these readings of the clock; returns the microseconds that it prints.
    std::string printed_time(std::vector<long> nanoseconds)
    {
        readings = std::move(nanoseconds);
        const RecordedConsole console{[] { note("print"); }};
        GetParam().run();
        EXPECT_EQ(readings.size(), 0U) << "the clock is read twice";
        return number_after(console.flushed(), "us): ");
    }

    static std::string number_after(const std::vector<std::string>& lines, const std::string& label)
    {
        for (const auto& line : lines)
        {
            const auto place = line.find(label);
            if (place != std::string::npos)
            {
                const auto number = place + label.size();
                return line.substr(number, line.find('\n', number) - number);
            }
        }
        return "no time";
    }

    PrivateBus daemon;
    Steps done;
};

TEST_P(MethodCallSteps, AreTakenInTheirOrder)
{
    const StandIn service{GetParam().answers};
    printed_time({0, 0});
    std::string all;
    for (const auto& step : done)
    {
        all += (all.empty() ? "" : " ") + step;
    }
    EXPECT_EQ(all, GetParam().steps);
}

TEST_P(MethodCallSteps, TakeTheTimeOfTheSystemClockInWholeMicroseconds)
{
    const StandIn service{GetParam().answers};
    EXPECT_EQ(printed_time({5000, 6999}), "1");
    EXPECT_EQ(printed_time({5000, 5999}), "0");
    EXPECT_EQ(printed_time({6999, 5000}), "-1") << "the clock was set back";
}

TEST_P(MethodCallSteps, FailAtAnyStandardException)
{
    failure = [] { throw std::runtime_error("no bus error"); };
    const RecordedConsole console;
    EXPECT_EQ(GetParam().run(), 1);
    ASSERT_FALSE(console.flushed().empty());
    EXPECT_EQ(console.flushed().back(), GetParam().complaint);
}

TEST_P(MethodCallSteps, FailAtAnyBusError)
{
    failure = [] { throw AnotherBusError{}; };
    const RecordedConsole console;
    EXPECT_EQ(GetParam().run(), 1);
    const auto& complaint =
        GetParam().bus_complaint.empty() ? GetParam().complaint : GetParam().bus_complaint;
    ASSERT_FALSE(console.flushed().empty());
    EXPECT_EQ(console.flushed().back(), complaint);
}

TEST_P(MethodCallSteps, LetWhatIsNoStandardExceptionPass)
{
    failure = [] { throw 1; };
    const RecordedConsole console;
    EXPECT_THROW(GetParam().run(), int);
}

/// The calls that the suites make besides the operations.
class CallOfTheSuites : public testing::Test
{
  protected:
    CallOfTheSuites()
    {
        discovered_objects = {{eid, "/com/varn/bmc/spdm/spdm/cpu/cpu_12"}};
    }

    ~CallOfTheSuites() override
    {
        failure = nullptr;
        discovered_objects.clear();
    }

    /// Whether this comes among the lines that `run` prints.
    static bool prints(const std::string& part, void (*run)())
    {
        const RecordedConsole console;
        run();
        return console.lines().find(part) != std::string::npos;
    }

    PrivateBus daemon;
};

void check_availability()
{
    EXPECT_EQ(check_service_availability(eid), 0);
}

/// The availability check explains it as the measurements do.
TEST_F(CallOfTheSuites, TakesAnyBusErrorForOne)
{
    failure = [] { throw AnotherBusError{}; };
    EXPECT_TRUE(prints("✗ FAIL: SPDM service communication failed.", check_availability));
}

TEST_F(CallOfTheSuites, OfTheAvailabilityCheckFailsAtAnyStandardException)
{
    failure = [] { throw std::runtime_error("no bus error"); };
    EXPECT_TRUE(prints("✗ FAIL: Unexpected error occurred during service availability check.\n",
                       check_availability));
}

TEST_F(CallOfTheSuites, ForTheNamesOwnerFailsAtAnyStandardException)
{
    failure = [first = true]() mutable {
        if (std::exchange(first, false))
        {
            throw AnotherBusError{};
        }
        throw std::runtime_error("no bus error");
    };
    EXPECT_TRUE(prints("? WARNING: Could not check SPDM service status\n", check_availability));
}

TEST_F(CallOfTheSuites, ForTheDescriptorFailsAtAnyStandardException)
{
    failure = [] { throw std::runtime_error("no bus error"); };
    EXPECT_TRUE(
        prints("WARNING: Failed to get device properties. Check service availability.\n\n===",
               [] { run_comprehensive_test_suite(eid); }));
}

INSTANTIATE_TEST_SUITE_P(
    Operations, MethodCallSteps,
    testing::Values(
        Operation{
            "ReAuthenticate",
            [] { return ReAuthenticate(eid); },
            {{"ReAuthenticate", reply("u", 1U)}},
            "create clock call read clock print",
            "ERROR: Re-authentication operation failed. Check device authentication status.\n",
        },
        Operation{
            "GetCertificate",
            [] { return GetCertificate(eid, 0); },
            {{"GetCertificate", reply("qs", 0, "/tmp/chain.pem")}},
            "create append clock call read clock print",
            "ERROR: Certificate operation failed. Check device connectivity and slot availability.\n",
        },
        Operation{
            "GetCertificateProperties",
            [] { return GetCertificateProperties(eid, 0); },
            {{"GetCertificateProperties", reply("u", 0U)}},
            "create append clock call read clock print",
            "ERROR: Certificate properties operation failed. Check slot availability.\n",
        },
        Operation{
            "GetAll",
            [] { return show_properties(eid); },
            {{"GetAll", reply("a{sv}", 1, "ChallengeStatus", "u", 1U)}},
            "create append clock call read clock print",
            "ERROR: Failed to retrieve SPDM properties. Check device connectivity.\n",
        },
        Operation{
            "GetMeasurement",
            [] { return get_measurement(eid, 0, {255}); },
            {{"GetMeasurement", reply("qqa(qayuq)", 0, 1, 1, 3, 1, 0xa0, 4U, 2)}},
            "create append clock print call print read print read print read print clock print",
            "GENERIC ERROR: Measurement operation failed. Check device configuration.\n",
            "  4. Device does not support measurement operations\n",
        },
        Operation{
            "GetSignedMeasurement",
            [] { return get_signed_measurement(eid, {255}, 0, ""); },
            {{"GetSignedMeasurement", reply("ussss", 0U, "", "SHA-512", "ED25519", "1.2")}},
            "create append clock print call print read print read print clock print",
            "GENERIC ERROR: Signed measurement operation failed. Check device configuration.\n",
            "  4. Device does not support signed measurement operations\n",
        }),
    name_of);

} // namespace
