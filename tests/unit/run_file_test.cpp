#include "mistake.hpp"
#include "report/reader/inputs.hpp"
#include "report/reader/run_file.hpp"
#include "temporary_folder.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <sys/stat.h>

namespace
{

using report::InputError;
using report::read_run_file;
using report::RunFile;

RunFile read_text(const std::string& text)
{
    const TemporaryFolder folder;
    return *read_run_file(folder.write("run.json", text));
}

/// The complaint about a text, with the folder's path left out.
std::string complaint_about(const std::string& text)
{
    const TemporaryFolder folder;
    const auto path = folder.write("run.json", text);
    const auto complaint = complaint_of<InputError>([&] { read_run_file(path); });
    EXPECT_TRUE(complaint.starts_with(path + ": ")) << complaint;
    return complaint.substr(std::min(complaint.size(), path.size() + 2));
}

std::string with(const std::string& members)
{
    return R"({"schema": "spdm-run/1", )" + members + "}";
}

TEST(RunFile, Whole)
{
    const auto read = read_text(R"({
        "schema": "spdm-run/1", "version": "1.0.0",
        "asked": {"controller": "x", "what": "suite", "schema": 3, "devices": [10, 11]},
        "controller": "lab-7", "client": "ssh -T root@bmc7 \"spdm-client\"",
        "started": "2026-11-21T21:05:09Z", "ended": "2026-11-21T22:35:00.125+01:00",
        "end": "client-ended", "exit_status": 0, "signal": 15, "answers": [],
        "reads": [[0, 1.5], [17, -2], [{"end": "x"}, null]], "complete": true})");
    EXPECT_EQ(read.controller, "lab-7");
    EXPECT_EQ(read.circumstances.started, "2026-11-21T21:05:09Z");
    EXPECT_EQ(read.circumstances.ended, "2026-11-21T22:35:00.125+01:00");
    EXPECT_EQ(read.circumstances.end, "client-ended");
    EXPECT_EQ(read.circumstances.client_status, 0);
    EXPECT_EQ(read.circumstances.client_signal, 15);
}

TEST(RunFile, WithoutAnything)
{
    for (const auto* text :
         {R"({"schema": "spdm-run/1"})",
          R"({"schema": "spdm-run/1", "controller": null, "started": null, "ended": null,
              "end": null, "exit_status": null, "signal": null})"})
    {
        const auto read = read_text(text);
        EXPECT_EQ(read.controller, "");
        EXPECT_EQ(read.circumstances.started, "");
        EXPECT_EQ(read.circumstances.ended, "");
        EXPECT_EQ(read.circumstances.end, "");
        EXPECT_EQ(read.circumstances.client_status, std::nullopt);
        EXPECT_EQ(read.circumstances.client_signal, std::nullopt);
    }
}

TEST(RunFile, Missing)
{
    const TemporaryFolder folder;
    EXPECT_FALSE(read_run_file(folder.path() + "/run.json"));
}

TEST(RunFile, TakesItsBounds)
{
    EXPECT_EQ(read_text(with(R"("exit_status": 255)")).circumstances.client_status, 255);
    EXPECT_EQ(read_text(with(R"("controller": ")" + std::string(255, 'c') + "\"")).controller,
              std::string(255, 'c'));
    for (const auto* time : {"2024-02-29T00:00:00Z", "2026-12-31T23:59:60Z",
                             "2026-01-01T00:00:00.1-23:59", "2026-01-01T00:00:00.123456789Z"})
    {
        EXPECT_EQ(read_text(with(R"("ended": ")" + std::string(time) + "\"")).circumstances.ended,
                  time);
    }
}

class RunFileMistake : public testing::TestWithParam<Mistake>
{
};

TEST_P(RunFileMistake, IsNamed)
{
    EXPECT_EQ(complaint_about(GetParam().written), GetParam().complaint);
}

/// No parameter: GoogleTest's XML would show it, and be no XML.
TEST(RunFile, ThatIsNoUtf8IsAMistake)
{
    EXPECT_EQ(complaint_about("{\"schema\": \"\xff\"}"), "no valid JSON at byte 13");
}

INSTANTIATE_TEST_SUITE_P(
    Json, RunFileMistake,
    testing::Values(Mistake{"Empty", "", "no valid JSON at byte 1"},
                    Mistake{"CutShort", R"({"schema")", "no valid JSON at byte 10"},
                    Mistake{"TextAfterIt", R"({"schema": "spdm-run/1"} x)",
                            "no valid JSON at byte 26"},
                    Mistake{"HugeNumber", R"({"reads": 1e999})", "no valid JSON at byte 15"},
                    Mistake{"List", "[]", "no JSON object"},
                    Mistake{"Text", R"("spdm-run/1")", "no JSON object"},
                    Mistake{"Number", "3", "no JSON object"},
                    Mistake{"Null", "null", "no JSON object"},
                    Mistake{"Nested", with(R"("reads": )" + std::string(100000, '[')),
                            "lists and objects are nested deeper than 100"},
                    Mistake{"NestedObjects",
                            R"({"a":{"a":)" +
                                [] {
                                    std::string text;
                                    for (int i = 0; i < 200; ++i)
                                    {
                                        text += R"({"a":)";
                                    }
                                    return text;
                                }(),
                            "lists and objects are nested deeper than 100"}),
    name_of);

INSTANTIATE_TEST_SUITE_P(
    Members, RunFileMistake,
    testing::Values(
        Mistake{"NoSchema", "{}", R"("schema" is not "spdm-run/1")"},
        Mistake{"OtherSchema", R"({"schema": "spdm-run/2"})", R"("schema" is not "spdm-run/1")"},
        Mistake{"SchemaElsewhere", R"({"a": {"schema": "spdm-run/1"}})",
                R"("schema" is not "spdm-run/1")"},
        Mistake{"SchemaNumber", R"({"schema": 1})", R"("schema" is not "spdm-run/1")"},
        Mistake{"ControllerList", with(R"("controller": ["a"])"),
                R"("controller" is not a text of at most 255 bytes)"},
        Mistake{"ControllerObject", with(R"("controller": {})"),
                R"("controller" is not a text of at most 255 bytes)"},
        Mistake{"ControllerBoolean", with(R"("controller": true)"),
                R"("controller" is not a text of at most 255 bytes)"},
        Mistake{"ControllerLong", with(R"("controller": ")" + std::string(256, 'c') + "\""),
                R"("controller" is not a text of at most 255 bytes)"},
        Mistake{"End", with(R"("end": "done")"),
                R"("end" is not "complete", "timeout", "interrupted" or "client-ended")"},
        Mistake{"StatusText", with(R"("exit_status": "0")"),
                R"("exit_status" is not a whole number from 0 to 255)"},
        Mistake{"StatusFraction", with(R"("exit_status": 1.0)"),
                R"("exit_status" is not a whole number from 0 to 255)"},
        Mistake{"StatusNegative", with(R"("exit_status": -1)"),
                R"("exit_status" is not a whole number from 0 to 255)"},
        Mistake{"StatusLarge", with(R"("exit_status": 256)"),
                R"("exit_status" is not a whole number from 0 to 255)"},
        Mistake{"SignalHuge", with(R"("signal": 18446744073709551615)"),
                R"("signal" is not a whole number from 0 to 255)"},
        Mistake{"Started", with(R"("started": 5)"), R"("started" is not a time as in RFC 3339)"}),
    name_of);

class NoTime : public testing::TestWithParam<std::string>
{
};

TEST_P(NoTime, IsNamed)
{
    EXPECT_EQ(complaint_about(with(R"("ended": ")" + GetParam() + "\"")),
              R"("ended" is not a time as in RFC 3339)");
}

INSTANTIATE_TEST_SUITE_P(
    Texts, NoTime,
    testing::Values("2026", "2026-11-21", "2026-11-21T21:05:09", "2026-11-21 21:05:09Z",
                    "2026-02-29T21:05:09Z", "2026-13-01T21:05:09Z", "2026-00-01T21:05:09Z",
                    "2026-11-00T21:05:09Z", "2026/11-21T21:05:09Z", "2026-11/21T21:05:09Z",
                    "2026-11-21T24:05:09Z", "2026-11-21T21:60:09Z", "2026-11-21T21:05:61Z",
                    "2026-11-21T21:05-09Z", "2026-11-21T21-05:09Z", "-026-11-21T21:05:09Z",
                    "2026-1 -21T21:05:09Z", "2026-11-21T21:05:09.Z",
                    "2026-11-21T21:05:09.1234567890Z", "2026-11-21T21:05:09.5",
                    "2026-11-21T21:05:09ZZ", "2026-11-21T21:05:09+24:00",
                    "2026-11-21T21:05:09+00:60", "2026-11-21T21:05:09+0000",
                    "2026-11-21T21:05:09*00:00", "2026-11-21T21:05:09+00:0"));

TEST(RunFile, IsNoPipe)
{
    const TemporaryFolder folder;
    const auto path = folder.path() + "/run.json";
    ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
    EXPECT_EQ(complaint_of<InputError>([&] { read_run_file(path); }),
              path + ": not a regular file");
}

/// Whatever would fill the memory ends the reading.
TEST(RunFile, BoundsItsMemory)
{
    const std::string much(1100000, '7');
    const std::string complaint = "a value is longer than 1 MiB";
    EXPECT_EQ(complaint_about(with("\"client\": \"" + much)), complaint);
    EXPECT_EQ(complaint_about(with("\"client\": \"\\\"[" + much)), complaint);
    EXPECT_EQ(complaint_about(with("\"client\": " + much)), complaint);
    EXPECT_EQ(complaint_about(with("\"" + much)), complaint);
    EXPECT_EQ(complaint_about(std::string(1100000, ' ')), complaint);
    std::string many;
    while (many.size() < 3000000)
    {
        many += "[1234567, \"12\\\\\"], {\"[\": 3}, ";
    }
    EXPECT_EQ(
        read_text(with("\"reads\": [" + many + "0], \"end\": \"complete\"")).circumstances.end,
        "complete");
}

TEST(RunFile, DamagedAnywhereEnds)
{
    const TemporaryFolder folder;
    const auto whole = with(R"("controller": "lab\u0037", "end": "timeout", "exit_status": null,
        "reads": [[1, 2.5e3], {"a": false}], "started": "2026-11-21T21:05:09Z")");
    std::mt19937 random(6);
    for (int round = 0; round < 500; ++round)
    {
        auto text = whole;
        for (auto count = 1 + random() % 3; count > 0; --count)
        {
            text[random() % text.size()] = "\"{}[],:\\\0 \xff"
                                           "0e-u"[random() % 15];
        }
        try
        {
            read_run_file(folder.write("run.json", text));
        }
        catch (const InputError&)
        {}
    }
}

} // namespace
