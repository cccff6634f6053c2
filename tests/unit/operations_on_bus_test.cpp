// What scenarios and the matrix of faults do not prove of one call: the results that the operations return, and the
// suites' two probes and descriptor.

#include "name_of.hpp"
#include "operations/certificates.hpp"
#include "operations/measurements.hpp"
#include "operations/properties.hpp"
#include "operations/signed_measurements.hpp"
#include "private_bus.hpp"
#include "recorded_console.hpp"
#include "shell/discovery.hpp"
#include "stand_in.hpp"
#include "suites/comprehensive_suite.hpp"
#include "suites/measurement_test_cases.hpp"
#include "suites/service_availability.hpp"
#include "suites/slot_discovery.hpp"

#include <gtest/gtest.h>

#include <iostream>
#include <map>
#include <string>

namespace
{

constexpr Eid eid = 12;
constexpr auto path = "/com/varn/bmc/spdm/spdm/cpu/cpu_12";

/// A bus without the service, and one known device.
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

/// A test for each row of this type; a row has a name and the answers of the service.
template <typename Row>
class RowOnBus : public OnBus, public testing::WithParamInterface<Row>
{
  protected:
    const Row& row = this->GetParam();
    const StandIn service{row.answers};
};

template <typename Row>
auto operator<<(std::ostream& out, const Row& row) -> decltype(row.answers, out)
{
    return out << row.name;
}

//
// Results of the operations
//

struct ResultCase
{
    std::string name;
    int (*operation)();
    Answers answers;
    int result;
};

using OperationOnBus = RowOnBus<ResultCase>;

TEST_P(OperationOnBus, Returns)
{
    const RecordedConsole console;
    EXPECT_EQ(row.operation(), row.result) << console.lines();
}

int re_authenticate()
{
    return ReAuthenticate(eid);
}

ResultCase re_authentication(const std::string& name, unsigned status, int result)
{
    return {name, re_authenticate, {{"ReAuthenticate", reply("u", status)}}, result};
}

INSTANTIATE_TEST_SUITE_P(ReAuthenticate, OperationOnBus,
                         testing::Values(re_authentication("NotReady", 0, 1),
                                         re_authentication("Passed", 1, 0),
                                         re_authentication("InProgress", 2, 1),
                                         re_authentication("Failed", 3, 1),
                                         re_authentication("NotSupported", 4, 1),
                                         re_authentication("UnknownStatus", 7, 1),
                                         ResultCase{"ErrorReply", re_authenticate, {}, 1}),
                         name_of);

int get_certificate()
{
    return GetCertificate(eid, 0);
}

ResultCase certificate(const std::string& name, int status)
{
    return {name, get_certificate, {{"GetCertificate", reply("qs", status, "/tmp/chain.pem")}}, 0};
}

int get_certificate_properties()
{
    return GetCertificateProperties(eid, 0);
}

ResultCase certificate_properties(const std::string& name, unsigned status)
{
    return {
        name, get_certificate_properties, {{"GetCertificateProperties", reply("u", status)}}, 0};
}

INSTANTIATE_TEST_SUITE_P(GetCertificate, OperationOnBus,
                         testing::Values(certificate("Success", 0), certificate("Failed", 1),
                                         certificate("UnknownStatus", 2),
                                         ResultCase{"ErrorReply", get_certificate, {}, 1}),
                         name_of);

INSTANTIATE_TEST_SUITE_P(
    GetCertificateProperties, OperationOnBus,
    testing::Values(certificate_properties("Success", 0), certificate_properties("Failed", 1),
                    certificate_properties("UnknownStatus", 2),
                    ResultCase{"ErrorReply", get_certificate_properties, {}, 1}),
    name_of);

int measure()
{
    return get_measurement(eid, 0, {255});
}

/// A reply with one block of a byte, or none.
ResultCase measurement(const std::string& name, int status, bool with_block, int result)
{
    const auto body = with_block ? reply("qqa(qayuq)", status, 1, 1, 3, 1, 0xa0, 4U, 2)
                                 : reply("qqa(qayuq)", status, 0, 0);
    return {name, measure, {{"GetMeasurement", body}}, result};
}

INSTANTIATE_TEST_SUITE_P(GetMeasurement, OperationOnBus,
                         testing::Values(measurement("Success", 0, true, 0),
                                         measurement("SuccessWithoutABlock", 0, false, 0),
                                         measurement("PartialSuccess", 18, true, 0),
                                         measurement("NotSupported", 10, false, 1),
                                         measurement("FailedWithABlock", 9, true, 1),
                                         ResultCase{"ErrorReply", measure, {}, 1}),
                         name_of);

int measure_signed()
{
    return get_signed_measurement(eid, {255}, 0, "");
}

ResultCase signed_measurement(const std::string& name, unsigned status, const char* data,
                              int result)
{
    return {name,
            measure_signed,
            {{"GetSignedMeasurement", reply("ussss", status, data, "SHA-512", "ED25519", "1.2")}},
            result};
}

/// Three bytes are no signature; that does not change the result.
INSTANTIATE_TEST_SUITE_P(GetSignedMeasurement, OperationOnBus,
                         testing::Values(signed_measurement("SuccessWithAnInvalidStructure", 0,
                                                            "QUJD", 0),
                                         signed_measurement("SuccessWithoutData", 0, "", 0),
                                         signed_measurement("PartialSuccess", 18, "QUJD", 0),
                                         signed_measurement("NotAuthenticated", 5, "QUJD", 1),
                                         signed_measurement("NotSupported", 10, "", 1),
                                         signed_measurement("FailedWithData", 9, "QUJD", 1),
                                         ResultCase{"ErrorReply", measure_signed, {}, 1}),
                         name_of);

const Answers nothing_measured{{"GetMeasurement", reply("qqa(qayuq)", 0, 0, 0)}};

INSTANTIATE_TEST_SUITE_P(
    TestCasesThatShouldFail, OperationOnBus,
    testing::Values(ResultCase{"InvalidIndex", [] { return test_invalid_index(eid, 256, 0); },
                               nothing_measured, 0},
                    ResultCase{"InvalidSlot", [] { return test_invalid_slot(eid, 8); },
                               nothing_measured, 0}),
    name_of);

int report_properties()
{
    return show_properties(eid);
}

void append_properties(sd_bus_message* message)
{
    require(sd_bus_message_open_container(message, 'a', "{sv}"));
    require(sd_bus_message_append(message, "{sv}", "ChallengeStatus", "u", 1U));
    for (const auto* name :
         {"Certificate", "ChallengeAuthRespSupport", "Measurement", "Encryption",
          "SignedMeasurement", "DeviceChallengeStatus", "DeviceCertStatus", "CertificateSlot0",
          "CertificateSlot1", "CertificateSlot2", "CertificateSlot3", "CertificateSlot4",
          "CertificateSlot5", "CertificateSlot6", "CertificateSlot7", "DeviceAllowed", "Preferred"})
    {
        require(sd_bus_message_append(message, "{sv}", name, "b", 1));
    }
    for (const auto* name : {"DeviceEID", "PhyBinding", "NumMeasurements"})
    {
        require(sd_bus_message_append(message, "{sv}", name, "q", 5));
    }
    require(sd_bus_message_close_container(message));
}

/// The first property has another type, so no bool is printed.
const Answers broken_properties{{"GetAll", reply("a{sv}", 1, "ChallengeStatus", "q", 1)}};

INSTANTIATE_TEST_SUITE_P(
    ShowProperties, OperationOnBus,
    testing::Values(ResultCase{"Whole", report_properties, {{"GetAll", append_properties}}, 0},
                    ResultCase{"ErrorReply", report_properties, {}, 1},
                    ResultCase{"Broken", report_properties, broken_properties, 1}),
    name_of);

bool prints_bools_as_words_after(int (*operation)())
{
    const RecordedConsole console;
    operation();
    return (std::cout.flags() & std::ios_base::boolalpha) != 0;
}

TEST_F(OnBus, ConsolePrintsBoolsAsWordsAfterAPropertyReport)
{
    const StandIn service{{{"GetAll", append_properties}, {"ReAuthenticate", reply("u", 1U)}}};
    EXPECT_FALSE(prints_bools_as_words_after(re_authenticate));
    EXPECT_FALSE(prints_bools_as_words_after([] { return check_service_availability(eid); }));
    EXPECT_TRUE(prints_bools_as_words_after(report_properties));
    EXPECT_TRUE(prints_bools_as_words_after(re_authenticate));
}

TEST_F(OnBus, PropertyReportWithoutABoolLeavesTheConsoleAsItIs)
{
    EXPECT_FALSE(prints_bools_as_words_after(report_properties)) << "the service is not there";
    const StandIn service{broken_properties};
    EXPECT_FALSE(prints_bools_as_words_after(report_properties));
}

//
// The suites' probes and descriptor. The matrix of faults has their failing calls, in its row of NameHasOwner.
//

struct ProbeCase
{
    std::string name;
    Answers answers;
    int result;
    std::string printed;
};

using Availability = RowOnBus<ProbeCase>;

TEST_P(Availability, OfADeviceThatAnswers)
{
    const RecordedConsole console;
    const auto result = check_service_availability(eid);
    EXPECT_EQ(console.lines(), "\n=== Checking SPDM Service Availability ===\n"
                               "ℹ INFO: Found device at path: "
                               "/com/varn/bmc/spdm/spdm/cpu/cpu_12\n"
                               "✓ SUCCESS: SPDM service is running and device is responsive\n" +
                                   row.printed);
    EXPECT_EQ(result, row.result);
}

const std::string unexpected =
    "✗ FAIL: Unexpected error occurred during service availability check.\n";

INSTANTIATE_TEST_SUITE_P(
    Answers, Availability,
    testing::Values(
        ProbeCase{"All",
                  {{"GetAll", reply("a{sv}", 3, "Measurement", "b", 1, "SignedMeasurement", "b", 0,
                                    "ChallengeStatus", "u", 7U)}},
                  1,
                  "ℹ INFO: Device measurement support: YES\n"
                  "ℹ INFO: Device signed measurement support: NO\n"
                  "ℹ INFO: Device challenge status: 7\n"},
        ProbeCase{
            "NoMeasurements",
            {{"GetAll", reply("a{sv}", 2, "Measurement", "b", 0, "SignedMeasurement", "b", 1)}},
            1,
            "ℹ INFO: Device measurement support: NO\n"
            "ℹ INFO: Device signed measurement support: YES\n"},
        ProbeCase{"Nothing", {{"GetAll", reply("a{sv}", 0)}}, 1, ""},
        ProbeCase{"MeasurementANumber",
                  {{"GetAll", reply("a{sv}", 1, "Measurement", "u", 1U)}},
                  0,
                  unexpected},
        ProbeCase{"MeasurementOfAForeignType",
                  {{"GetAll", reply("a{sv}", 1, "Measurement", "y", 1)}},
                  0,
                  unexpected},
        ProbeCase{
            "SignedMeasurementAText",
            {{"GetAll", reply("a{sv}", 2, "Measurement", "b", 1, "SignedMeasurement", "s", "1")}},
            0,
            "ℹ INFO: Device measurement support: YES\n" + unexpected},
        ProbeCase{"ChallengeStatusOf16Bits",
                  {{"GetAll", reply("a{sv}", 1, "ChallengeStatus", "q", 1)}},
                  0,
                  unexpected}),
    name_of);

/// The matrix of faults compares the text; this also finds a line that is not flushed.
TEST_F(OnBus, AvailabilityCheckFlushesEachLineOfAFailure)
{
    const std::string failed = "\n=== Checking SPDM Service Availability ===\n"
                               "ℹ INFO: Found device at path: "
                               "/com/varn/bmc/spdm/spdm/cpu/cpu_12\n"
                               "✗ FAIL: SPDM service communication failed. Check if service is "
                               "running.\n"
                               "ERROR DETAILS: This typically means:\n"
                               "  1. SPDM service (com.varn.bmc.spdm.spdm) is not running\n"
                               "  2. Device endpoint is not available or not initialized\n"
                               "  3. D-Bus system bus communication issue\n";
    const RecordedConsole console;
    check_service_availability(eid);
    daemon.stop();
    check_service_availability(eid);
    EXPECT_EQ(console.lines(), failed + "✗ CONFIRMED: SPDM service is not running on D-Bus\n" +
                                   failed + "? WARNING: Could not check SPDM service status\n");
}

struct SlotsCase
{
    std::string name;
    Answers answers;
    SlotList slots;
    std::string printed;
};

using SlotDiscoveryOnBus = RowOnBus<SlotsCase>;

TEST_P(SlotDiscoveryOnBus, FindsAndPrintsThem)
{
    const RecordedConsole console;
    const auto slots = get_supported_slots(eid);
    EXPECT_EQ(console.lines(), row.printed);
    EXPECT_EQ(slots, row.slots);
}

const std::string no_slots = "⚠ WARNING: No certificate slots found to be supported\n";
const std::string slots_failed =
    "ERROR: Failed to get supported slots. Check device connectivity.\n";

INSTANTIATE_TEST_SUITE_P(
    Answers, SlotDiscoveryOnBus,
    testing::Values(
        SlotsCase{
            "Slot3Alone",
            {{"GetAll", reply("a{sv}", 2, "CertificateSlot2", "b", 0, "CertificateSlot3", "b", 1)}},
            {3},
            "ℹ INFO: Slot 3 is supported\n"
            "ℹ INFO: Supported slots: 3\n"},
        SlotsCase{"AllEightAndNoMore",
                  {{"GetAll", reply("a{sv}", 10, "CertificateSlot9", "b", 1, "CertificateSlot8",
                                    "b", 1, "CertificateSlot7", "b", 1, "CertificateSlot6", "b", 1,
                                    "CertificateSlot5", "b", 1, "CertificateSlot4", "b", 1,
                                    "CertificateSlot3", "b", 1, "CertificateSlot2", "b", 1,
                                    "CertificateSlot1", "b", 1, "CertificateSlot0", "b", 1)}},
                  {0, 1, 2, 3, 4, 5, 6, 7},
                  "ℹ INFO: Slot 0 is supported\n"
                  "ℹ INFO: Slot 1 is supported\n"
                  "ℹ INFO: Slot 2 is supported\n"
                  "ℹ INFO: Slot 3 is supported\n"
                  "ℹ INFO: Slot 4 is supported\n"
                  "ℹ INFO: Slot 5 is supported\n"
                  "ℹ INFO: Slot 6 is supported\n"
                  "ℹ INFO: Slot 7 is supported\n"
                  "ℹ INFO: Supported slots: 0, 1, 2, 3, 4, 5, 6, 7\n"},
        SlotsCase{
            "NoBools",
            {{"GetAll", reply("a{sv}", 4, "CertificateSlot0", "u", 1U, "CertificateSlot1", "s",
                              "true", "CertificateSlot2", "y", 1, "CertificateSlot10", "b", 1)}},
            {},
            no_slots},
        SlotsCase{"NoProperties", {{"GetAll", reply("a{sv}", 0)}}, {}, no_slots},
        SlotsCase{"AnotherType",
                  {{"GetAll", reply("a{ss}", 1, "CertificateSlot0", "true")}},
                  {},
                  slots_failed},
        SlotsCase{"ErrorReply", {}, {}, slots_failed}),
    name_of);

struct DescriptorCase
{
    std::string name;
    Answers answers;
    std::string warning;
    std::string printed;
};

using DescriptorOnBus = RowOnBus<DescriptorCase>;

/// The device has no slots: the suite makes only seven calls, and they fail.
TEST_P(DescriptorOnBus, StandsAboveTheResults)
{
    const RecordedConsole console;
    run_comprehensive_test_suite(eid);
    const auto text = console.lines();
    const auto expected =
        row.warning + "\n" + std::string(73, '=') +
        "\n|                   COMPREHENSIVE TEST RESULTS TABLE                   |\n" +
        std::string(73, '=') + "\nDEVICE INFORMATION:\n• Device EID: 12\n" + row.printed +
        std::string(73, '-') + "\n";
    EXPECT_NE(text.find("supported slots found for stress testing\n" + expected), std::string::npos)
        << text << "\nlacks\n"
        << expected;
}

const std::string not_available = "• XMID: Not available\n• Description: Not available\n";

INSTANTIATE_TEST_SUITE_P(
    Answers, DescriptorOnBus,
    testing::Values(
        DescriptorCase{"AsItIs",
                       {{"GetAll", reply("a{sv}", 2, "XMID", "s", "Ünïcode ✓", "DeviceDescription",
                                         "s", "with\ta tab")}},
                       "",
                       "• XMID: Ünïcode ✓\n• Description: with\ta tab\n"},
        DescriptorCase{"Absent", {{"GetAll", reply("a{sv}", 0)}}, "", not_available},
        DescriptorCase{
            "Empty",
            {{"GetAll", reply("a{sv}", 2, "XMID", "s", "", "DeviceDescription", "s", "")}},
            "",
            not_available},
        DescriptorCase{
            "OfOtherTypes",
            {{"GetAll", reply("a{sv}", 2, "XMID", "u", 12U, "DeviceDescription", "y", 1)}},
            "",
            not_available},
        DescriptorCase{"CannotBeRead",
                       {},
                       "WARNING: Failed to get device properties. Check service availability.\n",
                       not_available}),
    name_of);

//
// Discovery
//

struct DiscoveryCase
{
    std::string name;
    Answers answers;
    int result;
    std::map<Eid, std::string> found;
};

using DiscoveryOnBus = RowOnBus<DiscoveryCase>;

TEST_P(DiscoveryOnBus, EntersDevices)
{
    discovered_objects.clear();
    const RecordedConsole console;
    EXPECT_EQ(discover_devices("/com/varn/bmc/spdm/spdm/devicemanager"), row.result);
    EXPECT_EQ(discovered_objects, row.found);
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
        DiscoveryCase{"ErrorReply", {}, -1, {}}),
    name_of);

struct IdentityCase
{
    std::string name;
    Answers answers;
    int result;
    std::string xmid;
    Eid eid;
};

using IdentityOnBus = RowOnBus<IdentityCase>;

TEST_P(IdentityOnBus, IsReadWholeOrNotAtAll)
{
    std::string xmid = "before";
    Eid eid_of_device = 1;
    EXPECT_EQ(read_device_identity(eid, xmid, eid_of_device), row.result);
    EXPECT_EQ(xmid, row.xmid);
    EXPECT_EQ(eid_of_device, row.eid);
}

INSTANTIATE_TEST_SUITE_P(
    ReadDeviceIdentity, IdentityOnBus,
    testing::Values(IdentityCase{"Both",
                                 {{"Get XMID", reply("v", "s", "CPU-77")},
                                  {"Get DeviceEID", reply("v", "q", 77)}},
                                 1,
                                 "CPU-77",
                                 77},
                    IdentityCase{
                        "SecondRefused", {{"Get XMID", reply("v", "s", "CPU-77")}}, 0, "N/A", eid}),
    name_of);

} // namespace
