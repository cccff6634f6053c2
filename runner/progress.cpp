#include "runner/progress.hpp"

#include "report/reader/devices.hpp"
#include "report/reader/fields.hpp"
#include "report/writers/display_text.hpp"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <unistd.h>

namespace runner
{

namespace
{

using report::Shape;

/// The tests of a device with so many slots, as its suite runs them.
std::size_t tests_of(std::size_t slots)
{
    constexpr std::size_t failure_tests = 7;
    constexpr std::size_t stress_tests = 20;
    constexpr std::size_t tests_a_slot = 4 + 4 + 3; // normal, signed, stress
    return failure_tests + (slots == 0 ? 0 : stress_tests + tests_a_slot * slots);
}

/// "1:05" or "1:01:05"
std::string clock_text(std::chrono::seconds time)
{
    const auto two_digits = [](std::int64_t number) {
        return std::to_string(100 + number).substr(1);
    };
    const auto seconds = time.count();
    const auto hours = seconds / 3600;
    const auto minutes = seconds / 60 % 60;
    return (hours == 0 ? std::to_string(minutes)
                       : std::to_string(hours) + ":" + two_digits(minutes)) +
           ":" + two_digits(seconds % 60);
}

/// The part of the tests of the device, and of the devices, that is done.
double part_done(const Position& position)
{
    if (position.devices == 0 || position.device == 0)
    {
        return 0;
    }
    const double of_device = position.expected == 0
                                 ? 0
                                 : std::min(1.0, static_cast<double>(position.tests) /
                                                     static_cast<double>(position.expected));
    return (static_cast<double>(position.device - 1) + of_device) /
           static_cast<double>(position.devices);
}

std::string device_text(const Position& position)
{
    return "device " + std::to_string(position.device) +
           (position.devices == 0 ? "" : " of " + std::to_string(position.devices)) +
           (position.eid ? " (EID " + std::to_string(*position.eid) + ")" : "");
}

} // namespace

PositionReader::PositionReader(std::size_t devices)
{
    now.devices = devices;
}

void PositionReader::take(std::string_view output)
{
    splitter.feed(output, [this](std::string_view text, std::uint64_t) {
        bool ignored = false;
        line(report::without_prompts(text, ignored));
    });
}

void PositionReader::line(std::string_view text)
{
    const auto [shape, rest] = report::recognise(text);
    switch (shape)
    {
        case Shape::device_section: device_section(rest); break;
        case Shape::device_selected: begin_device(report::number_in<std::uint16_t>(rest)); break;
        case Shape::regression_device: begin_device(report::eid_of_path(rest)); break;
        case Shape::normal_begins: now.category = "Normal Measurements"; break;
        case Shape::signed_tests_begin: now.category = "Signed Measurements"; break;
        case Shape::failure_begins: now.category = "Failure Tests"; break;
        case Shape::stress_begins: now.category = "Stress Tests"; break;
        case Shape::suite_done: now.category = {}; break;
        case Shape::slots:
            now.expected =
                tests_of(static_cast<std::size_t>(std::count(rest.begin(), rest.end(), ',')) + 1);
            break;
        case Shape::slots_none: now.expected = tests_of(0); break;
        case Shape::passed_single:
        case Shape::failed_single:
        case Shape::passed_multiple:
        case Shape::failed_multiple:
        case Shape::passed_all:
        case Shape::failed_all:
        case Shape::passed_invalid_index:
        case Shape::warned_invalid_index:
        case Shape::passed_invalid_slot:
        case Shape::warned_invalid_slot:
        case Shape::passed_signed:
        case Shape::failed_signed: ++now.tests; break;
        case Shape::monitor_begins: now.monitoring = true; break;
        case Shape::interface_added:
        case Shape::interface_removed:
        case Shape::info_received:
        case Shape::device_error_eid:
        case Shape::progress_received:
        case Shape::properties_changed: ++now.signals; break;
        default: break;
    }
}

void PositionReader::begin_device(std::optional<std::uint16_t> eid)
{
    now.device = std::min(now.device + 1, now.devices == 0 ? now.device + 1 : now.devices);
    now.eid = eid;
    now.category = {};
    now.tests = 0;
    now.expected = 0;
}

/// "3/7: EID 12"
void PositionReader::device_section(std::string_view text)
{
    const auto number = report::take_number<std::size_t>(text);
    const bool slash = report::take(text, "/");
    const auto count = report::take_number<std::size_t>(text);
    if (!number || !slash || !count || !report::take(text, ": EID ") || *number == 0 ||
        *number > *count)
    {
        return;
    }
    now.devices = *count;
    now.device = *number - 1;
    begin_device(report::number_in<std::uint16_t>(text));
}

std::string progress_text(const Position& position, std::chrono::seconds elapsed)
{
    if (position.monitoring)
    {
        return "monitoring, " + std::to_string(position.signals) +
               (position.signals == 1 ? " signal, " : " signals, ") + clock_text(elapsed);
    }
    if (position.device == 0)
    {
        return "starting, " + clock_text(elapsed);
    }
    std::string text = device_text(position);
    if (!position.category.empty())
    {
        text.append(", ").append(position.category);
    }
    if (position.expected != 0)
    {
        text += ", " + std::to_string(position.tests) + " of " + std::to_string(position.expected) +
                " tests";
    }
    text += ", " + clock_text(elapsed);
    const auto part = part_done(position);
    if (part > 0)
    {
        const auto rest = static_cast<double>(elapsed.count()) * (1 - part) / part;
        constexpr double longest = 1e6; // Longer is no estimate.
        text += rest > longest
                    ? ""
                    : ", about " + clock_text(std::chrono::seconds(std::llround(rest))) + " left";
    }
    return text;
}

Progress::Progress(std::size_t devices, bool quiet) : reader(devices), quiet(quiet) {}

void Progress::take(std::string_view output, std::chrono::milliseconds elapsed)
{
    if (quiet)
    {
        return;
    }
    reader.take(output);
    tick(elapsed);
}

void Progress::tick(std::chrono::milliseconds elapsed)
{
    constexpr std::chrono::milliseconds redraw_time{100};
    if (quiet)
    {
        return;
    }
    const auto& position = reader.position();
    if (::isatty(STDERR_FILENO) != 0)
    {
        if (elapsed - last_drawn >= redraw_time)
        {
            draw(elapsed);
        }
    }
    else if (position.device != last_device)
    {
        last_device = position.device;
        std::fprintf(stderr, "spdm-run: %s\n", device_text(position).c_str());
    }
}

void Progress::finish()
{
    if (drawn)
    {
        std::fputs("\r\x1b[K", stderr);
        drawn = false;
    }
}

void Progress::draw(std::chrono::milliseconds elapsed)
{
    // In the last column a terminal may go on to the next line.
    const auto width = report::terminal_of(STDERR_FILENO).width;
    const auto text =
        progress_text(reader.position(), std::chrono::duration_cast<std::chrono::seconds>(elapsed));
    std::fprintf(stderr, "\r%s\x1b[K", report::cut_to(text, width == 0 ? 79 : width - 1).c_str());
    last_drawn = elapsed;
    drawn = true;
}

} // namespace runner
