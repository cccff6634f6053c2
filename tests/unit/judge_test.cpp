#include "tests/unit/suite_text.hpp"

#include <array>
#include <ostream>

namespace
{

using namespace report_test;
using report::Verdict;

const std::string passed = "ReAuth Status: Passed Time taken(In us): 1\n";
const std::string failed = "ReAuth Status: Failed Time taken(In us): 1\n";

std::string measured(int status, const std::string& text)
{
    const auto code = std::to_string(status);
    return "DEBUG: Calling D-Bus method on object: " + cpu_path +
           "\nDEBUG: Reading D-Bus reply...\nDEBUG: Read status: " + code +
           "\nDEBUG: Read NumMeasurements: 0\nDEBUG: Read measurement data, size: 0\n" +
           "Get Measurement Status: " + code + " (" + text +
           ") NumMeasurements: 0 Time taken (in us): 7\n";
}

struct JudgeCase
{
    std::string name;
    std::string text;
    Verdict verdict;
    std::array<std::uint64_t, 4> counts; ///< passed, failed, errors, skipped
    Texts findings;
};

std::ostream& operator<<(std::ostream& out, const JudgeCase& row)
{
    return out << row.name;
}

class Judged : public testing::TestWithParam<JudgeCase>
{
};

TEST_P(Judged, ByItsChecks)
{
    const auto run = run_of(GetParam().text);
    const auto judgement = judge(run);
    EXPECT_EQ(judgement.verdict, GetParam().verdict);
    EXPECT_EQ(judgement.counts.of, GetParam().counts);
    EXPECT_EQ(findings_of(run), GetParam().findings);
    EXPECT_FALSE(judgement.nothing);
}

INSTANTIATE_TEST_SUITE_P(
    Of, Judged,
    testing::Values(
        JudgeCase{"APass", operation(passed), Verdict::passed, {2, 0, 0, 0}, {}},
        JudgeCase{"AFailure",
                  operation(failed),
                  Verdict::failed,
                  {1, 1, 0, 0},
                  {"failed ReAuthenticate: Failed"}},
        JudgeCase{
            "AFailureAndAnError",
            operation(failed + operations_menu + "Object name not found.\n"),
            Verdict::failed,
            {1, 1, 1, 0},
            {"failed ReAuthenticate: Failed", "error a call: the client does not know the device"}},
        JudgeCase{"AnErrorAndASkip",
                  operation("Object name not found.\n" + operations_menu +
                            measured(10, "Measurement Not Supported")),
                  Verdict::error,
                  {1, 0, 1, 1},
                  {"error a call: the client does not know the device",
                   "skipped GetMeasurement: Measurement Not Supported"}},
        JudgeCase{"ASkip",
                  operation(measured(11, "Measurement Summary Not Available")),
                  Verdict::passed, // The discovery did.
                  {1, 0, 0, 1},
                  {"skipped GetMeasurement: Measurement Summary Not Available"}},
        JudgeCase{"AStatusWithoutAText",
                  operation(measured(77, "")),
                  Verdict::failed,
                  {1, 1, 0, 0},
                  {"failed GetMeasurement: status 77"}},
        JudgeCase{"AnEmptyWord",
                  operation("Certificate Status:  Time taken(In us): 7\n"),
                  Verdict::failed,
                  {1, 1, 0, 0},
                  {"failed GetCertificateProperties: no status"}},
        JudgeCase{"AMonitorThatFailed",
                  operation("Press -1 to stop monitoring\nSomething went wrong :\n"),
                  Verdict::error,
                  {1, 0, 1, 0},
                  {"error monitor: it failed"}},
        JudgeCase{"ASilentCall",
                  operation(""),
                  Verdict::error,
                  {1, 0, 1, 0},
                  {"error ReAuthenticate: it printed nothing: a status without a word, or its line "
                   "is missing"}},
        JudgeCase{"ASilentCallWithASlot",
                  operation("Please Enter Slot Number: "),
                  Verdict::error,
                  {1, 0, 1, 0},
                  {"error a call: it printed nothing: a status without a word, or its line is "
                   "missing"}},
        JudgeCase{"TheMonitor",
                  operation("Press -1 to stop monitoring\n"),
                  Verdict::passed,
                  {2, 0, 0, 0},
                  {}},
        JudgeCase{"TheMonitorWithoutItsMenu",
                  operation(passed + "Press -1 to stop monitoring\n"),
                  Verdict::error,
                  {3, 0, 1, 0},
                  {"error transcript: the monitor started without a choice"}},
        JudgeCase{"AFailedDiscovery",
                  banner +
                      "ERROR: Failed to retrieve SPDM objects. Check D-Bus service "
                      "availability.\n" +
                      top_menu,
                  Verdict::error,
                  {0, 0, 1, 0},
                  {"error discovery: the devices could not be asked for"}},
        JudgeCase{"AMissingDiscovery",
                  "SPDM Client Start\nInitialization successful\n" + top_menu,
                  Verdict::error,
                  {0, 0, 1, 0},
                  {"error transcript: the discovery's line is missing"}},
        JudgeCase{"AMissingBeginning",
                  top_menu,
                  Verdict::error,
                  {0, 0, 1, 0},
                  {"error transcript: its beginning is missing"}},
        JudgeCase{"AMissingEnd",
                  operations_begin(passed),
                  Verdict::error,
                  {2, 0, 1, 0},
                  {"error transcript: it stops in the operations on a device"}},
        JudgeCase{"AContradiction",
                  operation(passed + passed),
                  Verdict::error,
                  {3, 0, 1, 0},
                  {"error transcript: the calls are not those of one choice"}},
        JudgeCase{"NotesAlone",
                  operation("what is this\n" + passed + "and this\n"),
                  Verdict::passed,
                  {2, 0, 0, 0},
                  {}}),
    [](const auto& info) { return info.param.name; });

TEST(Nothing, ButADiscovery)
{
    EXPECT_TRUE(judge(run_of(banner + top_menu)).nothing);
    EXPECT_TRUE(judge(run_of(activity("Available SPDM objects:\nNo objects found\n"))).nothing);
    EXPECT_TRUE(judge(run_of(activity(device_table))).nothing);
    EXPECT_FALSE(judge(run_of(banner)).nothing);
}

TEST(Checks, AreInTheOrderOfTheirLines)
{
    const auto judgement = judge(run_of(operation(failed) + "x\n"));
    std::vector<report::Line> lines;
    for (const auto& check : judgement.checks)
    {
        lines.push_back(check.line);
    }
    EXPECT_EQ(lines, (std::vector<report::Line>{3, 33}));
}

TEST(Checks, AreOfTheirDevices)
{
    const auto run =
        run_of(operation(passed + operations_menu + failed + top_menu + device_table +
                         "Selected device: EID=40\n" + operations_menu + measured(10, "x")));
    // The measurement names its object: the CPU.
    const auto judgement = judge(run);
    ASSERT_EQ(judgement.devices.size(), 1U);
    EXPECT_EQ(judgement.devices[0].device, 0U);
    EXPECT_EQ(judgement.devices[0].verdict, Verdict::failed);
    EXPECT_EQ(judgement.devices[0].counts.of, (std::array<std::uint64_t, 4>{1, 1, 0, 1}));
    EXPECT_EQ(judgement.checks.at(judgement.devices[0].worst).reason, "Failed");
}

struct DeviceCase
{
    std::string name;
    std::string said;
    Verdict verdict;
    std::string worst;
};

std::ostream& operator<<(std::ostream& out, const DeviceCase& row)
{
    return out << row.name;
}

class OfADevice : public testing::TestWithParam<DeviceCase>
{
};

TEST_P(OfADevice, TheWorst)
{
    const auto judgement = judge(run_of(operation(GetParam().said)));
    ASSERT_EQ(judgement.devices.size(), 1U);
    const auto& device = judgement.devices[0];
    EXPECT_EQ(device.verdict, GetParam().verdict);
    EXPECT_EQ(device.worst == report::none ? "" : judgement.checks.at(device.worst).reason,
              GetParam().worst);
}

const std::string skipped = measured(10, "Measurement Not Supported");
const std::string success = measured(0, "Success");
const std::string unknown = "Object name not found.\n";

INSTANTIATE_TEST_SUITE_P(
    Verdicts, OfADevice,
    testing::Values(DeviceCase{"Passed", passed, Verdict::passed, ""},
                    DeviceCase{"Skipped", passed + operations_menu + skipped, Verdict::skipped,
                               "Measurement Not Supported"},
                    DeviceCase{"SkippedOnce", success + operations_menu + skipped, Verdict::passed,
                               ""},
                    DeviceCase{"Error", unknown + operations_menu + skipped, Verdict::error,
                               "the client does not know the device"},
                    DeviceCase{"Failed",
                               unknown + operations_menu + failed + operations_menu +
                                   measured(9, "Get Measurement Failed"),
                               Verdict::failed, "Failed"}),
    [](const auto& info) { return info.param.name; });

/// A device that the table shows again with another XMID is still the same.
TEST(OfADevice, ItsEntriesTogether)
{
    const auto run =
        run_of(operation(failed) + replaced(device_table, "CPU-12", "CPU-13") +
               "Selected device: EID=12\n" + operations_menu + passed + operations_menu + top_menu);
    ASSERT_EQ(run.devices.size(), 3U);
    const auto judgement = judge(run);
    ASSERT_EQ(judgement.devices.size(), 1U);
    EXPECT_EQ(judgement.devices[0].device, 2U);
    EXPECT_EQ(judgement.devices[0].verdict, Verdict::failed);
    EXPECT_EQ(judgement.devices[0].counts.of, (std::array<std::uint64_t, 4>{1, 1, 0, 0}));
}

struct CircumstancesCase
{
    std::string name;
    report::Circumstances circumstances;
    Texts findings;
    bool incomplete;
};

std::ostream& operator<<(std::ostream& out, const CircumstancesCase& row)
{
    return out << row.name;
}

class OfTheCircumstances : public testing::TestWithParam<CircumstancesCase>
{
};

TEST_P(OfTheCircumstances, Findings)
{
    auto run = run_of(operation(passed));
    run.circumstances = GetParam().circumstances;
    EXPECT_EQ(findings_of(run), GetParam().findings);
    bool incomplete = false;
    for (const auto& check : judge(run).checks)
    {
        incomplete = incomplete || check.incomplete;
    }
    EXPECT_EQ(incomplete, GetParam().incomplete);
}

INSTANTIATE_TEST_SUITE_P(
    Of, OfTheCircumstances,
    testing::Values(CircumstancesCase{"None", {}, {}, false},
                    CircumstancesCase{"Complete", {"", "", "complete", 0, {}}, {}, false},
                    CircumstancesCase{"Interrupted",
                                      {"", "", "interrupted", {}, {}},
                                      {"error transcript: the run did not complete: interrupted"},
                                      true},
                    CircumstancesCase{"Status",
                                      {"", "", "complete", 1, {}},
                                      {"error transcript: the client ended with status 1"},
                                      false},
                    CircumstancesCase{"Signal",
                                      {"", "", "client-ended", 134, 6},
                                      {"error transcript: the run did not complete: client-ended",
                                       "error transcript: the client died of signal 6"},
                                      true}),
    [](const auto& info) { return info.param.name; });

/// Which errors are there because the transcript stops.
Texts incomplete_of(const std::string& text)
{
    Texts texts;
    for (const auto& check : judge(run_of(text)).checks)
    {
        if (check.incomplete)
        {
            texts.push_back(check.what + ": " + check.reason);
        }
    }
    return texts;
}

TEST(Incomplete, WhereTheTranscriptStops)
{
    const auto calling = "DEBUG: Calling D-Bus method on object: " + cpu_path + "\n";
    EXPECT_EQ(incomplete_of(operations_begin(calling)),
              (Texts{"transcript: it stops in a call", "GetMeasurement: its result is missing"}));
    // The call before the last was complete when its line was removed.
    EXPECT_EQ(incomplete_of(operations_begin(calling + operations_menu + calling)),
              (Texts{"transcript: it stops in a call", "GetMeasurement: its result is missing"}));
    EXPECT_EQ(incomplete_of(operation(calling)), Texts{});

    const auto whole = suite(SuiteText().whole());
    const auto test = whole.find("✓ PASS: Multiple measurements test passed");
    EXPECT_EQ(incomplete_of(whole.substr(0, test)),
              (Texts{"Normal Measurements 5: Multiple Measurement Indices, slot 0: its verdict is "
                     "missing",
                     "transcript: it stops in a suite"}));
    const auto available = whole.find("✓ SUCCESS");
    EXPECT_EQ(
        incomplete_of(whole.substr(0, available)),
        (Texts{"availability: its result is missing", "transcript: it stops in an activity"}));
}

TEST(Tests, HaveTheirChecks)
{
    const auto run = run_of(transcript("suite-partial-failures"));
    const auto judgement = judge(run);
    ASSERT_EQ(judgement.check_of_test.size(), run.tests.size());
    for (std::size_t i = 0; i < run.tests.size(); ++i)
    {
        const auto& check = judgement.checks.at(judgement.check_of_test[i]);
        EXPECT_EQ(check.subject, report::Subject::test);
        EXPECT_EQ(check.index, i);
        EXPECT_EQ(check.device, run.tests[i].device);
    }
}

TEST(Tests, WhoseCallWentToAnotherDevice)
{
    auto text = suite(SuiteText().whole());
    const auto at = text.find("on object: /com/varn/bmc/spdm/spdm/cpu/cpu_12");
    ASSERT_NE(at, std::string::npos);
    text.replace(text.find("cpu_12", at), 6, "cpu_13");
    EXPECT_EQ(findings_of(run_of(text)),
              Texts{"error Normal Measurements 1: Single Measurement Index 1, slot 0: its call "
                    "went to another device"});
}

TEST(Tests, WithoutACall)
{
    auto lines = suite(SuiteText().whole());
    const auto heading = lines.find("=== Testing Single Measurement Index 1 ===\n");
    const auto call = lines.find('\n', heading) + 1;
    const auto verdict = lines.find("✓ PASS: Single measurement index 1", call);
    lines.erase(call, verdict - call);
    EXPECT_EQ(findings_of(run_of(lines)),
              Texts{"error Normal Measurements 1: Single Measurement Index 1: no call was made"});
}

TEST(Categories, AreSkippedWhereNothingIsSupported)
{
    EXPECT_EQ(findings_of(run_of(replaced(transcript("suite-of-a-device-without-slots"),
                                          "support: YES", "support: NO"))),
              (Texts{"skipped Normal Measurements: the device does not support it",
                     "skipped Signed Measurements: the device does not support it",
                     "skipped Stress Tests: the device does not support it"}));
}

TEST(Descriptions, OfCalls)
{
    const auto unanswered = "Object name not found.\n";
    const auto arguments = [](const std::string& choice, const std::string& indices) {
        return choice + "\nPlease Enter Slot Number: 2\n" +
               (indices.empty() ? ""
                                : "Enter the indices of measurement block to fetch:\n" + indices);
    };
    const auto what = [&](const std::string& said) {
        const auto run = run_of(operation(said + unanswered));
        const auto judgement = judge(run);
        return judgement.checks.at(1).what;
    };
    EXPECT_EQ(what("1\n"), "ReAuthenticate");
    EXPECT_EQ(what(arguments("2", "")), "GetCertificate, slot 2");
    EXPECT_EQ(what(arguments("6", "-1\n")), "GetMeasurement, slot 2");
    EXPECT_EQ(what(arguments("6", "5\n-1\n")), "GetMeasurement, slot 2, index 5");
    EXPECT_EQ(what(arguments("7", "5\n6\n-1\n")), "GetSignedMeasurement, slot 2, indices 5 6");
}

} // namespace
