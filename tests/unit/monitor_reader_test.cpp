#include "tests/unit/report_transcripts.hpp"

#include <ostream>

namespace
{

using namespace report_test;

/// The monitor runs and prints `said`, whose first line is the 34th.
struct MonitorCase
{
    std::string name;
    std::string said;
    Texts signals;
    Texts contradictions;
    Texts notes;
};

std::ostream& operator<<(std::ostream& out, const MonitorCase& row)
{
    return out << row.name;
}

class Monitor : public testing::TestWithParam<MonitorCase>
{
};

TEST_P(Monitor, IsRead)
{
    const auto& row = GetParam();
    const auto run = run_of(operation("Press -1 to stop monitoring\n" + row.said));
    EXPECT_EQ(signals_of(run), row.signals);
    EXPECT_EQ(contradictions_of(run), row.contradictions);
    EXPECT_EQ(notes_of(run), row.notes);
    EXPECT_EQ(run.monitor_line, 33U);
    EXPECT_EQ(run.monitor_failed_line, 0U);
}

const std::string changed = "Received properties changed Signal.\n";
const std::string changed_12 = changed + "Received properties changed Signal for EID: 12\n";
const std::string changed_end = "Properties change handler is completed.\n";

INSTANTIATE_TEST_SUITE_P(
    Signals, Monitor,
    testing::Values(
        MonitorCase{"Nothing", "", {}, {}, {}}, MonitorCase{"Stopped", "-1\n", {}, {}, {}},
        MonitorCase{"OtherAnswers", "5\n-1\n", {}, {}, {}},
        MonitorCase{"Cpu",
                    "Received Interface CPU Signal.\nObject Added :/x/cpu/cpu_7\n"
                    "subscribing to signals\n"
                    "Interface  Added handler FOR CPU is completed.\n",
                    {"34 7 InterfacesAdded \"/x/cpu/cpu_7\""},
                    {},
                    {}},
        MonitorCase{"HalcWithoutANumber",
                    "Received Interface HALC Signal.\nObject Added :/x/halc\n"
                    "subscribing to signals\n"
                    "Interface  Added handler FOR HALC is completed.\n",
                    {"34 ? InterfacesAdded \"/x/halc\""},
                    {},
                    {}},
        MonitorCase{"NicThatWasKnown",
                    "Received Interface NIC Signal.\nObject Added :" + nic_path +
                        "\nsubscribing to signals\n"
                        "Interface  Added handler FOR NIC is completed.\n",
                    {"34 40 InterfacesAdded \"" + nic_path + "\""},
                    {},
                    {}},
        MonitorCase{"MalformedAdded",
                    "Received Interface CPU Signal.\nReceived Interface NIC Signal.\n",
                    {"34 - InterfacesAdded", "35 - InterfacesAdded"},
                    {},
                    {}},
        MonitorCase{"Removed",
                    "Received Interface Removed  Signal.\nObject removed:" + cpu_path +
                        "\nInterface Removed handler is completed.\n",
                    {"34 12 InterfacesRemoved \"" + cpu_path + "\""},
                    {},
                    {}},
        MonitorCase{"Info",
                    "Received Info Signal.\nInfo Signal: 65535\nInfo handler is completed.\n",
                    {"34 - Info 65535"},
                    {},
                    {}},
        MonitorCase{"Error",
                    "Received Error Signal for EID: 40\nError: 3\nError handler is completed.\n",
                    {"34 40 DeviceError 3"},
                    {},
                    {}},
        MonitorCase{"ErrorOfNoDevice",
                    "Error: 3\nError handler is completed.\n",
                    {"34 - DeviceError 3"},
                    {},
                    {}},
        MonitorCase{"ErrorsOneAfterTheOther",
                    "Received Error Signal for EID: 40\nError: 3\nError handler is completed.\n"
                    "Error: 4\nError handler is completed.\n",
                    {"34 40 DeviceError 3", "37 - DeviceError 4"},
                    {},
                    {}},
        MonitorCase{"ErrorOfTwoEntries",
                    "Received Error Signal for EID: 40\nReceived Error Signal for EID: 12\n"
                    "Error: 3\nError handler is completed.\n",
                    {"34 40 DeviceError 3"},
                    {},
                    {}},
        MonitorCase{"Progress",
                    "Received Certificate Progress Signal.\n"
                    "Received Certificate Progress Signal for EID: 12\nProgress: 50\n"
                    "Certificate Progress handler is completed.\n",
                    {"34 12 CertificateProgress 50"},
                    {},
                    {}},
        MonitorCase{"ProgressOfNoDevice",
                    "Received Certificate Progress Signal.\nProgress: 255\n"
                    "Certificate Progress handler is completed.\n",
                    {"34 - CertificateProgress 255"},
                    {},
                    {}},
        MonitorCase{"ProgressMalformed",
                    "Received Certificate Progress Signal.\n",
                    {"34 - CertificateProgress"},
                    {},
                    {}},
        MonitorCase{"ErrorOnStandardError", "Error: stoi\n", {}, {}, {"Error: stoi"}},
        MonitorCase{"Junk", "what\nSomething else\n", {}, {}, {"what", "Something else"}}),
    [](const auto& info) { return info.param.name; });

INSTANTIATE_TEST_SUITE_P(
    Properties, Monitor,
    testing::Values(
        MonitorCase{"OfEveryKind",
                    changed_12 +
                        "Certificate: true\nChallengeStatus: Passed\nNumMeasurements: 7\n"
                        "Odd: Unknown Property.\nXMID: CPU: a\n" +
                        changed_end,
                    {"36 12 PropertiesChanged \"true\" name=\"Certificate\"",
                     "37 12 PropertiesChanged \"Passed\" name=\"ChallengeStatus\"",
                     "38 12 PropertiesChanged \"7\" name=\"NumMeasurements\"",
                     "39 12 PropertiesChanged \"Unknown Property.\" name=\"Odd\"",
                     "40 12 PropertiesChanged \"CPU: a\" name=\"XMID\""},
                    {},
                    {}},
        MonitorCase{"StatusWithoutAWord",
                    changed_12 + "ChallengeStatus: XMID: CPU-A\n" + changed_end,
                    {"36 12 PropertiesChanged name=\"ChallengeStatus\"",
                     "36 12 PropertiesChanged \"CPU-A\" name=\"XMID\""},
                    {},
                    {}},
        MonitorCase{"StatusWithoutAWordLast",
                    changed_12 + "Certificate: true\nChallengeStatus: " + changed_end,
                    {"36 12 PropertiesChanged \"true\" name=\"Certificate\"",
                     "37 12 PropertiesChanged name=\"ChallengeStatus\""},
                    {},
                    {}},
        MonitorCase{"OtherNumberWithoutAWordLast",
                    changed_12 + "Odd: " + changed_end,
                    {"36 12 PropertiesChanged name=\"Odd\""},
                    {},
                    {}},
        MonitorCase{"EmptyText",
                    changed_12 + "XMID: \n" + changed_end,
                    {"36 12 PropertiesChanged \"\" name=\"XMID\""},
                    {},
                    {}},
        MonitorCase{"None", changed_12 + changed_end, {"34 12 PropertiesChanged"}, {}, {}},
        MonitorCase{"OfNoDevice",
                    changed + "XMID: a\n" + changed_end,
                    {"35 - PropertiesChanged \"a\" name=\"XMID\""},
                    {},
                    {}},
        MonitorCase{"TextsLikeTheClients",
                    changed_12 + "Progress: 5\nInfo Signal: 6\n" + changed_end +
                        "Received Info Signal.\nInfo Signal: 7\n",
                    {"36 12 PropertiesChanged \"5\" name=\"Progress\"",
                     "37 12 PropertiesChanged \"6\" name=\"Info Signal\"", "39 - Info 7"},
                    {},
                    {}},
        MonitorCase{"TextWithALineEnd",
                    changed_12 + "XMID: a\nb\n" + changed_end,
                    {"36 12 PropertiesChanged \"a\" name=\"XMID\""},
                    {},
                    {"b"}},
        MonitorCase{"Cut",
                    changed_12 + "XMID: a\n",
                    {"36 12 PropertiesChanged \"a\" name=\"XMID\""},
                    {"a signal's lines do not end"},
                    {}}),
    [](const auto& info) { return info.param.name; });

TEST(Monitor, Fails)
{
    const auto run = run_of(operation("Press -1 to stop monitoring\n"
                                      "Something went wrong :sd_bus_wait: Broken pipe\n"));
    EXPECT_EQ(run.monitor_failed_line, 34U);
    EXPECT_EQ(run.monitor_failure, "sd_bus_wait: Broken pipe");
    EXPECT_EQ(findings_of(run), Texts{"error monitor: sd_bus_wait: Broken pipe"});
}

TEST(Monitor, ThreadCannotBeCreated)
{
    const auto run = run_of(operation("Press -1 to stop monitoring\n"
                                      "Error while creating SPDMManagerServiceThread\n"));
    EXPECT_EQ(run.monitor_failed_line, 34U);
    EXPECT_EQ(run.monitor_failure, "Error while creating SPDMManagerServiceThread");
}

TEST(Monitor, IsStartedAgain)
{
    const std::string info = "Received Info Signal.\nInfo Signal: 7\nInfo handler is completed.\n";
    const auto once = "Press -1 to stop monitoring\n" + info;
    const auto run = run_of(operation(once + operations_menu + once));
    EXPECT_EQ(signals_of(run), (Texts{"34 - Info 7", "48 - Info 7"}));
    EXPECT_EQ(run.monitor_line, 33U);
    EXPECT_EQ(contradictions_of(run), Texts{});
}

/// Else a device's texts could hide lines from the other readers.
TEST(Monitor, IsReadWhileItRunsOnly)
{
    const auto run =
        run_of(operation(changed + "ReAuth Status: Failed Time taken(In us): 1\n" + changed_end));
    EXPECT_EQ(signals_of(run), Texts{});
    EXPECT_EQ(calls_of(run), Texts{"12 ReAuthenticate answered status=3 us=1"});
    EXPECT_EQ(contradictions_of(run), Texts{"a line where the client prints none of its kind"});
}

TEST(Monitor, IsWhereTheTranscriptStops)
{
    const auto run = run_of(operations_begin("Press -1 to stop monitoring\n"));
    EXPECT_EQ(run.stopped_in, "the monitor");
}

TEST(Monitor, AddsDevicesToTheTable)
{
    const auto run = run_of(operation("Press -1 to stop monitoring\n"
                                      "Received Interface CPU Signal.\nObject Added :/x/cpu_7\n"));
    EXPECT_EQ(devices_of(run),
              (Texts{"12 " + cpu_path + " xmid=\"CPU-12\" index=0 device_eid=12",
                     "40 " + nic_path + " xmid=\"NIC-40\" index=1 device_eid=40", "7 /x/cpu_7"}));
}

} // namespace
