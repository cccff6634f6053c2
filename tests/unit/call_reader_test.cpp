#include "report/reader/line_shapes.hpp"
#include "tests/unit/report_transcripts.hpp"

#include <array>
#include <ostream>

namespace
{

using namespace report_test;

const std::string passed = "ReAuth Status: Passed Time taken(In us): 151\n";
const std::string failed = "ReAuth Status: Failed Time taken(In us): 151\n";

/// One operation on the device with EID 12.
struct OperationCase
{
    std::string name;
    std::string printed;
    Texts calls;
    Texts contradictions;
    Texts silent;
};

std::ostream& operator<<(std::ostream& out, const OperationCase& row)
{
    return out << row.name;
}

class OneOperation : public testing::TestWithParam<OperationCase>
{
};

TEST_P(OneOperation, IsRead)
{
    const auto& row = GetParam();
    const auto run = run_of(operation(row.printed));
    EXPECT_EQ(calls_of(run), row.calls);
    EXPECT_EQ(contradictions_of(run), row.contradictions);
    Texts silent;
    for (const auto& call : run.silent_calls)
    {
        silent.emplace_back(word(call.operation));
    }
    EXPECT_EQ(silent, row.silent);
    EXPECT_TRUE(run.ends_at_menu);
}

INSTANTIATE_TEST_SUITE_P(
    ReAuthenticate, OneOperation,
    testing::Values(
        OperationCase{"NotReady",
                      "ReAuth Status: Not Ready Time taken(In us): 1\n",
                      {"12 ReAuthenticate answered status=0 us=1"},
                      {},
                      {}},
        OperationCase{"Passed", passed, {"12 ReAuthenticate answered status=1 us=151"}, {}, {}},
        OperationCase{"InProgress",
                      "ReAuth Status: In Progress Time taken(In us): 2\n",
                      {"12 ReAuthenticate answered status=2 us=2"},
                      {},
                      {}},
        OperationCase{"Failed", failed, {"12 ReAuthenticate answered status=3 us=151"}, {}, {}},
        OperationCase{"NotSupported",
                      "ReAuth Status: Not Supported Time taken(In us): 2\n",
                      {"12 ReAuthenticate answered status=4 us=2"},
                      {},
                      {}},
        OperationCase{"ClockSetBack",
                      "ReAuth Status: Passed Time taken(In us): -2\n",
                      {"12 ReAuthenticate answered status=1 us=-2"},
                      {},
                      {}},
        OperationCase{"WordOfNoStatus",
                      "ReAuth Status: Fine Time taken(In us): 2\n",
                      {"12 ReAuthenticate answered us=2"},
                      {},
                      {}},
        OperationCase{"Error",
                      "ERROR: Re-authentication operation failed. Check device authentication "
                      "status.\n",
                      {"12 ReAuthenticate error"},
                      {},
                      {}},
        OperationCase{"UnknownDevice", "Object name not found.\n", {"12 ? unknown-device"}, {}, {}},
        OperationCase{"StatusWithoutAWord", "", {}, {}, {"ReAuthenticate"}},
        OperationCase{"Recurring",
                      passed + passed + passed + passed + passed,
                      {5, "12 ReAuthenticate answered status=1 us=151"},
                      {},
                      {}},
        OperationCase{"RecurringUntilItFails",
                      passed + passed + failed,
                      {"12 ReAuthenticate answered status=1 us=151",
                       "12 ReAuthenticate answered status=1 us=151",
                       "12 ReAuthenticate answered status=3 us=151"},
                      {},
                      {}},
        OperationCase{"RecurringWithoutItsEnd",
                      passed + passed,
                      {2, "12 ReAuthenticate answered status=1 us=151"},
                      {"the calls are not those of one choice"},
                      {}},
        OperationCase{"RecurringTooOften",
                      passed + passed + passed + passed + passed + passed,
                      {6, "12 ReAuthenticate answered status=1 us=151"},
                      {"the calls are not those of one choice"},
                      {}},
        OperationCase{"RecurringAfterAFailure",
                      failed + passed,
                      {"12 ReAuthenticate answered status=3 us=151",
                       "12 ReAuthenticate answered status=1 us=151"},
                      {"the calls are not those of one choice"},
                      {}}),
    [](const auto& info) { return info.param.name; });

INSTANTIATE_TEST_SUITE_P(
    Certificates, OneOperation,
    testing::Values(
        OperationCase{
            "Success",
            "Please Enter Slot Number: Certificate Status: Success Certificate Path: /c/0.pem Time "
            "taken(In us): 9\n",
            {"12 GetCertificate answered status=0 us=9 path=\"/c/0.pem\""},
            {},
            {}},
        OperationCase{"EchoedSlot",
                      "Please Enter Slot Number: 7\r\n"
                      "Certificate Status: Success Certificate Path: /c Time taken(In us): 9\r\n",
                      {"12 GetCertificate answered status=0 us=9 path=\"/c\" slot=7"},
                      {},
                      {}},
        OperationCase{
            "EmptyPath",
            "Please Enter Slot Number: Certificate Status: Failed Certificate Path:  Time taken(In "
            "us): 9\n",
            {"12 GetCertificate answered status=1 us=9 path=\"\""},
            {},
            {}},
        OperationCase{"PathWithTheTexts",
                      "Certificate Status: Success Certificate Path: a Certificate Path: b Time "
                      "taken(In us): 3 Time taken(In us): 9\n",
                      {"12 GetCertificate answered status=0 us=9 path=\"a Certificate Path: b Time "
                       "taken(In us): 3\""},
                      {},
                      {}},
        OperationCase{"PathWithLineEnds",
                      "Certificate Status: Success Certificate Path: a\n  b\n\nc Time taken(In "
                      "us): 9\n",
                      {"12 GetCertificate answered status=0 us=9 path=\"a\n  b\n\nc\""},
                      {},
                      {}},
        OperationCase{"Broken",
                      "Certificate Status: Success Certificate Path: a\n",
                      {},
                      {"a result breaks off"},
                      {}},
        OperationCase{"BrokenByAnotherResult",
                      "Certificate Status: Success Certificate Path: a\n" + failed +
                          " Time taken(In us): 9\n",
                      {"12 ReAuthenticate answered status=3 us=151"},
                      {"a result breaks off"},
                      {}},
        OperationCase{"Error",
                      "Please Enter Slot Number: ERROR: Certificate operation failed. Check device "
                      "connectivity and slot availability.\n",
                      {"12 GetCertificate error"},
                      {},
                      {}},
        OperationCase{"Properties",
                      "Please Enter Slot Number: Certificate Status: Success Time taken(In us): "
                      "5\n",
                      {"12 GetCertificateProperties answered status=0 us=5"},
                      {},
                      {}},
        OperationCase{"PropertiesFailed",
                      "Certificate Status: Failed Time taken(In us): 5\n",
                      {"12 GetCertificateProperties answered status=1 us=5"},
                      {},
                      {}},
        OperationCase{"PropertiesError",
                      "Please Enter Slot Number: 4294967295\n"
                      "ERROR: Certificate properties operation failed. Check slot availability.\n",
                      {"12 GetCertificateProperties error slot=4294967295"},
                      {},
                      {}},
        OperationCase{"StatusWithoutAWord", "Please Enter Slot Number: ", {}, {}, {""}},
        OperationCase{
            "StatusWithoutAWordAfterAnEcho", "Please Enter Slot Number: 1\n", {}, {}, {""}},
        OperationCase{"ChosenOnATerminal",
                      "3\nPlease Enter Slot Number: 1\n",
                      {},
                      {},
                      {"GetCertificateProperties"}},
        OperationCase{"UnknownDeviceChosenOnATerminal",
                      "2\nPlease Enter Slot Number: 1\nObject name not found.\n",
                      {"12 GetCertificate unknown-device slot=1"},
                      {},
                      {}},
        OperationCase{"Twice",
                      "Certificate Status: Failed Time taken(In us): 5\n"
                      "Certificate Status: Success Time taken(In us): 5\n",
                      {"12 GetCertificateProperties answered status=1 us=5",
                       "12 GetCertificateProperties answered status=0 us=5"},
                      {"the calls are not those of one choice"},
                      {}},
        OperationCase{"InvalidChoice", "Invalid method.\nPlease try again...\n", {}, {}, {}}),
    [](const auto& info) { return info.param.name; });

std::string label(std::string_view name)
{
    return std::string(name) + std::string(36 - name.size(), ' ') + ": ";
}

const std::string report_error =
    "ERROR: Failed to retrieve SPDM properties. Check device connectivity.\n";

/// The report's lines from the property `first` to the one before `end`, each with the value "v".
std::string report_lines(std::size_t first, std::size_t end)
{
    std::string text;
    for (auto i = first; i < end; ++i)
    {
        text += label(report::property_names[i]) + "v\n";
    }
    return text;
}

const std::string report_time = "Time taken(In us): 77\n";
const std::string answered = "12 GetAll answered us=77";
const std::string errored = "12 GetAll error";
const std::string missing = "a property is missing";

INSTANTIATE_TEST_SUITE_P(
    PropertyReport, OneOperation,
    testing::Values(
        OperationCase{"Whole", report_time + report_lines(0, 27), {answered}, {}, {}},
        OperationCase{
            "WithoutChallengeStatus", report_time + report_lines(1, 27), {answered}, {}, {}},
        OperationCase{"ErrorAlone", report_error, {errored}, {}, {}},
        OperationCase{"ErrorAfterTheTime", report_time + report_error, {errored}, {}, {}},
        OperationCase{"ErrorOnALabel",
                      report_time + report_lines(0, 20) + label("PhyBinding") + report_error,
                      {errored},
                      {},
                      {}},
        OperationCase{
            "ErrorOnALabelRemoved", report_time + report_lines(0, 20), {answered}, {missing}, {}},
        OperationCase{"LineRemoved",
                      report_time + report_lines(0, 9) + report_lines(10, 27),
                      {answered},
                      {missing},
                      {}},
        OperationCase{"LineTwice",
                      report_time + report_lines(0, 10) + report_lines(9, 27),
                      {answered},
                      {missing},
                      {}},
        OperationCase{"VersionRemoved",
                      report_time + report_lines(0, 1) + report_lines(2, 27),
                      {answered},
                      {missing},
                      {}},
        OperationCase{"LastTwice",
                      report_time + report_lines(0, 27) + report_lines(26, 27),
                      {answered},
                      {missing},
                      {}},
        OperationCase{"UnknownDeviceAlone",
                      "4\nObject name not found.\n",
                      {"12 GetAll unknown-device"},
                      {},
                      {}}),
    [](const auto& info) { return info.param.name; });

TEST(PropertyReport, ItsValuesAndTheXmid)
{
    auto lines = report_time;
    for (const auto name : report::property_names)
    {
        lines += label(name) + (name == "XMID" ? "CPU-A" : name == "Version" ? "" : "1: x") + "\n";
    }
    const auto run = run_of(operations_begin(lines));
    const auto properties = properties_of(run);
    ASSERT_EQ(properties.size(), 27U);
    EXPECT_EQ(properties[0], "12 ChallengeStatus=1: x");
    EXPECT_EQ(properties[1], "12 Version=");
    EXPECT_EQ(properties[19], "12 XMID=CPU-A");
    EXPECT_EQ(properties[26], "12 NumMeasurements=1: x");
    EXPECT_EQ(run.devices.at(0).xmid, "CPU-12"); // The table's, which came first.
    EXPECT_EQ(run.properties[0].line, 34U);
    EXPECT_EQ(run.calls[0].line, 33U);
}

TEST(PropertyReport, WithoutItsTimeIsNone)
{
    const auto run = run_of(operation(report_lines(0, 2)));
    EXPECT_EQ(calls_of(run), Texts{});
    EXPECT_EQ(contradictions_of(run),
              (Texts{2, "a line where the client prints none of its kind"}));
}

const std::string begin = "Starting Regression for object" + cpu_path + "\n";
const std::string certificate =
    "Certificate Status: Success Certificate Path: /c Time taken(In us): 2\n";
const std::string certificate_properties = "Certificate Status: Success Time taken(In us): 3\n";
const std::string measurement =
    "DEBUG: Calling D-Bus method on object: " + cpu_path +
    "\nDEBUG: Reading D-Bus reply...\nDEBUG: Read status: 10\nDEBUG: Read NumMeasurements: 0\n"
    "DEBUG: Read measurement data, size: 0\nℹ INFO: Device does not support measurements\n"
    "Get Measurement Status: 10 (Measurement Not Supported) NumMeasurements: 0 Time taken (in us): "
    "4\n";
const std::string signed_measurement =
    "DEBUG: Calling D-Bus signed measurement method on object: " + cpu_path +
    "\nDEBUG: Reading D-Bus signed measurement reply...\nDEBUG: Read status: 10\n"
    "DEBUG: Read signed measurement data, length: 0\n"
    "ℹ INFO: Device does not support measurements\n"
    "Get Signed Measurement Status: 10 (Measurement Not Supported) Signed Measurements:  Hashing "
    "Algorithm:  Signing Algorithm:  Version:  Time taken(In us): 5\n"
    "ℹ INFO: Device does not support signed measurements\n";

const std::string call_1 = "12 ReAuthenticate answered status=1 us=151";
const std::string call_2 = "12 GetCertificate answered status=0 us=2 path=\"/c\" slot=0";
const std::string call_3 = "12 GetCertificateProperties answered status=0 us=3 slot=0";
const std::string call_4 = "12 GetMeasurement answered status=10 us=4 count=0 slot=0 indices=[255]";
const std::string call_5 =
    "12 GetSignedMeasurement answered status=10 us=5 slot=0 indices=[255] nonce=\"\"";

class OneRegression : public testing::TestWithParam<OperationCase>
{
};

TEST_P(OneRegression, IsRead)
{
    const auto& row = GetParam();
    const auto run = run_of(activity(row.printed + "\n"));
    EXPECT_EQ(calls_of(run), row.calls);
    EXPECT_EQ(contradictions_of(run), row.contradictions);
    Texts silent;
    for (const auto& call : run.silent_calls)
    {
        silent.emplace_back(word(call.operation));
    }
    EXPECT_EQ(silent, row.silent);
    for (const auto& call : run.calls)
    {
        EXPECT_EQ(word(call.activity), "regression");
    }
}

INSTANTIATE_TEST_SUITE_P(
    Of, OneRegression,
    testing::Values(
        OperationCase{"OneDevice",
                      begin + passed + certificate + certificate_properties + measurement +
                          signed_measurement + dots,
                      {call_1, call_2, call_3, call_4, call_5},
                      {},
                      {}},
        OperationCase{"StatusesWithoutAWord",
                      begin + measurement + signed_measurement + dots,
                      {call_4, call_5},
                      {},
                      {"ReAuthenticate", "GetCertificate", "GetCertificateProperties"}},
        OperationCase{"OneStatusWithoutAWord",
                      begin + passed + certificate_properties + measurement + signed_measurement +
                          dots,
                      {call_1, call_3, call_4, call_5},
                      {},
                      {"GetCertificate"}},
        OperationCase{"LastOnesMissing",
                      begin + passed + certificate + certificate_properties + dots,
                      {call_1, call_2, call_3},
                      {},
                      {"GetMeasurement", "GetSignedMeasurement"}},
        OperationCase{"NothingSent",
                      begin +
                          "ERROR: Re-authentication operation failed. Check device authentication "
                          "status.\n"
                          "ERROR: Certificate operation failed. Check device connectivity and slot "
                          "availability.\n"
                          "ERROR: Certificate properties operation failed. Check slot "
                          "availability.\n"
                          "D-BUS ERROR: Measurement operation failed. Check service "
                          "availability.\n"
                          "D-BUS ERROR: Signed measurement operation failed. Check service "
                          "availability.\n" +
                          dots,
                      {"12 ReAuthenticate error", "12 GetCertificate error slot=0",
                       "12 GetCertificateProperties error slot=0",
                       "12 GetMeasurement bus-error slot=0 indices=[255]",
                       "12 GetSignedMeasurement bus-error slot=0 indices=[255] nonce=\"\""},
                      {},
                      {}},
        OperationCase{"UnknownDevice",
                      begin +
                          "Object name not found.\nObject name not found.\nObject name not "
                          "found.\nObject name not found.\nObject name not found.\n" +
                          dots,
                      {"12 ReAuthenticate unknown-device",
                       "12 GetCertificate unknown-device slot=0",
                       "12 GetCertificateProperties unknown-device slot=0",
                       "12 GetMeasurement unknown-device slot=0 indices=[255]",
                       "12 GetSignedMeasurement unknown-device slot=0 indices=[255] nonce=\"\""},
                      {},
                      {}},
        OperationCase{"WithoutItsEnd",
                      begin + passed + certificate + certificate_properties + measurement +
                          signed_measurement,
                      {call_1, call_2, call_3, call_4, call_5},
                      {"a regression's end is missing"},
                      {}},
        OperationCase{"ResultTwice",
                      begin + passed + passed + certificate + certificate_properties + measurement +
                          signed_measurement + dots,
                      {call_1, call_1, call_2, call_3, call_4, call_5},
                      {},
                      {"GetCertificate", "GetCertificateProperties", "GetMeasurement",
                       "GetSignedMeasurement"}}),
    [](const auto& info) { return info.param.name; });

TEST(Regression, EndWithoutItsBeginning)
{
    const auto run = run_of(activity(passed + dots));
    EXPECT_EQ(contradictions_of(run), Texts{"a line where the client prints none of its kind"});
}

TEST(Regression, DevicesOneAfterTheOther)
{
    const auto of_nic = replaced(begin + passed + certificate + certificate_properties +
                                     measurement + signed_measurement + dots,
                                 cpu_path, nic_path);
    const auto run = run_of(activity(begin + passed + certificate + certificate_properties +
                                     measurement + signed_measurement + dots + of_nic + "\n"));
    ASSERT_EQ(run.calls.size(), 10U);
    EXPECT_EQ(devices_of(run), (Texts{"12 " + cpu_path, "40 " + nic_path}));
    EXPECT_EQ(run.calls[4].device, 0U);
    EXPECT_EQ(run.calls[5].device, 1U);
    EXPECT_EQ(run.calls[9].device, 1U);
    EXPECT_EQ(contradictions_of(run), Texts{});
}

} // namespace
