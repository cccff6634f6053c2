#include "report/judge/judge.hpp"

#include "report/judge/rules.hpp"
#include "report/judge/suite_comparison.hpp"

#include <algorithm>
#include <array>
#include <cstddef>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

namespace report
{

namespace
{

class Judge
{
  public:
    explicit Judge(const Run& run) : run(run)
    {
        for (std::size_t i = 0; i < run.signed_measurements.size(); ++i)
        {
            const auto call = run.signed_measurements[i].call;
            if (call != none)
            {
                signed_of.emplace(call, static_cast<Index>(i));
            }
        }
    }

    Judgement all()
    {
        judge_transcript();
        judge_discovery();
        judge_calls();
        judge_tests();
        judge_availability();
        judge_suites();
        judge_monitor();
        std::stable_sort(result.checks.begin(), result.checks.end(),
                         [](const Check& a, const Check& b) { return a.line < b.line; });
        count();
        return std::move(result);
    }

  private:
    Check& add(Line line, Index device, Subject subject, Index index, Verdict verdict,
               std::string_view reason)
    {
        Check check;
        check.line = line;
        check.device = device;
        check.subject = subject;
        check.index = index;
        check.verdict = verdict;
        check.reason = reason;
        result.checks.push_back(std::move(check));
        return result.checks.back();
    }

    void judge_transcript()
    {
        const auto error = [&](Line line, std::string_view reason, bool incomplete) {
            add(line, none, Subject::transcript, none, Verdict::error, reason).incomplete =
                incomplete;
        };
        if (!run.starts_with_banner)
        {
            error(run.first_line, "its beginning is missing", true);
        }
        if (!run.ends_at_menu)
        {
            error(run.last_line, "it stops in " + run.stopped_in, true);
        }
        if (run.circumstances)
        {
            const auto& circumstances = *run.circumstances;
            if (!circumstances.end.empty() && circumstances.end != "complete")
            {
                error(run.last_line, "the run did not complete: " + circumstances.end, true);
            }
            if (circumstances.client_signal)
            {
                error(run.last_line,
                      "the client died of signal " + std::to_string(*circumstances.client_signal),
                      false);
            }
            else if (circumstances.client_status.value_or(0) != 0)
            {
                error(run.last_line,
                      "the client ended with status " +
                          std::to_string(*circumstances.client_status),
                      false);
            }
        }
        for (const auto& found : run.contradictions)
        {
            add(found.line, found.device, Subject::transcript, none, Verdict::error, found.text);
        }
        for (std::size_t i = 0; i < run.silent_calls.size(); ++i)
        {
            const auto& silent = run.silent_calls[i];
            add(silent.line, silent.device, Subject::silent_call, static_cast<Index>(i),
                Verdict::error,
                "it printed nothing: a status without a word, or its line is missing");
        }
    }

    void judge_discovery()
    {
        if (run.discovery_line != 0)
        {
            add(run.discovery_line, none, Subject::discovery, none,
                run.discovery_failed ? Verdict::error : Verdict::passed,
                run.discovery_failed ? "the devices could not be asked for" : "");
        }
    }

    CallFacts facts_of(Index index) const
    {
        const auto checked = signed_of.find(index);
        return {run.calls[index], nullptr,
                checked == signed_of.end() ? nullptr : &run.signed_measurements[checked->second]};
    }

    static std::string reason(const CallRule& rule, const Call& call)
    {
        if (!rule.reason.empty())
        {
            return std::string(rule.reason);
        }
        if (!call.status_text.empty())
        {
            return std::string(call.status_text);
        }
        return call.status ? "status " + std::to_string(*call.status) : "no status";
    }

    Check& add_by_rule(const CallRule& rule, Subject subject, Index index, Index device, Line line,
                       const Call& call)
    {
        auto& check = add(line, device, subject, index, rule.verdict, {});
        if (rule.verdict != Verdict::passed)
        {
            check.reason = reason(rule, call);
        }
        return check;
    }

    /// The call with which the transcript stops.
    bool is_last(Index call) const
    {
        return !run.ends_at_menu && call + 1 == run.calls.size();
    }

    void judge_calls()
    {
        for (Index i = 0; i < run.calls.size(); ++i)
        {
            const auto& call = run.calls[i];
            if (call.test == none)
            {
                auto& check = add_by_rule(rule_for(facts_of(i)), Subject::call, i, call.device,
                                          call.told_line, call);
                check.incomplete = call.outcome == Outcome::cut && is_last(i);
            }
        }
    }

    void judge_tests()
    {
        for (Index i = 0; i < run.tests.size(); ++i)
        {
            const auto& test = run.tests[i];
            const auto stops_here = !run.ends_at_menu && i + 1 == run.tests.size() &&
                                    test.client_verdict == Test::ClientVerdict::none;
            if (test.call == none)
            {
                add(test.verdict_line, test.device, Subject::test, i, Verdict::error,
                    "no call was made")
                    .incomplete = stops_here;
                continue;
            }
            auto facts = facts_of(test.call);
            facts.test = &test;
            facts.other_device = eid(test.device) != eid(facts.call.device);
            const auto& rule = rule_for(facts);
            const auto line =
                rule.verdict == Verdict::passed ? test.verdict_line : facts.call.told_line;
            add_by_rule(rule, Subject::test, i, test.device, line, facts.call).incomplete =
                stops_here;
        }
    }

    std::optional<std::uint16_t> eid(Index device) const
    {
        return device == none ? std::nullopt : run.devices[device].eid;
    }

    void judge_availability()
    {
        using enum Availability::Answer;
        for (std::size_t i = 0; i < run.availabilities.size(); ++i)
        {
            const auto& found = run.availabilities[i];
            const auto is = [&](Availability::Service service) { return found.service == service; };
            const auto passed = found.answer == responsive;
            std::string_view reason;
            switch (found.answer)
            {
                case responsive: break;
                case not_found: reason = "the client does not know the device"; break;
                case bus_error:
                    reason = is(Availability::Service::absent) ? "the service is not on the bus"
                             : is(Availability::Service::running)
                                 ? "the service runs, the device does not answer"
                                 : "no answer: D-Bus error";
                    break;
                case error: reason = "an answer that could not be read"; break;
                case cut: reason = "its result is missing"; break;
            }
            add(found.told_line, found.device, Subject::availability, static_cast<Index>(i),
                passed ? Verdict::passed : Verdict::error, reason)
                .incomplete =
                found.answer == cut && !run.ends_at_menu && i + 1 == run.availabilities.size();
        }
    }

    void judge_suites()
    {
        for (std::size_t i = 0; i < run.suites.size(); ++i)
        {
            const auto& suite = run.suites[i];
            const auto index = static_cast<Index>(i);
            const auto stopped =
                !run.ends_at_menu && i + 1 == run.suites.size() && suite.done_line == 0;
            for (std::size_t category = 0; category < category_count; ++category)
            {
                judge_category(suite, index, static_cast<CategoryName>(category), stopped);
            }
            for (auto& difference : compare_suite(run, suite, stopped))
            {
                add(difference.line, suite.device, Subject::suite, index, Verdict::error,
                    difference.text);
            }
        }
    }

    /// A category that did not run.
    void judge_category(const Suite& suite, Index index, CategoryName category, bool stopped)
    {
        const auto& part = suite.parts[static_cast<std::size_t>(category)];
        if (part.line != 0 && part.aborted_line == 0)
        {
            return;
        }
        if (part.line == 0 && stopped)
        {
            return;
        }
        const auto* support =
            suite.availability == none ? nullptr : &run.availabilities[suite.availability];
        const auto unsupported =
            support != nullptr &&
            (category == CategoryName::signed_measurements ? support->signed_measurement == false
                                                           : support->measurement == false);
        const auto aborted = part.aborted_line != 0;
        add(aborted ? part.aborted_line : suite.line, suite.device, Subject::category, index,
            aborted && unsupported ? Verdict::skipped : Verdict::error,
            !aborted      ? "it did not run"
            : unsupported ? "the device does not support it"
                          : "no supported slots")
            .category = category;
    }

    void judge_monitor()
    {
        if (run.monitor_failed_line != 0)
        {
            add(run.monitor_failed_line, none, Subject::monitor, none, Verdict::error,
                run.monitor_failure.empty() ? "it failed" : run.monitor_failure);
        }
        else if (run.monitor_line != 0)
        {
            add(run.monitor_line, none, Subject::monitor, none, Verdict::passed, "");
        }
    }

    /// A device's entries share their verdict, by its EID.
    DeviceVerdict& verdict_of(Index device)
    {
        const auto key = eid(device) ? std::size_t{*eid(device)} : std::size_t{65536} + device;
        const auto [found, added] = devices.emplace(key, result.devices.size());
        if (added)
        {
            result.devices.emplace_back();
        }
        auto& verdict = result.devices[found->second];
        verdict.device = verdict.device == none ? device : std::max(verdict.device, device);
        return verdict;
    }

    static bool is_measurement_check(const Run& run, const Check& check)
    {
        if (check.subject == Subject::test)
        {
            return run.tests[check.index].expects_success;
        }
        if (check.subject != Subject::call)
        {
            return check.subject == Subject::category;
        }
        const auto operation = run.calls[check.index].operation;
        return operation == Operation::get_measurement ||
               operation == Operation::get_signed_measurement;
    }

    void count()
    {
        result.check_of_test.assign(run.tests.size(), none);
        std::vector<bool> measured;
        bool judged = false;
        for (std::size_t i = 0; i < result.checks.size(); ++i)
        {
            auto& check = result.checks[i];
            const auto index = static_cast<Index>(i);
            if (check.subject == Subject::test)
            {
                result.check_of_test[check.index] = index;
            }
            if (check.verdict != Verdict::passed)
            {
                check.what = describe(run, check);
            }
            ++result.counts[check.verdict];
            judged =
                judged || check.subject != Subject::discovery || check.verdict != Verdict::passed;
            if (check.device == none)
            {
                continue;
            }
            auto& device = verdict_of(check.device);
            ++device.counts[check.verdict];
            measured.resize(result.devices.size());
            if (check.verdict == Verdict::passed && is_measurement_check(run, check))
            {
                measured[static_cast<std::size_t>(&device - result.devices.data())] = true;
            }
        }
        result.nothing = !judged;
        result.verdict = worst(result.counts, result.counts[Verdict::passed] != 0);
        for (std::size_t i = 0; i < result.devices.size(); ++i)
        {
            result.devices[i].verdict = worst(result.devices[i].counts, measured[i]);
        }
        find_worst();
    }

    /// Skipped only where no measurement passed.
    static Verdict worst(const Counts& counts, bool measured)
    {
        if (counts[Verdict::failed] != 0)
        {
            return Verdict::failed;
        }
        if (counts[Verdict::error] != 0)
        {
            return Verdict::error;
        }
        return counts[Verdict::skipped] != 0 && !measured ? Verdict::skipped : Verdict::passed;
    }

    void find_worst()
    {
        for (std::size_t i = 0; i < result.checks.size(); ++i)
        {
            const auto& check = result.checks[i];
            if (check.device == none || check.verdict == Verdict::passed)
            {
                continue;
            }
            auto& device = verdict_of(check.device);
            if (device.worst == none && device.verdict == check.verdict)
            {
                device.worst = static_cast<Index>(i);
            }
        }
    }

    const Run& run;
    Judgement result;
    std::unordered_map<Index, Index> signed_of; ///< By call.
    std::unordered_map<std::size_t, std::size_t> devices;
};

} // namespace

Judgement judge(const Run& run)
{
    return Judge(run).all();
}

} // namespace report
