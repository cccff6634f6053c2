#include "report/reader/call_reader.hpp"

#include "report/reader/fields.hpp"

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

constexpr std::array<std::string_view, 5> challenge_statuses{"Not Ready", "Passed", "In Progress",
                                                             "Failed", "Not Supported"};
constexpr std::array<std::string_view, 2> results{"Success", "Failed"};

/// The code of a status that the client prints as a word alone.
template <std::size_t count>
std::optional<std::uint64_t> code_of(std::string_view word,
                                     const std::array<std::string_view, count>& words)
{
    const auto* found = std::find(words.begin(), words.end(), word);
    return found == words.end() ? std::nullopt
                                : std::optional<std::uint64_t>(std::distance(words.begin(), found));
}

constexpr std::string_view time_label = " Time taken(In us): ";
constexpr std::string_view report_error =
    "ERROR: Failed to retrieve SPDM properties. Check device connectivity.";
constexpr std::size_t label_size = 38; // The name in 36 characters, then ": ".

} // namespace

bool CallReader::line(Shape shape, std::string_view text, std::string_view rest)
{
    if (!broken.empty())
    {
        auto tail = text;
        const auto before = take_until_last(tail, time_label);
        if (before && number_in<std::int64_t>(tail))
        {
            const auto whole = std::exchange(broken, {}) + "\n" + std::string(text);
            return certificate_result(whole);
        }
        if (shape == Shape::unknown || shape == Shape::blank)
        {
            return false; // A line of the certificate's path: a note.
        }
        broken.clear();
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
            return true;
        case Shape::properties_time:
        {
            if (!report_awaited)
            {
                report = context.add_call(Operation::get_all, Outcome::answered);
            }
            report_awaited = false;
            auto& call = context.run.calls[report];
            call.outcome = Outcome::answered;
            call.told_line = context.number;
            call.microseconds = number_in<std::int64_t>(rest);
            return true;
        }
        case Shape::properties_error:
            if (!report_awaited)
            {
                report = context.add_call(Operation::get_all, Outcome::error);
            }
            report_awaited = false;
            context.run.calls[report].outcome = Outcome::error;
            context.run.calls[report].told_line = context.number;
            report = none;
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
            if (step)
            {
                due(Operation::unknown);
            }
            end_regression();
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
    call.status = code_of(word, results);
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
    if (value == report_error)
    {
        auto& call = context.run.calls[report];
        call.outcome = Outcome::error;
        call.told_line = context.number;
        call.microseconds.reset();
        report = none;
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

void CallReader::object_not_found(std::optional<Operation> asked)
{
    if (authentication != none)
    {
        answer_authentication(Outcome::unknown_device, {});
        return;
    }
    if (report_awaited)
    {
        report_awaited = false;
        context.run.calls[report].outcome = Outcome::unknown_device;
        context.run.calls[report].told_line = context.number;
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
    if (report_awaited)
    {
        context.contradiction("the property report printed nothing");
        report_awaited = false;
    }
    report = none;
}

void CallReader::due(Operation operation)
{
    if (!step)
    {
        return;
    }
    while (*step < regression.size() && regression[*step] != operation)
    {
        context.run.silent_calls.push_back({context.number, context.device, regression[*step]});
        ++*step;
    }
    arguments_of_step();
}

void CallReader::end_regression()
{
    if (step)
    {
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
