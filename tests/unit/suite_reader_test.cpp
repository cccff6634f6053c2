#include "tests/unit/report_transcripts.hpp"

#include <algorithm>
#include <array>
#include <ostream>

namespace
{

using namespace report_test;

/// A suite on the device with EID 12 and its slots 0 and 1, whose every line is typed out but for the
/// calls of its tests.
class SuiteText
{
  public:
    std::string slots = "ℹ INFO: Slot 0 is supported\nℹ INFO: Slot 1 is supported\n"
                        "ℹ INFO: Supported slots: 0, 1\n";
    std::string aborted; ///< Printed after the slots of a category that aborts.

    static std::string call(int status)
    {
        const auto code = std::to_string(status);
        const auto* text = status == 0 ? "Success" : "Get Measurement Failed";
        return "DEBUG: Calling D-Bus method on object: " + cpu_path +
               "\nDEBUG: Reading D-Bus reply...\nDEBUG: Read status: " + code +
               "\nDEBUG: Read NumMeasurements: 0\nDEBUG: Read measurement data, size: 0\n" +
               "Get Measurement Status: " + code + " (" + text +
               ") NumMeasurements: 0 Time taken (in us): 7\n" +
               (status == 0 ? "ℹ INFO: No measurement data returned\n" : "");
    }

    static std::string signed_call()
    {
        return "DEBUG: Calling D-Bus signed measurement method on object: " + cpu_path +
               "\nDEBUG: Reading D-Bus signed measurement reply...\nDEBUG: Read status: 0\n"
               "DEBUG: Read signed measurement data, length: 0\n"
               "Get Signed Measurement Status: 0 (Success) Signed Measurements:  Hashing "
               "Algorithm: H Signing Algorithm: S Version: V Time taken(In us): 8\n"
               "ℹ INFO: No signed measurement data returned\n";
    }

    static std::string single(int index)
    {
        const auto number = std::to_string(index);
        return "\n=== Testing Single Measurement Index " + number + " ===\n" + call(0) +
               "✓ PASS: Single measurement index " + number + " test passed\n";
    }

    static std::string multiple()
    {
        return "\n=== Testing Multiple Measurement Indices ===\nIndices: 1 2 3 \n" + call(0) +
               "✓ PASS: Multiple measurements test passed\n";
    }

    static std::string all()
    {
        return "\n=== Testing All Measurements Retrieval (0xFF) ===\n" + call(0) +
               "✓ PASS: All measurements test passed\n";
    }

    static std::string with_nonce(const std::string& indices, const std::string& nonce)
    {
        return "\n=== Testing Signed Measurement with Nonce ===\nIndices: " + indices +
               " Nonce: " + nonce + "\n" + signed_call() +
               "✓ PASS: Signed measurement with nonce test passed\n";
    }

    static std::string invalid_index(int index)
    {
        return "\n=== Testing Invalid Measurement Index " + std::to_string(index) + " ===\n" +
               call(9) + "✓ PASS: Invalid measurement index correctly failed\n";
    }

    static std::string invalid_slot(int slot)
    {
        return "\n=== Testing Invalid Slot ID " + std::to_string(slot) + " ===\n" + call(9) +
               "✓ PASS: Invalid slot ID correctly failed\n";
    }

    static std::string slot_heading(int slot)
    {
        return "\nTesting with supported slot " + std::to_string(slot) + ":\n";
    }

    static std::string availability()
    {
        return "\n=== Checking SPDM Service Availability ===\n"
               "ℹ INFO: Found device at path: " +
               cpu_path +
               "\n✓ SUCCESS: SPDM service is running and device is responsive\n"
               "ℹ INFO: Device measurement support: YES\n"
               "ℹ INFO: Device signed measurement support: YES\n"
               "ℹ INFO: Device challenge status: 1\n";
    }

    static std::string begin()
    {
        return "\n#################################################\n"
               "#     COMPREHENSIVE MEASUREMENT TEST SUITE     #\n"
               "#               DEVICE EID:  12               #\n"
               "#################################################\n"
               "\n=== Pre-test Authentication ===\n"
               "ReAuth Status: Passed Time taken(In us): 1\n\n" +
               std::string(60, '*') + " EXECUTING TEST CATEGORIES " + std::string(60, '*') + "\n";
    }

    std::string normal() const
    {
        const std::string head = "\n********** NORMAL MEASUREMENT TESTS **********\n" + slots;
        if (!aborted.empty())
        {
            return head + "✗ ABORT: No supported slots found for measurement testing\n";
        }
        return head + "\n=== Testing Single Measurements with Supported Slots ===\n" +
               slot_heading(0) + single(1) + slot_heading(0) + single(2) + slot_heading(1) +
               single(1) + slot_heading(1) + single(2) +
               "\n=== Testing Multiple Measurements with Supported Slots ===\n" + slot_heading(0) +
               multiple() + slot_heading(1) + multiple() +
               "\n=== Testing All Measurements with Supported Slots ===\n" + slot_heading(0) +
               all() + slot_heading(1) + all() +
               "\n=== NORMAL MEASUREMENT TEST SUMMARY ===\nPassed: 8/8 tests\nSuccess Rate: 100%\n";
    }

    std::string signed_tests() const
    {
        return "\n********** SIGNED MEASUREMENT TESTS **********\n" + slots +
               "\n=== Testing Basic Signed Measurements with Empty Nonce ===\n" + slot_heading(0) +
               with_nonce("1", "") + slot_heading(1) + with_nonce("1", "") +
               "\n=== Testing Signed Measurements with 32-byte Random Nonce (Uppercase Hex) ===\n" +
               slot_heading(0) + with_nonce("1", "0A") + slot_heading(1) + with_nonce("1", "0B") +
               "\n=== Testing Multiple Indices Signed Measurements with 32-byte Random Nonce "
               "(Lowercase Hex) ===\n" +
               slot_heading(0) + with_nonce("1 2 3", "0a") + slot_heading(1) +
               with_nonce("1 2 3", "0b") +
               "\n=== Testing All Signed Measurements with 32-byte Random Nonce ===\n" +
               slot_heading(0) + with_nonce("255", "0C") + slot_heading(1) +
               with_nonce("255", "0D") +
               "\n=== SIGNED MEASUREMENT TEST SUMMARY ===\nPassed: 8/8 tests\nSuccess Rate: 100%\n";
    }

    std::string failure_tests() const
    {
        return "\n********** MEASUREMENT FAILURE TESTS **********\n" + slots + slots +
               "ℹ INFO: Found unsupported slot for testing: 2\n"
               "\n=== Testing Invalid Measurement Indices ===\n" +
               invalid_index(256) + invalid_index(300) + invalid_index(999) +
               "\n=== Testing Invalid Slot IDs ===\nTesting with unsupported slot 2:\n" +
               invalid_slot(2) + slots + "Testing with invalid slot 8:\n" + invalid_slot(8) +
               slots + "Testing with invalid slot 15:\n" + invalid_slot(15) + slots +
               "Testing with invalid slot 255:\n" + invalid_slot(255) +
               "\n=== MEASUREMENT FAILURE TEST SUMMARY ===\nExpected Failures: 7/7 tests\n"
               "Proper Error Handling Rate: 100%\n";
    }

    std::string stress_tests() const
    {
        auto text = "\n********** MEASUREMENT STRESS TESTS **********\n" + slots +
                    "\n=== Rapid Successive Measurements Test ===\n";
        for (int i = 0; i < 10; ++i)
        {
            text += single(1);
        }
        text += "\n=== Alternating Measurement Types Test ===\n";
        for (int i = 0; i < 5; ++i)
        {
            text += single(1) + with_nonce("1", "0E");
        }
        text += "\n=== Different Supported Slot Stress Test ===\n";
        for (int slot = 0; slot < 2; ++slot)
        {
            text += single(1) + single(2) + single(3);
        }
        return text + "\n=== MEASUREMENT STRESS TEST SUMMARY ===\nPassed: 26/26 tests\n"
                      "Success Rate: 100%\n";
    }

    static std::string results()
    {
        const auto double_rule = std::string(73, '=') + "\n";
        const auto rule = std::string(73, '-') + "\n";
        return "\n" + double_rule +
               "|                   COMPREHENSIVE TEST RESULTS TABLE                   |\n" +
               double_rule +
               "DEVICE INFORMATION:\n• Device EID: 12\n• XMID: CPU-12\n• Description: A CPU\n" +
               rule +
               "| Test Category                   |  Passed|   Total| Success %| Status     |\n" +
               rule +
               "| Failure Tests (Expected)        |       7|       7|     100% | ✓ PASS | \n"
               "| Normal Measurements             |       8|       8|     100% | ✓ PASS | \n"
               "| Signed Measurements             |       8|       8|     100% | ✓ PASS | \n"
               "| Stress Tests                    |      26|      26|     100% | ✓ PASS | \n" +
               rule +
               "| OVERALL SUMMARY                 |      49|      49|     100% | ✓ ALL PASS | \n" +
               double_rule +
               "\nTest Execution Details:\n• Total Test Categories: 4\n"
               "• Total Individual Tests: 49\n• Overall Success Rate: 100%\n"
               "🎉 EXCELLENT: All tests passed successfully!\n"
               "\n#################################################\n"
               "#           MEASUREMENT TEST SUITE DONE         #\n"
               "#################################################\n";
    }

    std::string whole() const
    {
        return availability() + begin() + normal() + signed_tests() + failure_tests() +
               stress_tests() + results();
    }
};

const std::string selection = "\n#################################################\n"
                              "#     COMPREHENSIVE MEASUREMENT TEST SUITE     #\n"
                              "#################################################\n"
                              "\nDevice Selection Options:\n"
                              "1. Run on current device (EID 12)\n"
                              "2. Select device by index from discovered devices\n"
                              "3. Run on all discovered SPDM devices\n";

/// A conversation in which the suite on the device with EID 12 prints `said`.
std::string suite(const std::string& said)
{
    return activity(device_table + "Selected device: EID=12\n" + selection +
                    "Enter choice (1-3): " + said);
}

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
        ChangeCase{"SlotMissing",
                   "ℹ INFO: Slot 1 is supported\n",
                   "",
                   {"error transcript: the slots are not those that were found"}},
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
