#include "report/reader/line_shapes.hpp"

#include <gtest/gtest.h>

#include <array>
#include <ostream>
#include <string>
#include <vector>

namespace
{

using report::recognise;
using report::Shape;

struct ShapeCase
{
    std::string line;
    Shape shape;
    std::string rest;
};

std::ostream& operator<<(std::ostream& out, const ShapeCase& row)
{
    return out << '"' << row.line << '"';
}

class KnownBy : public testing::TestWithParam<ShapeCase>
{
};

TEST_P(KnownBy, ItsText)
{
    const auto& row = GetParam();
    const auto found = recognise(row.line);
    EXPECT_EQ(static_cast<int>(found.shape), static_cast<int>(row.shape));
    EXPECT_EQ(found.rest, row.rest);
}

INSTANTIATE_TEST_SUITE_P(
    Menus, KnownBy,
    testing::Values(ShapeCase{"SPDM Client Start", Shape::client_start, ""},
                    ShapeCase{"Available SPDM Supported Devices.", Shape::discovery_begins, ""},
                    ShapeCase{"ERROR: Failed to retrieve SPDM objects. Check D-Bus service "
                              "availability.",
                              Shape::discovery_failed, ""},
                    ShapeCase{"1: Regression Test", Shape::top_menu, ""},
                    ShapeCase{"2: Normal Test", Shape::top_menu, ""},
                    ShapeCase{"3: Measurement Test Suite", Shape::top_menu, ""},
                    ShapeCase{"4: Exit ", Shape::top_menu_exit, ""},
                    ShapeCase{"4: Exit", Shape::top_menu_exit, ""},
                    ShapeCase{"Please Choose the option:", Shape::choose_option, ""},
                    ShapeCase{"1: ReAuthenticate", Shape::operations_menu, ""},
                    ShapeCase{"2: GetCertficate", Shape::operations_menu, ""},
                    ShapeCase{"3: GetCertificateProperties", Shape::operations_menu, ""},
                    ShapeCase{"4: GetAll Properties", Shape::operations_menu, ""},
                    ShapeCase{"5: Recurring ReAuthenticate", Shape::operations_menu, ""},
                    ShapeCase{"6: GetMeasurement ", Shape::operations_menu, ""},
                    ShapeCase{"7: GetSignedMeasurement ", Shape::operations_menu, ""},
                    ShapeCase{"8: Monitor Signals", Shape::operations_menu, ""},
                    ShapeCase{"9: Go Back ", Shape::operations_menu, ""},
                    ShapeCase{"Enter the indices of measurement block to fetch:",
                              Shape::enter_indices, ""}));

INSTANTIATE_TEST_SUITE_P(
    Devices, KnownBy,
    testing::Values(
        ShapeCase{"1: /com/varn/bmc/spdm/spdm/cpu/cpu_12", Shape::object_listed,
                  "/com/varn/bmc/spdm/spdm/cpu/cpu_12"},
        ShapeCase{"12: /a", Shape::object_listed, "/a"},
        ShapeCase{"No objects found", Shape::no_objects, ""},
        ShapeCase{"Discovered SPDM Devices:", Shape::device_table, ""},
        ShapeCase{"    0 |   12 |          CPU-12 | /com/a", Shape::device_row,
                  "    0 |   12 |          CPU-12 | /com/a"},
        ShapeCase{"10000 | 65535 | longer than the column is | /com/a", Shape::device_row,
                  "10000 | 65535 | longer than the column is | /com/a"},
        ShapeCase{"    2 |  ALL | Run on all objects", Shape::device_row,
                  "    2 |  ALL | Run on all objects"},
        ShapeCase{"Selected device: EID=12", Shape::device_selected, "12"},
        ShapeCase{"DEVICE 1/2: EID 12", Shape::device_section, "1/2: EID 12"},
        ShapeCase{"Running operations on all discovered objects:", Shape::run_all_operations, ""},
        ShapeCase{
            "Running measurement test suite on all discovered objects:", Shape::run_all_suites, ""},
        ShapeCase{"--- ReAuthenticate ---", Shape::re_authenticate_head, ""},
        ShapeCase{"--- Get Properties ---", Shape::properties_head, ""}));

INSTANTIATE_TEST_SUITE_P(
    Operations, KnownBy,
    testing::Values(
        ShapeCase{"Object name not found.", Shape::object_not_found, ""},
        ShapeCase{"ReAuth Status: Passed Time taken(In us): 151", Shape::re_authenticate_result,
                  "Passed Time taken(In us): 151"},
        ShapeCase{"ERROR: Re-authentication operation failed. Check device authentication status.",
                  Shape::re_authenticate_error, ""},
        ShapeCase{"Certificate Status: Success Certificate Path: /p Time taken(In us): 1",
                  Shape::certificate_result, "Success Certificate Path: /p Time taken(In us): 1"},
        ShapeCase{"Certificate Status: Failed Time taken(In us): 1", Shape::certificate_result,
                  "Failed Time taken(In us): 1"},
        ShapeCase{"ERROR: Certificate operation failed. Check device connectivity and slot "
                  "availability.",
                  Shape::certificate_error, ""},
        ShapeCase{"ERROR: Certificate properties operation failed. Check slot availability.",
                  Shape::certificate_properties_error, ""},
        ShapeCase{"Time taken(In us): 7", Shape::properties_time, "7"},
        ShapeCase{"ERROR: Failed to retrieve SPDM properties. Check device connectivity.",
                  Shape::properties_error, ""}));

INSTANTIATE_TEST_SUITE_P(
    Measurements, KnownBy,
    testing::Values(
        ShapeCase{"DEBUG: Calling D-Bus method on object: /p", Shape::measurement_begins, "/p"},
        ShapeCase{"DEBUG: Read status: 0", Shape::read_status, "0"},
        ShapeCase{"DEBUG: Read NumMeasurements: 2", Shape::read_count, "2"},
        ShapeCase{"DEBUG: Read measurement data, size: 2", Shape::read_blocks, "2"},
        ShapeCase{"Get Measurement Status: 0 (Success) NumMeasurements: 2 Time taken (in us): 9",
                  Shape::measurement_result,
                  "0 (Success) NumMeasurements: 2 Time taken (in us): 9"},
        ShapeCase{"D-BUS ERROR: Measurement operation failed. Check service availability.",
                  Shape::measurement_bus_error, ""},
        ShapeCase{"GENERIC ERROR: Measurement operation failed. Check device configuration.",
                  Shape::measurement_error, ""},
        ShapeCase{"📋 MEASUREMENT BLOCK 1", Shape::block_head, "1"},
        ShapeCase{"Index:         1", Shape::block_index, "1"},
        ShapeCase{"Algorithm:     4294967295", Shape::block_algorithm, "4294967295"},
        ShapeCase{"Type:          132", Shape::block_type, "132"},
        ShapeCase{"Data Size:     18 bytes", Shape::block_size, "18 bytes"},
        ShapeCase{"Data (Hex):", Shape::block_data, ""},
        ShapeCase{"  0000: 00 01 02 03 04 05 06 07 08 09 0a 0b 0c 0d 0e 0f ", Shape::dump,
                  "00 01 02 03 04 05 06 07 08 09 0a 0b 0c 0d 0e 0f "},
        ShapeCase{"  0010: 10 11 ", Shape::dump, "10 11 "},
        ShapeCase{"  0010: 10", Shape::dump, "10"}, ShapeCase{"  10000: ff ", Shape::dump, "ff "},
        ShapeCase{"DEBUG: Calling D-Bus signed measurement method on object: /p",
                  Shape::signed_begins, "/p"},
        ShapeCase{"Get Signed Measurement Status: 18 (Partial Measurement Success) Signed "
                  "Measurements: QUJD Hashing Algorithm: H Signing Algorithm: S Version: V Time "
                  "taken(In us): 3",
                  Shape::signed_result,
                  "18 (Partial Measurement Success) Signed Measurements: QUJD Hashing Algorithm: "
                  "H Signing Algorithm: S Version: V Time taken(In us): 3"},
        ShapeCase{"D-BUS ERROR: Signed measurement operation failed. Check service availability.",
                  Shape::signed_bus_error, ""},
        ShapeCase{"GENERIC ERROR: Signed measurement operation failed. Check device "
                  "configuration.",
                  Shape::signed_error, ""},
        ShapeCase{"🔍 VALIDATING SIGNED MEASUREMENT STRUCTURE...", Shape::validating, ""},
        ShapeCase{"⚠️  VALIDATION: Empty signed measurement data", Shape::validation_problem,
                  "Empty signed measurement data"},
        ShapeCase{"⚠️  VALIDATION: Unknown signing algorithm: ", Shape::validation_problem,
                  "Unknown signing algorithm: "},
        ShapeCase{
            "⚠️  VALIDATION: Data size (95 bytes) smaller than expected signature size (96 bytes)",
            Shape::validation_problem,
            "Data size (95 bytes) smaller than expected signature size (96 bytes)"},
        ShapeCase{"⚠️  VALIDATION: Data size (97 bytes) too small for measurement + signature",
                  Shape::validation_problem,
                  "Data size (97 bytes) too small for measurement + signature"},
        ShapeCase{"✅ VALIDATION: Signed measurement structure appears valid",
                  Shape::validation_passed, ""},
        ShapeCase{"❌ VALIDATION FAILED: Signed measurement structure is invalid",
                  Shape::validation_failed, ""},
        ShapeCase{"   • Total size: 112 bytes", Shape::total_size, "112 bytes"},
        ShapeCase{"   • Expected signature size: 96 bytes", Shape::signature_size_expected,
                  "96 bytes"},
        ShapeCase{"Signed Data (Base64 - Received):", Shape::base64_received, ""},
        ShapeCase{"  QUJD", Shape::indented, "  QUJD"},
        ShapeCase{"📄 COMPLETE DECODED OUTPUT:", Shape::complete_output, ""},
        ShapeCase{"Measurement Size: 16 bytes", Shape::measurement_size, "16 bytes"},
        ShapeCase{"Signature Size: 96 bytes", Shape::signature_size, "96 bytes"},
        ShapeCase{"14 15 16 ", Shape::bytes, "14 15 16 "}, ShapeCase{"14 ", Shape::bytes, "14 "}));

INSTANTIATE_TEST_SUITE_P(
    Suites, KnownBy,
    testing::Values(
        ShapeCase{"Starting Regression for object/com/a", Shape::regression_device, "/com/a"},
        ShapeCase{std::string(88, '.'), Shape::regression_device_done, ""},
        ShapeCase{"=== Checking SPDM Service Availability ===", Shape::availability_begins, ""},
        ShapeCase{"✗ FAIL: Device EID 12 not found in device list", Shape::availability_no_device,
                  "12 not found in device list"},
        ShapeCase{"ℹ INFO: Found device at path: /p", Shape::availability_path, "/p"},
        ShapeCase{"✓ SUCCESS: SPDM service is running and device is responsive",
                  Shape::availability_responsive, ""},
        ShapeCase{"ℹ INFO: Device measurement support: YES", Shape::measurement_support, "YES"},
        ShapeCase{"ℹ INFO: Device signed measurement support: NO",
                  Shape::signed_measurement_support, "NO"},
        ShapeCase{"✗ FAIL: SPDM service communication failed. Check if service is running.",
                  Shape::availability_bus_error, ""},
        ShapeCase{"✗ FAIL: Unexpected error occurred during service availability check.",
                  Shape::availability_error, ""},
        ShapeCase{"✗ CONFIRMED: SPDM service is not running on D-Bus", Shape::service_absent, ""},
        ShapeCase{"? WARNING: SPDM service is running but device is not accessible",
                  Shape::service_running, ""},
        ShapeCase{"? WARNING: Could not check SPDM service status", Shape::service_unknown, ""},
        ShapeCase{"✗ SKIPPING: SPDM service or device not available", Shape::suite_skipping, ""},
        ShapeCase{"✗ ABORTING: SPDM service or device not available - cannot run measurement tests",
                  Shape::suite_aborting, ""},
        ShapeCase{"Device Selection Options:", Shape::suite_selection, ""},
        ShapeCase{"Will run measurement test suite on all 2 devices", Shape::all_devices_count,
                  "2 devices"},
        ShapeCase{"#               DEVICE EID:  12               #", Shape::suite_device,
                  " 12               #"},
        ShapeCase{"=== Pre-test Authentication ===", Shape::authentication_head, ""},
        ShapeCase{std::string(60, '*') + " EXECUTING TEST CATEGORIES " + std::string(60, '*'),
                  Shape::categories_begin, ""},
        ShapeCase{"********** NORMAL MEASUREMENT TESTS **********", Shape::normal_begins, ""},
        ShapeCase{"********** SIGNED MEASUREMENT TESTS **********", Shape::signed_tests_begin, ""},
        ShapeCase{"********** MEASUREMENT FAILURE TESTS **********", Shape::failure_begins, ""},
        ShapeCase{"********** MEASUREMENT STRESS TESTS **********", Shape::stress_begins, ""},
        ShapeCase{"✗ ABORT: No supported slots found for measurement testing",
                  Shape::normal_aborted, ""},
        ShapeCase{"✗ ABORT: No supported slots found for signed measurement testing",
                  Shape::signed_aborted, ""},
        ShapeCase{"✗ ABORT: No supported slots found for stress testing", Shape::stress_aborted,
                  ""},
        ShapeCase{"ℹ INFO: Slot 3 is supported", Shape::slot_supported, "3 is supported"},
        ShapeCase{"⚠ WARNING: No certificate slots found to be supported", Shape::slots_none, ""},
        ShapeCase{"ℹ INFO: Supported slots: 0, 1", Shape::slots, "0, 1"},
        ShapeCase{"ERROR: Failed to get supported slots. Check device connectivity.",
                  Shape::slots_error, ""},
        ShapeCase{"ℹ INFO: Skipping slot 8 as it is actually supported", Shape::slot_skipped,
                  "8 as it is actually supported"},
        ShapeCase{"=== Different Supported Slot Stress Test ===", Shape::different_slots, ""},
        ShapeCase{"Testing with supported slot 0:", Shape::testing_slot, "0:"},
        ShapeCase{"Testing with unsupported slot 2:", Shape::testing_unsupported_slot, "2:"},
        ShapeCase{"Testing with invalid slot 255:", Shape::testing_invalid_slot, "255:"}));

INSTANTIATE_TEST_SUITE_P(
    Tests, KnownBy,
    testing::Values(
        ShapeCase{"=== Testing Single Measurement Index 1 ===", Shape::test_single, "1 ==="},
        ShapeCase{"=== Testing Multiple Measurement Indices ===", Shape::test_multiple, ""},
        ShapeCase{"=== Testing All Measurements Retrieval (0xFF) ===", Shape::test_all, ""},
        ShapeCase{"=== Testing Invalid Measurement Index 256 ===", Shape::test_invalid_index,
                  "256 ==="},
        ShapeCase{"=== Testing Invalid Slot ID 8 ===", Shape::test_invalid_slot, "8 ==="},
        ShapeCase{"=== Testing Signed Measurement with Nonce ===", Shape::test_signed, ""},
        ShapeCase{"Indices: 1 2 3 Nonce: 0A", Shape::test_indices, "1 2 3 Nonce: 0A"},
        ShapeCase{"✓ PASS: Single measurement index 1 test passed", Shape::passed_single,
                  "1 test passed"},
        ShapeCase{"✗ FAIL: Single measurement index 1 test failed", Shape::failed_single,
                  "1 test failed"},
        ShapeCase{"✓ PASS: Multiple measurements test passed", Shape::passed_multiple, ""},
        ShapeCase{"✗ FAIL: Multiple measurements test failed", Shape::failed_multiple, ""},
        ShapeCase{"✓ PASS: All measurements test passed", Shape::passed_all, ""},
        ShapeCase{"✗ FAIL: All measurements test failed", Shape::failed_all, ""},
        ShapeCase{"✓ PASS: Invalid measurement index correctly failed", Shape::passed_invalid_index,
                  ""},
        ShapeCase{"⚠ WARNING: Invalid measurement index unexpectedly passed",
                  Shape::warned_invalid_index, ""},
        ShapeCase{"✓ PASS: Invalid slot ID correctly failed", Shape::passed_invalid_slot, ""},
        ShapeCase{"⚠ WARNING: Invalid slot ID unexpectedly passed", Shape::warned_invalid_slot, ""},
        ShapeCase{"✓ PASS: Signed measurement with nonce test passed", Shape::passed_signed, ""},
        ShapeCase{"✗ FAIL: Signed measurement with nonce test failed", Shape::failed_signed, ""}));

INSTANTIATE_TEST_SUITE_P(
    Results, KnownBy,
    testing::Values(
        ShapeCase{"=== NORMAL MEASUREMENT TEST SUMMARY ===", Shape::normal_summary, ""},
        ShapeCase{"=== SIGNED MEASUREMENT TEST SUMMARY ===", Shape::signed_summary, ""},
        ShapeCase{"=== MEASUREMENT FAILURE TEST SUMMARY ===", Shape::failure_summary, ""},
        ShapeCase{"=== MEASUREMENT STRESS TEST SUMMARY ===", Shape::stress_summary, ""},
        ShapeCase{"Passed: 8/8 tests", Shape::summary_passed, "8/8 tests"},
        ShapeCase{"Expected Failures: 5/7 tests", Shape::summary_passed, "5/7 tests"},
        ShapeCase{"Success Rate: 100%", Shape::summary_rate, "100%"},
        ShapeCase{"Proper Error Handling Rate: 71%", Shape::summary_rate, "71%"},
        ShapeCase{"WARNING: Failed to get device properties. Check service availability.",
                  Shape::descriptor_failed, ""},
        ShapeCase{"|" + std::string(19, ' ') + "COMPREHENSIVE TEST RESULTS TABLE" +
                      std::string(19, ' ') + "|",
                  Shape::table_begins, ""},
        ShapeCase{"• Device EID: 12", Shape::table_eid, "12"},
        ShapeCase{"• XMID: CPU-12", Shape::table_xmid, "CPU-12"},
        ShapeCase{"• Description: Not available", Shape::table_description, "Not available"},
        ShapeCase{"| Normal Measurements             |       8|       8|     100% | ✓ PASS | ",
                  Shape::table_row,
                  "| Normal Measurements             |       8|       8|     100% | ✓ PASS | "},
        ShapeCase{"Test Execution Details:", Shape::details_begin, ""},
        ShapeCase{"• Total Test Categories: 4", Shape::details_categories, "4"},
        ShapeCase{"• Total Individual Tests: 49", Shape::details_tests, "49"},
        ShapeCase{"• Overall Success Rate: 100%", Shape::details_rate, "100%"},
        ShapeCase{"🎉 EXCELLENT: All tests passed successfully!", Shape::suite_verdict, ""},
        ShapeCase{"✅ GOOD: Most tests passed. Review failed cases.", Shape::suite_verdict, ""},
        ShapeCase{"⚠️  ATTENTION: Significant test failures detected.", Shape::suite_verdict,
                  ""},
        ShapeCase{"#           MEASUREMENT TEST SUITE DONE         #", Shape::suite_done, ""}));

INSTANTIATE_TEST_SUITE_P(
    Monitor, KnownBy,
    testing::Values(
        ShapeCase{"Press -1 to stop monitoring", Shape::monitor_begins, ""},
        ShapeCase{"Error while creating SPDMManagerServiceThread", Shape::monitor_thread_error, ""},
        ShapeCase{"Error while stopping SPDMManagerServiceThread", Shape::monitor_thread_error, ""},
        ShapeCase{"Something went wrong :sd_bus_wait: no", Shape::monitor_failed,
                  "sd_bus_wait: no"},
        ShapeCase{"Received Interface CPU Signal.", Shape::interface_added, ""},
        ShapeCase{"Received Interface HALC Signal.", Shape::interface_added, ""},
        ShapeCase{"Received Interface NIC Signal.", Shape::interface_added, ""},
        ShapeCase{"Object Added :/p", Shape::object_added, "/p"},
        ShapeCase{"Received Interface Removed  Signal.", Shape::interface_removed, ""},
        ShapeCase{"Object removed:/p", Shape::object_removed, "/p"},
        ShapeCase{"Received Info Signal.", Shape::info_received, ""},
        ShapeCase{"Info Signal: 7", Shape::info_value, "7"},
        ShapeCase{"Received Error Signal for EID: 12", Shape::device_error_eid, "12"},
        ShapeCase{"Error: 3", Shape::device_error_value, "3"},
        ShapeCase{"Received Certificate Progress Signal.", Shape::progress_received, ""},
        ShapeCase{"Received Certificate Progress Signal for EID: 12", Shape::progress_eid, "12"},
        ShapeCase{"Progress: 50", Shape::progress_value, "50"},
        ShapeCase{"Received properties changed Signal.", Shape::properties_changed, ""},
        ShapeCase{"Received properties changed Signal for EID: 12", Shape::properties_changed_eid,
                  "12"}));

INSTANTIATE_TEST_SUITE_P(
    Others, KnownBy,
    testing::Values(ShapeCase{"", Shape::blank, ""}, ShapeCase{"4", Shape::number, "4"},
                    ShapeCase{"-1", Shape::number, "-1"},
                    ShapeCase{"18446744073709551615", Shape::number, "18446744073709551615"},
                    ShapeCase{"184467440737095516150", Shape::unknown, ""},
                    ShapeCase{"2: Normal Test ", Shape::unknown, ""},
                    ShapeCase{"SPDM Client Start!", Shape::unknown, ""},
                    ShapeCase{"ReAuth", Shape::unknown, ""},
                    ShapeCase{"  0000: 00 01 0G ", Shape::indented, "  0000: 00 01 0G "},
                    ShapeCase{"  000: 00 ", Shape::indented, "  000: 00 "},
                    ShapeCase{"  0000: ", Shape::indented, "  0000: "},
                    ShapeCase{"  0000: 00 01 02 03 04 05 06 07 08 09 0a 0b 0c 0d 0e 0f 10 ",
                              Shape::indented,
                              "  0000: 00 01 02 03 04 05 06 07 08 09 0a 0b 0c 0d 0e 0f 10 "},
                    ShapeCase{"0A 0B ", Shape::unknown, ""},
                    ShapeCase{std::string(87, '.'), Shape::unknown, ""},
                    ShapeCase{std::string(89, '.'), Shape::unknown, ""},
                    ShapeCase{"1: com", Shape::unknown, ""}, ShapeCase{"-", Shape::unknown, ""}));

/// The texts that tell nothing more than that they were printed.
TEST(Known, WithoutMeaning)
{
    const std::vector<std::string> lines{
        "Initialization successful",
        "Invalid method.",
        "Please try again...",
        "Available SPDM objects:",
        "Index | EID  | XMID            | D-Bus Path",
        "------|------|-----------------|------------------------------------------",
        "Choose the device index (0-2): ",
        "Invalid device index selected.",
        std::string(60, '='),
        std::string(80, '='),
        std::string(73, '='),
        std::string(73, '-'),
        std::string(40, '-'),
        "DEBUG: Reading D-Bus reply...",
        "ERROR DETAILS: This typically means:",
        "  1. SPDM service (com.varn.bmc.spdm.spdm) is not running",
        "  2. Device endpoint is not available or not initialized",
        "  3. D-Bus system bus communication issue",
        "  4. Device does not support measurement operations",
        "  4. Device does not support signed measurement operations",
        "ℹ INFO: No measurement data returned",
        "ℹ INFO: No measurement data to display",
        "📊 DETAILED MEASUREMENT DATA ANALYSIS",
        "DEBUG: Reading D-Bus signed measurement reply...",
        "DEBUG: Read signed measurement data, length: 152",
        "ℹ INFO: Device does not support signed measurements",
        "ℹ INFO: Authentication may be required for signed measurements",
        "ℹ INFO: No signed measurement data returned",
        "ℹ INFO: No signed measurement data to display",
        "   • Estimated measurement data: 16 bytes",
        "⚠️  WARNING: This may indicate:",
        "   • Device did not include signature in last measurement",
        "   • Signature algorithm mismatch",
        "   • Data corruption or truncation",
        "   • Device firmware issue",
        "Raw data (first 80 chars): QUJD",
        "🔐 DETAILED SIGNED MEASUREMENT DATA ANALYSIS",
        "Hashing Algorithm: N/A",
        "Signing Algorithm: ECDSA-P384",
        "Total Data Size:   152 bytes",
        "Decoded Size: 112 bytes",
        "ACTUAL MEASUREMENT DATA SECTION:",
        "🔐 SIGNATURE DATA SECTION:",
        "Signature (Hex):",
        "⚠️  WARNING: Unknown signing algorithm: x",
        "⚠️  WARNING: Data size (1 bytes) is smaller than expected signature size (2 bytes) for x",
        "Cannot separate measurement from signature. Showing complete data:",
        "Showing complete data:",
        "ℹ INFO: Device not ready for measurement operation",
        "✗ FAIL: Authentication required for measurements",
        "ℹ INFO: Device does not support measurements",
        "ℹ INFO: Measurement summary not available",
        "⚠ WARNING: Partial success - some measurements failed",
        "ℹ INFO: Resynchronization required",
        "ℹ INFO: Generated 32-byte nonce: " + std::string(64, 'A') + " (256 bits)",
        "ℹ INFO: Generated 32-byte nonce (lowercase): " + std::string(64, 'a') + " (256 bits)",
        "ℹ INFO: Device challenge status: 1",
        "#           MEASUREMENT TEST SUITE ABORTED       #",
        "#################################################",
        "#     COMPREHENSIVE MEASUREMENT TEST SUITE     #",
        "1. Run on current device (EID 12)",
        "2. Select device by index from discovered devices",
        "3. Run on all discovered SPDM devices",
        "Invalid index selected!",
        "ℹ INFO: Found unsupported slot for testing: 2",
        "ℹ INFO: All slots 0-7 are supported, using slot 8 for unsupported test",
        "=== Testing Single Measurements with Supported Slots ===",
        "=== Testing Multiple Measurements with Supported Slots ===",
        "=== Testing All Measurements with Supported Slots ===",
        "=== Testing Basic Signed Measurements with Empty Nonce ===",
        "=== Testing Signed Measurements with 32-byte Random Nonce (Uppercase Hex) ===",
        "=== Testing Multiple Indices Signed Measurements with 32-byte Random Nonce (Lowercase "
        "Hex) ===",
        "=== Testing All Signed Measurements with 32-byte Random Nonce ===",
        "=== Testing Invalid Measurement Indices ===",
        "=== Testing Invalid Slot IDs ===",
        "=== Rapid Successive Measurements Test ===",
        "=== Alternating Measurement Types Test ===",
        "DEVICE INFORMATION:",
        "| Test Category                   |  Passed|   Total| Success %| Status     |",
        "subscribing to signals",
        "Interface  Added handler FOR CPU is completed.",
        "Interface  Added handler FOR HALC is completed.",
        "Interface  Added handler FOR NIC is completed.",
        "Interface Removed handler is completed.",
        "Info handler is completed.",
        "Error handler is completed.",
        "Certificate Progress handler is completed.",
        "Properties change handler is completed.",
    };
    for (const auto& line : lines)
    {
        EXPECT_EQ(static_cast<int>(recognise(line).shape), static_cast<int>(Shape::known)) << line;
    }
}

/// Labels of 38 characters, each before its value, which may be empty.
TEST(Known, EveryProperty)
{
    const std::vector<std::string> labels{
        "ChallengeStatus                     : ", "Version                             : ",
        "Certificate                         : ", "ChallengeAuthRespSupport            : ",
        "Measurement                         : ", "Encryption                          : ",
        "SignedMeasurement                   : ", "DeviceEID                           : ",
        "DeviceChallengeStatus               : ", "DeviceCertStatus                    : ",
        "CertificateSlot0                    : ", "CertificateSlot1                    : ",
        "CertificateSlot2                    : ", "CertificateSlot3                    : ",
        "CertificateSlot4                    : ", "CertificateSlot5                    : ",
        "CertificateSlot6                    : ", "CertificateSlot7                    : ",
        "DeviceAllowed                       : ", "XMID                                : ",
        "PhyBinding                          : ", "Preferred                           : ",
        "MeasurementSpecification            : ", "MeasurementSummary                  : ",
        "MeasurementSummaryHashAlgorithm     : ", "MeasurementSummaryType              : ",
        "NumMeasurements                     : ",
    };
    ASSERT_EQ(labels.size(), report::property_names.size());
    for (std::size_t i = 0; i < labels.size(); ++i)
    {
        for (const auto* value : {"", "true", "a text: with | anything"})
        {
            const auto line = labels[i] + value;
            const auto found = recognise(line);
            EXPECT_EQ(static_cast<int>(found.shape), static_cast<int>(Shape::property)) << line;
            EXPECT_EQ(found.rest, line);
        }
        EXPECT_EQ(labels[i].substr(0, labels[i].find(' ')), report::property_names[i]);
    }
    for (const std::string line :
         {"Versions                            : 1", "Version                            : 1",
          "Version                             :1", "Version x                           : 1"})
    {
        EXPECT_EQ(static_cast<int>(recognise(line).shape), static_cast<int>(Shape::unknown))
            << line;
    }
}

struct PromptCase
{
    std::string line;
    std::string rest;
    bool asked_slot;
};

std::ostream& operator<<(std::ostream& out, const PromptCase& row)
{
    return out << '"' << row.line << '"';
}

class Prompts : public testing::TestWithParam<PromptCase>
{
};

TEST_P(Prompts, AreStripped)
{
    bool asked_slot = false;
    EXPECT_EQ(report::without_prompts(GetParam().line, asked_slot), GetParam().rest);
    EXPECT_EQ(asked_slot, GetParam().asked_slot);
}

INSTANTIATE_TEST_SUITE_P(
    Before, Prompts,
    testing::Values(
        PromptCase{"Please Enter Slot Number: ", "", true},
        PromptCase{"Please Enter Slot Number: 3", "3", true},
        PromptCase{"Please Enter Slot Number: Certificate Status: Failed Time taken(In us): 1",
                   "Certificate Status: Failed Time taken(In us): 1", true},
        PromptCase{"Enter the next value (enter -1 to stop): Enter the next value (enter -1 to "
                   "stop): DEBUG: Reading D-Bus reply...",
                   "DEBUG: Reading D-Bus reply...", false},
        PromptCase{"Enter choice (1-3): 2", "2", false},
        PromptCase{"Enter choice (1-3): Enter device index (0-2): x", "x", false},
        PromptCase{"Enter device index (0--1): Invalid index selected!", "Invalid index selected!",
                   false},
        PromptCase{"Enter device index (0-2", "Enter device index (0-2", false},
        PromptCase{"Please Choose the option:", "Please Choose the option:", false},
        PromptCase{"Enter the indices of measurement block to fetch:",
                   "Enter the indices of measurement block to fetch:", false},
        PromptCase{"x Please Enter Slot Number: ", "x Please Enter Slot Number: ", false}));

} // namespace
