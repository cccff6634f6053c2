#include "ordinary_user.hpp"
#include "report/reader/inputs.hpp"
#include "report/reader/source.hpp"
#include "temporary_folder.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <ostream>
#include <random>
#include <string>
#include <sys/stat.h>
#include <sys/time.h>
#include <thread>
#include <unistd.h>
#include <vector>
#include <zlib.h>
#include <zstd.h>

namespace
{

using report::InputError;
using report::open_source;

std::string gzip(const std::string& text)
{
    z_stream stream{};
    deflateInit2(&stream, 1, Z_DEFLATED, MAX_WBITS + 16, 8, Z_DEFAULT_STRATEGY);
    std::string packed(deflateBound(&stream, text.size()), '\0');
    auto copy = text;
    stream.next_in = reinterpret_cast<Bytef*>(copy.data());
    stream.avail_in = static_cast<uInt>(copy.size());
    stream.next_out = reinterpret_cast<Bytef*>(packed.data());
    stream.avail_out = static_cast<uInt>(packed.size());
    deflate(&stream, Z_FINISH);
    packed.resize(packed.size() - stream.avail_out);
    deflateEnd(&stream);
    return packed;
}

/// With a checksum and without the size of the content, as `zstd` writes from a pipe.
std::string zstd(const std::string& text)
{
    auto* context = ZSTD_createCCtx();
    ZSTD_CCtx_setParameter(context, ZSTD_c_checksumFlag, 1);
    ZSTD_CCtx_setParameter(context, ZSTD_c_contentSizeFlag, 0);
    std::string packed(ZSTD_compressBound(text.size()), '\0');
    packed.resize(ZSTD_compress2(context, packed.data(), packed.size(), text.data(), text.size()));
    ZSTD_freeCCtx(context);
    return packed;
}

/// A frame that holds no content.
std::string skippable_frame(const std::string& content)
{
    return std::string("\x5f\x2a\x4d\x18", 4) + static_cast<char>(content.size()) +
           std::string(3, '\0') + content;
}

/// A text of so many lines that does not compress well.
std::string made_up_text(std::size_t size)
{
    std::mt19937 random(4);
    std::string text;
    while (text.size() < size)
    {
        text += "Measurement " + std::to_string(random()) + "\n";
    }
    return text;
}

struct Delivered
{
    std::string bytes;
    std::string error;

    bool operator==(const Delivered&) const = default;
};

std::ostream& operator<<(std::ostream& out, const Delivered& delivered)
{
    return out << delivered.bytes.size() << " bytes: " << delivered.bytes.substr(0, 80)
               << ", error: \"" << delivered.error << "\"";
}

Delivered deliver(const std::string& path, std::size_t buffer_size = 262144)
{
    Delivered delivered;
    try
    {
        const auto source = open_source(path);
        std::string buffer(buffer_size, '\0');
        while (const auto size = source->read(buffer))
        {
            delivered.bytes.append(buffer, 0, size);
        }
    }
    catch (const InputError& error)
    {
        delivered.error = error.what();
    }
    return delivered;
}

/// The complaint, with the folder's path left out.
std::string complaint_without(const TemporaryFolder& folder, std::string error)
{
    const auto prefix = folder.path() + "/";
    EXPECT_TRUE(error.starts_with(prefix)) << error;
    return error.substr(std::min(error.size(), prefix.size()));
}

const std::string text = "SPDM Client Start\nDiscovering...\n";

struct FormatCase
{
    std::string name;
    std::string written;
    std::string bytes;
    std::string error;
};

std::ostream& operator<<(std::ostream& out, const FormatCase& format)
{
    return out << format.name;
}

class Source : public testing::TestWithParam<FormatCase>
{
};

/// Also where each read takes little: the state between reads is kept.
TEST_P(Source, Delivers)
{
    const TemporaryFolder folder;
    const auto path = folder.write("transcript.txt", GetParam().written);
    for (const std::size_t buffer_size : {262144U, 1000U, 1U})
    {
        auto delivered = deliver(path, buffer_size);
        if (!delivered.error.empty())
        {
            delivered.error = complaint_without(folder, delivered.error);
        }
        EXPECT_EQ(delivered, (Delivered{GetParam().bytes, GetParam().error}))
            << "with reads of " << buffer_size;
    }
}

std::string cut(std::string packed, std::size_t bytes)
{
    packed.resize(packed.size() - bytes);
    return packed;
}

std::string with_damage(std::string packed, std::size_t bytes_before_end)
{
    packed[packed.size() - bytes_before_end] ^= 1;
    return packed;
}

const std::string much = made_up_text(700000);

INSTANTIATE_TEST_SUITE_P(
    Plain, Source,
    testing::Values(FormatCase{"Text", text, text, ""}, FormatCase{"Nothing", "", "", ""},
                    FormatCase{"OneByte", "x", "x", ""},
                    FormatCase{"AlmostGzip", "\x1f", "\x1f", ""},
                    FormatCase{"AlmostZstd", "\x28\xb5\x2f", "\x28\xb5\x2f", ""},
                    FormatCase{"AlmostSkippable", "\x4f\x2a\x4d\x18", "\x4f\x2a\x4d\x18", ""},
                    FormatCase{"Much", much, much, ""}),
    [](const auto& info) { return info.param.name; });

INSTANTIATE_TEST_SUITE_P(
    Gzip, Source,
    testing::Values(FormatCase{"Text", gzip(text), text, ""}, FormatCase{"Empty", gzip(""), "", ""},
                    FormatCase{"Much", gzip(much), much, ""},
                    FormatCase{"Members", gzip(text) + gzip("") + gzip(much) + gzip("x"),
                               text + much + "x", ""},
                    FormatCase{"OnlyTheMark", "\x1f\x8b", "",
                               "transcript.txt: the gzip data is cut short"},
                    FormatCase{"CutInChecksum", cut(gzip(text), 1), text,
                               "transcript.txt: the gzip data is cut short"},
                    FormatCase{"CutInNextMember", gzip(text) + "\x1f", text,
                               "transcript.txt: the gzip data is cut short"},
                    FormatCase{"WrongChecksum", with_damage(gzip(much), 8), much,
                               "transcript.txt: damaged gzip data: incorrect data check"},
                    FormatCase{"WrongLength", with_damage(gzip(text), 4), text,
                               "transcript.txt: damaged gzip data: incorrect length check"},
                    FormatCase{"OtherMethod", "\x1f\x8b\x07" + gzip(text).substr(3), "",
                               "transcript.txt: damaged gzip data: unknown compression method"},
                    FormatCase{"TextAfterIt", gzip(text) + text, text,
                               "transcript.txt: damaged gzip data: incorrect header check"}),
    [](const auto& info) { return info.param.name; });

INSTANTIATE_TEST_SUITE_P(
    Zstd, Source,
    testing::Values(
        FormatCase{"Text", zstd(text), text, ""}, FormatCase{"Empty", zstd(""), "", ""},
        FormatCase{"Much", zstd(much), much, ""},
        FormatCase{"Frames", zstd(text) + zstd("") + zstd(much) + zstd("x"), text + much + "x", ""},
        FormatCase{"SkippableFrames", skippable_frame("size") + zstd(text) + skippable_frame(""),
                   text, ""},
        FormatCase{"OnlyTheMark", "\x28\xb5\x2f\xfd", "",
                   "transcript.txt: the zstd data is cut short"},
        FormatCase{"CutInChecksum", cut(zstd(text), 1), text,
                   "transcript.txt: the zstd data is cut short"},
        FormatCase{"CutInNextFrame", zstd(text) + "\x28", text,
                   "transcript.txt: the zstd data is cut short"},
        FormatCase{"WrongChecksum", with_damage(zstd(much), 1), much,
                   "transcript.txt: damaged zstd data: Restored data doesn't match checksum"},
        FormatCase{"TextAfterIt", zstd(text) + text, text,
                   "transcript.txt: damaged zstd data: Unknown frame descriptor"}),
    [](const auto& info) { return info.param.name; });

class Packed : public testing::TestWithParam<std::string (*)(const std::string&)>
{
};

INSTANTIATE_TEST_SUITE_P(Formats, Packed, testing::Values(gzip, zstd),
                         [](const auto& info) { return info.index == 0 ? "Gzip" : "Zstd"; });

TEST_P(Packed, CutAnywhereDeliversTheBeginning)
{
    const TemporaryFolder folder;
    const auto packed = GetParam()(much);
    std::size_t before = 0;
    for (std::size_t size = 5; size < packed.size(); size += packed.size() / 16)
    {
        const auto delivered = deliver(folder.write("cut", packed.substr(0, size)));
        EXPECT_TRUE(delivered.error.ends_with("data is cut short")) << delivered;
        EXPECT_TRUE(much.starts_with(delivered.bytes)) << delivered;
        EXPECT_GE(delivered.bytes.size(), before);
        before = delivered.bytes.size();
    }
    EXPECT_GT(before, much.size() / 2);
}

/// What few compressed bytes expand to is handed out in as many reads as it takes.
TEST_P(Packed, CutAnywhereDeliversTheSameBySmallReads)
{
    const TemporaryFolder folder;
    const auto packed =
        GetParam()(std::string(700, 'a') + "b" + std::string(3000, 'c') + much.substr(0, 50));
    for (std::size_t size = 5; size < packed.size(); ++size)
    {
        const auto path = folder.write("cut", packed.substr(0, size));
        EXPECT_EQ(deliver(path, 10), deliver(path)) << size << " bytes";
    }
}

/// Nothing before the damage is lost but the block that has it.
TEST_P(Packed, DamagedAtItsEndDeliversWhatIsBefore)
{
    const TemporaryFolder folder;
    auto packed = GetParam()(much);
    std::fill(packed.end() - 2000, packed.end(), '\xff');
    const auto delivered = deliver(folder.write("damaged", packed));
    EXPECT_NE(delivered.error, "");
    EXPECT_GE(delivered.bytes.size(), much.size() - 2 * 131072);
    EXPECT_TRUE(much.starts_with(delivered.bytes.substr(0, much.size() - 2 * 131072)));
}

TEST_P(Packed, DamagedAnywhereEnds)
{
    const TemporaryFolder folder;
    std::mt19937 random(5);
    const auto packed = GetParam()(made_up_text(3000));
    for (int round = 0; round < 200; ++round)
    {
        auto damaged = packed;
        for (auto count = 1 + random() % 4; count > 0; --count)
        {
            damaged[4 + random() % (damaged.size() - 4)] = static_cast<char>(random());
        }
        deliver(folder.write("damaged", damaged));
    }
}

TEST_P(Packed, RaisesItsErrorAgain)
{
    const TemporaryFolder folder;
    const auto source = open_source(folder.write("cut", cut(GetParam()(text), 1)));
    std::string buffer(1000, '\0');
    EXPECT_EQ(source->read(buffer), text.size());
    EXPECT_THROW(source->read(buffer), InputError);
    EXPECT_THROW(source->read(buffer), InputError);
}

/// Larger than this many bytes' history is refused before memory is taken for it.
TEST(Zstd, AskingForTooMuchMemoryIsRefused)
{
    const TemporaryFolder folder;
    // A frame header: no sizes, a window of 2^31 bytes.
    const auto path = folder.write("x", std::string("\x28\xb5\x2f\xfd\x00\xa8\x01\x00\x00", 9));
    EXPECT_EQ(complaint_without(folder, deliver(path).error),
              "x: damaged zstd data: Frame requires too much memory for decoding");
}

TEST(Source, NamesWhatCannotBeRead)
{
    const TemporaryFolder folder;
    EXPECT_EQ(complaint_without(folder, deliver(folder.path() + "/missing").error),
              "missing: No such file or directory");
    folder.write("sub/file", "");
    EXPECT_EQ(complaint_without(folder, deliver(folder.path() + "/sub").error),
              "sub: Is a directory");
    EXPECT_EQ(complaint_without(folder, deliver(folder.path() + "/sub/file/x").error),
              "sub/file/x: Not a directory");
}

TEST(Source, NamesWhatMayNotBeRead)
{
    const TemporaryFolder folder;
    const auto path = folder.write("locked", "text");
    chmod(path.c_str(), 0);
    const OrdinaryUser user;
    EXPECT_EQ(complaint_without(folder, deliver(path).error), "locked: Permission denied");
}

/// The test's standard input is a pipe while this lives.
class StandardInput
{
  public:
    StandardInput() : original(dup(STDIN_FILENO))
    {
        int ends[2];
        EXPECT_EQ(pipe(ends), 0);
        dup2(ends[0], STDIN_FILENO);
        close(ends[0]);
        writer = ends[1];
    }
    ~StandardInput()
    {
        if (original < 0)
        {
            close(STDIN_FILENO);
        }
        dup2(original, STDIN_FILENO);
        close(original);
    }
    StandardInput(const StandardInput&) = delete;
    StandardInput& operator=(const StandardInput&) = delete;

    int writer;

  private:
    int original;
};

TEST(StandardInput, IsRecognisedHoweverItArrives)
{
    for (const auto& written : {text, gzip(text), zstd(text)})
    {
        const StandardInput input;
        std::thread writer([&] {
            for (const auto byte : written)
            {
                EXPECT_EQ(write(input.writer, &byte, 1), 1);
                std::this_thread::yield();
            }
            close(input.writer);
        });
        EXPECT_EQ(deliver("-"), (Delivered{text, ""}));
        writer.join();
    }
}

TEST(StandardInput, StaysOpenAndIsNamedInErrors)
{
    const StandardInput input;
    const auto packed = cut(gzip(text), 3);
    EXPECT_EQ(write(input.writer, packed.data(), packed.size()),
              static_cast<ssize_t>(packed.size()));
    close(input.writer);
    EXPECT_EQ(deliver("-"), (Delivered{text, "standard input: the gzip data is cut short"}));
    EXPECT_EQ(deliver("-"), (Delivered{"", ""}));
}

int signal_writer;

/// A signal comes while the read waits; only its handler writes what is read.
TEST(StandardInput, IsReadOnAfterASignal)
{
    const StandardInput input;
    signal_writer = input.writer;
    struct sigaction action
    {
    };
    action.sa_handler = [](int) {
        const auto written = write(signal_writer, "late\n", 5);
        static_cast<void>(written);
        close(signal_writer);
    };
    struct sigaction before
    {
    };
    sigaction(SIGALRM, &action, &before);
    const itimerval soon{{0, 0}, {0, 20000}};
    setitimer(ITIMER_REAL, &soon, nullptr);
    EXPECT_EQ(deliver("-"), (Delivered{"late\n", ""}));
    sigaction(SIGALRM, &before, nullptr);
}

} // namespace
