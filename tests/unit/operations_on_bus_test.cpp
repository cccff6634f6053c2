#include "operations/certificates.hpp"
#include "operations/measurements.hpp"
#include "operations/properties.hpp"
#include "operations/signed_measurements.hpp"
#include "private_bus.hpp"
#include "recorded_console.hpp"
#include "shell/discovery.hpp"
#include "stand_in.hpp"
#include "suites/measurement_test_cases.hpp"
#include "suites/service_availability.hpp"

#include <gtest/gtest.h>
#include <systemd/sd-bus.h>

#include <iostream>
#include <map>
#include <regex>
#include <string>

namespace
{

constexpr Eid eid = 12;
constexpr auto path = "/com/varn/bmc/spdm/spdm/cpu/cpu_12";

std::string mask_microseconds(const std::string& text)
{
    static const std::regex microseconds{R"((Time taken ?\([Ii]n us\): )-?\d+)"};
    return std::regex_replace(text, microseconds, "$1<us>");
}

/// What the action prints; its result goes to `result`.
template <typename Action>
std::string printed_by(Action&& action, int& result)
{
    const RecordedConsole console;
    result = action();
    return mask_microseconds(console.lines());
}

/// A bus, on which the service is not there yet, and one known device.
class OnBus : public testing::Test
{
  protected:
    OnBus()
    {
        std::cout << std::noboolalpha;
        discovered_objects = {{eid, path}};
    }

    ~OnBus() override
    {
        std::cout << std::noboolalpha;
        discovered_objects.clear();
    }

    PrivateBus daemon;
};

//
// Operations
//

struct OperationCase
{
    std::string name;
    int (*operation)();
    Answers answers;
    int result;
    std::string printed;
};

std::ostream& operator<<(std::ostream& out, const OperationCase& row)
{
    return out << row.name;
}

class OperationOnBus : public OnBus, public testing::WithParamInterface<OperationCase>
{
};

TEST_P(OperationOnBus, ReturnsAndPrints)
{
    const StandIn service{GetParam().answers};
    int result = -1;
    EXPECT_EQ(printed_by(GetParam().operation, result), GetParam().printed);
    EXPECT_EQ(result, GetParam().result);
}

std::string name_of_case(const testing::TestParamInfo<OperationCase>& info)
{
    return info.param.name;
}

int re_authenticate()
{
    return ReAuthenticate(eid);
}

OperationCase re_authentication(const std::string& name, unsigned status, int result,
                                const std::string& printed)
{
    return {name, re_authenticate, {{"ReAuthenticate", reply("u", status)}}, result, printed};
}

const std::string re_authentication_failed =
    "ERROR: Re-authentication operation failed. Check device authentication status.\n";

INSTANTIATE_TEST_SUITE_P(
    ReAuthenticate, OperationOnBus,
    testing::Values(
        re_authentication("NotReady", 0, 1, "ReAuth Status: Not Ready Time taken(In us): <us>\n"),
        re_authentication("Passed", 1, 0, "ReAuth Status: Passed Time taken(In us): <us>\n"),
        re_authentication("InProgress", 2, 1,
                          "ReAuth Status: In Progress Time taken(In us): <us>\n"),
        re_authentication("Failed", 3, 1, "ReAuth Status: Failed Time taken(In us): <us>\n"),
        re_authentication("NotSupported", 4, 1,
                          "ReAuth Status: Not Supported Time taken(In us): <us>\n"),
        re_authentication("UnknownStatus", 7, 1, ""),
        OperationCase{"ErrorReply", re_authenticate, {}, 1, re_authentication_failed},
        OperationCase{"AnotherType",
                      re_authenticate,
                      {{"ReAuthenticate", reply("q", 1)}},
                      1,
                      re_authentication_failed}),
    name_of_case);

int get_certificate()
{
    return GetCertificate(eid, 0);
}

OperationCase certificate(const std::string& name, const Body& body, int result,
                          const std::string& printed)
{
    return {name, get_certificate, {{"GetCertificate", body}}, result, printed};
}

const std::string certificate_failed =
    "ERROR: Certificate operation failed. Check device connectivity and slot availability.\n";

INSTANTIATE_TEST_SUITE_P(
    GetCertificate, OperationOnBus,
    testing::Values(
        certificate(
            "Success", reply("qs", 0, "/tmp/chain.pem"), 0,
            "Certificate Status: Success Certificate Path: /tmp/chain.pem Time taken(In us): <us>\n"),
        certificate("Failed", reply("qs", 1, ""), 0,
                    "Certificate Status: Failed Certificate Path:  Time taken(In us): <us>\n"),
        certificate("UnknownStatus", reply("qs", 2, "/tmp/chain.pem"), 0, ""),
        OperationCase{"ErrorReply", get_certificate, {}, 1, certificate_failed},
        certificate("AnotherType", reply("us", 0U, "/tmp/chain.pem"), 1, certificate_failed)),
    name_of_case);

int get_certificate_properties()
{
    return GetCertificateProperties(eid, 0);
}

OperationCase certificate_properties(const std::string& name, const Body& body, int result,
                                     const std::string& printed)
{
    return {
        name, get_certificate_properties, {{"GetCertificateProperties", body}}, result, printed};
}

const std::string certificate_properties_failed =
    "ERROR: Certificate properties operation failed. Check slot availability.\n";

INSTANTIATE_TEST_SUITE_P(
    GetCertificateProperties, OperationOnBus,
    testing::Values(
        certificate_properties("Success", reply("u", 0U), 0,
                               "Certificate Status: Success Time taken(In us): <us>\n"),
        certificate_properties("Failed", reply("u", 1U), 0,
                               "Certificate Status: Failed Time taken(In us): <us>\n"),
        certificate_properties("UnknownStatus", reply("u", 2U), 0, ""),
        OperationCase{
            "ErrorReply", get_certificate_properties, {}, 1, certificate_properties_failed},
        certificate_properties("AnotherType", reply("q", 0), 1, certificate_properties_failed)),
    name_of_case);

int measure()
{
    return get_measurement(eid, 0, {255});
}

/// A reply with one block of three bytes, or none.
OperationCase measurement(const std::string& name, int status, bool with_block, int result,
                          const std::string& printed)
{
    const auto body = with_block ? reply("qqa(qayuq)", status, 1, 1, 3, 3, 0xa0, 0xb1, 0x0c, 4U, 2)
                                 : reply("qqa(qayuq)", status, 0, 0);
    return {name, measure, {{"GetMeasurement", body}}, result, printed};
}

const std::string measurement_called =
    "DEBUG: Calling D-Bus method on object: /com/varn/bmc/spdm/spdm/cpu/cpu_12\n";

const std::string measurement_analysis =
    "\n📊 DETAILED MEASUREMENT DATA ANALYSIS\n"
    "============================================================\n"
    "\n📋 MEASUREMENT BLOCK 1\n"
    "----------------------------------------\n"
    "Index:         3\n"
    "Algorithm:     4\n"
    "Type:          2\n"
    "Data Size:     3 bytes\n"
    "Data (Hex):\n"
    "  0000: a0 b1 0c \n"
    "\n";

const std::string measurement_failed =
    "D-BUS ERROR: Measurement operation failed. Check service availability.\n"
    "ERROR DETAILS: This typically means:\n"
    "  1. SPDM service (com.varn.bmc.spdm.spdm) is not running\n"
    "  2. Device endpoint is not available or not initialized\n"
    "  3. D-Bus system bus communication issue\n"
    "  4. Device does not support measurement operations\n";

INSTANTIATE_TEST_SUITE_P(
    GetMeasurement, OperationOnBus,
    testing::Values(
        measurement("Success", 0, true, 0,
                    measurement_called +
                        "DEBUG: Reading D-Bus reply...\n"
                        "DEBUG: Read status: 0\n"
                        "DEBUG: Read NumMeasurements: 1\n"
                        "DEBUG: Read measurement data, size: 1\n"
                        "Get Measurement Status: 0 (Success) NumMeasurements: 1 "
                        "Time taken (in us): <us>\n" +
                        measurement_analysis),
        measurement("PartialSuccess", 18, true, 0,
                    measurement_called +
                        "DEBUG: Reading D-Bus reply...\n"
                        "DEBUG: Read status: 18\n"
                        "DEBUG: Read NumMeasurements: 1\n"
                        "DEBUG: Read measurement data, size: 1\n"
                        "⚠ WARNING: Partial success - some measurements failed\n"
                        "Get Measurement Status: 18 (Partial Measurement Success) "
                        "NumMeasurements: 1 Time taken (in us): <us>\n" +
                        measurement_analysis),
        measurement("NotSupported", 10, false, 1,
                    measurement_called + "DEBUG: Reading D-Bus reply...\n"
                                         "DEBUG: Read status: 10\n"
                                         "DEBUG: Read NumMeasurements: 0\n"
                                         "DEBUG: Read measurement data, size: 0\n"
                                         "ℹ INFO: Device does not support measurements\n"
                                         "Get Measurement Status: 10 (Measurement Not Supported) "
                                         "NumMeasurements: 0 Time taken (in us): <us>\n"),
        measurement("FailedWithABlock", 9, true, 1,
                    measurement_called +
                        "DEBUG: Reading D-Bus reply...\n"
                        "DEBUG: Read status: 9\n"
                        "DEBUG: Read NumMeasurements: 1\n"
                        "DEBUG: Read measurement data, size: 1\n"
                        "Get Measurement Status: 9 (Get Measurement Failed) NumMeasurements: 1 "
                        "Time taken (in us): <us>\n" +
                        measurement_analysis),
        OperationCase{"ErrorReply", measure, {}, 1, measurement_called + measurement_failed}),
    name_of_case);

OperationCase unexpected_success(const std::string& name, int (*test_case)(),
                                 const std::string& heading, const std::string& verdict)
{
    const auto nothing = reply("qqa(qayuq)", 0, 0, 0);
    return {name,
            test_case,
            {{"GetMeasurement", nothing}},
            0,
            heading + measurement_called +
                "DEBUG: Reading D-Bus reply...\n"
                "DEBUG: Read status: 0\n"
                "DEBUG: Read NumMeasurements: 0\n"
                "DEBUG: Read measurement data, size: 0\n"
                "Get Measurement Status: 0 (Success) NumMeasurements: 0 "
                "Time taken (in us): <us>\n"
                "ℹ INFO: No measurement data returned\n" +
                verdict};
}

INSTANTIATE_TEST_SUITE_P(
    TestCasesThatShouldFail, OperationOnBus,
    testing::Values(unexpected_success(
                        "InvalidIndex", [] { return test_invalid_index(eid, 256, 0); },
                        "\n=== Testing Invalid Measurement Index 256 ===\n",
                        "⚠ WARNING: Invalid measurement index unexpectedly passed\n"),
                    unexpected_success(
                        "InvalidSlot", [] { return test_invalid_slot(eid, 8); },
                        "\n=== Testing Invalid Slot ID 8 ===\n",
                        "⚠ WARNING: Invalid slot ID unexpectedly passed\n")),
    name_of_case);

int measure_signed()
{
    return get_signed_measurement(eid, {255}, 0, "");
}

OperationCase signed_measurement(const std::string& name, unsigned status, const char* data,
                                 int result, const std::string& printed)
{
    return {name,
            measure_signed,
            {{"GetSignedMeasurement", reply("ussss", status, data, "SHA-512", "ED25519", "1.2")}},
            result,
            printed};
}

const std::string signed_called =
    "DEBUG: Calling D-Bus signed measurement method on object: /com/varn/bmc/spdm/spdm/cpu/cpu_12\n";

/// The 80 bytes 00 to 4f: a measurement of 16 and a signature of 64.
constexpr auto whole_data =
    "AAECAwQFBgcICQoLDA0ODxAREhMUFRYXGBkaGxwdHh8gISIjJCUmJygpKissLS4vMDEyMzQ1Njc4OTo7PD0+P0BBQkNERUZHSElKS0xNTk8=";

/// Less than a signature.
constexpr auto short_data = "QUJD";

const std::string signed_analysis =
    "\n🔍 VALIDATING SIGNED MEASUREMENT STRUCTURE...\n"
    "✅ VALIDATION: Signed measurement structure appears valid\n"
    "   • Total size: 80 bytes\n"
    "   • Expected signature size: 64 bytes\n"
    "   • Estimated measurement data: 16 bytes\n"
    "\n🔐 DETAILED SIGNED MEASUREMENT DATA ANALYSIS\n"
    "============================================================\n"
    "Hashing Algorithm: SHA-512\n"
    "Signing Algorithm: ED25519\n"
    "Total Data Size:   108 bytes\n"
    "Signed Data (Base64 - Received):\n"
    "  AAECAwQFBgcICQoLDA0ODxAREhMUFRYXGBkaGxwdHh8gISIjJCUmJygpKissLS4vMDEyMzQ1Njc4OTo7PD0+P0BBQkNERUZHSElKS0xNTk8=\n"
    "Decoded Size: 80 bytes\n"
    "\n📄 COMPLETE DECODED OUTPUT:\n"
    "----------------------------------------\n"
    "  0000: 00 01 02 03 04 05 06 07 08 09 0a 0b 0c 0d 0e 0f \n"
    "  0010: 10 11 12 13 14 15 16 17 18 19 1a 1b 1c 1d 1e 1f \n"
    "  0020: 20 21 22 23 24 25 26 27 28 29 2a 2b 2c 2d 2e 2f \n"
    "  0030: 30 31 32 33 34 35 36 37 38 39 3a 3b 3c 3d 3e 3f \n"
    "  0040: 40 41 42 43 44 45 46 47 48 49 4a 4b 4c 4d 4e 4f \n"
    "\nACTUAL MEASUREMENT DATA SECTION:\n"
    "----------------------------------------\n"
    "Measurement Size: 16 bytes\n"
    "  0000: 00 01 02 03 04 05 06 07 08 09 0a 0b 0c 0d 0e 0f \n"
    "\n🔐 SIGNATURE DATA SECTION:\n"
    "----------------------------------------\n"
    "Signature Size: 64 bytes\n"
    "Signature (Hex):\n"
    "  0000: 10 11 12 13 14 15 16 17 18 19 1a 1b 1c 1d 1e 1f \n"
    "  0010: 20 21 22 23 24 25 26 27 28 29 2a 2b 2c 2d 2e 2f \n"
    "  0020: 30 31 32 33 34 35 36 37 38 39 3a 3b 3c 3d 3e 3f \n"
    "  0030: 40 41 42 43 44 45 46 47 48 49 4a 4b 4c 4d 4e 4f \n"
    "\n";

INSTANTIATE_TEST_SUITE_P(
    GetSignedMeasurement, OperationOnBus,
    testing::Values(
        signed_measurement(
            "Success", 0, whole_data, 0,
            signed_called +
                "DEBUG: Reading D-Bus signed measurement reply...\n"
                "DEBUG: Read status: 0\n"
                "DEBUG: Read signed measurement data, length: 108\n"
                "Get Signed Measurement Status: 0 (Success) Signed Measurements: " +
                whole_data +
                " Hashing Algorithm: SHA-512 Signing Algorithm: ED25519 Version: 1.2 "
                "Time taken(In us): <us>\n" +
                signed_analysis),
        signed_measurement(
            "PartialSuccess", 18, whole_data, 0,
            signed_called +
                "DEBUG: Reading D-Bus signed measurement reply...\n"
                "DEBUG: Read status: 18\n"
                "DEBUG: Read signed measurement data, length: 108\n"
                "⚠ WARNING: Partial success - some measurements failed\n"
                "Get Signed Measurement Status: 18 (Partial Measurement Success) "
                "Signed Measurements: " +
                whole_data +
                " Hashing Algorithm: SHA-512 Signing Algorithm: ED25519 Version: 1.2 "
                "Time taken(In us): <us>\n" +
                signed_analysis),
        signed_measurement(
            "NotSupported", 10, "", 1,
            signed_called +
                "DEBUG: Reading D-Bus signed measurement reply...\n"
                "DEBUG: Read status: 10\n"
                "DEBUG: Read signed measurement data, length: 0\n"
                "ℹ INFO: Device does not support measurements\n"
                "Get Signed Measurement Status: 10 (Measurement Not Supported) "
                "Signed Measurements:  Hashing Algorithm: SHA-512 Signing Algorithm: ED25519 "
                "Version: 1.2 Time taken(In us): <us>\n"
                "ℹ INFO: Device does not support signed measurements\n"),
        signed_measurement(
            "FailedWithData", 9, short_data, 1,
            signed_called +
                "DEBUG: Reading D-Bus signed measurement reply...\n"
                "DEBUG: Read status: 9\n"
                "DEBUG: Read signed measurement data, length: 4\n"
                "Get Signed Measurement Status: 9 (Get Measurement Failed) "
                "Signed Measurements: QUJD Hashing Algorithm: SHA-512 Signing Algorithm: ED25519 "
                "Version: 1.2 Time taken(In us): <us>\n"),
        signed_measurement(
            "SuccessWithAnInvalidStructure", 0, short_data, 0,
            signed_called +
                "DEBUG: Reading D-Bus signed measurement reply...\n"
                "DEBUG: Read status: 0\n"
                "DEBUG: Read signed measurement data, length: 4\n"
                "Get Signed Measurement Status: 0 (Success) "
                "Signed Measurements: QUJD Hashing Algorithm: SHA-512 Signing Algorithm: ED25519 "
                "Version: 1.2 Time taken(In us): <us>\n"
                "\n🔍 VALIDATING SIGNED MEASUREMENT STRUCTURE...\n"
                "⚠️  VALIDATION: Data size (3 bytes) smaller than expected signature size "
                "(64 bytes)\n"
                "❌ VALIDATION FAILED: Signed measurement structure is invalid\n"
                "⚠️  WARNING: This may indicate:\n"
                "   • Device did not include signature in last measurement\n"
                "   • Signature algorithm mismatch\n"
                "   • Data corruption or truncation\n"
                "   • Device firmware issue\n"
                "\nRaw data (first 80 chars): QUJD\n"),
        OperationCase{
            "ErrorReply",
            measure_signed,
            {},
            1,
            signed_called +
                "D-BUS ERROR: Signed measurement operation failed. Check service availability.\n"
                "ERROR DETAILS: This typically means:\n"
                "  1. SPDM service (com.varn.bmc.spdm.spdm) is not running\n"
                "  2. Device endpoint is not available or not initialized\n"
                "  3. D-Bus system bus communication issue\n"
                "  4. Device does not support signed measurement operations\n"}),
    name_of_case);

//
// Property report
//

int report_properties()
{
    return show_properties(eid);
}

struct Property
{
    const char* name;
    const char* type;
    const char* text;
    int number;
};

void append_properties(sd_bus_message* message)
{
    static const Property properties[] = {
        {"ChallengeStatus", "u", "", 1},
        {"Version", "s", "1.2", 0},
        {"Certificate", "b", "", 1},
        {"ChallengeAuthRespSupport", "b", "", 1},
        {"Measurement", "b", "", 1},
        {"Encryption", "b", "", 0},
        {"SignedMeasurement", "b", "", 1},
        {"DeviceEID", "q", "", 12},
        {"DeviceChallengeStatus", "b", "", 1},
        {"DeviceCertStatus", "b", "", 0},
        {"CertificateSlot0", "b", "", 1},
        {"CertificateSlot1", "b", "", 0},
        {"CertificateSlot2", "b", "", 1},
        {"CertificateSlot3", "b", "", 0},
        {"CertificateSlot4", "b", "", 1},
        {"CertificateSlot5", "b", "", 0},
        {"CertificateSlot6", "b", "", 1},
        {"CertificateSlot7", "b", "", 0},
        {"DeviceAllowed", "b", "", 1},
        {"XMID", "s", "CPU-12", 0},
        {"PhyBinding", "q", "", 3},
        {"Preferred", "b", "", 0},
        {"MeasurementSpecification", "s", "DMTF", 0},
        {"MeasurementSummary", "s", "5f3a", 0},
        {"MeasurementSummaryHashAlgorithm", "s", "SHA-384", 0},
        {"MeasurementSummaryType", "s", "TCB", 0},
        {"NumMeasurements", "q", "", 5},
    };
    require(sd_bus_message_open_container(message, 'a', "{sv}"));
    for (const auto& [name, type, text, number] : properties)
    {
        require(*type == 's' ? sd_bus_message_append(message, "{sv}", name, type, text)
                             : sd_bus_message_append(message, "{sv}", name, type, number));
    }
    require(sd_bus_message_close_container(message));
}

const std::string property_report = "Time taken(In us): <us>\n"
                                    "ChallengeStatus                     : Passed\n"
                                    "Version                             : 1.2\n"
                                    "Certificate                         : true\n"
                                    "ChallengeAuthRespSupport            : true\n"
                                    "Measurement                         : true\n"
                                    "Encryption                          : false\n"
                                    "SignedMeasurement                   : true\n"
                                    "DeviceEID                           : 12\n"
                                    "DeviceChallengeStatus               : true\n"
                                    "DeviceCertStatus                    : false\n"
                                    "CertificateSlot0                    : true\n"
                                    "CertificateSlot1                    : false\n"
                                    "CertificateSlot2                    : true\n"
                                    "CertificateSlot3                    : false\n"
                                    "CertificateSlot4                    : true\n"
                                    "CertificateSlot5                    : false\n"
                                    "CertificateSlot6                    : true\n"
                                    "CertificateSlot7                    : false\n"
                                    "DeviceAllowed                       : true\n"
                                    "XMID                                : CPU-12\n"
                                    "PhyBinding                          : 3\n"
                                    "Preferred                           : false\n"
                                    "MeasurementSpecification            : DMTF\n"
                                    "MeasurementSummary                  : 5f3a\n"
                                    "MeasurementSummaryHashAlgorithm     : SHA-384\n"
                                    "MeasurementSummaryType              : TCB\n"
                                    "NumMeasurements                     : 5\n";

const std::string properties_failed =
    "ERROR: Failed to retrieve SPDM properties. Check device connectivity.\n";

INSTANTIATE_TEST_SUITE_P(
    ShowProperties, OperationOnBus,
    testing::Values(
        OperationCase{
            "Whole", report_properties, {{"GetAll", append_properties}}, 0, property_report},
        OperationCase{"ErrorReply", report_properties, {}, 1, properties_failed},
        OperationCase{"ChallengeStatusOfAnotherType",
                      report_properties,
                      {{"GetAll", reply("a{sv}", 1, "ChallengeStatus", "q", 1)}},
                      1,
                      "Time taken(In us): <us>\n" + properties_failed}),
    name_of_case);

TEST_F(OnBus, ConsolePrintsBoolsAsWordsAfterAPropertyReport)
{
    const StandIn service{{{"GetAll", append_properties}, {"ReAuthenticate", reply("u", 1U)}}};
    int result = -1;
    printed_by(re_authenticate, result);
    printed_by([] { return check_service_availability(eid); }, result);
    EXPECT_FALSE(std::cout.flags() & std::ios_base::boolalpha);
    printed_by(report_properties, result);
    EXPECT_TRUE(std::cout.flags() & std::ios_base::boolalpha);
    printed_by(re_authenticate, result);
    EXPECT_TRUE(std::cout.flags() & std::ios_base::boolalpha);
}

TEST_F(OnBus, PropertyReportWithoutABoolLeavesTheConsoleAsItIs)
{
    int result = -1;
    printed_by(report_properties, result);
    const StandIn service{{{"GetAll", reply("a{sv}", 1, "ChallengeStatus", "q", 1)}}};
    printed_by(report_properties, result);
    EXPECT_FALSE(std::cout.flags() & std::ios_base::boolalpha);
}

//
// Service availability
//

int check_availability()
{
    return check_service_availability(eid);
}

const std::string availability_head = "\n=== Checking SPDM Service Availability ===\n"
                                      "ℹ INFO: Found device at path: "
                                      "/com/varn/bmc/spdm/spdm/cpu/cpu_12\n";

const std::string communication_failed =
    "✗ FAIL: SPDM service communication failed. Check if service is running.\n"
    "ERROR DETAILS: This typically means:\n"
    "  1. SPDM service (com.varn.bmc.spdm.spdm) is not running\n"
    "  2. Device endpoint is not available or not initialized\n"
    "  3. D-Bus system bus communication issue\n";

INSTANTIATE_TEST_SUITE_P(
    CheckServiceAvailability, OperationOnBus,
    testing::Values(
        OperationCase{"Available",
                      check_availability,
                      {{"GetAll", reply("a{sv}", 3, "Measurement", "b", 1, "SignedMeasurement", "b",
                                        0, "ChallengeStatus", "u", 7U)}},
                      1,
                      availability_head +
                          "✓ SUCCESS: SPDM service is running and device is responsive\n"
                          "ℹ INFO: Device measurement support: YES\n"
                          "ℹ INFO: Device signed measurement support: NO\n"
                          "ℹ INFO: Device challenge status: 7\n"},
        OperationCase{"ErrorReply",
                      check_availability,
                      {},
                      0,
                      availability_head + communication_failed +
                          "? WARNING: SPDM service is running but device is not accessible\n"},
        OperationCase{
            "PropertyOfAnotherType",
            check_availability,
            {{"GetAll", reply("a{sv}", 1, "Measurement", "u", 1U)}},
            0,
            availability_head +
                "✓ SUCCESS: SPDM service is running and device is responsive\n"
                "✗ FAIL: Unexpected error occurred during service availability check.\n"}),
    name_of_case);

TEST_F(OnBus, ServiceThatIsNotThereIsNotAvailable)
{
    int result = -1;
    EXPECT_EQ(printed_by(check_availability, result),
              availability_head + communication_failed +
                  "✗ CONFIRMED: SPDM service is not running on D-Bus\n");
    EXPECT_EQ(result, 0);
}

TEST_F(OnBus, ServiceCannotBeLookedForWithoutABus)
{
    daemon.stop();
    int result = -1;
    EXPECT_EQ(printed_by(check_availability, result),
              availability_head + communication_failed +
                  "? WARNING: Could not check SPDM service status\n");
    EXPECT_EQ(result, 0);
}

//
// Discovery
//

using Devices = std::map<Eid, std::string>;

struct DiscoveryCase
{
    std::string name;
    Answers answers;
    int result;
    Devices found;
};

std::ostream& operator<<(std::ostream& out, const DiscoveryCase& row)
{
    return out << row.name;
}

class DiscoveryOnBus : public OnBus, public testing::WithParamInterface<DiscoveryCase>
{
};

TEST_P(DiscoveryOnBus, EntersDevices)
{
    const StandIn service{GetParam().answers};
    discovered_objects.clear();
    int result = 1;
    const auto printed = printed_by(
        [] { return discover_devices("/com/varn/bmc/spdm/spdm/devicemanager"); }, result);
    EXPECT_EQ(printed,
              GetParam().result == 0
                  ? ""
                  : "ERROR: Failed to retrieve SPDM objects. Check D-Bus service availability.\n");
    EXPECT_EQ(result, GetParam().result);
    EXPECT_EQ(discovered_objects, GetParam().found);
}

INSTANTIATE_TEST_SUITE_P(
    DiscoverDevices, DiscoveryOnBus,
    testing::Values(
        DiscoveryCase{"Whole",
                      {{"GetManagedObjects",
                        reply("a{oa{sa{sv}}}", 3, "/nic/nic_9", 0, "/cpu/none", 0, "/cpu/cpu_4", 1,
                              "test.Interface", 1, "XMID", "s", "CPU-4")}},
                      0,
                      {{4, "/cpu/cpu_4"}, {9, "/nic/nic_9"}}},
        DiscoveryCase{"NumberTooLarge",
                      {{"GetManagedObjects", reply("a{oa{sa{sv}}}", 4, "/d/d9", 0, "/b/b7", 0,
                                                   "/c/c2147483648", 0, "/a/a8", 0)}},
                      -1,
                      {{7, "/b/b7"}, {8, "/a/a8"}}},
        DiscoveryCase{"AnotherType", {{"GetManagedObjects", reply("s", "/cpu/cpu_4")}}, -1, {}},
        DiscoveryCase{"ErrorReply", {}, -1, {}}),
    [](const auto& info) { return info.param.name; });

//
// Identity
//

struct IdentityCase
{
    std::string name;
    Answers answers;
    int result;
    std::string xmid;
    Eid eid;
};

std::ostream& operator<<(std::ostream& out, const IdentityCase& row)
{
    return out << row.name;
}

class IdentityOnBus : public OnBus, public testing::WithParamInterface<IdentityCase>
{
};

TEST_P(IdentityOnBus, IsReadWholeOrNotAtAll)
{
    const StandIn service{GetParam().answers};
    std::string xmid = "before";
    Eid eid_of_device = 1;
    int result = -1;
    EXPECT_EQ(printed_by([&] { return read_device_identity(eid, xmid, eid_of_device); }, result),
              "");
    EXPECT_EQ(result, GetParam().result);
    EXPECT_EQ(xmid, GetParam().xmid);
    EXPECT_EQ(eid_of_device, GetParam().eid);
}

INSTANTIATE_TEST_SUITE_P(
    ReadDeviceIdentity, IdentityOnBus,
    testing::Values(
        IdentityCase{
            "Both",
            {{"Get XMID", reply("v", "s", "CPU-77")}, {"Get DeviceEID", reply("v", "q", 77)}},
            1,
            "CPU-77",
            77},
        IdentityCase{"SecondRefused", {{"Get XMID", reply("v", "s", "CPU-77")}}, 0, "N/A", eid},
        IdentityCase{
            "SecondOfAnotherType",
            {{"Get XMID", reply("v", "s", "CPU-77")}, {"Get DeviceEID", reply("v", "u", 77U)}},
            0,
            "N/A",
            eid},
        IdentityCase{"FirstRefused", {{"Get DeviceEID", reply("v", "q", 77)}}, 0, "N/A", eid}),
    [](const auto& info) { return info.param.name; });

} // namespace
