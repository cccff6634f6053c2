#include "tests/unit/suite_text.hpp"

#include <algorithm>
#include <array>
#include <ostream>

namespace
{

using namespace report_test;

/// "Normal Measurements 1 Single Measurement Index 1: passed, slot=0 indices=[1]".
Texts tests_of(const report::Run& run)
{
    constexpr std::array words{"passed", "failed", "warning", "none"};
    Texts texts;
    for (const auto& test : run.tests)
    {
        auto text = std::string(word(test.category)) + ' ' + std::to_string(test.ordinal) + ' ' +
                    std::string(test.name) + (test.expects_success ? ": " : ", to fail: ") +
                    words.at(static_cast<std::size_t>(test.client_verdict));
        if (test.call == report::none)
        {
            text += ", no call";
        }
        else
        {
            const auto& call = run.calls.at(test.call);
            text += field("slot", call.slot) + field("indices", call.indices) +
                    field("nonce", call.nonce);
        }
        texts.push_back(text);
    }
    return texts;
}

TEST(Suite, AllItsTests)
{
    const auto run = run_of(suite(SuiteText().whole()));
    EXPECT_EQ(
        tests_of(run),
        (Texts{
            "Normal Measurements 1 Single Measurement Index 1: passed slot=0 indices=[1]",
            "Normal Measurements 2 Single Measurement Index 2: passed slot=0 indices=[2]",
            "Normal Measurements 3 Single Measurement Index 1: passed slot=1 indices=[1]",
            "Normal Measurements 4 Single Measurement Index 2: passed slot=1 indices=[2]",
            "Normal Measurements 5 Multiple Measurement Indices: passed slot=0 indices=[1 2 3]",
            "Normal Measurements 6 Multiple Measurement Indices: passed slot=1 indices=[1 2 3]",
            "Normal Measurements 7 All Measurements Retrieval (0xFF): passed slot=0 indices=[255]",
            "Normal Measurements 8 All Measurements Retrieval (0xFF): passed slot=1 indices=[255]",
            "Signed Measurements 1 Signed Measurement with Nonce: passed slot=0 indices=[1] "
            "nonce=\"\"",
            "Signed Measurements 2 Signed Measurement with Nonce: passed slot=1 indices=[1] "
            "nonce=\"\"",
            "Signed Measurements 3 Signed Measurement with Nonce: passed slot=0 indices=[1] "
            "nonce=\"0A\"",
            "Signed Measurements 4 Signed Measurement with Nonce: passed slot=1 indices=[1] "
            "nonce=\"0B\"",
            "Signed Measurements 5 Signed Measurement with Nonce: passed slot=0 indices=[1 2 3] "
            "nonce=\"0a\"",
            "Signed Measurements 6 Signed Measurement with Nonce: passed slot=1 indices=[1 2 3] "
            "nonce=\"0b\"",
            "Signed Measurements 7 Signed Measurement with Nonce: passed slot=0 indices=[255] "
            "nonce=\"0C\"",
            "Signed Measurements 8 Signed Measurement with Nonce: passed slot=1 indices=[255] "
            "nonce=\"0D\"",
            "Failure Tests (Expected) 1 Invalid Measurement Index 256, to fail: passed slot=0 "
            "indices=[256]",
            "Failure Tests (Expected) 2 Invalid Measurement Index 300, to fail: passed slot=0 "
            "indices=[300]",
            "Failure Tests (Expected) 3 Invalid Measurement Index 999, to fail: passed slot=0 "
            "indices=[999]",
            "Failure Tests (Expected) 4 Invalid Slot ID 2, to fail: passed slot=2 indices=[1]",
            "Failure Tests (Expected) 5 Invalid Slot ID 8, to fail: passed slot=8 indices=[1]",
            "Failure Tests (Expected) 6 Invalid Slot ID 15, to fail: passed slot=15 indices=[1]",
            "Failure Tests (Expected) 7 Invalid Slot ID 255, to fail: passed slot=255 indices=[1]",
            "Stress Tests 1 Single Measurement Index 1: passed slot=0 indices=[1]",
            "Stress Tests 2 Single Measurement Index 1: passed slot=0 indices=[1]",
            "Stress Tests 3 Single Measurement Index 1: passed slot=0 indices=[1]",
            "Stress Tests 4 Single Measurement Index 1: passed slot=0 indices=[1]",
            "Stress Tests 5 Single Measurement Index 1: passed slot=0 indices=[1]",
            "Stress Tests 6 Single Measurement Index 1: passed slot=0 indices=[1]",
            "Stress Tests 7 Single Measurement Index 1: passed slot=0 indices=[1]",
            "Stress Tests 8 Single Measurement Index 1: passed slot=0 indices=[1]",
            "Stress Tests 9 Single Measurement Index 1: passed slot=0 indices=[1]",
            "Stress Tests 10 Single Measurement Index 1: passed slot=0 indices=[1]",
            "Stress Tests 11 Single Measurement Index 1: passed slot=0 indices=[1]",
            "Stress Tests 12 Signed Measurement with Nonce: passed slot=0 indices=[1] "
            "nonce=\"0E\"",
            "Stress Tests 13 Single Measurement Index 1: passed slot=0 indices=[1]",
            "Stress Tests 14 Signed Measurement with Nonce: passed slot=0 indices=[1] "
            "nonce=\"0E\"",
            "Stress Tests 15 Single Measurement Index 1: passed slot=0 indices=[1]",
            "Stress Tests 16 Signed Measurement with Nonce: passed slot=0 indices=[1] "
            "nonce=\"0E\"",
            "Stress Tests 17 Single Measurement Index 1: passed slot=0 indices=[1]",
            "Stress Tests 18 Signed Measurement with Nonce: passed slot=0 indices=[1] "
            "nonce=\"0E\"",
            "Stress Tests 19 Single Measurement Index 1: passed slot=0 indices=[1]",
            "Stress Tests 20 Signed Measurement with Nonce: passed slot=0 indices=[1] "
            "nonce=\"0E\"",
            "Stress Tests 21 Single Measurement Index 1: passed slot=0 indices=[1]",
            "Stress Tests 22 Single Measurement Index 2: passed slot=0 indices=[2]",
            "Stress Tests 23 Single Measurement Index 3: passed slot=0 indices=[3]",
            "Stress Tests 24 Single Measurement Index 1: passed slot=1 indices=[1]",
            "Stress Tests 25 Single Measurement Index 2: passed slot=1 indices=[2]",
            "Stress Tests 26 Single Measurement Index 3: passed slot=1 indices=[3]",
        }));
    EXPECT_EQ(contradictions_of(run), Texts{});
    EXPECT_EQ(notes_of(run), Texts{});
    EXPECT_EQ(findings_of(run), Texts{});
}

TEST(Suite, ItsFacts)
{
    const auto text = suite(SuiteText().whole());
    const auto run = run_of(text);
    ASSERT_EQ(run.suites.size(), 1U);
    const auto& found = run.suites[0];
    EXPECT_EQ(found.line, 42U);
    EXPECT_EQ(eid_of(run, found.device), "12");
    EXPECT_EQ(found.availability, 0U);
    EXPECT_EQ(found.first_test, 0U);
    EXPECT_EQ(found.tests, 49U);
    EXPECT_EQ(found.first_row, 0U);
    EXPECT_EQ(found.rows, 5U);
    EXPECT_EQ(found.categories_told, 4U);
    EXPECT_EQ(found.tests_told, 49U);
    EXPECT_EQ(found.rate_told, 100U);
    EXPECT_EQ(found.verdict_told, "🎉 EXCELLENT: All tests passed successfully!");
    const auto lines = static_cast<report::Line>(std::count(text.begin(), text.end(), '\n'));
    EXPECT_EQ(run.last_line, lines);
    EXPECT_EQ(found.done_line, lines - 6);
    EXPECT_EQ(found.details_line, lines - 13);
    constexpr std::array<std::uint64_t, 4> totals{8, 8, 7, 26};
    for (std::size_t i = 0; i < totals.size(); ++i)
    {
        const auto& part = found.parts.at(i);
        EXPECT_EQ(part.passed, totals.at(i));
        EXPECT_EQ(part.total, totals.at(i));
        EXPECT_EQ(part.rate, 100U);
        EXPECT_EQ(part.slots, 2U);
        EXPECT_EQ(part.skipped, 0U);
        EXPECT_EQ(part.aborted_line, 0U);
        EXPECT_LT(part.line, part.summary_line);
    }
    EXPECT_EQ(found.parts[0].line, 50U);
    EXPECT_EQ(properties_of(run), (Texts{"12 XMID=CPU-12", "12 DeviceDescription=A CPU"}));
}

TEST(Suite, ItsResultsTable)
{
    const auto run = run_of(suite(SuiteText().whole()));
    Texts rows;
    for (const auto& row : run.categories)
    {
        rows.push_back(std::string(row.category) + ' ' + std::to_string(row.passed) + '/' +
                       std::to_string(row.total) + ' ' + std::to_string(row.rate) + "% " +
                       std::string(row.grade));
    }
    EXPECT_EQ(rows,
              (Texts{"Failure Tests (Expected) 7/7 100% ✓ PASS",
                     "Normal Measurements 8/8 100% ✓ PASS", "Signed Measurements 8/8 100% ✓ PASS",
                     "Stress Tests 26/26 100% ✓ PASS", "OVERALL SUMMARY 49/49 100% ✓ ALL PASS"}));
}

TEST(Suite, ItsCallsBesideThoseOfTheTests)
{
    const auto run = run_of(suite(SuiteText().whole()));
    Texts others;
    for (const auto& call : run.calls)
    {
        if (call.test == report::none)
        {
            others.push_back(std::string(word(call.operation)) +
                             (call.slot_discovery ? " slots " : " ") +
                             std::string(word(call.activity)));
        }
    }
    Texts expected(8, "GetAll slots suite");
    expected.insert(expected.begin(), "ReAuthenticate suite");
    expected.emplace_back("GetAll suite");
    EXPECT_EQ(others, expected);
    EXPECT_EQ(run.calls[1].line, 51U); // The first "Slot 0 is supported".
    EXPECT_EQ(run.calls[1].told_line, 53U);
}

/// The suite with one change in its text.
struct ChangeCase
{
    std::string name;
    std::string old;
    std::string by;
    Texts findings;
};

std::ostream& operator<<(std::ostream& out, const ChangeCase& row)
{
    return out << row.name;
}

class Changed : public testing::TestWithParam<ChangeCase>
{
};

/// Replaced once, the first time.
std::string changed(std::string text, const std::string& old, const std::string& by)
{
    const auto at = text.find(old);
    EXPECT_NE(at, std::string::npos) << old;
    return at == std::string::npos ? text : text.replace(at, old.size(), by);
}

TEST_P(Changed, Suite)
{
    const auto& row = GetParam();
    EXPECT_EQ(findings_of(run_of(suite(changed(SuiteText().whole(), row.old, row.by)))),
              row.findings);
}

const std::string out_of_place =
    "error transcript: a line where the client prints none of its kind";
const std::string no_test = "error transcript: a verdict without its test";
const std::string outside = "error GetMeasurement: a measurement outside the suite's tests";

INSTANTIATE_TEST_SUITE_P(
    In, Changed,
    testing::Values(
        ChangeCase{"AvailabilityWithoutItsHead",
                   "=== Checking SPDM Service Availability ===\n",
                   "",
                   {out_of_place, out_of_place, out_of_place, out_of_place}},
        ChangeCase{"AvailabilityCut",
                   "✓ SUCCESS: SPDM service is running and device is responsive\n",
                   "",
                   {"error availability: its result is missing"}},
        ChangeCase{"ReAuthenticationWithoutAWord",
                   "ReAuth Status: Passed Time taken(In us): 1\n",
                   "",
                   {"failed ReAuthenticate: a status without a word"}},
        ChangeCase{"ReAuthenticationUnknown",
                   "ReAuth Status: Passed Time taken(In us): 1\n",
                   "Object name not found.\n",
                   {"error ReAuthenticate: the client does not know the device"}},
        ChangeCase{
            "SlotMissing",
            "ℹ INFO: Slot 1 is supported\n",
            "",
            {"error transcript: the slots are not those that were found",
             "error results of the suite: Normal Measurements has 8 tests, its slots make 4"}},
        ChangeCase{"SlotsOther",
                   "Supported slots: 0, 1",
                   "Supported slots: 0, 2",
                   {"error transcript: the slots are not those that were found"}},
        ChangeCase{"TestWithoutItsHead",
                   "=== Testing Multiple Measurement Indices ===\n",
                   "",
                   {out_of_place, outside, no_test,
                    "error results of the suite: the summary of Normal Measurements says 8/8, its "
                    "verdict lines 7/7",
                    "error results of the suite: Normal Measurements has 7 tests, its slots make 8",
                    "error results of the suite: the table says 8/8, 100% for Normal Measurements, "
                    "the verdict lines 7/7",
                    "error results of the suite: the table says 49/49, 100% for OVERALL SUMMARY, "
                    "the verdict lines 48/48",
                    "error results of the suite: the execution details are not those of the "
                    "verdict lines"}},
        ChangeCase{"VerdictOfAnotherIndex",
                   "✓ PASS: Single measurement index 1 test passed",
                   "✓ PASS: Single measurement index 2 test passed",
                   {"error Normal Measurements 1: Single Measurement Index 1, slot 0: its verdict "
                    "is missing",
                    no_test, "error transcript: a test has no verdict",
                    "error results of the suite: the summary of Normal Measurements says 8/8, its "
                    "verdict lines 7/8",
                    "error results of the suite: the summary of Normal Measurements says 100%, its "
                    "verdict lines 87%",
                    "error results of the suite: the table says 8/8, 100% for Normal Measurements, "
                    "the verdict lines 7/8",
                    "error results of the suite: the table's grade of Normal Measurements is not "
                    "that of its rate",
                    "error results of the suite: the table says 49/49, 100% for OVERALL SUMMARY, "
                    "the verdict lines 48/49",
                    "error results of the suite: the table's grade of OVERALL SUMMARY is not that "
                    "of its rate",
                    "error results of the suite: the execution details are not those of the "
                    "verdict lines"}},
        ChangeCase{"VerdictOfAnotherTest",
                   "✓ PASS: Invalid slot ID correctly failed",
                   "✓ PASS: Invalid measurement index correctly failed",
                   {"error Failure Tests (Expected) 4: Invalid Slot ID 2, slot 2: its verdict is "
                    "missing",
                    no_test, "error transcript: a test has no verdict",
                    "error results of the suite: the summary of Failure Tests (Expected) says 7/7, "
                    "its verdict lines 6/7",
                    "error results of the suite: the summary of Failure Tests (Expected) says "
                    "100%, its verdict lines 85%",
                    "error results of the suite: the table says 7/7, 100% for Failure Tests "
                    "(Expected), the verdict lines 6/7",
                    "error results of the suite: the table's grade of Failure Tests (Expected) is "
                    "not that of its rate",
                    "error results of the suite: the table says 49/49, 100% for OVERALL SUMMARY, "
                    "the verdict lines 48/49",
                    "error results of the suite: the table's grade of OVERALL SUMMARY is not that "
                    "of its rate",
                    "error results of the suite: the execution details are not those of the "
                    "verdict lines"}},
        ChangeCase{"SummaryOfAnotherCategory",
                   "=== SIGNED MEASUREMENT TEST SUMMARY ===",
                   "=== NORMAL MEASUREMENT TEST SUMMARY ===",
                   {"error results of the suite: the summary of Signed Measurements is missing",
                    "error transcript: a summary without its category", out_of_place,
                    out_of_place}},
        ChangeCase{"CategoryTwice",
                   "********** SIGNED MEASUREMENT TESTS **********\n",
                   "********** SIGNED MEASUREMENT TESTS **********\n"
                   "********** SIGNED MEASUREMENT TESTS **********\n",
                   {"error transcript: a category ran twice"}},
        ChangeCase{"AbortOfAnotherCategory",
                   "********** SIGNED MEASUREMENT TESTS **********\n",
                   "********** SIGNED MEASUREMENT TESTS **********\n"
                   "✗ ABORT: No supported slots found for stress testing\n",
                   {"error transcript: a category that did not run was aborted"}},
        ChangeCase{"SlotDiscoveryTooMany",
                   "********** SIGNED MEASUREMENT TESTS **********\n",
                   "********** SIGNED MEASUREMENT TESTS **********\n"
                   "⚠ WARNING: No certificate slots found to be supported\n",
                   {"error transcript: a slot discovery is missing",
                    "error results of the suite: Signed Measurements has 8 tests, its slots make "
                    "0"}},
        ChangeCase{"SlotDiscoveryUnknown",
                   "ℹ INFO: Slot 0 is supported\nℹ INFO: Slot 1 is supported\n"
                   "ℹ INFO: Supported slots: 0, 1\n\n=== Testing Basic",
                   "Object name not found.\n\n=== Testing Basic",
                   {"error slot discovery: the client does not know the device",
                    "error results of the suite: Signed Measurements has 8 tests, its slots make "
                    "0"}},
        ChangeCase{"TestUnknown",
                   SuiteText::all(),
                   "\n=== Testing All Measurements Retrieval (0xFF) ===\nObject name not found.\n"
                   "✗ FAIL: All measurements test failed\n",
                   {"error Normal Measurements 7: All Measurements Retrieval (0xFF), slot 0: the "
                    "client does not know the device",
                    "error results of the suite: the summary of Normal Measurements says 8/8, its "
                    "verdict lines 7/8",
                    "error results of the suite: the summary of Normal Measurements says 100%, its "
                    "verdict lines 87%",
                    "error results of the suite: the table says 8/8, 100% for Normal Measurements, "
                    "the verdict lines 7/8",
                    "error results of the suite: the table's grade of Normal Measurements is not "
                    "that of its rate",
                    "error results of the suite: the table says 49/49, 100% for OVERALL SUMMARY, "
                    "the verdict lines 48/49",
                    "error results of the suite: the table's grade of OVERALL SUMMARY is not that "
                    "of its rate",
                    "error results of the suite: the execution details are not those of the "
                    "verdict lines"}},
        ChangeCase{"DescriptorFailed",
                   "• XMID: CPU-12\n• Description: A CPU\n",
                   "• XMID: Not available\n• Description: Not available\n",
                   {"error transcript: the results table lacks the device's XMID"}},
        ChangeCase{"DescriptorThatFailed",
                   "\n" + std::string(73, '=') + "\n|  ",
                   "WARNING: Failed to get device properties. Check service availability.\n\n" +
                       std::string(73, '=') + "\n|  ",
                   {"error GetAll: no answer, or one that could not be read"}},
        ChangeCase{"RowWithoutANumber",
                   "|      26|      26|",
                   "|      2x|      26|",
                   {"error results of the suite: the table has no row of Stress Tests"}},
        ChangeCase{"TableWithoutItsHead",
                   "|                   COMPREHENSIVE TEST RESULTS TABLE                   |\n",
                   "",
                   {out_of_place, out_of_place, out_of_place, out_of_place, out_of_place,
                    out_of_place, out_of_place, out_of_place,
                    "error results of the suite: the table has no row of Normal Measurements",
                    "error results of the suite: the table has no row of Signed Measurements",
                    "error results of the suite: the table has no row of Failure Tests (Expected)",
                    "error results of the suite: the table has no row of Stress Tests",
                    "error results of the suite: the table has no row of OVERALL SUMMARY"}},
        ChangeCase{"TableTwice",
                   "| OVERALL SUMMARY ",
                   "|                   COMPREHENSIVE TEST RESULTS TABLE                   |\n"
                   "| OVERALL SUMMARY ",
                   {out_of_place}},
        ChangeCase{"SlotLineAfterASlot",
                   "Testing with invalid slot 8:\n",
                   "ℹ INFO: Skipping slot 8 as it is actually supported\n",
                   {"error results of the suite: Failure Tests (Expected) has 7 tests, its slots "
                    "make 6"}},
        ChangeCase{"EndMissing",
                   "#           MEASUREMENT TEST SUITE DONE         #\n",
                   "",
                   {"error results of the suite: its end is missing"}}),
    [](const auto& info) { return info.param.name; });

/// "✗ SKIPPING" and "✗ ABORTING" follow a check that failed.
TEST(Availability, OfEveryAnswer)
{
    const std::string begin = "\n=== Checking SPDM Service Availability ===\n";
    const std::string aborting = "\n✗ ABORTING: SPDM service or device not available - cannot run "
                                 "measurement tests\n"
                                 "#################################################\n"
                                 "#           MEASUREMENT TEST SUITE ABORTED       #\n"
                                 "#################################################\n";
    const auto path = "ℹ INFO: Found device at path: " + cpu_path + "\n";
    const std::string responsive = "✓ SUCCESS: SPDM service is running and device is responsive\n";
    const std::string bus_error =
        "✗ FAIL: SPDM service communication failed. Check if service is running.\n"
        "ERROR DETAILS: This typically means:\n"
        "  1. SPDM service (com.varn.bmc.spdm.spdm) is not running\n"
        "  2. Device endpoint is not available or not initialized\n"
        "  3. D-Bus system bus communication issue\n";
    const std::vector<std::pair<std::string, Texts>> rows{
        {"✗ FAIL: Device EID 12 not found in device list\n",
         {"error availability: the client does not know the device"}},
        {path + bus_error + "✗ CONFIRMED: SPDM service is not running on D-Bus\n",
         {"error availability: the service is not on the bus"}},
        {path + bus_error + "? WARNING: SPDM service is running but device is not accessible\n",
         {"error availability: the service runs, the device does not answer"}},
        {path + bus_error + "? WARNING: Could not check SPDM service status\n",
         {"error availability: no answer: D-Bus error"}},
        {path + responsive +
             "✗ FAIL: Unexpected error occurred during service availability check.\n",
         {"error availability: an answer that could not be read"}},
        {path, {"error availability: its result is missing"}},
        {path + responsive,
         {"error transcript: a suite was not run on a device that is responsive"}},
    };
    for (const auto& [said, findings] : rows)
    {
        EXPECT_EQ(findings_of(run_of(suite(begin + said + aborting))), findings) << said;
        EXPECT_EQ(findings_of(run_of(suite(begin + said +
                                           "\n✗ SKIPPING: SPDM service or device not "
                                           "available\n"))),
                  findings)
            << said;
    }
}

TEST(Availability, ItsSupport)
{
    auto run = run_of(suite(SuiteText().whole()));
    EXPECT_EQ(run.availabilities.at(0).measurement, true);
    EXPECT_EQ(run.availabilities.at(0).signed_measurement, true);
    run = run_of(suite(replaced(SuiteText().whole(), "support: YES", "support: NO")));
    EXPECT_EQ(run.availabilities.at(0).measurement, false);
    EXPECT_EQ(run.availabilities.at(0).signed_measurement, false);
    run = run_of(suite(
        replaced(replaced(SuiteText().whole(), "ℹ INFO: Device measurement support: YES\n", ""),
                 "ℹ INFO: Device signed measurement support: YES\n", "")));
    EXPECT_EQ(run.availabilities.at(0).measurement, std::nullopt);
    EXPECT_EQ(run.availabilities.at(0).signed_measurement, std::nullopt);
}

TEST(Suites, OnAllDevices)
{
    const auto table = table_head + "    0 |   12 |          CPU-12 | " + cpu_path +
                       "\n    1 |   40 |          NIC-40 | " + nic_path + "\n";
    const auto rule = std::string(80, '=') + "\n";
    const auto other =
        replaced(replaced(SuiteText().whole(), cpu_path, nic_path), "EID:  12 ", "EID:  40 ");
    const auto said = selection + "Enter choice (1-3): " + table +
                      "\nWill run measurement test suite on all 2 devices\n\n" + rule +
                      "DEVICE 1/2: EID 12\n" + rule + SuiteText().whole() + "\n" + rule +
                      "DEVICE 2/2: EID 40\n" + rule + other;
    const auto text = device_table + "Selected device: EID=12\n" + said;
    const auto run = run_of(activity(text));
    ASSERT_EQ(run.suites.size(), 2U);
    EXPECT_EQ(eid_of(run, run.suites[1].device), "40");
    EXPECT_EQ(run.suites[1].availability, 1U);
    EXPECT_EQ(run.suites[1].first_test, 49U);
    EXPECT_EQ(run.suites[1].first_row, 5U);
    EXPECT_EQ(run.tests[49].ordinal, 1U);
    EXPECT_EQ(findings_of(run), Texts{});
    // The suite's own table shows the client's keys: the devices' EIDs stay as they were.
    EXPECT_EQ(devices_of(run),
              (Texts{"12 " + cpu_path + " xmid=\"CPU-12\" index=0 device_eid=12",
                     "40 " + nic_path + " xmid=\"NIC-40\" index=1 device_eid=40"}));

    EXPECT_EQ(findings_of(run_of(activity(replaced(text, "on all 2 devices", "on all 3 devices")))),
              Texts{"error transcript: the devices are not as many as the table's rows"});
}

TEST(Suites, CategoriesWithoutSlots)
{
    SuiteText text;
    text.slots = "⚠ WARNING: No certificate slots found to be supported\n";
    text.aborted = "yes";
    const auto said = SuiteText::availability() + SuiteText::begin() + text.normal();
    const auto run = run_of(suite(said));
    EXPECT_EQ(run.suites.at(0).parts[0].aborted_line, 52U);
    EXPECT_EQ(findings_of(run), (Texts{"error Signed Measurements: it did not run",
                                       "error Failure Tests (Expected): it did not run",
                                       "error Stress Tests: it did not run",
                                       "error results of the suite: its end is missing",
                                       "error Normal Measurements: no supported slots"}));
    EXPECT_EQ(findings_of(run_of(suite(replaced(said, "support: YES", "support: NO")))),
              (Texts{"error Signed Measurements: it did not run",
                     "error Failure Tests (Expected): it did not run",
                     "error Stress Tests: it did not run",
                     "error results of the suite: its end is missing",
                     "skipped Normal Measurements: the device does not support it"}));
}

TEST(Suites, HeadingsTellNoOtherTestsSlot)
{
    const auto run =
        run_of(suite(changed(SuiteText().whole(), "\nTesting with supported slot 1:\n", "")));
    EXPECT_EQ(run.calls.at(run.tests.at(1).call).slot, 0U);
    EXPECT_EQ(run.calls.at(run.tests.at(2).call).slot, std::nullopt);
    EXPECT_EQ(run.calls.at(run.tests.at(3).call).slot, 1U);
}

/// The failure tests ask for the slots again and again, and use those of the first answer.
TEST(Suites, SlotsThatChangeInTheFailureTests)
{
    SuiteText text;
    auto failures = text.failure_tests();
    const auto second = failures.find(text.slots) + text.slots.size();
    failures.replace(second, text.slots.size(),
                     "ℹ INFO: Slot 5 is supported\nℹ INFO: Supported slots: 5\n");
    failures.replace(failures.find(text.slots), text.slots.size(),
                     "ℹ INFO: Slot 3 is supported\nℹ INFO: Supported slots: 3\n");
    const auto run = run_of(suite(SuiteText::availability() + SuiteText::begin() + failures));
    EXPECT_EQ(run.calls.at(run.tests.at(0).call).slot, 3U);
    EXPECT_EQ(run.suites.at(0).parts[2].slots, 1U);
    EXPECT_EQ(contradictions_of(run), Texts{});
}

TEST(Suites, ATestOutsideACategory)
{
    const auto run = run_of(suite(SuiteText::availability() + SuiteText::single(1)));
    EXPECT_EQ(findings_of(run), Texts{"error transcript: a test outside a category"});
}

TEST(Suites, ACategoryOutsideASuite)
{
    const auto run = run_of(suite("********** NORMAL MEASUREMENT TESTS **********\n"));
    EXPECT_EQ(findings_of(run), Texts{"error transcript: a category outside a suite"});
}

TEST(Suites, CutInATest)
{
    const auto whole = suite(SuiteText().whole());
    const auto at = whole.find("✓ PASS: Multiple measurements test passed");
    const auto run = run_of(whole.substr(0, at));
    EXPECT_EQ(findings_of(run),
              (Texts{"error Normal Measurements 5: Multiple Measurement Indices, slot 0: its "
                     "verdict is missing",
                     "error transcript: it stops in a suite"}));
}

} // namespace
