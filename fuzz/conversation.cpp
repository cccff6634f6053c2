// Input: what is typed, up to a NUL; then what support/stubbed_service.cpp makes the service's answers and
// signals of.

#include "fuzz/support/expected_eid.hpp"
#include "fuzz/support/require.hpp"
#include "fuzz/support/stream_format.hpp"
#include "fuzz/support/stubbed_service.hpp"
#include "monitor/device_subscriptions.hpp"
#include "shell/discovery.hpp"
#include "shell/menus.hpp"
#include "shell/service_contract.hpp"

#include <algorithm>
#include <cstdint>
#include <iostream>
#include <map>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <streambuf>
#include <string>
#include <string_view>
#include <thread>

/// stop_monitor leaves the joined thread's object allocated, on purpose.
extern "C" const char* __lsan_default_suppressions()
{
    return "leak:spdm_dbus_client::start_monitor\n";
}

namespace
{

/// Ends a conversation that would go on without end. Nothing in the client catches it.
struct EndOfRun
{
};

constexpr std::string_view main_menu_end = "\n4: Exit \nPlease Choose the option:\n";
constexpr std::string_view operations_menu_end = "\n9: Go Back \nPlease Choose the option:\n";
constexpr std::string_view monitor_prompt = "Press -1 to stop monitoring\n";

/// Whether the main thread is in the monitor's input loop.
bool monitoring = false;

/// What the client prints, up to a bound.
class Console : public std::streambuf
{
  public:
    std::string text;

  protected:
    int_type overflow(int_type character) override
    {
        const char text = traits_type::to_char_type(character);
        xsputn(&text, 1);
        return character;
    }

    std::streamsize xsputn(const char* characters, std::streamsize count) override
    {
        const std::lock_guard lock{mutex};
        text.append(characters, static_cast<std::size_t>(count));
        is_news = is_news || is_main_thread();
        return count;
    }

    int sync() override
    {
        // Reading flushes as well, while the monitor prints.
        if (is_main_thread() && is_news)
        {
            is_news = false;
            look_at_text();
        }
        return 0;
    }

  private:
    void look_at_text()
    {
        const std::lock_guard lock{mutex};
        monitoring = text.ends_with(monitor_prompt);
        // The operations menu repeats without end once input is over, and the monitor waits without end.
        menus_after_input += !std::cin.good() && text.ends_with(operations_menu_end);
        if (text.size() > most_text || menus_after_input > 2 || (monitoring && !std::cin.good()))
        {
            throw EndOfRun{};
        }
        if (monitoring)
        {
            expect_monitor();
        }
    }

    static constexpr std::size_t most_text = 1 << 16;

    std::mutex mutex;
    /// Whether the main thread has printed since its last flush.
    bool is_news = false;
    unsigned menus_after_input = 0;
};

/// The operator, who types the fuzzer's bytes, but stops the monitor before an answer (or the end of input)
/// that would leave the client waiting without end, and leaves the keyboard then.
class Keyboard : public std::streambuf
{
  public:
    explicit Keyboard(std::string_view input) : rest(input) {}

  protected:
    int_type underflow() override
    {
        if (monitoring && (at_line_start || !was_monitoring))
        {
            await_quiet_monitor();
            stop_monitor_in_time();
            at_line_start = false;
        }
        was_monitoring = monitoring;
        return rest.empty() ? traits_type::eof() : traits_type::to_int_type(rest.front());
    }

    int_type uflow() override
    {
        const auto character = underflow();
        if (!rest.empty())
        {
            at_line_start = rest.front() == '\n';
            rest.remove_prefix(1);
        }
        return character;
    }

  private:
    void stop_monitor_in_time()
    {
        if (!is_answer_that_goes_on())
        {
            rest = "-1\n";
        }
    }

    /// A number, and behind all but -1 a line end.
    bool is_answer_that_goes_on() const
    {
        const auto start = std::min(rest.find_first_not_of(" \t\n\v\f\r"), rest.size());
        const auto answer = rest.substr(start);
        const bool has_sign = answer.starts_with('-') || answer.starts_with('+');
        const auto digits = answer.substr(has_sign ? 1 : 0);
        const auto count = std::min(digits.find_first_not_of("0123456789"), digits.size());
        const auto value = value_of(digits.substr(0, count));
        if (count == 0 || value > INT32_MAX + std::int64_t{answer.starts_with('-')})
        {
            return false;
        }
        return (value == 1 && answer.starts_with('-')) ||
               answer.find('\n') != std::string_view::npos;
    }

    static std::int64_t value_of(std::string_view digits)
    {
        std::int64_t value = 0;
        for (const char digit : digits)
        {
            value = std::min<std::int64_t>(value * 10 + (digit - '0'), INT64_C(1) << 40);
        }
        return value;
    }

    std::string_view rest;
    bool at_line_start = true;
    bool was_monitoring = false;
};

/// The standard streams at these buffers, and as new, for as long as it lives. What a buffer throws passes
/// through them.
class RedirectedStreams
{
  public:
    RedirectedStreams(Keyboard& keyboard, Console& console)
        : input(std::cin.rdbuf(&keyboard)),
          output(std::cout.rdbuf(&console)),
          error(std::cerr.rdbuf(nullptr))
    {
        std::cin.exceptions(std::ios_base::badbit);
        std::cout.exceptions(std::ios_base::badbit);
    }

    ~RedirectedStreams()
    {
        std::cin.exceptions(std::ios_base::goodbit);
        std::cout.exceptions(std::ios_base::goodbit);
        std::cin.rdbuf(input);
        std::cout.rdbuf(output);
        std::cerr.rdbuf(error);
        std::cout.unsetf(std::ios_base::boolalpha);
    }

    RedirectedStreams(const RedirectedStreams&) = delete;
    RedirectedStreams& operator=(const RedirectedStreams&) = delete;

  private:
    std::streambuf* input;
    std::streambuf* output;
    std::streambuf* error;
};

using Devices = std::map<std::uint16_t, std::string>;

/// What discovery makes of an object tree.
struct Discovery
{
    Devices devices;
    bool complete = true;
};

Discovery expected_discovery(const DbusValue& tree)
{
    std::vector<std::string> paths;
    for (const auto& object : tree.members)
    {
        paths.push_back(object.members.front().text);
    }
    std::sort(paths.begin(), paths.end());
    Discovery discovery;
    for (const auto& path : paths)
    {
        try
        {
            if (const auto eid = expected_eid(path))
            {
                discovery.devices[*eid] = path;
            }
        }
        catch (const std::out_of_range&)
        {
            discovery.complete = false;
            break;
        }
    }
    return discovery;
}

void discover()
{
    const int result = discover_devices(ServiceContract::DEVICE_MANAGER_PATH);
    const auto& tree = told_object_tree();
    const auto expected = tree ? expected_discovery(*tree) : Discovery{{}, false};
    require(discovered_objects == expected.devices, "the devices are those of the object tree");
    require(result == (expected.complete ? 0 : -1), "the verdict is that of the object tree");
}

/// Whether the conversation came to its end.
bool converse()
try
{
    discover();
    run_main_menu();
    return true;
}
catch (const EndOfRun&)
{
    return false;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string_view input{reinterpret_cast<const char*>(data), size};
    const auto typed = input.substr(0, input.find('\0'));
    start_service({data + std::min(typed.size() + 1, size), data + size});
    monitoring = false;
    discovered_objects.clear();
    device_subscriptions.clear();

    Keyboard keyboard{typed};
    Console console;
    const RedirectedStreams streams{keyboard, console};
    const bool ended = converse();
    require_plain_format(std::cout, std::ios_base::boolalpha);
    require(!ended || console.text.ends_with(main_menu_end), "nothing follows the last menu");
    require(slept_milliseconds() % 100 == 0, "pauses are of a second and of a tenth");
    return 0;
}
