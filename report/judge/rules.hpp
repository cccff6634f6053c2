#pragma once

#include "report/judge/judgement.hpp"
#include "report/model/run.hpp"
#include "report/model/status.hpp"

#include <string_view>

namespace report
{

/// What the rules for a call ask. `test` and `checked` are null where there is none.
struct CallFacts
{
    const Call& call;
    const Test* test = nullptr;
    const Signed* checked = nullptr;
    bool other_device = false; ///< The test's call went to another device.

    bool is(Operation operation) const
    {
        return call.operation == operation;
    }
    bool answered() const
    {
        return call.outcome == Outcome::answered;
    }
    bool in_failure_test() const
    {
        return test != nullptr && !test->expects_success;
    }
    bool counts_as_success() const
    {
        return answered() && report::counts_as_success(call.status);
    }
};

/// The first rule that applies decides.
struct CallRule
{
    bool (*applies)(const CallFacts& facts);
    Verdict verdict;
    std::string_view reason; ///< Empty: the status in words.
};

/// The verdict on a call, or on a test by its call.
const CallRule& rule_for(const CallFacts& facts);

} // namespace report
