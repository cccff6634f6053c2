#include "mistake.hpp"
#include "report/reader/run_file.hpp"
#include "runner/result_folder.hpp"
#include "temporary_folder.hpp"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <chrono>
#include <string>
#include <vector>

namespace
{

using namespace runner;
using Json = nlohmann::json;
using Names = std::vector<std::string>;
using std::chrono::system_clock;

const system_clock::time_point start{Milliseconds(1'795'300'500'007)};

Circumstances started()
{
    Circumstances circumstances;
    circumstances.words = {"suite", "--quiet"};
    circumstances.client = "ssh -T bmc7 spdm-client";
    circumstances.controller = "bmc7";
    circumstances.started = start;
    circumstances.end = "interrupted";
    return circumstances;
}

Circumstances completed()
{
    Circumstances circumstances = started();
    circumstances.ended = start + Milliseconds(1500);
    circumstances.client_end.status = 0;
    circumstances.end = "complete";
    circumstances.answers = {{94, "3", Milliseconds(12)}};
    circumstances.reads.add(0, Milliseconds(10));
    return circumstances;
}

TEST(ResultFolder, KeepsOutputAndCircumstances)
{
    const TemporaryFolder place;
    ResultFolder folder(place.path() + "/a/b", false, started());
    folder.add_output("one\n");
    folder.add_output(std::string("\0\xff", 2));
    folder.add_errors("complaint\n");
    folder.finish(completed());
    EXPECT_EQ(place.read("a/b/transcript.txt"), std::string("one\n\0\xff", 6));
    EXPECT_EQ(place.read("a/b/stderr.txt"), "complaint\n");
    EXPECT_EQ(place.read("a/b/run.json"), run_json(completed()));
}

TEST(ResultFolder, HasNoFileForErrorsWithoutAny)
{
    const TemporaryFolder place;
    ResultFolder(place.path(), false, started()).finish(completed());
    EXPECT_EQ(place.names(), (Names{"run.json", "transcript.txt"}));
}

TEST(ResultFolder, SaysThatTheRunWasInterruptedUntilItIsFinished)
{
    const TemporaryFolder place;
    {
        ResultFolder folder(place.path(), false, started());
        folder.add_output("one\n");
        EXPECT_EQ(place.read("transcript.txt.part"), "one\n");
    }
    EXPECT_EQ(place.names(), (Names{"run.json", "transcript.txt.part"}));
    EXPECT_EQ(place.read("run.json"), run_json(started()));
    EXPECT_EQ(Json::parse(place.read("run.json"))["ended"], Json());
}

TEST(ResultFolder, OverwritesOnlyWhereItMust)
{
    for (const char* name :
         {"transcript.txt", "run.json", "stderr.txt", "transcript.txt.part", "stderr.txt.part"})
    {
        const TemporaryFolder place;
        place.write(name, "old");
        EXPECT_EQ(complaint_of<FolderError>([&] { ResultFolder(place.path(), false, started()); }),
                  place.path() + " holds a result (" + name + "); --force overwrites it");
        EXPECT_EQ(place.names(), Names{name});
        EXPECT_EQ(place.read(name), "old");

        ResultFolder(place.path(), true, started()).finish(completed());
        EXPECT_EQ(place.names(), (Names{"run.json", "transcript.txt"}));
        EXPECT_EQ(place.read("transcript.txt"), "");
    }
}

TEST(ResultFolder, LeavesOtherFilesAlone)
{
    const TemporaryFolder place;
    place.write("notes.txt", "mine");
    ResultFolder(place.path(), true, started()).finish(completed());
    EXPECT_EQ(place.read("notes.txt"), "mine");
}

TEST(ResultFolder, BelongsToOneRun)
{
    const TemporaryFolder place;
    const ResultFolder first(place.path(), false, started());
    EXPECT_EQ(complaint_of<FolderError>([&] { ResultFolder(place.path(), true, started()); }),
              "another run writes to " + place.path());
}

TEST(ResultFolder, SaysWhereItCannotBe)
{
    const TemporaryFolder place;
    const auto file = place.write("file", "");
    EXPECT_EQ(complaint_of<FolderError>([&] { ResultFolder(file + "/below", false, started()); }),
              "cannot create " + file + "/below: Not a directory");
}

TEST(ResultFolder, NamesItselfByControllerAndTime)
{
    EXPECT_EQ(default_folder("bmc7.lab", start), "bmc7.lab-20261121T223500Z");
    EXPECT_EQ(default_folder("a/b c\xff", start), "a_b_c_-20261121T223500Z");
    EXPECT_EQ(default_folder("../x", start), "_.._x-20261121T223500Z");
    EXPECT_EQ(default_folder("", start), "_-20261121T223500Z");
    EXPECT_EQ(default_folder(std::string(255, 'n'), start).size(), 217U);
}

TEST(RunJson, TellsTheCircumstances)
{
    EXPECT_EQ(run_json(completed()), R"({
  "schema": "spdm-run/1",
  "version": ")" PROJECT_VERSION R"(",
  "asked": ["suite","--quiet"],
  "client": "ssh -T bmc7 spdm-client",
  "controller": "bmc7",
  "started": "2026-11-21T22:35:00.007Z",
  "ended": "2026-11-21T22:35:01.507Z",
  "exit_status": 0,
  "signal": null,
  "end": "complete",
  "problem": null,
  "answers": [{"offset":94,"text":"3","ms":12}],
  "reads": [[0,10]]
}
)");
}

TEST(RunJson, IsReadByTheReport)
{
    const TemporaryFolder place;
    auto circumstances = completed();
    circumstances.client_end = {{}, 9};
    circumstances.end = "client-ended";
    circumstances.problem = "died";
    const auto read = report::read_run_file(place.write("run.json", run_json(circumstances)));
    ASSERT_TRUE(read);
    EXPECT_EQ(read->controller, "bmc7");
    EXPECT_EQ(read->circumstances.started, "2026-11-21T22:35:00.007Z");
    EXPECT_EQ(read->circumstances.ended, "2026-11-21T22:35:01.507Z");
    EXPECT_EQ(read->circumstances.end, "client-ended");
    EXPECT_EQ(read->circumstances.client_signal, 9);
    EXPECT_FALSE(read->circumstances.client_status);
}

TEST(RunJson, IsValidWhateverTheCommand)
{
    auto circumstances = completed();
    circumstances.client = "a\"b\\\n\xff";
    EXPECT_EQ(Json::parse(run_json(circumstances))["client"], "a\"b\\\n\uFFFD");
}

TEST(ReadTimes, MergesWhatComesWithinMilliseconds)
{
    ReadTimes reads;
    reads.add(0, Milliseconds(0));
    reads.add(10, Milliseconds(4));
    reads.add(20, Milliseconds(5));
    reads.add(30, Milliseconds(100));
    const std::vector<std::pair<std::uint64_t, Milliseconds>> expected{
        {0, Milliseconds(0)}, {20, Milliseconds(5)}, {30, Milliseconds(100)}};
    EXPECT_EQ(reads.entries(), expected);
}

TEST(ReadTimes, StayFew)
{
    ReadTimes reads;
    for (std::uint64_t i = 0; i < 1'000'000; ++i)
    {
        reads.add(i, Milliseconds(10 * i));
    }
    EXPECT_LE(reads.entries().size(), 65536U);
    EXPECT_GE(reads.entries().size(), 32768U);
    EXPECT_EQ(reads.entries().front().first, 0U);
    EXPECT_GE(reads.entries().back().first, 999'000U);
}

} // namespace
