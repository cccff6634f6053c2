#include "report/reader/call_reader.hpp"

#include "report/reader/fields.hpp"
#include "report/reader/vocabulary.hpp"

#include <algorithm>
#include <array>
#include <iterator>

namespace report
{

namespace
{

constexpr std::array regression{
    Operation::re_authenticate,
    Operation::get_certificate,
    Operation::get_certificate_properties,
    Operation::get_measurement,
    Operation::get_signed_measurement,
};

/// The code of a status that the client prints as a word alone.
template <std::size_t count>
std::optional<std::uint64_t> code_of(std::string_view word,
                                     const std::array<std::string_view, count>& words)
{
    const auto* found = std::find(words.begin(), words.end(), word);
    return found == words.end() ? std::nullopt
                                : std::optional<std::uint64_t>(std::distance(words.begin(), found));
}

constexpr std::string_view report_error =
    "ERROR: Failed to retrieve SPDM properties. Check device connectivity.";
constexpr std::size_t label_size = 38; // The name in 36 characters, then ": ".

} // namespace

bool CallReader::line(Shape shape, std::string_view text, std::string_view rest)
{
    if (!broken.empty())
    {
        if (may_continue(shape))
        {
            context.append_to_broken(broken, text);
            if (!ends_with_time(text))
            {
                return false;
            }
            if (certificate_result(std::exchange(broken, {})))
            {
                return true;
            }
        }
        break_off();
    }
    switch (shape)
    {
        case Shape::re_authenticate_head:
        case Shape::authentication_head:
            close();
            authentication = context.add_call(Operation::re_authenticate, Outcome::cut);
            return true;
        case Shape::re_authenticate_result:
            answer_authentication(Outcome::answered, rest);
            return true;
        case Shape::re_authenticate_error: answer_authentication(Outcome::error, {}); return true;
        case Shape::certificate_result:
            if (!certificate_result(rest))
            {
                broken = rest;
            }
            return true;
        case Shape::certificate_error:
            context.add_call(Operation::get_certificate, Outcome::error);
            made(Operation::get_certificate);
            return true;
        case Shape::certificate_properties_error:
            context.add_call(Operation::get_certificate_properties, Outcome::error);
            made(Operation::get_certificate_properties);
            return true;
        case Shape::properties_head:
            close();
            report = context.add_call(Operation::get_all, Outcome::cut);
            report_awaited = true;
            next_property = 0;
            return true;
        case Shape::properties_time:
        {
            if (!report_awaited)
            {
                close_report();
                report = context.add_call(Operation::get_all, Outcome::answered);
            }
            report_awaited = false;
            auto& call = context.run.calls[report];
            call.outcome = Outcome::answered;
            call.told_line = context.number;
            call.microseconds = number_in<std::int64_t>(rest);
            next_property = 0;
            return true;
        }
        case Shape::properties_error:
            // On a line of its own after the time where the first property is missing.
            if (report == none || next_property != 0)
            {
                report = context.add_call(Operation::get_all, Outcome::error);
            }
            end_report(Outcome::error);
            return true;
        case Shape::property: return property(text);
        case Shape::regression_device:
            end_regression();
            context.activity = Activity::regression;
            context.device = context.devices.of_path(rest, context.number);
            step = 0;
            arguments_of_step();
            return true;
        case Shape::regression_device_done:
            if (!step)
            {
                return false;
            }
            due(Operation::unknown);
            step.reset();
            context.arguments = {};
            return true;
        default: return false;
    }
}

void CallReader::answer_authentication(Outcome outcome, std::string_view rest)
{
    due(Operation::re_authenticate);
    if (authentication == none)
    {
        authentication = context.add_call(Operation::re_authenticate, outcome);
    }
    auto& call = context.run.calls[authentication];
    call.outcome = outcome;
    call.told_line = context.number;
    const auto word = take_until_last(rest, time_label);
    if (outcome == Outcome::answered && word)
    {
        call.status_text = context.run.texts.keep(*word);
        call.status = code_of(*word, challenge_statuses);
        call.microseconds = number_in<std::int64_t>(rest);
    }
    made(Operation::re_authenticate);
    authentication = none;
}

/// "Success Certificate Path: PATH Time taken(In us): 12", or without the path.
bool CallReader::certificate_result(std::string_view rest)
{
    const auto before_time = take_until_last(rest, time_label);
    const auto microseconds = number_in<std::int64_t>(rest);
    if (!before_time || !microseconds)
    {
        return false;
    }
    auto path = *before_time;
    const auto status = take_until(path, " Certificate Path: ");
    const auto operation =
        status ? Operation::get_certificate : Operation::get_certificate_properties;
    const auto word = status.value_or(path);
    auto& call = context.run.calls[context.add_call(operation, Outcome::answered)];
    call.status_text = context.run.texts.keep(word);
    call.status = code_of(word, certificate_results);
    call.microseconds = microseconds;
    if (status)
    {
        call.certificate_path = context.run.texts.keep(path);
    }
    made(operation);
    return true;
}

bool CallReader::property(std::string_view text)
{
    if (report == none)
    {
        return false;
    }
    auto name = text.substr(0, label_size - 2);
    name = name.substr(0, name.find(' '));
    const auto value = text.substr(label_size);
    // The first is left out where its code has no word.
    const auto first_left_out = next_property == 0 && name == property_names[1];
    next_property += first_left_out ? 1 : 0;
    if (next_property == property_names.size() || name != property_names[next_property])
    {
        context.contradiction("a property is missing");
    }
    next_property = static_cast<std::size_t>(
        std::find(property_names.begin(), property_names.end(), name) - property_names.begin() + 1);
    if (value == report_error)
    {
        end_report(Outcome::error);
        return true;
    }
    context.run.properties.push_back({context.number, context.device, report,
                                      context.run.texts.keep(name), context.run.texts.keep(value)});
    if (name == "XMID")
    {
        context.devices.learn_xmid(context.device, value);
    }
    return true;
}

void CallReader::end_report(Outcome outcome)
{
    auto& call = context.run.calls[report];
    call.outcome = outcome;
    call.told_line = context.number;
    call.microseconds.reset();
    report = none;
    report_awaited = false;
    next_property = 0;
}

void CallReader::object_not_found(std::optional<Operation> asked)
{
    if (authentication != none)
    {
        answer_authentication(Outcome::unknown_device, {});
        return;
    }
    if (report_awaited)
    {
        end_report(Outcome::unknown_device);
        return;
    }
    const auto in_sequence = step && *step < regression.size();
    const auto operation = in_sequence ? regression[*step] : asked.value_or(Operation::unknown);
    context.add_call(operation, Outcome::unknown_device);
    made(operation);
}

void CallReader::close()
{
    if (authentication != none)
    {
        auto& call = context.run.calls[authentication];
        call.outcome = Outcome::answered;
        call.told_line = call.line;
        authentication = none;
    }
    if (!broken.empty())
    {
        break_off();
    }
    close_report();
}

/// The report's lines must be whole.
void CallReader::close_report()
{
    if (report_awaited)
    {
        context.contradiction("the property report printed nothing");
        report_awaited = false;
    }
    else if (report != none && next_property != property_names.size())
    {
        context.contradiction("a property is missing");
    }
    report = none;
}

/// The line that a certificate's path has broken does not end.
void CallReader::break_off()
{
    broken.clear();
    context.contradiction("a result breaks off");
}

void CallReader::due(Operation operation)
{
    if (!step)
    {
        return;
    }
    while (*step < regression.size() && regression[*step] != operation)
    {
        context.silent_call(regression[*step]);
        ++*step;
    }
    arguments_of_step();
}

void CallReader::end_regression()
{
    if (step)
    {
        context.contradiction("a regression's end is missing");
        step.reset();
        context.arguments = {};
    }
}

void CallReader::made(Operation operation)
{
    if (step)
    {
        due(operation);
        if (*step < regression.size())
        {
            ++*step;
        }
        arguments_of_step();
    }
}

void CallReader::arguments_of_step()
{
    context.arguments = {};
    context.arguments.slot = 0;
    context.arguments.indices = {255};
    context.arguments.nonce = "";
}

} // namespace report
