#include "report/reader/monitor_reader.hpp"

#include "report/reader/fields.hpp"
#include "report/reader/vocabulary.hpp"
#include "shell/service_contract.hpp"

#include <algorithm>
#include <array>
#include <cstdint>
#include <utility>

namespace report
{

namespace
{

constexpr std::string_view completed = "Properties change handler is completed.";

} // namespace

bool MonitorReader::line(Shape shape, std::string_view text, std::string_view rest)
{
    if (shape != Shape::monitor_begins && !running)
    {
        return false;
    }
    if (in_properties && shape != Shape::properties_changed_eid)
    {
        return changed_property(text);
    }
    switch (shape)
    {
        case Shape::monitor_begins:
            running = true;
            if (context.run.monitor_line == 0)
            {
                context.run.monitor_line = context.number;
            }
            return true;
        case Shape::monitor_thread_error:
            context.run.monitor_failed_line = context.number;
            context.run.monitor_failure = context.run.texts.keep(text);
            return true;
        case Shape::monitor_failed:
            context.run.monitor_failed_line = context.number;
            context.run.monitor_failure = context.run.texts.keep(rest);
            return true;
        case Shape::interface_added: begin(ServiceContract::INTERFACES_ADDED); return true;
        case Shape::interface_removed: begin(ServiceContract::INTERFACES_REMOVED); return true;
        case Shape::info_received: begin(ServiceContract::INFO); return true;
        case Shape::progress_received: begin(ServiceContract::CERTIFICATE_PROGRESS); return true;
        case Shape::object_added:
            add(ServiceContract::INTERFACES_ADDED, context.devices.of_path(rest, context.number),
                context.run.texts.keep(rest));
            return true;
        case Shape::object_removed:
            add(ServiceContract::INTERFACES_REMOVED, context.devices.of_path(rest, context.number),
                context.run.texts.keep(rest));
            return true;
        case Shape::info_value: return add_number(ServiceContract::INFO, rest);
        case Shape::device_error_eid:
        case Shape::progress_eid:
        case Shape::properties_changed_eid: device_of_eid(rest); return true;
        case Shape::device_error_value: return add_number(ServiceContract::DEVICE_ERROR, rest);
        case Shape::progress_value: return add_number(ServiceContract::CERTIFICATE_PROGRESS, rest);
        case Shape::properties_changed:
            begin({});
            in_properties = true;
            any_property = false;
            return true;
        default: return false;
    }
}

void MonitorReader::begin(std::string_view member)
{
    end_signal();
    begun = context.number;
    begun_member = member;
    device = none;
}

/// A malformed signal is announced and tells nothing.
void MonitorReader::end_signal()
{
    if (!begun_member.empty())
    {
        add(begun_member, device, {});
    }
}

void MonitorReader::add(std::string_view member, Index of, Value value,
                        std::optional<std::string_view> name)
{
    context.run.signals.push_back({begun == 0 ? context.number : begun, of, member, value, name});
    begun_member = {};
    if (!in_properties)
    {
        begun = 0;
        device = none;
    }
}

bool MonitorReader::add_number(std::string_view member, std::string_view text)
{
    const auto number = number_in<std::uint64_t>(text);
    if (number)
    {
        add(member, device, *number);
    }
    return number.has_value();
}

void MonitorReader::device_of_eid(std::string_view rest)
{
    begun = begun == 0 ? context.number : begun;
    const auto eid = number_in<std::uint16_t>(rest);
    if (device == none && eid)
    {
        device = context.devices.of_eid(*eid, context.number);
    }
}

/// "XMID: CPU-7". A challenge status without a word ends neither its text nor its line: "ChallengeStatus:
/// XMID: CPU-7".
bool MonitorReader::changed_property(std::string_view text)
{
    while (text != completed)
    {
        begun = context.number;
        const auto name = take_until(text, ": ");
        if (!name)
        {
            context.note(text); // A line of the value before, or none of the handler's.
            return true;
        }
        any_property = true;
        const auto is_word = std::find(challenge_statuses.begin(), challenge_statuses.end(),
                                       text) != challenge_statuses.end();
        const auto last_has_no_word = text == completed;
        if (last_has_no_word ||
            (*name == "ChallengeStatus" && !is_word && text.find(": ") != text.npos))
        {
            add(ServiceContract::PROPERTIES_CHANGED, device, {}, context.run.texts.keep(*name));
            continue;
        }
        if (*name == "XMID")
        {
            device = context.devices.renamed(device, text, context.number);
        }
        add(ServiceContract::PROPERTIES_CHANGED, device, context.run.texts.keep(text),
            context.run.texts.keep(*name));
        return true;
    }
    if (!any_property)
    {
        add(ServiceContract::PROPERTIES_CHANGED, device, {});
    }
    in_properties = false;
    begun = 0;
    device = none;
    return true;
}

void MonitorReader::close()
{
    if (in_properties)
    {
        context.contradiction("a signal's lines do not end");
        in_properties = false;
    }
    end_signal();
    begun = 0;
    device = none;
    running = false;
}

} // namespace report
