#include "report/judge/suite_comparison.hpp"

#include <gtest/gtest.h>

#include <array>
#include <functional>
#include <ostream>
#include <string>
#include <vector>

namespace
{

using report::CategoryName;
using report::Run;
using report::Suite;
using report::Test;

/// A suite of a device with one slot: 4, 4, 7 and 23 tests, all passed.
Run good()
{
    Run run;
    Suite suite;
    suite.line = 10;
    suite.first_test = 0;
    suite.first_row = 0;
    constexpr std::array<std::uint32_t, 4> totals{4, 4, 7, 23};
    constexpr std::array<std::string_view, 4> names{"Normal Measurements", "Signed Measurements",
                                                    "Failure Tests (Expected)", "Stress Tests"};
    for (std::size_t i = 0; i < totals.size(); ++i)
    {
        auto& part = suite.parts.at(i);
        part.line = 100 * (i + 1);
        part.summary_line = part.line + 50;
        part.slots = 1;
        part.passed = part.total = totals.at(i);
        part.rate = 100;
        for (std::uint32_t n = 0; n < totals.at(i); ++n)
        {
            Test test;
            test.suite = 0;
            test.category = static_cast<CategoryName>(i);
            test.client_verdict = Test::ClientVerdict::passed;
            run.tests.push_back(test);
        }
        run.categories.push_back(
            {600 + i, 0, names.at(i), totals.at(i), totals.at(i), 100, "✓ PASS"});
    }
    run.categories.push_back({604, 0, "OVERALL SUMMARY", 38, 38, 100, "✓ ALL PASS"});
    suite.tests = 38;
    suite.rows = 5;
    suite.categories_told = 4;
    suite.tests_told = 38;
    suite.rate_told = 100;
    suite.verdict_told = "🎉 EXCELLENT: All tests passed successfully!";
    suite.details_line = 700;
    suite.done_line = 710;
    run.suites.push_back(suite);
    return run;
}

using Texts = std::vector<std::string>;

Texts differences(const Run& run, bool stopped = false)
{
    Texts texts;
    for (const auto& difference : compare_suite(run, run.suites.at(0), stopped))
    {
        texts.push_back(std::to_string(difference.line) + ' ' + difference.text);
    }
    return texts;
}

/// The verdict of the first `count` tests of the category that begins with test `first` is FAIL.
void fail(Run& run, std::size_t first, std::size_t count)
{
    for (auto i = first; i < first + count; ++i)
    {
        run.tests.at(i).client_verdict = Test::ClientVerdict::failed;
    }
}

struct ComparisonCase
{
    std::string name;
    std::function<void(Run&, Suite&)> change;
    Texts differences;
};

std::ostream& operator<<(std::ostream& out, const ComparisonCase& row)
{
    return out << row.name;
}

class Comparison : public testing::TestWithParam<ComparisonCase>
{
};

TEST_P(Comparison, FindsTheDifferences)
{
    auto run = good();
    GetParam().change(run, run.suites.at(0));
    EXPECT_EQ(differences(run), GetParam().differences);
}

const std::string details = "700 the execution details are not those of the verdict lines";

INSTANTIATE_TEST_SUITE_P(
    Of, Comparison,
    testing::Values(
        ComparisonCase{"Nothing", [](Run&, Suite&) {}, {}},
        ComparisonCase{"SummaryPassed",
                       [](Run&, Suite& suite) { suite.parts[0].passed = 3; },
                       {"150 the summary of Normal Measurements says 3/4, its verdict lines 4/4"}},
        ComparisonCase{"SummaryTotal",
                       [](Run&, Suite& suite) { suite.parts[1].total = 5; },
                       {"250 the summary of Signed Measurements says 4/5, its verdict lines 4/4"}},
        ComparisonCase{
            "SummaryRate",
            [](Run&, Suite& suite) { suite.parts[2].rate = 99; },
            {"350 the summary of Failure Tests (Expected) says 99%, its verdict lines 100%"}},
        ComparisonCase{"SummaryMissing",
                       [](Run&, Suite& suite) { suite.parts[3].summary_line = 0; },
                       {"400 the summary of Stress Tests is missing"}},
        ComparisonCase{"SlotsOfNormalTests",
                       [](Run&, Suite& suite) { suite.parts[0].slots = 2; },
                       {"150 Normal Measurements has 4 tests, its slots make 8"}},
        ComparisonCase{"SlotsOfStressTests",
                       [](Run&, Suite& suite) { suite.parts[3].slots = 2; },
                       {"450 Stress Tests has 23 tests, its slots make 26"}},
        ComparisonCase{"SlotsOfFailureTestsDoNotMatter",
                       [](Run&, Suite& suite) { suite.parts[2].slots = 8; },
                       {}},
        ComparisonCase{"SkippedSlot",
                       [](Run&, Suite& suite) { suite.parts[2].skipped = 1; },
                       {"350 Failure Tests (Expected) has 7 tests, its slots make 6"}},
        ComparisonCase{"RowPassed",
                       [](Run& run, Suite&) { run.categories[0].passed = 3; },
                       {"600 the table says 3/4, 100% for Normal Measurements, the verdict lines "
                        "4/4"}},
        ComparisonCase{"RowRate",
                       [](Run& run, Suite&) { run.categories[3].rate = 99; },
                       {"603 the table says 23/23, 99% for Stress Tests, the verdict lines 23/23"}},
        ComparisonCase{"RowGrade",
                       [](Run& run, Suite&) { run.categories[1].grade = "⚠ WARN"; },
                       {"601 the table's grade of Signed Measurements is not that of its rate"}},
        ComparisonCase{"RowMissing",
                       [](Run& run, Suite&) { run.categories[2].category = "Other"; },
                       {"700 the table has no row of Failure Tests (Expected)"}},
        ComparisonCase{"RowOfTheNextSuite",
                       [](Run&, Suite& suite) { suite.rows = 4; },
                       {"700 the table has no row of OVERALL SUMMARY"}},
        ComparisonCase{"RowTooMany",
                       [](Run& run, Suite& suite) {
                           run.categories.push_back({605, 0, "Other", 0, 0, 0, "✗ FAIL"});
                           suite.rows = 6;
                       },
                       {"700 the table has rows of no category"}},
        ComparisonCase{"NoRows",
                       [](Run&, Suite& suite) { suite.rows = 0; },
                       {"700 the table has no row of Normal Measurements",
                        "700 the table has no row of Signed Measurements",
                        "700 the table has no row of Failure Tests (Expected)",
                        "700 the table has no row of Stress Tests",
                        "700 the table has no row of OVERALL SUMMARY"}},
        ComparisonCase{"OverallPassed",
                       [](Run& run, Suite&) { run.categories[4].passed = 37; },
                       {"604 the table says 37/38, 100% for OVERALL SUMMARY, the verdict lines "
                        "38/38"}},
        ComparisonCase{"OverallGrade",
                       [](Run& run, Suite&) { run.categories[4].grade = "✓ PASS"; },
                       {"604 the table's grade of OVERALL SUMMARY is not that of its rate"}},
        ComparisonCase{
            "DetailsCategories", [](Run&, Suite& suite) { suite.categories_told = 3; }, {details}},
        ComparisonCase{
            "DetailsTests", [](Run&, Suite& suite) { suite.tests_told = 37; }, {details}},
        ComparisonCase{"DetailsRate", [](Run&, Suite& suite) { suite.rate_told = 99; }, {details}},
        ComparisonCase{"DetailsVerdict",
                       [](Run&, Suite& suite) {
                           suite.verdict_told = "✅ GOOD: Most tests passed. Review failed cases.";
                       },
                       {details}},
        ComparisonCase{
            "DetailsMissing", [](Run&, Suite& suite) { suite.tests_told.reset(); }, {details}},
        ComparisonCase{"DetailsHeadMissing",
                       [](Run&, Suite& suite) {
                           suite.details_line = 0;
                           suite.rate_told = 99;
                       },
                       {"710 the execution details are not those of the verdict lines"}},
        ComparisonCase{"EndMissing",
                       [](Run&, Suite& suite) { suite.done_line = 0; },
                       {"10 its end is missing"}},
        ComparisonCase{"EndAndDetailsMissing",
                       [](Run& run, Suite& suite) {
                           suite.done_line = suite.details_line = 0;
                           suite.rows = 0;
                           run.categories.clear();
                       },
                       {"10 its end is missing"}},
        ComparisonCase{"TestsOfACategoryThatAborted",
                       [](Run&, Suite& suite) { suite.parts[1].aborted_line = 240; },
                       {"10 tests of Signed Measurements, which did not run"}},
        ComparisonCase{"TestsOfACategoryThatNeverBegan",
                       [](Run&, Suite& suite) { suite.parts[1].line = 0; },
                       {"10 tests of Signed Measurements, which did not run"}},
        ComparisonCase{
            "AFailure",
            [](Run& run, Suite&) { fail(run, 0, 1); },
            {"150 the summary of Normal Measurements says 4/4, its verdict lines 3/4",
             "150 the summary of Normal Measurements says 100%, its verdict lines 75%",
             "600 the table says 4/4, 100% for Normal Measurements, the verdict lines 3/4",
             "600 the table's grade of Normal Measurements is not that of its rate",
             "604 the table says 38/38, 100% for OVERALL SUMMARY, the verdict lines 37/38",
             "604 the table's grade of OVERALL SUMMARY is not that of its rate", details}}),
    [](const auto& info) { return info.param.name; });

/// Failures of the stress tests that the client told as it does: 23 tests, of 38.
struct GradeCase
{
    std::size_t failures;
    std::uint64_t rate;
    std::string_view grade;
    std::uint64_t overall_rate;
    std::string_view overall_grade;
    std::string_view verdict;
};

std::ostream& operator<<(std::ostream& out, const GradeCase& row)
{
    return out << row.failures << " failures";
}

class Grades : public testing::TestWithParam<GradeCase>
{
};

TEST_P(Grades, AreThoseOfTheRates)
{
    const auto& row = GetParam();
    auto run = good();
    fail(run, 15, row.failures);
    auto& suite = run.suites[0];
    suite.parts[3].passed = 23 - row.failures;
    suite.parts[3].rate = row.rate;
    run.categories[3] = {603, 0, "Stress Tests", 23 - row.failures, 23, row.rate, row.grade};
    run.categories[4] = {
        604, 0, "OVERALL SUMMARY", 38 - row.failures, 38, row.overall_rate, row.overall_grade};
    suite.rate_told = row.overall_rate;
    suite.verdict_told = row.verdict;
    EXPECT_EQ(differences(run), Texts{});
}

constexpr std::string_view good_verdict = "✅ GOOD: Most tests passed. Review failed cases.";
constexpr std::string_view attention = "⚠️  ATTENTION: Significant test failures detected.";

INSTANTIATE_TEST_SUITE_P(
    Of, Grades,
    testing::Values(GradeCase{1, 95, "⚠ WARN", 97, "⚠ GOOD", good_verdict},
                    GradeCase{3, 86, "⚠ WARN", 92, "⚠ GOOD", good_verdict},
                    GradeCase{4, 82, "⚠ WARN", 89, "✗ NEEDS ATTENTION", attention},
                    GradeCase{5, 78, "✗ FAIL", 86, "✗ NEEDS ATTENTION", attention},
                    GradeCase{23, 0, "✗ FAIL", 39, "✗ NEEDS ATTENTION", attention}));

/// The rows of the table that differ: their lines.
Texts differing_rows(const Run& run)
{
    Texts lines;
    for (const auto& text : differences(run))
    {
        if (text.find("table") != std::string::npos)
        {
            lines.push_back(text.substr(0, text.find(' ')));
        }
    }
    return lines;
}

/// Of 30 tests 27 pass, of 5 normal ones 4.
TEST(Grades, AtTheirLimits)
{
    auto run = good();
    run.suites[0].tests = 30;
    run.tests.resize(30);
    run.tests[29].category = CategoryName::normal;
    fail(run, 28, 2); // Of the stress tests, of which 14 are left.
    run.tests[0].client_verdict = report::Test::ClientVerdict::failed;
    run.categories[0] = {600, 0, "Normal Measurements", 3, 5, 60, "✗ FAIL"};
    run.categories[3] = {603, 0, "Stress Tests", 13, 14, 92, "⚠ WARN"};
    run.categories[4] = {604, 0, "OVERALL SUMMARY", 27, 30, 90, "⚠ GOOD"};
    EXPECT_EQ(differing_rows(run), Texts{});
    run.tests[0].client_verdict = report::Test::ClientVerdict::passed;
    EXPECT_EQ(differing_rows(run), (Texts{"600", "600", "604"}));
    run.categories[0] = {600, 0, "Normal Measurements", 4, 5, 80, "⚠ WARN"};
    EXPECT_EQ(differing_rows(run), Texts{"604"});
}

TEST(Comparison, OfASuiteThatAborts)
{
    auto run = good();
    auto& suite = run.suites[0];
    run.tests.clear();
    suite.tests = 0;
    for (auto& part : suite.parts)
    {
        part.aborted_line = part.line + 1;
        part.summary_line = 0;
    }
    for (auto& row : run.categories)
    {
        row.passed = row.total = row.rate = 0;
        row.grade = "✗ FAIL";
    }
    run.categories[4].grade = "✗ NEEDS ATTENTION";
    suite.tests_told = suite.rate_told = 0;
    suite.verdict_told = attention;
    EXPECT_EQ(differences(run), Texts{});
}

TEST(Comparison, WhereTheTranscriptStops)
{
    auto run = good();
    auto& suite = run.suites[0];
    run.tests.resize(20);
    suite.tests = 20;
    suite.parts[3].summary_line = 0;
    suite.rows = 0;
    suite.details_line = suite.done_line = 0;
    EXPECT_EQ(differences(run, true), Texts{});
    EXPECT_EQ(differences(run, false),
              (Texts{"400 the summary of Stress Tests is missing", "10 its end is missing"}));
}

} // namespace
