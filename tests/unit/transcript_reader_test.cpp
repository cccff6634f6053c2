#include "tests/unit/report_transcripts.hpp"

#include <ostream>

namespace
{

using namespace report_test;

/// "first line-last line, bytes".
Texts extents_of(const std::string& text)
{
    Texts texts;
    for (const auto& run : runs_of(text))
    {
        texts.push_back(std::to_string(run.first_line) + '-' + std::to_string(run.last_line) +
                        ", " + std::to_string(run.bytes) + " bytes");
    }
    return texts;
}

struct RunsCase
{
    std::string name;
    std::string text;
    Texts runs;
};

std::ostream& operator<<(std::ostream& out, const RunsCase& row)
{
    return out << row.name;
}

class Runs : public testing::TestWithParam<RunsCase>
{
};

TEST_P(Runs, OfAText)
{
    EXPECT_EQ(extents_of(GetParam().text), GetParam().runs);
}

// The banner has 78 bytes in 3 lines, the menu 95 in 5.
const std::string once = banner + top_menu;

INSTANTIATE_TEST_SUITE_P(
    Of, Runs,
    testing::Values(
        RunsCase{"Nothing", "", {}}, RunsCase{"BlankLines", "\n\n\n", {}},
        RunsCase{"Junk", "what\nis this\n4\n", {}},
        RunsCase{"JunkLikeSomeLines",
                 std::string(60, '=') + "\nPassed: 3/4\nError: no\n1: /a\n\n  indented\n0a 0b\n"
                                        "  0000: 00 \n    0 |  1 | 2 | 3\nProgress: 50\n",
                 {}},
        RunsCase{"One", once, {"1-8, 173 bytes"}},
        RunsCase{"LastLineCut", once.substr(0, once.size() - 1), {"1-8, 172 bytes"}},
        RunsCase{"CarriageReturns", replaced(once, "\n", "\r\n"), {"1-8, 181 bytes"}},
        RunsCase{"JunkAround", "Last login\n====\n" + once + "$ exit\n", {"1-11, 196 bytes"}},
        RunsCase{"Two", once + once, {"1-8, 173 bytes", "9-16, 173 bytes"}},
        RunsCase{"JunkBetweenBelongsToTheFirst",
                 once + "junk\n" + once + once,
                 {"1-9, 178 bytes", "10-17, 173 bytes", "18-25, 173 bytes"}},
        RunsCase{"SecondCut", once + "SPDM Client Start\n", {"1-8, 173 bytes", "9-9, 18 bytes"}},
        RunsCase{"BeginningMissing", top_menu + once, {"1-5, 95 bytes", "6-13, 173 bytes"}}),
    [](const auto& info) { return info.param.name; });

TEST(Runs, AreGivenOnce)
{
    int runs = 0;
    report::TranscriptReader reader([&](report::Run&&) { ++runs; });
    reader.line("SPDM Client Start", 18);
    EXPECT_EQ(runs, 0);
    reader.finish();
    reader.finish();
    EXPECT_EQ(runs, 1);
}

TEST(Runs, KeepNothingOfEachOther)
{
    const auto runs = runs_of(operation("ReAuth Status: Failed Time taken(In us): 1\n") + once);
    ASSERT_EQ(runs.size(), 2U);
    EXPECT_EQ(calls_of(runs[0]), Texts{"12 ReAuthenticate answered status=3 us=1"});
    EXPECT_EQ(calls_of(runs[1]), Texts{});
    EXPECT_EQ(devices_of(runs[1]), Texts{});
}

/// A forged beginning leaves the first conversation without its end.
TEST(Runs, BeginningInADevicesText)
{
    const auto runs =
        runs_of(activity(table_head + "    0 |   12 |   \nSPDM Client Start\n" + " | /cpu_12\n"));
    ASSERT_EQ(runs.size(), 2U);
    EXPECT_EQ(findings_of(runs[0]), Texts{"error transcript: it stops in an activity"});
}

} // namespace
