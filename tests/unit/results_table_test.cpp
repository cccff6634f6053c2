#include "name_of.hpp"
#include "suites/results_table.hpp"

#include <gtest/gtest.h>

#include <sstream>

namespace
{

const std::string equals_73 =
    "=========================================================================\n";
const std::string dashes_73 =
    "-------------------------------------------------------------------------\n";

std::string results(const CategoryResults& categories, const DeviceDescriptor& device = {})
{
    std::ostringstream out;
    print_results(out, 12, device, categories);
    return out.str();
}

bool contains(const std::string& text, const std::string& part)
{
    return text.find(part) != std::string::npos;
}

TEST(Results, OfAllTestsPassed)
{
    const CategoryResults categories{
        {"Normal Measurements", {8, 8}},
        {"Signed Measurements", {8, 8}},
        {"Failure Tests (Expected)", {7, 7}},
        {"Stress Tests", {26, 26}},
    };
    EXPECT_EQ(
        results(categories, {"CPU-12", "Processor 12"}),
        "\n" + equals_73 +
            "|                   COMPREHENSIVE TEST RESULTS TABLE                   |\n" +
            equals_73 +
            "DEVICE INFORMATION:\n"
            "• Device EID: 12\n"
            "• XMID: CPU-12\n"
            "• Description: Processor 12\n" +
            dashes_73 +
            "| Test Category                   |  Passed|   Total| Success %| Status     |\n" +
            dashes_73 +
            "| Failure Tests (Expected)        |       7|       7|      100% | ✓ PASS  |\n"
            "| Normal Measurements             |       8|       8|      100% | ✓ PASS  |\n"
            "| Signed Measurements             |       8|       8|      100% | ✓ PASS  |\n"
            "| Stress Tests                    |      26|      26|      100% | ✓ PASS  |\n" +
            dashes_73 +
            "| OVERALL SUMMARY                 |      49|      49|      100% | ✓ ALL PASS |\n" +
            equals_73 +
            "\nTest Execution Details:\n"
            "• Total Test Categories: 4\n"
            "• Total Individual Tests: 49\n"
            "• Overall Success Rate: 100%\n"
            "🎉 EXCELLENT: All tests passed successfully!\n");
}

struct GradeCase
{
    std::string name;
    CategoryResult result;
    std::string row;
    std::string overall_row;
    std::string verdict;
};

std::ostream& operator<<(std::ostream& out, const GradeCase& grade)
{
    return out << grade.result.passed << " of " << grade.result.total;
}

class Grades : public testing::TestWithParam<GradeCase>
{
};

/// With a single category, its rate is also the overall rate.
TEST_P(Grades, OfARate)
{
    const auto text = results({{"Stress Tests", GetParam().result}});
    EXPECT_TRUE(contains(text, "\n" + GetParam().row + "\n")) << text;
    EXPECT_TRUE(contains(text, "\n" + GetParam().overall_row + "\n")) << text;
    EXPECT_TRUE(contains(text, "%\n" + GetParam().verdict + "\n")) << text;
}

const std::string excellent = "🎉 EXCELLENT: All tests passed successfully!";
const std::string good = "✅ GOOD: Most tests passed. Review failed cases.";
const std::string attention = "⚠️  ATTENTION: Significant test failures detected.";

INSTANTIATE_TEST_SUITE_P(
    Rates, Grades,
    testing::Values(
        GradeCase{"All",
                  {100, 100},
                  "| Stress Tests                    |     100|     100|      100% | ✓ PASS  |",
                  "| OVERALL SUMMARY                 |     100|     100|      100% | ✓ ALL PASS |",
                  excellent},
        GradeCase{"AlmostAll",
                  {999, 1000},
                  "| Stress Tests                    |     999|    1000|       99% | ⚠ WARN  |",
                  "| OVERALL SUMMARY                 |     999|    1000|       99% | ⚠ GOOD  |",
                  good},
        GradeCase{"Ninety",
                  {90, 100},
                  "| Stress Tests                    |      90|     100|       90% | ⚠ WARN  |",
                  "| OVERALL SUMMARY                 |      90|     100|       90% | ⚠ GOOD  |",
                  good},
        GradeCase{
            "EightyNine",
            {89, 100},
            "| Stress Tests                    |      89|     100|       89% | ⚠ WARN  |",
            "| OVERALL SUMMARY                 |      89|     100|       89% | ✗ NEEDS ATTENTION |",
            attention},
        GradeCase{
            "Eighty",
            {4, 5},
            "| Stress Tests                    |       4|       5|       80% | ⚠ WARN  |",
            "| OVERALL SUMMARY                 |       4|       5|       80% | ✗ NEEDS ATTENTION |",
            attention},
        GradeCase{
            "SeventyNine",
            {79, 100},
            "| Stress Tests                    |      79|     100|       79% | ✗ FAIL  |",
            "| OVERALL SUMMARY                 |      79|     100|       79% | ✗ NEEDS ATTENTION |",
            attention},
        GradeCase{
            "TwoThirdsAreTruncated",
            {2, 3},
            "| Stress Tests                    |       2|       3|       66% | ✗ FAIL  |",
            "| OVERALL SUMMARY                 |       2|       3|       66% | ✗ NEEDS ATTENTION |",
            attention},
        GradeCase{
            "NothingRan",
            {0, 0},
            "| Stress Tests                    |       0|       0|        0% | ✗ FAIL  |",
            "| OVERALL SUMMARY                 |       0|       0|        0% | ✗ NEEDS ATTENTION |",
            attention}),
    name_of);

TEST(Results, CountTheOverallRateFromTheSums)
{
    const auto text = results({{"Normal Measurements", {1, 1}}, {"Stress Tests", {0, 9}}});
    EXPECT_TRUE(contains(text, "\n• Total Test Categories: 2\n"
                               "• Total Individual Tests: 10\n"
                               "• Overall Success Rate: 10%\n"));
}

TEST(Results, OfADeviceThatSaysNothingOfItself)
{
    EXPECT_TRUE(contains(results({}), "\nDEVICE INFORMATION:\n"
                                      "• Device EID: 12\n"
                                      "• XMID: Not available\n"
                                      "• Description: Not available\n"));
}

TEST(Results, LeaveTheStreamsFormat)
{
    std::ostringstream out;
    out << std::left;
    out.fill('#');
    const auto flags = out.flags();
    print_results(out, 1, {}, {{"Stress Tests", {1, 2}}});
    EXPECT_EQ(out.flags(), flags);
    EXPECT_EQ(out.fill(), '#');
    EXPECT_FALSE(contains(out.str(), "#"));
}

TEST(CategoryResult, CountsAndTruncates)
{
    CategoryResult result;
    EXPECT_EQ(result.rate(), 0U);
    result.count(true);
    EXPECT_EQ(result.rate(), 100U);
    result.count(true);
    result.count(false);
    EXPECT_EQ(result.passed, 2U);
    EXPECT_EQ(result.total, 3U);
    EXPECT_EQ(result.rate(), 66U);
    EXPECT_EQ((CategoryResult{5, 7}.rate()), 71U);
}

TEST(CategoryResult, MultipliesIn32Bits)
{
    EXPECT_EQ((CategoryResult{42949673, 42949673}.rate()), 0U);
}

} // namespace
