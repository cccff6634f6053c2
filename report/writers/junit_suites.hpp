#pragma once

#include "report/judge/judgement.hpp"
#include "report/model/run.hpp"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

/// The elements of a JUnit document, as text.
namespace report
{

/// A testcase that failed or was an error.
struct JunitProblem
{
    Verdict verdict = Verdict::failed;
    std::string text;
};

/// The checks of a device in a run. Where names stand for a run, the texts hold `junit_run_mark`.
struct JunitSuite
{
    std::string opening; ///< The testsuite's start tag and properties.
    Counts counts;
    std::uint64_t microseconds = 0;
    std::vector<JunitProblem> problems;
    std::string others; ///< The testcases that passed or were skipped; empty where left out.

    std::size_t size() const;
};

/// Where the run is named if it is not a controller's first: no other text can hold it.
constexpr std::string_view junit_run_mark = "&#01;";

/// More is not written to one file. What leaves something out needs some bytes to say so.
constexpr std::size_t most_junit_bytes = 8'000'000;

/// How a controller is called in the elements. Several may have the same name.
std::string junit_controller(std::string_view controller);

/// What is larger than `most_junit_bytes` lacks some cases.
std::vector<JunitSuite> junit_suites(const Run& run, const Judgement& judgement);

/// A suite without cases, for an input in which there is no run.
JunitSuite junit_suite_without_run(std::string_view controller, std::string_view file);

/// The start tag of the whole document.
std::string junit_opening(const Counts& counts, std::uint64_t microseconds);

/// The start tag of a suite for what all others leave out.
std::string junit_rest_opening(const Counts& counts, std::uint64_t microseconds);

/// What ends a suite from which so many checks were left out.
std::string junit_closing(const Counts& left_out, std::size_t suite_number);

/// The sum, or the largest number.
std::uint64_t add_microseconds(std::uint64_t some, std::uint64_t more);

} // namespace report
