#include "report/writers/junit_document.hpp"

#include "report/writers/parcel.hpp"

#include <algorithm>
#include <fmt/format.h>
#include <utility>

namespace report
{

namespace
{

/// `text` with each mark replaced.
std::string with_run(std::string_view text, std::string_view run)
{
    std::string named;
    for (auto mark = text.find(junit_run_mark); mark != std::string_view::npos;
         mark = text.find(junit_run_mark))
    {
        named.append(text.substr(0, mark)).append(run);
        text.remove_prefix(mark + junit_run_mark.size());
    }
    return named.append(text);
}

JunitSuite unpack_suite(Unpacker& packed, std::string_view run)
{
    JunitSuite suite;
    suite.opening = with_run(packed.text(), run);
    suite.counts = packed.counts();
    suite.microseconds = packed.number();
    for (auto problems = packed.number(); problems > 0; --problems)
    {
        const auto verdict = static_cast<Verdict>(packed.number());
        suite.problems.push_back({verdict, with_run(packed.text(), run)});
    }
    suite.others = with_run(packed.text(), run);
    return suite;
}

Counts left_out_of(const JunitSuite& suite)
{
    Counts left_out = suite.counts;
    for (const JunitProblem& problem : suite.problems)
    {
        --left_out[problem.verdict];
    }
    if (!suite.others.empty())
    {
        left_out[Verdict::passed] = left_out[Verdict::skipped] = 0;
    }
    return left_out;
}

} // namespace

std::string pack_junit(std::string_view controller, bool is_run,
                       const std::vector<JunitSuite>& suites)
{
    Packer packer;
    packer << controller << std::uint64_t{is_run} << suites.size();
    for (const JunitSuite& suite : suites)
    {
        packer << suite.opening << suite.counts << suite.microseconds << suite.problems.size();
        for (const JunitProblem& problem : suite.problems)
        {
            packer << static_cast<std::uint64_t>(problem.verdict) << problem.text;
        }
        packer << suite.others;
    }
    return std::move(packer.packed);
}

void JunitDocument::add(std::string_view packed_run)
{
    Unpacker packed(packed_run);
    auto& number = runs[junit_controller(packed.text())];
    number += packed.number();
    const auto run = number <= 1 ? std::string() : fmt::format("run {}: ", number);
    for (auto suites = packed.number(); suites > 0; --suites)
    {
        add(unpack_suite(packed, run));
    }
}

void JunitDocument::write(OutputFile& file) const
{
    file.append(junit_opening(counts, microseconds));
    std::size_t number = 0;
    for (const JunitSuite& suite : suites)
    {
        file.append(suite.opening);
        for (const JunitProblem& problem : suite.problems)
        {
            file.append(problem.text);
        }
        file.append(suite.others);
        file.append(junit_closing(left_out_of(suite), ++number));
    }
    if (rest.all() != 0)
    {
        file.append(junit_rest_opening(rest, rest_microseconds));
        file.append(junit_closing(rest, ++number));
    }
    file.append("</testsuites>\n");
}

void JunitDocument::add(JunitSuite&& suite)
{
    counts += suite.counts;
    microseconds = add_microseconds(microseconds, suite.microseconds);
    if (!problems_only && bytes + suite.size() > most_junit_bytes)
    {
        problems_only = true;
        bytes = 0;
        for (JunitSuite& each : std::exchange(suites, {}))
        {
            keep_problems(std::move(each));
        }
    }
    if (problems_only)
    {
        keep_problems(std::move(suite));
    }
    else
    {
        bytes += suite.size();
        suites.push_back(std::move(suite));
    }
}

void JunitDocument::keep_problems(JunitSuite&& suite)
{
    constexpr std::size_t closing_bytes = 500;
    suite.others = {};
    auto size = suite.opening.size() + closing_bytes;
    const auto fits = [&](const JunitProblem& problem) {
        size += problem.text.size();
        return bytes + size <= most_junit_bytes;
    };
    const auto end = std::find_if_not(suite.problems.begin(), suite.problems.end(), fits);
    suite.problems.erase(end, suite.problems.end());
    if (suite.problems.empty())
    {
        rest += suite.counts;
        rest_microseconds = add_microseconds(rest_microseconds, suite.microseconds);
        return;
    }
    bytes += suite.size() + closing_bytes;
    suites.push_back(std::move(suite));
}

} // namespace report
