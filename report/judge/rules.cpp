#include "report/judge/rules.hpp"

#include <algorithm>
#include <array>

namespace report
{

namespace
{

bool is_measurement(const CallFacts& facts)
{
    return facts.is(Operation::get_measurement) || facts.is(Operation::get_signed_measurement);
}

/// Measurement Not Supported, or Measurement Summary Not Available.
bool is_unsupported(const CallFacts& facts)
{
    const auto code = facts.call.status.value_or(0);
    return code == 10 || code == 11;
}

/// The client counts a test as passed by its call's status alone.
bool client_contradicts(const CallFacts& facts)
{
    if (facts.test == nullptr)
    {
        return false;
    }
    const auto passed = facts.test->client_verdict == Test::ClientVerdict::passed;
    return passed != (facts.counts_as_success() == facts.test->expects_success);
}

using Facts = const CallFacts&;

// clang-format off
constexpr std::array rules{
    // A transcript that stops, or that was edited.
    CallRule{[](Facts f) { return f.call.outcome == Outcome::cut; },
             Verdict::error, "its result is missing"},
    CallRule{[](Facts f) { return f.test != nullptr && f.test->client_verdict == Test::ClientVerdict::none; },
             Verdict::error, "its verdict is missing"},
    CallRule{client_contradicts,
             Verdict::error, "the client's verdict contradicts the call's result"},
    CallRule{[](Facts f) { return f.other_device; },
             Verdict::error, "its call went to another device"},
    CallRule{[](Facts f) { return f.test == nullptr && f.call.activity == Activity::suite && is_measurement(f); },
             Verdict::error, "a measurement outside the suite's tests"},

    // No answer proves nothing, in a failure test neither.
    CallRule{[](Facts f) { return f.call.outcome == Outcome::unknown_device; },
             Verdict::error, "the client does not know the device"},
    CallRule{[](Facts f) { return f.call.outcome == Outcome::bus_error; },
             Verdict::error, "no answer: D-Bus error"},
    CallRule{[](Facts f) { return f.call.outcome == Outcome::error; },
             Verdict::error, "no answer, or one that could not be read"},

    // A failure test passes where the service refused.
    CallRule{[](Facts f) { return f.in_failure_test() && f.counts_as_success(); },
             Verdict::failed, "unexpectedly passed"},
    CallRule{[](Facts f) { return f.in_failure_test(); },
             Verdict::passed, ""},

    // "Passed" alone is a pass of ReAuthenticate, whose codes are its own.
    CallRule{[](Facts f) { return f.is(Operation::re_authenticate) && f.call.status == 1U; },
             Verdict::passed, ""},
    CallRule{[](Facts f) { return f.is(Operation::re_authenticate) && !f.call.status; },
             Verdict::failed, "a status without a word"},
    CallRule{[](Facts f) { return f.is(Operation::re_authenticate); },
             Verdict::failed, ""},

    CallRule{[](Facts f) { return f.is(Operation::get_all); },
             Verdict::passed, ""},
    CallRule{[](Facts f) { return f.counts_as_success() && f.checked != nullptr && f.checked->structure == Structure::invalid; },
             Verdict::failed, "signed data of invalid structure"},
    CallRule{[](Facts f) { return f.counts_as_success() && f.checked != nullptr && f.checked->structure == Structure::unchecked; },
             Verdict::error, "the check of the signed data is missing"},
    CallRule{[](Facts f) { return f.counts_as_success(); },
             Verdict::passed, ""},
    CallRule{[](Facts f) { return is_unsupported(f); },
             Verdict::skipped, ""},
    CallRule{[](Facts) { return true; },
             Verdict::failed, ""},
};
// clang-format on

} // namespace

const CallRule& rule_for(const CallFacts& facts)
{
    return *std::find_if(rules.begin(), rules.end(),
                         [&](const CallRule& rule) { return rule.applies(facts); });
}

} // namespace report
