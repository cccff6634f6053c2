#include "report/writers/summary.hpp"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <unistd.h>

namespace
{

using namespace report;

/// Two devices: one passed; of the other a check failed.
report::Run two_devices()
{
    report::Run run;
    run.controller = "bmc7";
    run.name = run.file = "bmc7.txt";
    Device cpu;
    cpu.eid = 10;
    cpu.path = "/spdm/cpu/cpu_10";
    cpu.xmid = "CPU-0";
    Device nic;
    nic.eid = 20;
    nic.path = "/spdm/nic/nic_20";
    run.devices = {cpu, nic};
    return run;
}

Check check(Index device, Verdict verdict, std::string what, std::string reason, Line line)
{
    Check made;
    made.line = line;
    made.device = device;
    made.verdict = verdict;
    made.what = std::move(what);
    made.reason = std::move(reason);
    return made;
}

/// As judge() would give it, the devices' rows by what was checked last.
Judgement judged(std::vector<Check> checks)
{
    Judgement judgement;
    std::array<DeviceVerdict, 2> devices;
    for (const Check& one : checks)
    {
        ++judgement.counts[one.verdict];
        if (one.device != none)
        {
            devices[one.device].device = one.device;
            devices[one.device].verdict = one.verdict;
            ++devices[one.device].counts[one.verdict];
        }
    }
    std::copy_if(devices.begin(), devices.end(), std::back_inserter(judgement.devices),
                 [](const DeviceVerdict& device) { return device.device != none; });
    judgement.checks = std::move(checks);
    return judgement;
}

const Check passed_check = check(0, Verdict::passed, "", "", 5);
const Check failed_check = check(1, Verdict::failed, "ReAuthenticate", "Failed", 7);

class SummaryTest : public testing::Test
{
  protected:
    SummaryTest()
    {
        std::string folder = testing::TempDir() + "summaryXXXXXX";
        path = std::filesystem::path(mkdtemp(folder.data())) / "summary";
    }

    ~SummaryTest() override
    {
        std::filesystem::remove_all(std::filesystem::path(path).parent_path());
    }

    void open(std::size_t controllers, Terminal terminal = {})
    {
        summary = std::make_unique<Summary>(path, terminal, controllers);
        totals = {};
    }

    void add(const report::Run& run, const Judgement& judgement)
    {
        summary->append(summary->prepare(run, judgement));
        ++totals.inputs;
        ++totals.runs;
        for (const Check& one : judgement.checks)
        {
            ++totals.counts[one.verdict];
        }
    }

    std::string text()
    {
        summary->finish(totals);
        std::ostringstream text;
        text << std::ifstream(path).rdbuf();
        return text.str();
    }

    std::string text_of(const report::Run& run, const Judgement& judgement)
    {
        open(1);
        add(run, judgement);
        return text();
    }

    std::string path;
    std::unique_ptr<Summary> summary;
    Totals totals;
};

TEST_F(SummaryTest, FailuresComeFirst)
{
    EXPECT_EQ(text_of(two_devices(), judged({passed_check, failed_check})),
              "✗ failed  nic_20 (EID 20)  ReAuthenticate: Failed  bmc7.txt:7\n"
              "\n"
              "bmc7\n"
              "  EID  XMID   Path    Verdict   Passed  Failed  Errors  Skipped\n"
              "   10  CPU-0  cpu_10  ✓ passed       1       0       0        0\n"
              "   20         nic_20  ✗ failed       0       1       0        0\n"
              "\n"
              "1 input, 1 run, 2 checks: 1 passed, 1 failed, 0 errors, 0 skipped\n"
              "✗ FAILED\n");
}

TEST_F(SummaryTest, SkippedChecksAreGroupedByReason)
{
    EXPECT_EQ(text_of(two_devices(),
                      judged({check(0, Verdict::skipped, "GetMeasurement", "not supported", 8),
                              check(0, Verdict::skipped, "GetAll", "no slot", 9),
                              check(0, Verdict::skipped, "GetAll", "not supported", 10)})),
              "- skipped CPU-0 (EID 10)  2 checks: not supported  bmc7.txt:8\n"
              "- skipped CPU-0 (EID 10)  GetAll: no slot  bmc7.txt:9\n"
              "\n"
              "bmc7\n"
              "  EID  XMID   Path    Verdict    Passed  Failed  Errors  Skipped\n"
              "   10  CPU-0  cpu_10  - skipped       0       0       0        3\n"
              "\n"
              "1 input, 1 run, 3 checks: 0 passed, 0 failed, 0 errors, 3 skipped\n"
              "✓ PASSED\n");
}

TEST_F(SummaryTest, WhatNoDeviceAnswersForHasARowWhereItWentWrong)
{
    const auto text =
        text_of(two_devices(), judged({check(none, Verdict::error, "transcript", "it stops", 99)}));
    EXPECT_EQ(text, "! error   transcript: it stops  bmc7.txt:99\n"
                    "\n"
                    "bmc7\n"
                    "  Path            Verdict  Passed  Failed  Errors  Skipped\n"
                    "  the run itself  ! error       0       0       1        0\n"
                    "\n"
                    "1 input, 1 run, 1 check: 0 passed, 0 failed, 1 error, 0 skipped\n"
                    "! ERROR: not everything was proved\n");
}

TEST_F(SummaryTest, EqualFailuresAreOneLine)
{
    const auto text =
        text_of(two_devices(), judged({failed_check, failed_check,
                                       check(1, Verdict::error, "ReAuthenticate", "Failed", 9)}));
    EXPECT_TRUE(
        text.starts_with("✗ failed  nic_20 (EID 20)  ReAuthenticate: Failed (2 times)  bmc7.txt:7\n"
                         "! error   nic_20 (EID 20)  ReAuthenticate: Failed  bmc7.txt:9\n"
                         "\n"))
        << text;
}

std::size_t lines_that_begin(const std::string& text, const std::string& start)
{
    std::size_t lines = 0;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);)
    {
        lines += line.starts_with(start) ? 1U : 0U;
    }
    return lines;
}

TEST_F(SummaryTest, OfVeryManyFailuresOfADeviceSomeAreShown)
{
    std::vector<Check> checks;
    for (Line line = 1; line <= 51; ++line)
    {
        checks.push_back(check(1, Verdict::failed, "GetAll", std::to_string(line), line));
        if (line == 1)
        {
            EXPECT_EQ(lines_that_begin(text_of(two_devices(), judged(checks)), "✗ failed"), 1U);
        }
    }
    checks.push_back(check(0, Verdict::failed, "GetAll", "other", 99));
    const auto text = text_of(two_devices(), judged(checks));
    EXPECT_EQ(lines_that_begin(text, "✗ failed"), 21U);
    EXPECT_NE(text.find("GetAll: 20  bmc7.txt:20\n"
                        "          … and 31 more of nic_20 (EID 20); all of them: spdm-report "
                        "--ndjson - bmc7.txt\n"
                        "✗ failed  CPU-0 (EID 10)  GetAll: other"),
              std::string::npos)
        << text;

    checks.erase(checks.begin());
    EXPECT_EQ(lines_that_begin(text_of(two_devices(), judged(checks)), "✗ failed"), 51U);
}

TEST_F(SummaryTest, RunsOfAControllerShareATable)
{
    open(2);
    report::Run run = two_devices();
    add(run, judged({passed_check}));
    add(run, judged({check(0, Verdict::failed, "GetAll", "wrong", 5), failed_check}));
    run.controller = "bmc8";
    add(run, judged({failed_check}));
    EXPECT_EQ(text(), "✗ failed  bmc7: CPU-0 (EID 10)  GetAll: wrong  bmc7.txt:5\n"
                      "✗ failed  bmc7: nic_20 (EID 20)  ReAuthenticate: Failed  bmc7.txt:7\n"
                      "✗ failed  bmc8: nic_20 (EID 20)  ReAuthenticate: Failed  bmc7.txt:7\n"
                      "\n"
                      "bmc7\n"
                      "  EID  XMID   Path    Verdict   Passed  Failed  Errors  Skipped\n"
                      "   10  CPU-0  cpu_10  ✗ failed       1       1       0        0\n"
                      "   20         nic_20  ✗ failed       0       1       0        0\n"
                      "\n"
                      "bmc8\n"
                      "  EID  Path    Verdict   Passed  Failed  Errors  Skipped\n"
                      "   20  nic_20  ✗ failed       0       1       0        0\n"
                      "\n"
                      "3 inputs, 3 runs, 4 checks: 1 passed, 3 failed, 0 errors, 0 skipped\n"
                      "✗ FAILED\n");
}

TEST_F(SummaryTest, ManyControllersHaveALineEach)
{
    open(6);
    report::Run run = two_devices();
    add(run, judged({passed_check, check(0, Verdict::skipped, "GetAll", "no slot", 9)}));
    add(run, judged({passed_check}));
    run.controller = "bmc8";
    add(run, judged({check(0, Verdict::error, "GetAll", "no answer", 9)}));
    run.controller = "bmc9";
    Judgement nothing;
    nothing.nothing = true;
    add(run, nothing);
    summary->append(summary->prepare_without_runs("bmc10", "empty"));
    totals.counts[Verdict::passed] += 1234567;
    EXPECT_EQ(text(), "! error   bmc8: CPU-0 (EID 10)  GetAll: no answer  bmc7.txt:9\n"
                      "? nothing no call and no test to judge  bmc7.txt:0\n"
                      "? nothing no conversation  empty\n"
                      "\n"
                      "  Controller  Runs  Verdict    Passed  Failed  Errors  Skipped\n"
                      "  bmc7           2  ✓ passed        2       0       0        1\n"
                      "  bmc8           1  ! error         0       0       1        0\n"
                      "  bmc9           1  ? nothing       0       0       0        0\n"
                      "  bmc10          0  ? nothing       0       0       0        0\n"
                      "\n"
                      "4 inputs, 4 runs, 1,234,571 checks: 1,234,569 passed, 0 failed, 1 error, 1 "
                      "skipped\n"
                      "! ERROR: not everything was proved\n");
}

TEST_F(SummaryTest, FiveControllersHaveTables)
{
    open(5);
    add(two_devices(), judged({check(0, Verdict::skipped, "GetAll", "no slot", 9)}));
    add(two_devices(), judged({check(0, Verdict::skipped, "GetAll", "no slot", 12)}));
    EXPECT_EQ(text(), "- skipped bmc7: CPU-0 (EID 10)  2 checks: no slot  bmc7.txt:9\n"
                      "\n"
                      "bmc7\n"
                      "  EID  XMID   Path    Verdict    Passed  Failed  Errors  Skipped\n"
                      "   10  CPU-0  cpu_10  - skipped       0       0       0        2\n"
                      "\n"
                      "2 inputs, 2 runs, 2 checks: 0 passed, 0 failed, 0 errors, 2 skipped\n"
                      "✓ PASSED\n");
}

TEST_F(SummaryTest, InputsWithoutRunsAreNamed)
{
    open(1);
    summary->append(summary->prepare_without_runs("empty", "empty\x1B.txt"));
    totals.inputs = totals.nothing_to_judge = 1;
    EXPECT_EQ(text(), "? nothing no conversation  empty\\x1B.txt\n"
                      "\n"
                      "1 input, 0 runs, 0 checks: 0 passed, 0 failed, 0 errors, 0 skipped\n"
                      "? NOTHING TO JUDGE\n");
}

TEST_F(SummaryTest, TheVerdictIsTheWorst)
{
    const auto verdict = [this] {
        const auto whole = text();
        return whole.substr(whole.rfind('\n', whole.size() - 2) + 1);
    };
    open(1);
    totals.counts[Verdict::passed] = 1;
    EXPECT_EQ(verdict(), "✓ PASSED\n");
    open(1);
    add(two_devices(), judged({passed_check}));
    totals.nothing_to_judge = 1;
    EXPECT_EQ(verdict(), "? NOTHING TO JUDGE in a part of the input\n");
    open(1);
    totals.nothing_to_judge = 1;
    totals.unreadable = 1;
    EXPECT_EQ(verdict(), "! ERROR: not everything was read\n");
    open(1);
    totals.unreadable = 1;
    totals.counts[Verdict::error] = 1;
    EXPECT_EQ(verdict(), "! ERROR: not everything was proved\n");
    open(1);
    totals.counts[Verdict::error] = 1;
    totals.counts[Verdict::failed] = 1;
    EXPECT_EQ(verdict(), "✗ FAILED\n");
}

TEST_F(SummaryTest, CountsNotesAndUnreadableInputs)
{
    open(1);
    totals.notes = 1234;
    totals.unreadable = 2;
    EXPECT_NE(text().find("0 skipped\n1,234 lines not known; 2 inputs could not be read\n"),
              std::string::npos);
}

TEST_F(SummaryTest, SaysThatSignaturesAreNotVerified)
{
    report::Run run = two_devices();
    const std::string warning =
        "Signatures are not verified, only the structure of signed measurements.\n";
    EXPECT_FALSE(text_of(run, judged({passed_check})).ends_with(warning));
    run.signed_measurements.resize(1);
    EXPECT_TRUE(text_of(run, judged({passed_check})).ends_with(warning));
    open(6);
    add(run, judged({passed_check}));
    EXPECT_TRUE(text().ends_with(warning));
}

TEST_F(SummaryTest, TextsOfDevicesAreMadeSafe)
{
    report::Run run = two_devices();
    run.controller = "b\nc";
    run.devices[1].xmid = "\x1B[31mNIC";
    run.file = "a\r.txt";
    const auto text =
        text_of(run, judged({check(1, Verdict::failed, "Get\x9B", "\xE2\x80\xAE", 7)}));
    EXPECT_TRUE(
        text.starts_with("✗ failed  \\x1B[31mNIC (EID 20)  Get\\x9B: \\u202E  a\\x0D.txt:7\n"
                         "\n"
                         "b\\x0Ac\n"))
        << text;
    EXPECT_NE(text.find("   20  \\x1B[31mNIC  nic_20"), std::string::npos) << text;
}

TEST_F(SummaryTest, FitsATerminal)
{
    open(1, {true, 60});
    report::Run run = two_devices();
    run.devices[1].xmid = "NIC-OF-A-LONG-NAME";
    add(run, judged({passed_check, failed_check}));
    const std::string bad = "\x1B[1;31m";
    const std::string end = "\x1B[0m";
    const auto shown = text();
    EXPECT_TRUE(shown.starts_with(bad + "✗" + end + " " + bad + "failed" + end)) << shown;
    EXPECT_NE(shown.find("  ReAuthenticate:\n          Failed  \x1B[2mbmc7.txt:7" + end + "\n"),
              std::string::npos)
        << shown;
    EXPECT_NE(shown.find("NIC-O…"), std::string::npos) << shown;
}

} // namespace
