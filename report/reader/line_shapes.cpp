#include "report/reader/line_shapes.hpp"

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>
#include <string>
#include <vector>

namespace report
{

namespace
{

/// Texts are known by their first bytes, which all of them have.
constexpr std::size_t key_size = 7;

struct KnownText
{
    std::string_view text;
    Shape shape;
    bool whole;
};

constexpr KnownText line(std::string_view text, Shape shape = Shape::known)
{
    return {text, shape, true};
}

constexpr KnownText head(std::string_view text, Shape shape = Shape::known)
{
    return {text, shape, false};
}

// Of two heads the longer one comes first where it begins with the other.
constexpr std::array rows{
    line("SPDM Client Start", Shape::client_start),
    line("Initialization successful"),
    line("Available SPDM Supported Devices.", Shape::discovery_begins),
    line("ERROR: Failed to retrieve SPDM objects. Check D-Bus service availability.",
         Shape::discovery_failed),

    line("1: Regression Test", Shape::top_menu),
    line("2: Normal Test", Shape::top_menu),
    line("3: Measurement Test Suite", Shape::top_menu),
    line("4: Exit ", Shape::top_menu_exit),
    line("4: Exit", Shape::top_menu_exit),
    line("Please Choose the option:", Shape::choose_option),
    line("1: ReAuthenticate", Shape::operations_menu),
    line("2: GetCertficate", Shape::operations_menu),
    line("3: GetCertificateProperties", Shape::operations_menu),
    line("4: GetAll Properties", Shape::operations_menu),
    line("5: Recurring ReAuthenticate", Shape::operations_menu),
    line("6: GetMeasurement ", Shape::operations_menu),
    line("7: GetSignedMeasurement ", Shape::operations_menu),
    line("8: Monitor Signals", Shape::operations_menu),
    line("9: Go Back ", Shape::operations_menu),
    line("Invalid method."),
    line("Please try again..."),
    line("Enter the indices of measurement block to fetch:", Shape::enter_indices),

    line("Available SPDM objects:"),
    line("No objects found", Shape::no_objects),
    line("Discovered SPDM Devices:", Shape::device_table),
    line("Index | EID  | XMID            | D-Bus Path"),
    line("------|------|-----------------|------------------------------------------"),
    head("Choose the device index (0-"),
    line("Invalid device index selected."),
    head("Selected device: EID=", Shape::device_selected),
    line("Running operations on all discovered objects:", Shape::run_all_operations),
    line("Running measurement test suite on all discovered objects:", Shape::run_all_suites),
    line("DEVICE INFORMATION:"),
    head("DEVICE ", Shape::device_section),
    line("--- ReAuthenticate ---", Shape::re_authenticate_head),
    line("--- Get Properties ---", Shape::properties_head),

    line("Object name not found.", Shape::object_not_found),
    head("ReAuth Status: ", Shape::re_authenticate_result),
    line("ERROR: Re-authentication operation failed. Check device authentication status.",
         Shape::re_authenticate_error),
    head("Certificate Status: ", Shape::certificate_result),
    line("ERROR: Certificate operation failed. Check device connectivity and slot availability.",
         Shape::certificate_error),
    line("ERROR: Certificate properties operation failed. Check slot availability.",
         Shape::certificate_properties_error),
    head("Time taken(In us): ", Shape::properties_time),
    line("ERROR: Failed to retrieve SPDM properties. Check device connectivity.",
         Shape::properties_error),

    head("DEBUG: Calling D-Bus method on object: ", Shape::measurement_begins),
    line("DEBUG: Reading D-Bus reply..."),
    head("DEBUG: Read status: ", Shape::read_status),
    head("DEBUG: Read NumMeasurements: ", Shape::read_count),
    head("DEBUG: Read measurement data, size: ", Shape::read_blocks),
    head("Get Measurement Status: ", Shape::measurement_result),
    line("D-BUS ERROR: Measurement operation failed. Check service availability.",
         Shape::measurement_bus_error),
    line("GENERIC ERROR: Measurement operation failed. Check device configuration.",
         Shape::measurement_error),
    line("ERROR DETAILS: This typically means:"),
    line("ℹ INFO: No measurement data returned"),
    line("ℹ INFO: No measurement data to display"),
    line("📊 DETAILED MEASUREMENT DATA ANALYSIS"),
    head("📋 MEASUREMENT BLOCK ", Shape::block_head),
    head("Index:         ", Shape::block_index),
    head("Algorithm:     ", Shape::block_algorithm),
    head("Type:          ", Shape::block_type),
    head("Data Size:     ", Shape::block_size),
    line("Data (Hex):", Shape::block_data),

    head("DEBUG: Calling D-Bus signed measurement method on object: ", Shape::signed_begins),
    line("DEBUG: Reading D-Bus signed measurement reply..."),
    head("DEBUG: Read signed measurement data, length: "),
    head("Get Signed Measurement Status: ", Shape::signed_result),
    line("D-BUS ERROR: Signed measurement operation failed. Check service availability.",
         Shape::signed_bus_error),
    line("GENERIC ERROR: Signed measurement operation failed. Check device configuration.",
         Shape::signed_error),
    line("ℹ INFO: Device does not support signed measurements"),
    line("ℹ INFO: Authentication may be required for signed measurements"),
    line("ℹ INFO: No signed measurement data returned"),
    line("ℹ INFO: No signed measurement data to display"),
    line("🔍 VALIDATING SIGNED MEASUREMENT STRUCTURE...", Shape::validating),
    head("⚠️  VALIDATION: ", Shape::validation_problem),
    line("✅ VALIDATION: Signed measurement structure appears valid", Shape::validation_passed),
    line("❌ VALIDATION FAILED: Signed measurement structure is invalid", Shape::validation_failed),
    line("⚠️  WARNING: This may indicate:"),
    head("Raw data (first 80 chars): "),
    line("🔐 DETAILED SIGNED MEASUREMENT DATA ANALYSIS"),
    head("Hashing Algorithm: "),
    head("Signing Algorithm: "),
    head("Total Data Size:   "),
    line("Signed Data (Base64 - Received):", Shape::base64_received),
    head("Decoded Size: "),
    line("📄 COMPLETE DECODED OUTPUT:", Shape::complete_output),
    line("ACTUAL MEASUREMENT DATA SECTION:"),
    head("Measurement Size: ", Shape::measurement_size),
    line("🔐 SIGNATURE DATA SECTION:"),
    head("Signature Size: ", Shape::signature_size),
    line("Signature (Hex):"),
    head("⚠️  WARNING: Unknown signing algorithm: "),
    head("⚠️  WARNING: Data size ("),
    line("Cannot separate measurement from signature. Showing complete data:"),
    line("Showing complete data:"),

    line("ℹ INFO: Device not ready for measurement operation"),
    line("✗ FAIL: Authentication required for measurements"),
    line("ℹ INFO: Device does not support measurements"),
    line("ℹ INFO: Measurement summary not available"),
    line("⚠ WARNING: Partial success - some measurements failed"),
    line("ℹ INFO: Resynchronization required"),
    head("ℹ INFO: Generated 32-byte nonce"),

    head("Starting Regression for object", Shape::regression_device),
    line("=== Checking SPDM Service Availability ===", Shape::availability_begins),
    head("✗ FAIL: Device EID ", Shape::availability_no_device),
    head("ℹ INFO: Found device at path: ", Shape::availability_path),
    line("✓ SUCCESS: SPDM service is running and device is responsive",
         Shape::availability_responsive),
    head("ℹ INFO: Device measurement support: ", Shape::measurement_support),
    head("ℹ INFO: Device signed measurement support: ", Shape::signed_measurement_support),
    head("ℹ INFO: Device challenge status: "),
    line("✗ FAIL: SPDM service communication failed. Check if service is running.",
         Shape::availability_bus_error),
    line("✗ FAIL: Unexpected error occurred during service availability check.",
         Shape::availability_error),
    line("✗ CONFIRMED: SPDM service is not running on D-Bus", Shape::service_absent),
    line("? WARNING: SPDM service is running but device is not accessible", Shape::service_running),
    line("? WARNING: Could not check SPDM service status", Shape::service_unknown),
    line("✗ SKIPPING: SPDM service or device not available", Shape::suite_skipping),
    line("✗ ABORTING: SPDM service or device not available - cannot run measurement tests",
         Shape::suite_aborting),
    line("#           MEASUREMENT TEST SUITE ABORTED       #"),

    line("#     COMPREHENSIVE MEASUREMENT TEST SUITE     #"),
    line("Device Selection Options:", Shape::suite_selection),
    head("1. Run on current device (EID "),
    line("2. Select device by index from discovered devices"),
    line("3. Run on all discovered SPDM devices"),
    head("Will run measurement test suite on all ", Shape::all_devices_count),
    line("Invalid index selected!"),
    head("#               DEVICE EID: ", Shape::suite_device),
    line("=== Pre-test Authentication ===", Shape::authentication_head),
    line("************************************************************ EXECUTING TEST CATEGORIES "
         "************************************************************",
         Shape::categories_begin),
    line("********** NORMAL MEASUREMENT TESTS **********", Shape::normal_begins),
    line("********** SIGNED MEASUREMENT TESTS **********", Shape::signed_tests_begin),
    line("********** MEASUREMENT FAILURE TESTS **********", Shape::failure_begins),
    line("********** MEASUREMENT STRESS TESTS **********", Shape::stress_begins),
    line("✗ ABORT: No supported slots found for measurement testing", Shape::normal_aborted),
    line("✗ ABORT: No supported slots found for signed measurement testing", Shape::signed_aborted),
    line("✗ ABORT: No supported slots found for stress testing", Shape::stress_aborted),
    head("ℹ INFO: Slot ", Shape::slot_supported),
    line("⚠ WARNING: No certificate slots found to be supported", Shape::slots_none),
    head("ℹ INFO: Supported slots: ", Shape::slots),
    line("ERROR: Failed to get supported slots. Check device connectivity.", Shape::slots_error),
    head("ℹ INFO: Found unsupported slot for testing: "),
    line("ℹ INFO: All slots 0-7 are supported, using slot 8 for unsupported test"),
    head("ℹ INFO: Skipping slot ", Shape::slot_skipped),

    line("=== Testing Single Measurements with Supported Slots ==="),
    line("=== Testing Multiple Measurements with Supported Slots ==="),
    line("=== Testing All Measurements with Supported Slots ==="),
    line("=== Testing Basic Signed Measurements with Empty Nonce ==="),
    line("=== Testing Signed Measurements with 32-byte Random Nonce (Uppercase Hex) ==="),
    line("=== Testing Multiple Indices Signed Measurements with 32-byte Random Nonce (Lowercase "
         "Hex) ==="),
    line("=== Testing All Signed Measurements with 32-byte Random Nonce ==="),
    line("=== Testing Invalid Measurement Indices ==="),
    line("=== Testing Invalid Slot IDs ==="),
    line("=== Rapid Successive Measurements Test ==="),
    line("=== Alternating Measurement Types Test ==="),
    line("=== Different Supported Slot Stress Test ===", Shape::different_slots),
    head("Testing with supported slot ", Shape::testing_slot),
    head("Testing with unsupported slot ", Shape::testing_unsupported_slot),
    head("Testing with invalid slot ", Shape::testing_invalid_slot),
    head("=== Testing Single Measurement Index ", Shape::test_single),
    line("=== Testing Multiple Measurement Indices ===", Shape::test_multiple),
    line("=== Testing All Measurements Retrieval (0xFF) ===", Shape::test_all),
    head("=== Testing Invalid Measurement Index ", Shape::test_invalid_index),
    head("=== Testing Invalid Slot ID ", Shape::test_invalid_slot),
    line("=== Testing Signed Measurement with Nonce ===", Shape::test_signed),
    head("Indices: ", Shape::test_indices),
    head("✓ PASS: Single measurement index ", Shape::passed_single),
    head("✗ FAIL: Single measurement index ", Shape::failed_single),
    line("✓ PASS: Multiple measurements test passed", Shape::passed_multiple),
    line("✗ FAIL: Multiple measurements test failed", Shape::failed_multiple),
    line("✓ PASS: All measurements test passed", Shape::passed_all),
    line("✗ FAIL: All measurements test failed", Shape::failed_all),
    line("✓ PASS: Invalid measurement index correctly failed", Shape::passed_invalid_index),
    line("⚠ WARNING: Invalid measurement index unexpectedly passed", Shape::warned_invalid_index),
    line("✓ PASS: Invalid slot ID correctly failed", Shape::passed_invalid_slot),
    line("⚠ WARNING: Invalid slot ID unexpectedly passed", Shape::warned_invalid_slot),
    line("✓ PASS: Signed measurement with nonce test passed", Shape::passed_signed),
    line("✗ FAIL: Signed measurement with nonce test failed", Shape::failed_signed),
    line("=== NORMAL MEASUREMENT TEST SUMMARY ===", Shape::normal_summary),
    line("=== SIGNED MEASUREMENT TEST SUMMARY ===", Shape::signed_summary),
    line("=== MEASUREMENT FAILURE TEST SUMMARY ===", Shape::failure_summary),
    line("=== MEASUREMENT STRESS TEST SUMMARY ===", Shape::stress_summary),
    head("Passed: ", Shape::summary_passed),
    head("Expected Failures: ", Shape::summary_passed),
    head("Success Rate: ", Shape::summary_rate),
    head("Proper Error Handling Rate: ", Shape::summary_rate),

    line("WARNING: Failed to get device properties. Check service availability.",
         Shape::descriptor_failed),
    line("|                   COMPREHENSIVE TEST RESULTS TABLE                   |",
         Shape::table_begins),
    head("• Device EID: ", Shape::table_eid),
    head("• XMID: ", Shape::table_xmid),
    head("• Description: ", Shape::table_description),
    line("| Test Category                   |  Passed|   Total| Success %| Status     |"),
    line("Test Execution Details:", Shape::details_begin),
    head("• Total Test Categories: ", Shape::details_categories),
    head("• Total Individual Tests: ", Shape::details_tests),
    head("• Overall Success Rate: ", Shape::details_rate),
    line("🎉 EXCELLENT: All tests passed successfully!", Shape::suite_verdict),
    line("✅ GOOD: Most tests passed. Review failed cases.", Shape::suite_verdict),
    line("⚠️  ATTENTION: Significant test failures detected.", Shape::suite_verdict),
    line("#           MEASUREMENT TEST SUITE DONE         #", Shape::suite_done),

    line("Press -1 to stop monitoring", Shape::monitor_begins),
    line("Error while creating SPDMManagerServiceThread", Shape::monitor_thread_error),
    line("Error while stopping SPDMManagerServiceThread", Shape::monitor_thread_error),
    head("Something went wrong :", Shape::monitor_failed),
    line("Received Interface CPU Signal.", Shape::interface_added),
    line("Received Interface HALC Signal.", Shape::interface_added),
    line("Received Interface NIC Signal.", Shape::interface_added),
    head("Object Added :", Shape::object_added),
    line("subscribing to signals"),
    line("Interface  Added handler FOR CPU is completed."),
    line("Interface  Added handler FOR HALC is completed."),
    line("Interface  Added handler FOR NIC is completed."),
    line("Received Interface Removed  Signal.", Shape::interface_removed),
    head("Object removed:", Shape::object_removed),
    line("Interface Removed handler is completed."),
    line("Received Info Signal.", Shape::info_received),
    head("Info Signal: ", Shape::info_value),
    line("Info handler is completed."),
    head("Received Error Signal for EID: ", Shape::device_error_eid),
    head("Error: ", Shape::device_error_value),
    line("Error handler is completed."),
    line("Received Certificate Progress Signal.", Shape::progress_received),
    head("Received Certificate Progress Signal for EID: ", Shape::progress_eid),
    head("Progress: ", Shape::progress_value),
    line("Certificate Progress handler is completed."),
    line("Received properties changed Signal.", Shape::properties_changed),
    head("Received properties changed Signal for EID: ", Shape::properties_changed_eid),
    line("Properties change handler is completed."),
};

/// The first bytes as a number, in one load where the text is longer.
std::uint64_t key_of(std::string_view text)
{
    std::uint64_t key = 0;
    if (text.size() < sizeof(key))
    {
        std::array<char, sizeof(key)> padded{};
        std::copy_n(text.data(), key_size, padded.begin());
        std::memcpy(&key, padded.data(), sizeof(key));
        return key;
    }
    std::memcpy(&key, text.data(), sizeof(key));
    // The byte after the key, wherever this machine has it.
    constexpr auto last_byte = std::endian::native == std::endian::little
                                   ? ~(std::uint64_t{0xff} << 56U)
                                   : ~std::uint64_t{0xff};
    return key & last_byte;
}

/// The rows by the hash of their keys.
class ShapesByText
{
  public:
    ShapesByText()
    {
        for (const auto& row : rows)
        {
            buckets[bucket_of(key_of(row.text))].push_back(row);
        }
    }

    Recognised find(std::string_view text) const
    {
        for (const auto& row : buckets[bucket_of(key_of(text))])
        {
            if (row.whole ? text == row.text : text.starts_with(row.text))
            {
                return {row.shape, text.substr(row.text.size())};
            }
        }
        return {};
    }

  private:
    static std::size_t bucket_of(std::uint64_t key)
    {
        return (key * 0x9e3779b97f4a7c15U) >> 55U;
    }

    std::array<std::vector<KnownText>, 512> buckets;
};

bool is_digit(char c)
{
    return c >= '0' && c <= '9';
}

bool is_hex(char c)
{
    return is_digit(c) || (c >= 'a' && c <= 'f');
}

constexpr std::size_t row_size = 48;

/// Whether 16 bytes stand here, each with its blank. A loop that compilers vectorise: most lines of a
/// transcript are such rows.
bool is_whole_row(const char* text)
{
    constexpr auto blanks = [] {
        std::array<std::uint8_t, row_size> places{};
        for (std::size_t i = 2; i < places.size(); i += 3)
        {
            places[i] = 1;
        }
        return places;
    }();
    std::uint8_t wrong = 0;
    for (std::size_t i = 0; i < row_size; ++i)
    {
        const auto c = static_cast<std::uint8_t>(text[i]);
        const auto digit = static_cast<std::uint8_t>(c - '0') < 10;
        const auto letter = static_cast<std::uint8_t>(c - 'a') < 6;
        wrong |= static_cast<std::uint8_t>(blanks[i] != 0 ? c != ' ' : !(digit || letter));
    }
    return wrong == 0;
}

/// "10 11 ... ", at most 16 bytes; the last blank may be missing.
bool is_bytes(std::string_view text)
{
    if (text.size() == row_size)
    {
        return is_whole_row(text.data());
    }
    if (text.size() < 2 || text.size() > row_size || text.size() % 3 == 1)
    {
        return false;
    }
    for (std::size_t i = 0; i < text.size(); ++i)
    {
        if (i % 3 == 2 ? text[i] != ' ' : !is_hex(text[i]))
        {
            return false;
        }
    }
    return true;
}

constexpr std::array indented_lines{
    line("  1. SPDM service (com.varn.bmc.spdm.spdm) is not running"),
    line("  2. Device endpoint is not available or not initialized"),
    line("  3. D-Bus system bus communication issue"),
    line("  4. Device does not support measurement operations"),
    line("  4. Device does not support signed measurement operations"),
    head("   • Total size: ", Shape::total_size),
    head("   • Expected signature size: ", Shape::signature_size_expected),
    head("   • Estimated measurement data: "),
    line("   • Device did not include signature in last measurement"),
    line("   • Signature algorithm mismatch"),
    line("   • Data corruption or truncation"),
    line("   • Device firmware issue"),
};

/// Where " | " first stands after a right-aligned field that may be longer than its width.
bool looks_like_device_row(std::string_view text)
{
    const auto first = text.find_first_not_of(' ');
    if (first == std::string_view::npos || !is_digit(text[first]))
    {
        return false;
    }
    const auto end = text.find_first_not_of("0123456789", first);
    return end != std::string_view::npos && end >= 5 && text.substr(end).starts_with(" | ");
}

Recognised indented(std::string_view text)
{
    const auto colon = text.find(": ");
    if (colon != std::string_view::npos && colon >= 6 && colon <= 18 &&
        std::all_of(text.begin() + 2, text.begin() + static_cast<std::ptrdiff_t>(colon), is_hex) &&
        is_bytes(text.substr(colon + 2)))
    {
        return {Shape::dump, text.substr(colon + 2)};
    }
    for (const auto& row : indented_lines)
    {
        if (row.whole ? text == row.text : text.starts_with(row.text))
        {
            return {row.shape, text.substr(row.text.size())};
        }
    }
    if (looks_like_device_row(text))
    {
        return {Shape::device_row, text};
    }
    return {Shape::indented, text};
}

/// A property's name is left-justified in this many characters, before ": ".
constexpr std::size_t label_width = 36;

bool is_property(std::string_view text)
{
    if (text.size() < label_width + 2 || text.substr(label_width, 2) != ": ")
    {
        return false;
    }
    const auto label = text.substr(0, label_width);
    const auto name = label.substr(0, label.find(' '));
    return label.find_first_not_of(' ', name.size()) == std::string_view::npos &&
           std::find(property_names.begin(), property_names.end(), name) != property_names.end();
}

bool is_rule(std::string_view text)
{
    return text.size() >= 40 && std::string_view{"=-#"}.find(text[0]) != std::string_view::npos &&
           text.find_first_not_of(text[0]) == std::string_view::npos;
}

bool is_number(std::string_view text)
{
    const auto digits = text.starts_with('-') ? text.substr(1) : text;
    return !digits.empty() && digits.size() <= 20 &&
           std::all_of(digits.begin(), digits.end(), is_digit);
}

/// "1: /com/varn/..."
Recognised listed_object(std::string_view text)
{
    const auto end = text.find_first_not_of("0123456789");
    if (end != std::string_view::npos && end > 0 && text.substr(end).starts_with(": /"))
    {
        return {Shape::object_listed, text.substr(end + 2)};
    }
    return {};
}

} // namespace

Recognised recognise(std::string_view text)
{
    static const ShapesByText shapes;
    if (text.empty())
    {
        return {Shape::blank, {}};
    }
    if (text.starts_with("  "))
    {
        return indented(text);
    }
    if (text.size() >= key_size)
    {
        const auto found = shapes.find(text);
        if (found.shape != Shape::unknown)
        {
            return found;
        }
    }
    if (text.starts_with("| "))
    {
        return {Shape::table_row, text};
    }
    if (is_property(text))
    {
        return {Shape::property, text};
    }
    if (is_rule(text))
    {
        return {Shape::known, {}};
    }
    if (text.size() == 88 && text.find_first_not_of('.') == std::string_view::npos)
    {
        return {Shape::regression_device_done, {}};
    }
    if (is_number(text))
    {
        return {Shape::number, text};
    }
    if (looks_like_device_row(text))
    {
        return {Shape::device_row, text};
    }
    if (is_bytes(text))
    {
        return {Shape::bytes, text};
    }
    return listed_object(text);
}

std::string_view without_prompts(std::string_view text, bool& asked_slot)
{
    while (text.starts_with('P') || text.starts_with('E'))
    {
        if (text.starts_with("Please Enter Slot Number: "))
        {
            asked_slot = true;
            text.remove_prefix(26);
        }
        else if (text.starts_with("Enter the next value (enter -1 to stop): "))
        {
            text.remove_prefix(41);
        }
        else if (text.starts_with("Enter choice (1-3): "))
        {
            text.remove_prefix(20);
        }
        else if (text.starts_with("Enter device index (0-"))
        {
            const auto end = text.find("): ");
            if (end == std::string_view::npos)
            {
                return text;
            }
            text.remove_prefix(end + 3);
        }
        else
        {
            break;
        }
    }
    return text;
}

} // namespace report
