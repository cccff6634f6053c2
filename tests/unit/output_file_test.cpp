#include "report/writers/output_file.hpp"
#include "temporary_folder.hpp"

#include <gtest/gtest.h>

#include <array>
#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <string>
#include <sys/resource.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace
{

using report::OutputError;
using report::OutputFile;
namespace fs = std::filesystem;

class OutputFileTest : public testing::Test
{
  protected:
    std::string path(const std::string& name) const
    {
        return folder.path() + "/" + name;
    }

    TemporaryFolder folder;
};

using Names = std::vector<std::string>;

/// What the complaint says; empty if there is none.
template <typename Action>
std::string complaint(Action&& action)
{
    try
    {
        action();
    }
    catch (const OutputError& error)
    {
        return error.what();
    }
    return "";
}

TEST_F(OutputFileTest, IsThereOnlyWhenFinished)
{
    OutputFile file{path("out.json")};
    file.append("one ");
    file.append("two");
    EXPECT_EQ(folder.names().size(), 1u);
    EXPECT_FALSE(fs::exists(path("out.json")));
    file.finish();
    EXPECT_EQ(folder.names(), Names{"out.json"});
    EXPECT_EQ(folder.read("out.json"), "one two");
}

TEST_F(OutputFileTest, UnfinishedLeavesWhatWasThere)
{
    folder.write("out.json", "before");
    {
        OutputFile file{path("out.json")};
        file.append(std::string(100000, 'x'));
    }
    EXPECT_EQ(folder.names(), Names{"out.json"});
    EXPECT_EQ(folder.read("out.json"), "before");
}

TEST_F(OutputFileTest, ReplacesAFileAndKeepsItsRights)
{
    folder.write("out.json", "a longer text before");
    fs::permissions(path("out.json"), fs::perms{0640});
    OutputFile file{path("out.json")};
    file.append("after");
    file.finish();
    EXPECT_EQ(folder.read("out.json"), "after");
    EXPECT_EQ(fs::status(path("out.json")).permissions(), fs::perms{0640});
}

TEST_F(OutputFileTest, OfANewFileHasTheUsualRights)
{
    const auto mask = ::umask(027);
    OutputFile file{path("out.json")};
    ::umask(mask);
    file.finish();
    EXPECT_EQ(fs::status(path("out.json")).permissions(), fs::perms{0640});
}

TEST_F(OutputFileTest, ReplacesWhatALinkNames)
{
    fs::create_directory(path("elsewhere"));
    folder.write("elsewhere/out.json", "before");
    fs::create_symlink("elsewhere/out.json", path("link"));
    OutputFile file{path("link")};
    file.append("after");
    file.finish();
    EXPECT_EQ(folder.read("elsewhere/out.json"), "after");
    EXPECT_TRUE(fs::is_symlink(path("link")));
    EXPECT_EQ(folder.names(), (Names{"elsewhere", "link"}));
}

TEST_F(OutputFileTest, InTheCurrentFolder)
{
    const auto before = fs::current_path();
    fs::current_path(folder.path());
    OutputFile file{"out.json"};
    file.append("text");
    file.finish();
    fs::current_path(before);
    EXPECT_EQ(folder.read("out.json"), "text");
}

TEST_F(OutputFileTest, TwoAtOnceInOneFolder)
{
    OutputFile one{path("one")};
    OutputFile two{path("two")};
    one.append("1");
    two.append("2");
    one.finish();
    two.finish();
    EXPECT_EQ(folder.read("one"), "1");
    EXPECT_EQ(folder.read("two"), "2");
}

TEST_F(OutputFileTest, TakesTextsOfAnySize)
{
    std::string expected;
    OutputFile file{path("out.json")};
    for (const std::size_t size : {1u, 65534u, 1u, 1u, 65535u, 65536u, 3u, 65537u, 200000u, 7u})
    {
        const std::string text(size, static_cast<char>('a' + expected.size() % 26));
        file.append(text);
        expected += text;
    }
    file.finish();
    EXPECT_EQ(folder.read("out.json"), expected);
}

TEST_F(OutputFileTest, APipeIsWrittenDirectly)
{
    ASSERT_EQ(::mkfifo(path("pipe").c_str(), 0600), 0);
    std::string read;
    std::thread reader{[&] { read = folder.read("pipe"); }};
    OutputFile file{path("pipe")};
    file.append("text");
    file.finish();
    reader.join();
    EXPECT_EQ(read, "text");
    EXPECT_EQ(folder.names(), Names{"pipe"});
}

TEST_F(OutputFileTest, AMissingFolderIsAComplaint)
{
    EXPECT_EQ(complaint([&] { OutputFile{path("missing/out.json")}; }),
              "cannot write " + path("missing/out.json") + ": No such file or directory");
}

TEST_F(OutputFileTest, AFolderIsAComplaint)
{
    EXPECT_EQ(complaint([&] { OutputFile{folder.path()}; }),
              "cannot write " + folder.path() + ": Is a directory");
}

TEST_F(OutputFileTest, AFileThatMayNotBeWrittenIsAComplaint)
{
    folder.write("out.json", "before");
    fs::permissions(path("out.json"), fs::perms{0444});
    fs::permissions(folder.path(), fs::perms{0777});
    const auto user = ::geteuid();
    const bool is_root = user == 0; // who may write everything
    ASSERT_EQ(::seteuid(is_root ? 65534 : user), 0);
    const auto said = complaint([&] { OutputFile{path("out.json")}; });
    ASSERT_EQ(::seteuid(user), 0);
    EXPECT_EQ(said, "cannot write " + path("out.json") + ": Permission denied");
}

TEST_F(OutputFileTest, AFolderMadeMeanwhileIsAComplaint)
{
    OutputFile file{path("out.json")};
    fs::create_directory(path("out.json"));
    EXPECT_EQ(complaint([&] { file.finish(); }),
              "cannot write " + path("out.json") + ": Is a directory");
}

/// Standard output is `descriptor` as long as this lives.
class StandardOutput
{
  public:
    explicit StandardOutput(int descriptor) : before(::dup(STDOUT_FILENO))
    {
        ::dup2(descriptor, STDOUT_FILENO);
        ::close(descriptor);
    }
    ~StandardOutput()
    {
        ::dup2(before, STDOUT_FILENO);
        ::close(before);
    }
    StandardOutput(const StandardOutput&) = delete;
    StandardOutput& operator=(const StandardOutput&) = delete;

  private:
    int before;
};

/// Not by its name: a mistake under test could replace the device.
TEST_F(OutputFileTest, AFullDiskIsAComplaint)
{
    std::string at_the_end;
    std::string at_once;
    {
        const StandardOutput output{::open("/dev/full", O_WRONLY)};
        OutputFile file{"-"};
        file.append("text");
        at_the_end = complaint([&] { file.finish(); });
        at_once = complaint([&] { file.append(std::string(65536, 'x')); });
    }
    EXPECT_EQ(at_the_end, "cannot write standard output: No space left on device");
    EXPECT_EQ(at_once, "cannot write standard output: No space left on device");
}

TEST_F(OutputFileTest, AFileThatCannotGrowIsAComplaintAndLeavesWhatWasThere)
{
    folder.write("out.json", "before");
    const auto handler = std::signal(SIGXFSZ, SIG_IGN);
    rlimit before{};
    ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &before), 0);
    auto small = before;
    small.rlim_cur = 1000;
    std::string said;
    {
        OutputFile file{path("out.json")};
        file.append(std::string(2000, 'x'));
        ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &small), 0);
        said = complaint([&] { file.finish(); });
        ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &before), 0);
    }
    std::signal(SIGXFSZ, handler);
    EXPECT_EQ(said, "cannot write " + path("out.json") + ": File too large");
    EXPECT_EQ(folder.names(), Names{"out.json"});
    EXPECT_EQ(folder.read("out.json"), "before");
}

TEST_F(OutputFileTest, ADashIsStandardOutputAndStaysOpen)
{
    {
        const StandardOutput output{::open(path("out").c_str(), O_WRONLY | O_CREAT, 0600)};
        OutputFile file{"-"};
        file.append("text");
        file.finish();
        EXPECT_EQ(::write(STDOUT_FILENO, "!", 1), 1);
    }
    EXPECT_EQ(folder.read("out"), "text!");
    EXPECT_EQ(folder.names(), Names{"out"});
}

TEST_F(OutputFileTest, APipeWithoutAReaderIsAComplaint)
{
    const auto before = std::signal(SIGPIPE, SIG_IGN);
    std::array<int, 2> pipe{};
    ASSERT_EQ(::pipe(pipe.data()), 0);
    ::close(pipe[0]);
    std::string said;
    {
        const StandardOutput output{pipe[1]};
        OutputFile file{"-"};
        file.append("text");
        said = complaint([&] { file.finish(); });
    }
    std::signal(SIGPIPE, before);
    EXPECT_EQ(said, "cannot write standard output: Broken pipe");
}

TEST_F(OutputFileTest, WaitsForAPipeThatDoesNotBlock)
{
    const std::string text(1 << 20, 'x');
    std::array<int, 2> pipe{};
    ASSERT_EQ(::pipe2(pipe.data(), O_NONBLOCK), 0);
    ::fcntl(pipe[0], F_SETFL, 0);
    std::string read;
    std::thread reader{[&] {
        std::array<char, 4096> some{};
        for (ssize_t size = 0; (size = ::read(pipe[0], some.data(), some.size())) > 0;)
        {
            read.append(some.data(), static_cast<std::size_t>(size));
        }
    }};
    {
        const StandardOutput output{pipe[1]};
        OutputFile file{"-"};
        file.append(text);
        file.finish();
    }
    reader.join();
    ::close(pipe[0]);
    EXPECT_EQ(read.size(), text.size());
}

} // namespace
