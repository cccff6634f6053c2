#include "report/judge/judge.hpp"
#include "report/model/words.hpp"

#include <string>

namespace report
{

namespace
{

std::string with_slot(const std::string& text, const std::optional<std::uint32_t>& slot)
{
    return slot ? text + ", slot " + std::to_string(*slot) : text;
}

std::string operation_of(Operation operation)
{
    return std::string(operation == Operation::unknown ? "a call" : word(operation));
}

std::string describe_call(const Call& call)
{
    if (call.slot_discovery)
    {
        return "slot discovery";
    }
    return with_slot(operation_of(call.operation), call.slot) + describe_indices(call);
}

std::string describe_test(const Run& run, const Test& test)
{
    auto text = std::string(word(test.category)) + ' ' + std::to_string(test.ordinal) + ": " +
                std::string(test.name);
    return test.call == none ? text : with_slot(text, run.calls[test.call].slot);
}

} // namespace

std::string describe_indices(const Call& call)
{
    if (!call.indices || call.indices->empty())
    {
        return {};
    }
    std::string text = call.indices->size() == 1 ? ", index" : ", indices";
    for (const auto index : *call.indices)
    {
        text += ' ' + std::to_string(index);
    }
    return text;
}

std::string describe(const Run& run, const Check& check)
{
    switch (check.subject)
    {
        case Subject::transcript: return "transcript";
        case Subject::discovery: return "discovery";
        case Subject::call: return describe_call(run.calls[check.index]);
        case Subject::silent_call: return operation_of(run.silent_calls[check.index].operation);
        case Subject::test: return describe_test(run, run.tests[check.index]);
        case Subject::availability: return "availability";
        case Subject::category: return std::string(word(check.category));
        case Subject::suite: return "results of the suite";
        case Subject::monitor: return "monitor";
    }
    return {};
}

} // namespace report
