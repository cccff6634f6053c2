#include "report/reader/devices.hpp"
#include "tests/unit/report_transcripts.hpp"

#include <ostream>

namespace
{

using namespace report_test;

const std::string cpu_row = "12 " + cpu_path + " xmid=\"CPU-12\" index=0 device_eid=12";
const std::string nic_row = "40 " + nic_path + " xmid=\"NIC-40\" index=1 device_eid=40";

/// The device table holds `rows`.
struct TableCase
{
    std::string name;
    std::string rows;
    Texts devices;
    Texts contradictions;
    Texts notes;
};

std::ostream& operator<<(std::ostream& out, const TableCase& row)
{
    return out << row.name;
}

class DeviceTable : public testing::TestWithParam<TableCase>
{
};

TEST_P(DeviceTable, IsRead)
{
    const auto& row = GetParam();
    const auto run = run_of(activity(table_head + row.rows));
    EXPECT_EQ(devices_of(run), row.devices);
    EXPECT_EQ(contradictions_of(run), row.contradictions);
    EXPECT_EQ(notes_of(run), row.notes);
}

INSTANTIATE_TEST_SUITE_P(
    Of, DeviceTable,
    testing::Values(
        TableCase{"TwoDevices",
                  "    0 |   12 |          CPU-12 | /cpu_12\n"
                  "    1 | 40000 | a longer text than that | /nic_40\n"
                  "    2 |  ALL | Run on all objects\n",
                  {"12 /cpu_12 xmid=\"CPU-12\" index=0 device_eid=12",
                   "40 /nic_40 xmid=\"a longer text than that\" index=1 device_eid=40000"},
                  {},
                  {}},
        TableCase{"DeviceThatDoesNotAnswer",
                  "    0 |   12 |             N/A | /cpu_12\n",
                  {"12 /cpu_12 index=0 device_eid=12"},
                  {},
                  {}},
        TableCase{"EmptyXmid",
                  "    0 |   12 |                 | /cpu_12\n",
                  {"12 /cpu_12 xmid=\"\" index=0 device_eid=12"},
                  {},
                  {}},
        TableCase{"XmidWithABar",
                  "    0 |   12 |    CPU | twelve | /cpu_12\n",
                  {"12 /cpu_12 xmid=\"CPU | twelve\" index=0 device_eid=12"},
                  {},
                  {}},
        TableCase{"XmidWithALineEnd",
                  "    0 |   12 |     CPU\n\n  twelve | /cpu_12\n    1 |   40 | N | /nic_40\n",
                  {"12 /cpu_12 xmid=\"CPU\n\n  twelve\" index=0 device_eid=12",
                   "40 /nic_40 xmid=\"N\" index=1 device_eid=40"},
                  {},
                  {}},
        TableCase{"XmidLikeARow",
                  "    0 |   12 |     CPU\n    1 |   40 | N | /nic_40\n | /cpu_12\n",
                  {"40 /nic_40 xmid=\"N\" index=1 device_eid=40"},
                  {"a row of the device table breaks off"},
                  {" | /cpu_12"}},
        TableCase{"PathWithoutANumber",
                  "    0 |    0 |               x | /cpu\n",
                  {"? /cpu xmid=\"x\" index=0 device_eid=0"},
                  {},
                  {}}),
    [](const auto& info) { return info.param.name; });

TEST(Devices, AreEnteredAgainWhenTheyChange)
{
    const auto table = table_head + "    0 |   12 |          CPU-12 | /cpu_12\n";
    const auto run =
        run_of(activity(table + top_menu + table + top_menu + replaced(table, "CPU-12", "CPU-13") +
                        top_menu + replaced(table, "CPU-12", "   N/A")));
    EXPECT_EQ(devices_of(run), (Texts{"12 /cpu_12 xmid=\"CPU-12\" index=0 device_eid=12",
                                      "12 /cpu_12 xmid=\"CPU-13\" index=0 device_eid=12"}));
    EXPECT_EQ(run.devices[1].line, 33U);
}

TEST(Devices, KnownByTheirPathFirst)
{
    const auto run =
        run_of(activity("Starting Regression for object/cpu_12\n" + dots + "\n" + top_menu +
                        table_head + "    0 |   13 |          CPU-12 | /cpu_12\n"));
    EXPECT_EQ(devices_of(run), Texts{"12 /cpu_12 xmid=\"CPU-12\" index=0 device_eid=13"});
    EXPECT_EQ(run.devices[0].line, 9U);
}

struct PathCase
{
    std::string path;
    std::optional<std::uint16_t> eid;
};

std::ostream& operator<<(std::ostream& out, const PathCase& row)
{
    return out << row.path;
}

class EidOfPath : public testing::TestWithParam<PathCase>
{
};

TEST_P(EidOfPath, IsItsLastNumber)
{
    EXPECT_EQ(report::eid_of_path(GetParam().path), GetParam().eid);
}

INSTANTIATE_TEST_SUITE_P(Of, EidOfPath,
                         testing::Values(PathCase{"/com/varn/cpu_12", 12},
                                         PathCase{"/a/dev12a", 12}, PathCase{"/7/cpu", {}},
                                         PathCase{"/a/x70000", 4464}, PathCase{"cpu7", {}},
                                         PathCase{"", {}}, PathCase{"/", {}}, PathCase{"/a/0", 0},
                                         PathCase{"/a/2147483647", 65535},
                                         PathCase{"/a/2147483648", {}},
                                         PathCase{"/a/99999999999", {}}));

/// What the client printed at its end, and what the run says of it.
struct EndCase
{
    std::string name;
    std::string text;
    bool complete;
    std::string stopped_in;
};

std::ostream& operator<<(std::ostream& out, const EndCase& row)
{
    return out << row.name;
}

class End : public testing::TestWithParam<EndCase>
{
};

TEST_P(End, IsFound)
{
    const auto run = run_of(GetParam().text);
    EXPECT_EQ(run.ends_at_menu, GetParam().complete);
    EXPECT_EQ(run.stopped_in, GetParam().stopped_in);
}

const std::string section =
    std::string(60, '=') + "\nDEVICE 1/2: EID 12\n" + std::string(60, '=') + "\n";

INSTANTIATE_TEST_SUITE_P(
    Of, End,
    testing::Values(
        EndCase{"Complete", banner + top_menu, true, ""},
        EndCase{"EchoedAnswer", banner + top_menu + "4\r\n", true, ""},
        EndCase{"JunkBehind", banner + top_menu + "4\nConnection closed.\n$ \n", true, ""},
        EndCase{"ChosenAndNothingMore", banner + top_menu + "Available SPDM objects:\n", false,
                "an activity"},
        EndCase{"Banner", "SPDM Client Start\nInitialization successful\n", false,
                "the operations on a device"},
        EndCase{"InTheMenu", banner + replaced(top_menu, "Please Choose the option:\n", ""), false,
                "an activity"},
        EndCase{"OperationsMenu", operations_begin(""), false, "the operations menu"},
        EndCase{"Operations", operations_begin("Invalid method.\n"), false,
                "the operations on a device"},
        EndCase{"Call",
                operations_begin("DEBUG: Calling D-Bus method on object: " + cpu_path + "\n"),
                false, "a call"},
        EndCase{"Monitor", operations_begin("Press -1 to stop monitoring\n"), false, "the monitor"},
        EndCase{"Regression", banner + top_menu + "Starting Regression for object/cpu_1\n", false,
                "a regression"},
        EndCase{"Suite", banner + top_menu + "#               DEVICE EID:  12               #\n",
                false, "a suite"},
        EndCase{"AllDevices",
                banner + top_menu + device_table +
                    "\nRunning operations on all discovered "
                    "objects:\n\n" +
                    section,
                false, "the run on all devices"}),
    [](const auto& info) { return info.param.name; });

const std::string passed = "ReAuth Status: Passed Time taken(In us): 1\n";
const std::string all = device_table + "\nRunning operations on all discovered objects:\n\n";

std::string section_of(const std::string& number, const std::string& eid)
{
    return replaced(replaced(section, "1/2", number), "12\n", eid + "\n") +
           "\n--- ReAuthenticate ---\n" + passed +
           "\n--- Get Properties ---\nERROR: Failed to "
           "retrieve SPDM properties. Check device connectivity.\n";
}

const std::string not_numbered = "the devices' sections are not numbered as the table has them";
const std::string sections_missing = "the sections of some devices are missing";

struct SectionsCase
{
    std::string name;
    std::string text;
    Texts calls;
    Texts contradictions;
};

std::ostream& operator<<(std::ostream& out, const SectionsCase& row)
{
    return out << row.name;
}

class Sections : public testing::TestWithParam<SectionsCase>
{
};

TEST_P(Sections, AreRead)
{
    const auto run = run_of(activity(GetParam().text));
    EXPECT_EQ(calls_of(run), GetParam().calls);
    EXPECT_EQ(contradictions_of(run), GetParam().contradictions);
    for (const auto& call : run.calls)
    {
        EXPECT_EQ(word(call.activity), "all-devices");
    }
}

const Texts calls_12{"12 ReAuthenticate answered status=1 us=1", "12 GetAll error"};
const Texts calls_of_both{"12 ReAuthenticate answered status=1 us=1", "12 GetAll error",
                          "40 ReAuthenticate answered status=1 us=1", "40 GetAll error"};

INSTANTIATE_TEST_SUITE_P(
    Of, Sections,
    testing::Values(
        SectionsCase{"BothDevices",
                     all + section_of("1/2", "12") + section_of("2/2", "40"),
                     calls_of_both,
                     {}},
        SectionsCase{"LastMissing", all + section_of("1/2", "12"), calls_12, {sections_missing}},
        SectionsCase{"FirstMissing", all + section_of("2/2", "12"), calls_12, {not_numbered}},
        SectionsCase{"AllMissing", all, {}, {sections_missing}},
        SectionsCase{"OtherCount",
                     all + section_of("1/3", "12") + section_of("2/3", "40"),
                     calls_of_both,
                     {not_numbered, not_numbered, sections_missing}},
        SectionsCase{"StatusesWithoutAWord",
                     all + replaced(section_of("1/2", "12") + section_of("2/2", "40"), passed, ""),
                     {"12 ReAuthenticate answered", "12 GetAll error", "40 ReAuthenticate answered",
                      "40 GetAll error"},
                     {}},
        SectionsCase{"ReportMissing",
                     all +
                         replaced(section_of("1/2", "12"),
                                  "ERROR: Failed to retrieve SPDM properties. Check device "
                                  "connectivity.\n",
                                  "") +
                         section_of("2/2", "40"),
                     {"12 ReAuthenticate answered status=1 us=1", "12 GetAll cut",
                      "40 ReAuthenticate answered status=1 us=1", "40 GetAll error"},
                     {"the property report printed nothing"}},
        SectionsCase{"UnknownDevices",
                     all + replaced(replaced(section_of("1/2", "12") + section_of("2/2", "40"),
                                             passed, "Object name not found.\n"),
                                    "ERROR: Failed to retrieve SPDM properties. Check device "
                                    "connectivity.\n",
                                    "Object name not found.\n"),
                     {"12 ReAuthenticate unknown-device", "12 GetAll unknown-device",
                      "40 ReAuthenticate unknown-device", "40 GetAll unknown-device"},
                     {}}),
    [](const auto& info) { return info.param.name; });

TEST(Menus, EndlessOnes)
{
    auto text = operations_begin("");
    for (int i = 0; i < 3000; ++i)
    {
        text += "Invalid method.\nPlease try again...\n" + operations_menu;
    }
    const auto run = run_of(text);
    EXPECT_EQ(calls_of(run), Texts{});
    EXPECT_EQ(contradictions_of(run), Texts{});
    EXPECT_EQ(notes_of(run), Texts{});
    EXPECT_TRUE(run.silent_calls.empty());
    EXPECT_EQ(run.last_line, 32U + 3000U * 12U);
}

/// The last choice is repeated for ever, and its call prints nothing.
TEST(Menus, EndlessOnesWithoutAWordCostNoMemory)
{
    auto text = operations_begin("");
    for (int i = 0; i < 3000; ++i)
    {
        text += operations_menu;
    }
    EXPECT_EQ(run_of(text).silent_calls.size(), 1000U);
}

TEST(Menus, AnswersOfATerminal)
{
    const auto run = run_of(replaced(
        banner + top_menu + "2\n" + device_table + "0\nSelected device: EID=12\n" +
            operations_menu +
            "6\nPlease Enter Slot Number: 1\nEnter the indices of measurement "
            "block to fetch:\n255\nEnter the next value (enter -1 to stop): -1\nObject name not "
            "found.\n" +
            operations_menu + "9\n" + top_menu + "4\n",
        "\n", "\r\n"));
    EXPECT_EQ(calls_of(run), Texts{"12 GetMeasurement unknown-device slot=1 indices=[255]"});
    EXPECT_EQ(notes_of(run), Texts{});
    EXPECT_TRUE(run.ends_at_menu);
}

/// An answer is forgotten with its menu: it tells nothing of the next call.
TEST(Menus, AnswersAreForgotten)
{
    const auto run = run_of(operation("6\nPlease Enter Slot Number: 1\nEnter the indices of "
                                      "measurement block to fetch:\n-1\nObject name not found.\n" +
                                      operations_menu + "Object name not found.\n"));
    EXPECT_EQ(calls_of(run),
              (Texts{"12 GetMeasurement unknown-device slot=1 indices=[]", "12 ? unknown-device"}));
}

TEST(Menus, LinesOfTheStart)
{
    const auto run = run_of(banner +
                            "ERROR: Failed to retrieve SPDM objects. Check D-Bus service "
                            "availability.\n" +
                            top_menu + "Available SPDM objects:\nNo objects found\n" + top_menu +
                            "Available SPDM objects:\nNo objects found\n" + top_menu);
    EXPECT_TRUE(run.starts_with_banner);
    EXPECT_TRUE(run.discovery_failed);
    EXPECT_EQ(run.discovery_line, 4U);
    EXPECT_EQ(run.no_objects_line, 11U);
}

TEST(Menus, WithoutTheStart)
{
    const auto run = run_of(top_menu);
    EXPECT_FALSE(run.starts_with_banner);
    EXPECT_FALSE(run.discovery_failed);
    EXPECT_EQ(run.discovery_line, 0U);
    EXPECT_EQ(findings_of(run), Texts{"error transcript: its beginning is missing"});
}

TEST(Notes, AreLimited)
{
    std::string text = banner;
    for (int i = 0; i < 10003; ++i)
    {
        text += "what is this\n";
    }
    const auto run = run_of(text + std::string(1001, 'x') + "\n" + top_menu);
    EXPECT_EQ(run.note_count, 10004U);
    EXPECT_EQ(run.notes.size(), 10000U);
    EXPECT_EQ(run_of(banner + std::string(1001, 'x') + "\n").notes[0].text.size(), 1000U);
}

} // namespace
