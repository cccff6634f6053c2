#include "mistake.hpp"
#include "ordinary_user.hpp"
#include "report/reader/inputs.hpp"
#include "temporary_folder.hpp"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <ostream>
#include <string>
#include <sys/stat.h>
#include <vector>

namespace
{

using report::find_inputs;
using report::InputError;

/// A folder in which the test is while this lives.
class WorkingFolder
{
  public:
    WorkingFolder() : before(std::filesystem::current_path())
    {
        std::filesystem::current_path(folder.path());
    }
    ~WorkingFolder()
    {
        std::filesystem::current_path(before);
    }
    WorkingFolder(const WorkingFolder&) = delete;
    WorkingFolder& operator=(const WorkingFolder&) = delete;

    /// A file; "-> x" as its content makes a symbolic link to x.
    void write(const std::string& name, const std::string& content) const
    {
        if (content.starts_with("-> "))
        {
            std::filesystem::create_symlink(content.substr(3), folder.path() + "/" + name);
            return;
        }
        folder.write(name, content);
    }

    /// The file name of the folder itself.
    std::string name() const
    {
        return std::filesystem::path(folder.path()).filename().string();
    }

  private:
    TemporaryFolder folder;
    std::filesystem::path before;
};

using Files = std::vector<std::pair<std::string, std::string>>;
using Texts = std::vector<std::string>;

void write(const WorkingFolder& folder, const Files& files)
{
    for (const auto& [name, content] : files)
    {
        folder.write(name, content);
    }
}

struct SearchCase
{
    std::string name;
    Files files;
    Texts arguments;
    Texts paths;
};

std::ostream& operator<<(std::ostream& out, const SearchCase& search)
{
    return out << search.name;
}

class Inputs : public testing::TestWithParam<SearchCase>
{
};

TEST_P(Inputs, AreFound)
{
    const WorkingFolder folder;
    write(folder, GetParam().files);
    Texts paths;
    for (const auto& input : find_inputs(GetParam().arguments))
    {
        paths.push_back(input.path);
    }
    EXPECT_EQ(paths, GetParam().paths);
}

const std::string banner = "SPDM Client Start\n";

INSTANTIATE_TEST_SUITE_P(
    Arguments, Inputs,
    testing::Values(
        SearchCase{"None", {}, {}, {}}, SearchCase{"StandardInput", {}, {"-"}, {"-"}},
        SearchCase{"AnyName",
                   {{"x.log", ""}, {".hidden", ""}, {"stderr", ""}},
                   {"x.log", ".hidden", "stderr"},
                   {"x.log", ".hidden", "stderr"}},
        SearchCase{"InTheirOrder", {{"b", ""}, {"a", ""}}, {"b", "-", "a"}, {"b", "-", "a"}},
        SearchCase{"GivenTwice", {{"a", ""}}, {"a", "-", "./a", "-"}, {"a", "-"}},
        SearchCase{"GivenTwiceByFolders",
                   {{"d/e/a.txt", ""}},
                   {"d/../d/e/a.txt", "d/e", "d"},
                   {"d/../d/e/a.txt"}},
        SearchCase{"FoundAndGiven",
                   {{"d/a.txt", ""}, {"d/b.txt", ""}},
                   {"d", "d/a.txt"},
                   {"d/a.txt", "d/b.txt"}},
        SearchCase{"GivenAndFound",
                   {{"d/a.txt", ""}, {"d/b.txt", ""}},
                   {"d/b.txt", "d/"},
                   {"d/b.txt", "d/a.txt"}},
        SearchCase{"ByLinkToFolder", {{"d/a.txt", ""}, {"l", "-> d"}}, {"l", "d"}, {"l/a.txt"}},
        SearchCase{"LinksToFilesAreFiles", {{"a", ""}, {"l", "-> a"}}, {"l", "a"}, {"l", "a"}},
        SearchCase{"DeviceFile", {}, {"/dev/null"}, {"/dev/null"}}),
    [](const auto& info) { return info.param.name; });

INSTANTIATE_TEST_SUITE_P(
    Folders, Inputs,
    testing::Values(
        SearchCase{"Endings",
                   {{"d/a.txt", ""},
                    {"d/b.txt.gz", ""},
                    {"d/c.txt.zst", ""},
                    {"d/d.text", ""},
                    {"d/e.txt.xz", ""},
                    {"d/f.gz", ""},
                    {"d/txt", ""}},
                   {"d"},
                   {"d/a.txt", "d/b.txt.gz", "d/c.txt.zst"}},
        SearchCase{"OrderOfNames",
                   {{"d/b.txt", ""},
                    {"d/a/z.txt", ""},
                    {"d/\xc3\xa4.txt", ""},
                    {"d/B.txt", ""},
                    {"d/10.txt", ""},
                    {"d/9.txt", ""}},
                   {"d"},
                   {"d/10.txt", "d/9.txt", "d/B.txt", "d/a/z.txt", "d/b.txt", "d/\xc3\xa4.txt"}},
        SearchCase{"WorkingFolder",
                   {{"b/transcript.txt", ""}, {"a/transcript.txt", ""}},
                   {"."},
                   {"./a/transcript.txt", "./b/transcript.txt"}},
        SearchCase{"Hidden",
                   {{"d/.a.txt", ""}, {"d/.b/transcript.txt", ""}, {"d/c.txt", ""}},
                   {"d"},
                   {"d/c.txt"}},
        SearchCase{"OnlyTheTranscript",
                   {{"d/transcript.txt", ""},
                    {"d/notes.txt", ""},
                    {"d/log", banner},
                    {"d/e/more.txt", ""}},
                   {"d"},
                   {"d/e/more.txt", "d/transcript.txt"}},
        SearchCase{"OnlyThePackedTranscript",
                   {{"d/transcript.txt.zst", ""}, {"d/a.txt", ""}},
                   {"d"},
                   {"d/transcript.txt.zst"}},
        SearchCase{"OneOfTheTranscriptsForms",
                   {{"d/transcript.txt.gz", ""}, {"d/transcript.txt", ""}},
                   {"d"},
                   {"d/transcript.txt"}},
        SearchCase{"FolderNamedAsTranscript",
                   {{"d/transcript.txt/x.txt", ""}, {"d/y.txt", ""}},
                   {"d"},
                   {"d/transcript.txt/x.txt", "d/y.txt"}},
        SearchCase{
            "StandardErrors",
            {{"d/stderr.txt", ""}, {"d/stderr", banner}, {"d/stderr.1/a.txt", ""}, {"d/b.txt", ""}},
            {"d"},
            {"d/b.txt", "d/stderr.1/a.txt"}},
        SearchCase{"ParallelResults",
                   {{"d/1/bmc1/stdout", ""},
                    {"d/1/bmc1/stderr", banner},
                    {"d/1/bmc1/seq", "1\n"},
                    {"d/1/bmc2/stdout.gz", ""}},
                   {"d"},
                   {"d/1/bmc1/stdout", "d/1/bmc2/stdout.gz"}},
        SearchCase{"FilesNamedAsTheNode",
                   {{"d/bmc1", banner},
                    {"d/bmc2.example.com", "Warning!\r\nSPDM Client Start\r\n"},
                    {"d/readme.md", "See SPDM Client Start\n"},
                    {"d/run.json", "{}"}},
                   {"d"},
                   {"d/bmc1", "d/bmc2.example.com"}},
        SearchCase{"NodesWithoutATranscript",
                   {{"d/10.0.0.7", banner},
                    {"d/10.0.0.8", ""},
                    {"d/bmc3", "Permission denied\n"},
                    {"d/bmc4.lab", ""}},
                   {"d"},
                   {"d/10.0.0.7", "d/10.0.0.8", "d/bmc3"}},
        SearchCase{"BannerWithoutEnd",
                   {{"d/a", "SPDM Client Start"}, {"d/b.log", "SPDM Client Star"}},
                   {"d"},
                   {"d/a"}},
        SearchCase{"BannerWithinReach",
                   {{"d/a", std::string(65536 - banner.size(), '\n') + banner},
                    {"d/b.log", std::string(65536, '\n') + banner}},
                   {"d"},
                   {"d/a"}},
        SearchCase{"WhatCannotBeReadIsTaken",
                   {{"d/a", "\x1f\x8b\x08"}, {"d/b.log", "\x1f"}},
                   {"d"},
                   {"d/a"}},
        SearchCase{"LinksToFiles",
                   {{"x", banner},
                    {"f/y.txt", ""},
                    {"d/a.txt", ""},
                    {"d/b", "-> ../x"},
                    {"d/c.txt", "-> ../f"},
                    {"d/f", "-> ../f"},
                    {"d/loop", "-> ."},
                    {"d/gone", "-> nowhere"},
                    {"d/gone.txt", "-> nowhere"}},
                   {"d"},
                   {"d/a.txt", "d/b", "d/gone.txt"}}),
    [](const auto& info) { return info.param.name; });

TEST(Inputs, PassOverWhatIsNoFile)
{
    const WorkingFolder folder;
    folder.write("d/a.txt", "");
    ASSERT_EQ(mkfifo("d/b.txt", 0600), 0);
    ASSERT_EQ(mkfifo("d/c", 0600), 0);
    const auto inputs = find_inputs({"d"});
    ASSERT_EQ(inputs.size(), 1U);
    EXPECT_EQ(inputs[0].path, "d/a.txt");
}

/// The compressed file of a node.
TEST(Inputs, AreLookedAtDecompressed)
{
    const WorkingFolder folder;
    folder.write("d/a", banner);
    ASSERT_EQ(std::system("gzip d/a && mv d/a.gz d/b"), 0);
    const auto inputs = find_inputs({"d"});
    ASSERT_EQ(inputs.size(), 1U);
    EXPECT_EQ(inputs[0].path, "d/b");
}

/// What a folder that cannot be searched holds is not passed over in silence.
TEST(Inputs, AreFoldersThatCannotBeSearched)
{
    const WorkingFolder folder;
    folder.write("d/a.txt", "");
    folder.write("d/locked/b.txt", "");
    folder.write("locked/c.txt", "");
    ASSERT_EQ(chmod(".", 0755), 0);
    ASSERT_EQ(chmod("d/locked", 0), 0);
    ASSERT_EQ(chmod("locked", 0), 0);
    {
        const OrdinaryUser user;
        const auto inputs = find_inputs({"d"});
        EXPECT_EQ(complaint_of<InputError>([] { find_inputs({"locked"}); }),
                  "locked: Permission denied");
        ASSERT_EQ(inputs.size(), 2U);
        EXPECT_EQ(inputs[0].path, "d/a.txt");
        EXPECT_EQ(inputs[1].path, "d/locked");
    }
    chmod("d/locked", 0700);
    chmod("locked", 0700);
}

class InputMistake : public testing::TestWithParam<Mistake>
{
};

TEST_P(InputMistake, IsNamed)
{
    const WorkingFolder folder;
    write(folder, {{"file", ""}, {"gone", "-> nowhere"}});
    EXPECT_EQ(complaint_of<InputError>([] {
                  find_inputs({"file", GetParam().written});
              }),
              GetParam().complaint);
}

INSTANTIATE_TEST_SUITE_P(
    Arguments, InputMistake,
    testing::Values(Mistake{"Missing", "missing", "missing: No such file or directory"},
                    Mistake{"Empty", "", ": No such file or directory"},
                    Mistake{"FileAsFolder", "file/x", "file/x: Not a directory"},
                    Mistake{"LinkToNowhere", "gone", "gone: No such file or directory"}),
    name_of);

TEST(Inputs, AreNoneInFoldersWithoutATranscript)
{
    const WorkingFolder folder;
    write(folder, {{"empty/.hidden", ""}, {"noise/seq", "1\n"}});
    EXPECT_TRUE(find_inputs({"empty", "noise/"}).empty());
}

TEST(Inputs, AreReadWithoutADamagedRunFile)
{
    const WorkingFolder folder;
    write(folder, {{"a/transcript.txt", ""}, {"a/run.json", "{"}, {"b/transcript.txt", ""}});
    const auto inputs = find_inputs({"a", "b"});
    ASSERT_EQ(inputs.size(), 2U);
    EXPECT_EQ(inputs[0].problem, "a/run.json: no valid JSON at byte 2");
    EXPECT_EQ(inputs[0].controller, "a");
    EXPECT_FALSE(inputs[0].circumstances);
    EXPECT_EQ(inputs[1].problem, "");
}

struct NameCase
{
    std::string name;
    Texts files;
    Texts arguments;
    Texts controllers;
};

std::ostream& operator<<(std::ostream& out, const NameCase& named)
{
    return out << named.name;
}

class Controllers : public testing::TestWithParam<NameCase>
{
};

TEST_P(Controllers, AreNamedByWhatDiffers)
{
    const WorkingFolder folder;
    for (const auto& file : GetParam().files)
    {
        folder.write(file, "");
    }
    Texts controllers;
    for (const auto& input : find_inputs(GetParam().arguments))
    {
        controllers.push_back(input.controller == folder.name() ? "(working folder)"
                                                                : input.controller);
    }
    EXPECT_EQ(controllers, GetParam().controllers);
}

INSTANTIATE_TEST_SUITE_P(
    OnlyOne, Controllers,
    testing::Values(
        NameCase{"StandardInput", {}, {"-"}, {"-"}},
        NameCase{"Stem", {"d/bmc7.txt.gz"}, {"d/bmc7.txt.gz"}, {"bmc7"}},
        NameCase{"OtherEnding", {"bmc7.log"}, {"bmc7.log"}, {"bmc7.log"}},
        NameCase{"OnlyPacked", {"bmc7.zst"}, {"bmc7.zst"}, {"bmc7"}},
        NameCase{"OneOfEachEnding", {"a.txt.zst.gz"}, {"a.txt.zst.gz"}, {"a.txt.zst"}},
        NameCase{"NothingButEndings", {".txt"}, {".txt"}, {".txt"}},
        NameCase{"FolderOfTranscript", {"d/bmc7/transcript.txt.zst"}, {"d"}, {"bmc7"}},
        NameCase{"FolderOfStandardOutput", {"d/1/bmc7/stdout"}, {"d"}, {"bmc7"}},
        NameCase{"WorkingFolder", {"transcript.txt"}, {"./transcript.txt"}, {"(working folder)"}},
        NameCase{"FolderAbove",
                 {"d/x", "transcript.txt"},
                 {"d/../transcript.txt"},
                 {"(working folder)"}},
        NameCase{"WithStandardInput", {"bmc7.txt"}, {"-", "bmc7.txt"}, {"-", "bmc7"}}),
    [](const auto& info) { return info.param.name; });

INSTANTIATE_TEST_SUITE_P(
    Several, Controllers,
    testing::Values(
        NameCase{"Folders", {"r/a/transcript.txt", "r/b/transcript.txt"}, {"r"}, {"a", "b"}},
        NameCase{
            "PackedAndNot", {"r/a/transcript.txt.gz", "r/b/transcript.txt"}, {"r"}, {"a", "b"}},
        NameCase{"Files", {"r/a.txt", "r/b.txt.gz"}, {"r"}, {"a", "b"}},
        NameCase{"Parallel", {"r/1/a/2/x/stdout", "r/1/b/2/x/stdout"}, {"r"}, {"a", "b"}},
        NameCase{
            "ParallelByTwo", {"r/1/a/2/x/stdout", "r/1/b/2/y/stdout"}, {"r"}, {"a/2/x", "b/2/y"}},
        NameCase{"OtherDepth", {"r/a/transcript.txt", "r/b/c/transcript.txt"}, {"r"}, {"a", "b/c"}},
        NameCase{"BelowAnother",
                 {"r/transcript.txt", "r/b/transcript.txt"},
                 {"r"},
                 {"b/transcript", "transcript"}},
        NameCase{"BelowAnotherOfTheSameName",
                 {"r/a/transcript.txt", "r/a/a/transcript.txt"},
                 {"r"},
                 {"a/transcript", "transcript"}},
        NameCase{"SameStem",
                 {"r/a.txt", "r/a.txt.gz", "r/b.txt"},
                 {"r"},
                 {"a.txt", "a.txt.gz", "b.txt"}},
        NameCase{"SameStemOfAnother",
                 {"r/a.txt", "r/a.txt.gz", "r/a.txt.txt"},
                 {"r"},
                 {"a.txt", "a.txt.gz", "a.txt.txt"}},
        NameCase{
            "PointsAndSlashes", {"a/t.txt", "b/t.txt"}, {"./a//t.txt", ".//b/./t.txt"}, {"a", "b"}},
        NameCase{"FoldersEndingsStay",
                 {"r/a.txt/t.txt", "r/b.gz/t.txt"},
                 {"r/a.txt/t.txt", "r/b.gz/t.txt"},
                 {"a.txt", "b.gz"}},
        NameCase{"StandardInputBetween",
                 {"r/a.txt", "r/b.txt"},
                 {"r/a.txt", "-", "r/b.txt"},
                 {"a", "-", "b"}},
        NameCase{"FromTheRoot", {"dev/null"}, {"/dev/null", "dev/null"}, {"/dev", "dev"}}),
    [](const auto& info) { return info.param.name; });

/// By the path as it was given.
TEST(Controllers, AreNamedByALinkToTheFolder)
{
    const WorkingFolder folder;
    write(folder, {{"runs/5/transcript.txt", ""}, {"bmc7", "-> runs/5"}});
    EXPECT_EQ(find_inputs({"bmc7/transcript.txt"}).at(0).controller, "bmc7");
    EXPECT_EQ(find_inputs({"bmc7"}).at(0).controller, "bmc7");
}

TEST(Controllers, AreThoseOfRunFiles)
{
    const WorkingFolder folder;
    const auto run = [](const std::string& members) {
        return R"({"schema": "spdm-run/1")" + members + "}";
    };
    write(folder, {{"r/a/transcript.txt.gz", ""},
                   {"r/a/run.json", run(R"(, "controller": "lab-7", "end": "timeout")")},
                   {"r/b/transcript.txt", ""},
                   {"r/b/run.json", run("")},
                   {"r/c/transcript.txt", ""},
                   {"r/d/other.txt", ""},
                   {"r/d/run.json", run(R"(, "controller": "lab-8")")}});
    const auto inputs = find_inputs({"r", "-"});
    ASSERT_EQ(inputs.size(), 5U);
    EXPECT_EQ(inputs[0].controller, "lab-7");
    ASSERT_TRUE(inputs[0].circumstances);
    EXPECT_EQ(inputs[0].circumstances->end, "timeout");
    EXPECT_EQ(inputs[1].controller, "b/transcript");
    EXPECT_TRUE(inputs[1].circumstances);
    EXPECT_EQ(inputs[2].controller, "c/transcript");
    EXPECT_FALSE(inputs[2].circumstances);
    EXPECT_EQ(inputs[3].controller, "d/other");
    EXPECT_FALSE(inputs[3].circumstances);
    EXPECT_FALSE(inputs[4].circumstances);
}

/// The only one, in the working folder.
TEST(Controllers, AreThoseOfRunFilesInTheWorkingFolder)
{
    const WorkingFolder folder;
    folder.write("run.json", R"({"schema": "spdm-run/1", "controller": "lab-7"})");
    folder.write("transcript.txt", "");
    EXPECT_EQ(find_inputs({"transcript.txt"}).at(0).controller, "lab-7");
}

} // namespace
