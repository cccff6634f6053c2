#include "report/writers/display_text.hpp"

#include <gtest/gtest.h>

#include <array>
#include <cstdlib>
#include <ostream>
#include <pty.h>
#include <string>
#include <tuple>
#include <unistd.h>

namespace
{

using namespace report;
using namespace std::string_literals;

struct PrintableCase
{
    std::string name;
    std::string text;
    std::string shown;

    friend std::ostream& operator<<(std::ostream& out, const PrintableCase& row)
    {
        return out << row.name;
    }
};

class Printable : public testing::TestWithParam<PrintableCase>
{
};

TEST_P(Printable, Shows)
{
    EXPECT_EQ(printable(GetParam().text), GetParam().shown);
}

INSTANTIATE_TEST_SUITE_P(
    Texts, Printable,
    testing::Values(PrintableCase{"Empty", "", ""}, PrintableCase{"Ascii", " CPU-0 ~", " CPU-0 ~"},
                    PrintableCase{"Umlauts", "ÄÖ é", "ÄÖ é"}, PrintableCase{"Wide", "日本", "日本"},
                    PrintableCase{"BeyondTheBasicPlane", "🎉", "🎉"},
                    PrintableCase{"Combining", "e\xCC\x81", "e\xCC\x81"},
                    PrintableCase{"Escape", "a\x1B[2Jb", "a\\x1B[2Jb"},
                    PrintableCase{"LineEnds", "a\r\nb\tc", "a\\x0D\\x0Ab\\x09c"},
                    PrintableCase{"Zero", "a\0b"s, "a\\x00b"},
                    PrintableCase{"Delete", "\x7F", "\\x7F"},
                    PrintableCase{"SecondControlSet", "\xC2\x9B", "\\u009B"},
                    PrintableCase{"FirstAfterThem", "\xC2\xA0", "\xC2\xA0"},
                    PrintableCase{"BidirectionalOverride",
                                  "a\xE2\x80\xAE"
                                  "b",
                                  "a\\u202Eb"},
                    PrintableCase{"BidirectionalIsolate", "\xE2\x81\xA6", "\\u2066"},
                    PrintableCase{"ArabicLetterMark", "\xD8\x9C", "\\u061C"},
                    PrintableCase{"ZeroWidthSpace", "\xE2\x80\x8B", "\\u200B"},
                    PrintableCase{"LineSeparator", "\xE2\x80\xA8", "\\u2028"},
                    PrintableCase{"ByteOrderMark", "\xEF\xBB\xBF", "\\uFEFF"},
                    PrintableCase{"Tag", "\xF3\xA0\x81\x81", "\\U000E0041"},
                    PrintableCase{"NotUtf8",
                                  "a\xFF"
                                  "b\x80",
                                  "a\\xFFb\\x80"},
                    PrintableCase{"CutShort", "a\xE6\x97", "a\\xE6\\x97"},
                    PrintableCase{"Overlong", "\xC0\xAF", "\\xC0\\xAF"},
                    PrintableCase{"Surrogate", "\xED\xA0\x80", "\\xED\\xA0\\x80"}),
    [](const auto& info) { return info.param.name; });

TEST(PrintableTexts, LongOnesEndEarly)
{
    EXPECT_EQ(printable("12345", 5), "12345");
    EXPECT_EQ(printable("123456", 5), "12345…");
    EXPECT_EQ(printable(std::string(5000, 'x')), std::string(1000, 'x') + "…");
}

TEST(Columns, CountWhatIsSeen)
{
    EXPECT_EQ(columns_of(""), 0U);
    EXPECT_EQ(columns_of("CPU"), 3U);
    EXPECT_EQ(columns_of("Äé"), 2U);
    EXPECT_EQ(columns_of("日本"), 4U);
    EXPECT_EQ(columns_of("e\xCC\x81x"), 2U);
    EXPECT_EQ(columns_of("✓"), 1U);
}

TEST(Columns, CutAtACharacter)
{
    EXPECT_EQ(cut_to("CPU-0", 5), "CPU-0");
    EXPECT_EQ(cut_to("CPU-0", 4), "CPU…");
    EXPECT_EQ(cut_to("CPU-0", 1), "…");
    EXPECT_EQ(cut_to("CPU-0", 0), "");
    EXPECT_EQ(cut_to("日本語", 6), "日本語");
    EXPECT_EQ(cut_to("日本語", 5), "日本…");
    EXPECT_EQ(cut_to("日本語", 4), "日…");
    EXPECT_EQ(beginning_of("日本語", 3), "日");
}

class TerminalTest : public testing::Test
{
  protected:
    TerminalTest()
    {
        for (const char* name : {"NO_COLOR", "COLUMNS"})
        {
            unsetenv(name);
        }
        setenv("TERM", "xterm", 1);
    }

    ~TerminalTest() override
    {
        close(controller);
        close(terminal);
    }

    void open(unsigned short columns)
    {
        const winsize size{24, columns, 0, 0};
        ASSERT_EQ(openpty(&controller, &terminal, nullptr, nullptr, &size), 0);
    }

    int controller = -1;
    int terminal = -1;
};

TEST_F(TerminalTest, HasColourAndWidth)
{
    open(123);
    EXPECT_TRUE(terminal_of(terminal).colour);
    EXPECT_EQ(terminal_of(terminal).width, 123U);
}

TEST_F(TerminalTest, OfUnknownWidthTakesTheEnvironments)
{
    open(0);
    EXPECT_EQ(terminal_of(terminal).width, 80U);
    setenv("COLUMNS", "99", 1);
    EXPECT_EQ(terminal_of(terminal).width, 99U);
    for (const char* wrong : {"", "0", "99x", "-1"})
    {
        setenv("COLUMNS", wrong, 1);
        EXPECT_EQ(terminal_of(terminal).width, 80U) << wrong;
    }
}

TEST_F(TerminalTest, HasNoColourWhereItIsUnwanted)
{
    open(80);
    setenv("NO_COLOR", "1", 1);
    EXPECT_FALSE(terminal_of(terminal).colour);
    setenv("NO_COLOR", "", 1);
    EXPECT_TRUE(terminal_of(terminal).colour);
    setenv("TERM", "dumb", 1);
    EXPECT_FALSE(terminal_of(terminal).colour);
}

TEST_F(TerminalTest, IsNoPipe)
{
    std::array<int, 2> ends{};
    ASSERT_EQ(pipe(ends.data()), 0);
    std::tie(controller, terminal) = std::tie(ends[0], ends[1]);
    EXPECT_FALSE(terminal_of(terminal).colour);
    EXPECT_EQ(terminal_of(terminal).width, 0U);
}

} // namespace
