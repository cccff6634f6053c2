#include "recorded_console.hpp"
#include "suites/comprehensive_suite.hpp"

#include <gtest/gtest.h>

#include <iostream>
#include <sstream>
#include <string>

namespace
{

/// Answers the prompts from a text while it lives.
class Operator
{
  public:
    explicit Operator(const std::string& answers)
        : answers(answers), keyboard(std::cin.rdbuf(this->answers.rdbuf()))
    {
        std::cin.clear();
    }
    ~Operator()
    {
        std::cin.rdbuf(keyboard);
        std::cin.clear();
    }
    Operator(const Operator&) = delete;
    Operator& operator=(const Operator&) = delete;

  private:
    std::istringstream answers;
    std::streambuf* keyboard;
};

std::string menu_output(Eid current_eid, const std::string& answers)
{
    const Operator operating{answers};
    testing::internal::CaptureStdout();
    run_comprehensive_test_suite_menu(current_eid);
    return testing::internal::GetCapturedStdout();
}

std::string menu_text(const std::string& current_eid)
{
    return "\n#################################################\n"
           "#     COMPREHENSIVE MEASUREMENT TEST SUITE     #\n"
           "#################################################\n"
           "\nDevice Selection Options:\n"
           "1. Run on current device (EID " +
           current_eid +
           ")\n"
           "2. Select device by index from discovered devices\n"
           "3. Run on all discovered SPDM devices\n"
           "Enter choice (1-3): ";
}

const std::string empty_table =
    "\nDiscovered SPDM Devices:\n"
    "Index | EID  | XMID            | D-Bus Path\n"
    "------|------|-----------------|------------------------------------------\n";

TEST(SuiteMenu, AllOfNoDevicesAreNone)
{
    EXPECT_EQ(menu_output(12, "3\n"), menu_text("12") + empty_table +
                                          "\nWill run measurement test suite on all 0 devices\n");
}

TEST(SuiteMenu, AnUnknownCurrentDeviceAborts)
{
    EXPECT_EQ(
        menu_output(4464, "1\n"),
        menu_text("4464") +
            "\n=== Checking SPDM Service Availability ===\n"
            "✗ FAIL: Device EID 4464 not found in device list\n"
            "\n✗ ABORTING: SPDM service or device not available - cannot run measurement tests\n"
            "#################################################\n"
            "#           MEASUREMENT TEST SUITE ABORTED       #\n"
            "#################################################\n");
}

/// No index is valid when no device is known.
class IndexOfNone : public testing::TestWithParam<const char*>
{
};

TEST_P(IndexOfNone, IsRejected)
{
    EXPECT_EQ(menu_output(12, "2\n" + std::string{GetParam()}),
              menu_text("12") + empty_table +
                  "\nEnter device index (0--1): Invalid index selected!\n");
}

INSTANTIATE_TEST_SUITE_P(Answers, IndexOfNone,
                         testing::Values("0\n", "-1\n", "1\n", "x\n", "", "99999999999\n"));

std::string failing_call(const std::string& heading)
{
    return "\n=== Testing Invalid " + heading + " ===\nObject name not found.\n✓ PASS: Invalid ";
}

/// As for a device that was removed meanwhile: no call is made, not even for the descriptor.
TEST(Suite, OfAnUnknownDeviceRunsTheFailureTestsAlone)
{
    const std::string rule = "#################################################\n";
    const std::string stars(60, '*');
    const std::string equals = std::string(73, '=') + "\n";
    const std::string dashes = std::string(73, '-') + "\n";
    const std::string unknown = "Object name not found.\n";
    const std::string index_failed = "measurement index correctly failed\n";
    const std::string slot_failed = "slot ID correctly failed\n";

    const RecordedConsole console;
    run_comprehensive_test_suite(7);
    EXPECT_EQ(
        console.lines(),
        "\n" + rule +
            "#     COMPREHENSIVE MEASUREMENT TEST SUITE     #\n"
            "#               DEVICE EID:   7               #\n" +
            rule + "\n=== Pre-test Authentication ===\n" + unknown + "\n" + stars +
            " EXECUTING TEST CATEGORIES " + stars +
            "\n"
            "\n********** NORMAL MEASUREMENT TESTS **********\n" +
            unknown +
            "✗ ABORT: No supported slots found for measurement testing\n"
            "\n********** SIGNED MEASUREMENT TESTS **********\n" +
            unknown +
            "✗ ABORT: No supported slots found for signed measurement testing\n"
            "\n********** MEASUREMENT FAILURE TESTS **********\n" +
            unknown + unknown +
            "ℹ INFO: Found unsupported slot for testing: 0\n"
            "\n=== Testing Invalid Measurement Indices ===\n" +
            failing_call("Measurement Index 256") + index_failed +
            failing_call("Measurement Index 300") + index_failed +
            failing_call("Measurement Index 999") + index_failed +
            "\n=== Testing Invalid Slot IDs ===\n"
            "Testing with unsupported slot 0:\n" +
            failing_call("Slot ID 0") + slot_failed + unknown + "Testing with invalid slot 8:\n" +
            failing_call("Slot ID 8") + slot_failed + unknown + "Testing with invalid slot 15:\n" +
            failing_call("Slot ID 15") + slot_failed + unknown +
            "Testing with invalid slot 255:\n" + failing_call("Slot ID 255") + slot_failed +
            "\n=== MEASUREMENT FAILURE TEST SUMMARY ===\n"
            "Expected Failures: 7/7 tests\n"
            "Proper Error Handling Rate: 100%\n"
            "\n********** MEASUREMENT STRESS TESTS **********\n" +
            unknown + "✗ ABORT: No supported slots found for stress testing\n" + "\n" + equals +
            "|                   COMPREHENSIVE TEST RESULTS TABLE                   |\n" + equals +
            "DEVICE INFORMATION:\n"
            "• Device EID: 7\n"
            "• XMID: Not available\n"
            "• Description: Not available\n" +
            dashes +
            "| Test Category                   |  Passed|   Total| Success %| Status     |\n" +
            dashes +
            "| Failure Tests (Expected)        |       7|       7|      100% | ✓ PASS  |\n"
            "| Normal Measurements             |       0|       0|        0% | ✗ FAIL  |\n"
            "| Signed Measurements             |       0|       0|        0% | ✗ FAIL  |\n"
            "| Stress Tests                    |       0|       0|        0% | ✗ FAIL  |\n" +
            dashes +
            "| OVERALL SUMMARY                 |       7|       7|      100% | ✓ ALL PASS |\n" +
            equals +
            "\nTest Execution Details:\n"
            "• Total Test Categories: 4\n"
            "• Total Individual Tests: 7\n"
            "• Overall Success Rate: 100%\n"
            "🎉 EXCELLENT: All tests passed successfully!\n"
            "\n" +
            rule + "#           MEASUREMENT TEST SUITE DONE         #\n" + rule);
}

} // namespace
