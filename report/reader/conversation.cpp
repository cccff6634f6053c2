#include "report/reader/conversation.hpp"

#include "report/reader/fields.hpp"

#include <algorithm>
#include <array>
#include <utility>

namespace report
{

namespace
{

/// Lines that may stand between any others.
bool says_nothing(Shape shape)
{
    return shape == Shape::unknown || shape == Shape::known || shape == Shape::blank ||
           shape == Shape::number || shape == Shape::indented || shape == Shape::bytes ||
           shape == Shape::dump;
}

/// Lines that other programs' output may hold too.
bool is_common(Shape shape)
{
    switch (shape)
    {
        case Shape::object_listed:
        case Shape::device_row:
        case Shape::property:
        case Shape::table_row:
        case Shape::test_indices:
        case Shape::summary_passed:
        case Shape::summary_rate:
        case Shape::block_index:
        case Shape::block_algorithm:
        case Shape::block_type:
        case Shape::block_size:
        case Shape::monitor_failed:
        case Shape::info_value:
        case Shape::device_error_value:
        case Shape::progress_value: return true;
        default: return says_nothing(shape);
    }
}

bool is_menu(Shape shape)
{
    return shape == Shape::top_menu || shape == Shape::top_menu_exit ||
           shape == Shape::operations_menu;
}

/// The measurement call that the line is the first of. An error comes alone where the call was not sent.
std::optional<Operation> measurement_made(Shape shape, bool is_open)
{
    switch (shape)
    {
        case Shape::measurement_begins: return Operation::get_measurement;
        case Shape::signed_begins: return Operation::get_signed_measurement;
        case Shape::measurement_bus_error:
        case Shape::measurement_error:
            return is_open ? std::nullopt : std::optional(Operation::get_measurement);
        case Shape::signed_bus_error:
        case Shape::signed_error:
            return is_open ? std::nullopt : std::optional(Operation::get_signed_measurement);
        default: return std::nullopt;
    }
}

} // namespace

Conversation::Conversation(Line first_line)
{
    context.run.first_line = first_line;
}

void Conversation::line(Line number, std::string_view text, const Recognised& recognised,
                        bool asked_slot)
{
    const auto [shape, rest] = recognised;
    context.number = number;
    if (shape == Shape::dump && measurements.dump_line(rest))
    {
        return;
    }
    if (asked_slot)
    {
        asked = Asked::slot;
        slot_given = true;
        forget_echoes();
    }
    if (shape == Shape::number)
    {
        echoed(text);
        return;
    }
    recognised_any = recognised_any || !is_common(shape);
    if (shape == Shape::monitor_begins && !awaits_operation)
    {
        context.contradiction(
            "the monitor started without a choice"); // It would hide what follows.
    }
    if (shape != Shape::unknown && shape != Shape::blank && shape != Shape::indented)
    {
        in_menu = false;
        if (awaits_operation && !is_menu(shape))
        {
            awaits_operation = false;
        }
    }
    if (is_menu(shape) || shape == Shape::choose_option)
    {
        monitor.close();
    }
    if (const auto operation = measurement_made(shape, measurements.is_open()))
    {
        calls.made(*operation);
    }
    if (monitor.line(shape, text, rest) || measurements.line(shape, text, rest))
    {
        return;
    }
    const auto frame = shape == Shape::known || shape == Shape::blank;
    if (frame && broken_row.empty() && !calls.awaits_rest_of_line())
    {
        return; // A third of all lines: no reader would use it.
    }
    if (!says_nothing(shape))
    {
        measurements.close();
    }
    if (shape == Shape::properties_head || shape == Shape::categories_begin ||
        shape == Shape::device_section || is_menu(shape))
    {
        calls.close();
    }
    if (start_line(shape) || menu_line(shape) || device_line(shape, text, rest) ||
        calls.line(shape, text, rest) || suite.line(shape, text, rest) || frame ||
        shape == Shape::categories_begin)
    {
        return;
    }
    if (shape == Shape::object_not_found && object_not_found())
    {
        return;
    }
    context.note(text);
    if (recognised_any && !says_nothing(shape) && shape != Shape::device_error_value)
    {
        context.contradiction("a line where the client prints none of its kind");
    }
}

bool Conversation::start_line(Shape shape)
{
    switch (shape)
    {
        case Shape::client_start: context.run.starts_with_banner = true; return true;
        case Shape::discovery_begins: context.run.discovery_line = context.number; return true;
        case Shape::discovery_failed:
            context.run.discovery_line = context.number;
            context.run.discovery_failed = true;
            return true;
        default: return false;
    }
}

bool Conversation::menu_line(Shape shape)
{
    switch (shape)
    {
        case Shape::top_menu:
            awaits_operation = false;
            end_operation();
            end_activity();
            return true;
        case Shape::top_menu_exit:
            awaits_operation = false;
            end_operation();
            end_activity();
            top_menu = true;
            return true;
        case Shape::operations_menu:
            end_operation();
            end_activity();
            top_menu = false;
            context.activity = Activity::operations;
            return true;
        case Shape::choose_option:
            in_menu = true;
            awaits_operation = !top_menu;
            slot_given = false;
            operation_calls = static_cast<Index>(context.run.calls.size());
            asked = Asked::choice;
            forget_echoes();
            return true;
        case Shape::enter_indices:
            asked = Asked::indices;
            indices.clear();
            return true;
        default: return false;
    }
}

bool Conversation::device_line(Shape shape, std::string_view text, std::string_view rest)
{
    if (!broken_row.empty())
    {
        if (may_continue(shape))
        {
            context.append_to_broken(broken_row, text);
            auto path = text;
            const auto ends = take_until_last(path, " | ") && path.starts_with('/');
            return ends && device_row(std::exchange(broken_row, {})); // Else a note.
        }
        broken_row.clear();
        context.contradiction("a row of the device table breaks off");
    }
    switch (shape)
    {
        case Shape::device_row:
            if (!device_row(text))
            {
                broken_row = text;
            }
            return true;
        case Shape::device_table: table_rows = 0; return true;
        case Shape::object_listed: return true;
        case Shape::no_objects:
            if (context.run.no_objects_line == 0)
            {
                context.run.no_objects_line = context.number;
            }
            return true;
        case Shape::device_selected:
            if (const auto eid = number_in<std::uint16_t>(rest))
            {
                context.device = context.devices.of_eid(*eid, context.number);
            }
            return true;
        case Shape::suite_selection:
            keys_in_table = true;
            context.activity = Activity::suite;
            return true;
        case Shape::run_all_operations:
            context.activity = Activity::all_devices;
            sections = table_rows;
            return true;
        case Shape::run_all_suites:
            context.activity = Activity::suite;
            sections = table_rows;
            return true;
        case Shape::all_devices_count:
            sections = table_rows;
            if (take_number<std::uint32_t>(rest) != table_rows)
            {
                context.contradiction("the devices are not as many as the table's rows");
            }
            return true;
        case Shape::device_section: device_section(rest); return true;
        default: return false;
    }
}

/// "    0 |   12 |          CPU-12 | /com/varn/...", or the last one: "    2 |  ALL | Run on all objects"
bool Conversation::device_row(std::string_view text)
{
    auto row = text;
    const auto index =
        number_in<std::uint32_t>(take_until(row, " | ")
                                     .value_or(std::string_view{})
                                     .substr(std::min(text.find_first_not_of(' '), text.size())));
    if (row == " ALL | Run on all objects")
    {
        return true;
    }
    auto eid_field = take_until(row, " | ").value_or(std::string_view{});
    eid_field.remove_prefix(std::min(eid_field.find_first_not_of(' '), eid_field.size()));
    const auto eid = number_in<std::uint16_t>(eid_field);
    auto path = row;
    auto xmid = take_until_last(path, " | ");
    if (!index || !eid || !xmid || !path.starts_with('/'))
    {
        return false;
    }
    // Right-aligned in 15: an XMID's own leading blanks look like padding.
    xmid->remove_prefix(std::min(xmid->find_first_not_of(' '), xmid->size()));
    context.devices.table_row(*index, keys_in_table ? std::nullopt : eid, *xmid, path,
                              context.number);
    ++table_rows;
    return true;
}

/// "2/7: EID 12"
void Conversation::device_section(std::string_view rest)
{
    const auto found = take_number<std::uint64_t>(rest);
    take(rest, "/");
    const auto count = take_number<std::uint64_t>(rest);
    take(rest, ": EID ");
    const auto eid = number_in<std::uint16_t>(rest);
    if (!found || !count || !eid)
    {
        context.note(rest);
        return;
    }
    if (*found != section + 1 || (section != 0 && *count != sections) || *count != table_rows)
    {
        context.contradiction("the devices' sections are not numbered as the table has them");
    }
    section = *found;
    sections = *count;
    context.device = context.devices.of_eid(*eid, context.number);
}

bool Conversation::object_not_found()
{
    if (context.activity == Activity::suite && suite.in_suite() && !calls.awaits_authentication())
    {
        suite.object_not_found();
    }
    else
    {
        calls.object_not_found(chosen);
    }
    return true;
}

/// One choice of the operations menu makes one call, or recurring re-authentications. A call whose
/// status has no word prints nothing.
void Conversation::end_operation()
{
    const auto& made = context.run.calls;
    const auto first = std::exchange(operation_calls, none);
    if (first == none || context.activity != Activity::operations)
    {
        return;
    }
    if (awaits_operation)
    {
        awaits_operation = false;
        context.silent_call(
            chosen.value_or(slot_given ? Operation::unknown : Operation::re_authenticate));
        return;
    }
    if (made.size() - first < 2)
    {
        return;
    }
    constexpr std::size_t most_attempts = 5;
    const auto passed = [](const Call& call) {
        return call.operation == Operation::re_authenticate && call.status == 1U;
    };
    const auto all_but_last = std::all_of(made.begin() + first, made.end() - 1, passed);
    const auto attempts = made.size() - first;
    if (!all_but_last || attempts > most_attempts ||
        (attempts < most_attempts && passed(made.back())))
    {
        context.contradiction("the calls are not those of one choice");
    }
}

/// A menu follows what was done.
void Conversation::end_activity()
{
    measurements.close();
    calls.end_regression();
    suite.close();
    if (section != sections)
    {
        context.contradiction("the sections of some devices are missing");
    }
    section = sections = 0;
    keys_in_table = false;
}

void Conversation::echoed(std::string_view number)
{
    const auto answer = number_in<std::int64_t>(number);
    if (!answer)
    {
        return;
    }
    constexpr std::array operations{Operation::re_authenticate,
                                    Operation::get_certificate,
                                    Operation::get_certificate_properties,
                                    Operation::get_all,
                                    Operation::re_authenticate,
                                    Operation::get_measurement,
                                    Operation::get_signed_measurement};
    switch (asked)
    {
        case Asked::choice:
            if (!top_menu && *answer > 0 && static_cast<std::size_t>(*answer) <= operations.size())
            {
                chosen = operations[static_cast<std::size_t>(*answer) - 1];
            }
            asked = Asked::nothing;
            break;
        case Asked::slot:
            context.arguments.slot = static_cast<std::uint32_t>(*answer);
            asked = Asked::nothing;
            break;
        case Asked::indices:
            if (*answer == -1)
            {
                context.arguments.indices = indices;
                asked = Asked::nothing;
                break;
            }
            indices.push_back(static_cast<std::uint16_t>(*answer));
            break;
        case Asked::nothing: break;
    }
}

void Conversation::forget_echoes()
{
    if (asked == Asked::choice)
    {
        chosen.reset();
    }
    context.arguments = {};
}

Run Conversation::finish(Line last_line, std::uint64_t bytes)
{
    auto& run = context.run;
    run.last_line = last_line;
    run.bytes = bytes;
    run.ends_at_menu = in_menu && top_menu;
    if (!run.ends_at_menu)
    {
        run.stopped_in = where();
    }
    else if (run.starts_with_banner && run.discovery_line == 0)
    {
        context.contradiction("the discovery's line is missing");
    }
    return std::move(run);
}

std::string_view Conversation::where() const
{
    if (measurements.is_open())
    {
        return "a call";
    }
    if (monitor.is_running())
    {
        return "the monitor";
    }
    if (suite.in_suite())
    {
        return "a suite";
    }
    if (calls.in_regression())
    {
        return "a regression";
    }
    if (sections != 0)
    {
        return "the run on all devices";
    }
    if (in_menu)
    {
        return "the operations menu";
    }
    return top_menu ? "an activity" : "the operations on a device";
}

} // namespace report
