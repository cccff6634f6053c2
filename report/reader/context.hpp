#pragma once

#include "report/model/run.hpp"
#include "report/reader/devices.hpp"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace report
{

/// What is known of the next call's arguments before it is made.
struct Arguments
{
    Index test = none;
    std::optional<std::uint32_t> slot;
    std::optional<std::vector<std::uint16_t>> indices;
    std::optional<std::string_view> nonce;
};

/// What the readers of a conversation's parts share.
struct Context
{
    Run run;
    Devices devices{run};
    Line number = 0; ///< The current line.
    Index device = none;
    Activity activity = Activity::operations;
    Arguments arguments;

    static constexpr std::size_t most_notes = 10000;
    static constexpr std::size_t longest_note = 1000;
    static constexpr std::size_t most_contradictions = 1000;

    void note(std::string_view text)
    {
        ++run.note_count;
        if (run.notes.size() < most_notes)
        {
            run.notes.push_back({number, run.texts.keep(text.substr(0, longest_note))});
        }
    }

    /// A line end in a device's text has broken the client's line; `text` continues it.
    static void append_to_broken(std::string& broken, std::string_view text)
    {
        constexpr std::size_t longest_broken = 65536;
        if (broken.size() < longest_broken)
        {
            broken.append("\n").append(text);
        }
    }

    void silent_call(Operation operation)
    {
        if (run.silent_calls.size() < most_contradictions)
        {
            run.silent_calls.push_back({number, device, operation});
        }
    }

    void contradiction(std::string text)
    {
        if (run.contradictions.size() < most_contradictions)
        {
            run.contradictions.push_back({number, device, std::move(text)});
        }
    }

    /// Adds a call on the current device that begins at the current line.
    Index add_call(Operation operation, Outcome outcome)
    {
        Call call;
        call.line = call.told_line = number;
        call.device = device;
        call.operation = operation;
        call.activity = activity;
        call.outcome = outcome;
        if (operation != Operation::re_authenticate && operation != Operation::get_all)
        {
            call.test = arguments.test;
            call.slot = arguments.slot;
            if (operation == Operation::get_measurement ||
                operation == Operation::get_signed_measurement)
            {
                call.indices = arguments.indices;
            }
            if (operation == Operation::get_signed_measurement)
            {
                call.nonce = arguments.nonce;
            }
        }
        const auto index = static_cast<Index>(run.calls.size());
        if (call.test != none)
        {
            run.tests[call.test].call = index;
        }
        run.calls.push_back(std::move(call));
        return index;
    }
};

} // namespace report
