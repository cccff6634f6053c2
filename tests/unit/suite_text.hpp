#pragma once

#include "tests/unit/report_transcripts.hpp"

#include <string>

namespace report_test
{

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

inline const std::string selection = "\n#################################################\n"
                                     "#     COMPREHENSIVE MEASUREMENT TEST SUITE     #\n"
                                     "#################################################\n"
                                     "\nDevice Selection Options:\n"
                                     "1. Run on current device (EID 12)\n"
                                     "2. Select device by index from discovered devices\n"
                                     "3. Run on all discovered SPDM devices\n";

/// A conversation in which the suite on the device with EID 12 prints `said`.
inline std::string suite(const std::string& said)
{
    return activity(device_table + "Selected device: EID=12\n" + selection +
                    "Enter choice (1-3): " + said);
}

} // namespace report_test
