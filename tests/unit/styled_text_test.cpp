#include "report/writers/styled_text.hpp"

#include <gtest/gtest.h>

namespace
{

using namespace report;

constexpr Terminal no_terminal{};
constexpr Terminal coloured{true, 0};

TEST(Styled, OnlyWhereThereAreColours)
{
    EXPECT_EQ(styled(Style::bad, "no", no_terminal), "no");
    EXPECT_EQ(styled(Style::bad, "no", coloured), "\x1B[1;31mno\x1B[0m");
    EXPECT_EQ(styled(Style::good, "yes", coloured), "\x1B[32myes\x1B[0m");
    EXPECT_EQ(styled(Style::plain, "text", coloured), "text");
    EXPECT_EQ(styled(Style::bad, "", coloured), "");
}

Paragraph paragraph(const std::string& text)
{
    Paragraph made;
    made.add(Style::plain, text);
    return made;
}

TEST(Paragraph, IsALineWhereThereIsNoWidth)
{
    const std::string text = "some words  and a gap " + std::string(500, 'x');
    EXPECT_EQ(paragraph(text).laid_out(no_terminal, 4), text + "\n");
}

TEST(Paragraph, WrapsBetweenWords)
{
    EXPECT_EQ(paragraph("one two three").laid_out({false, 7}, 2), "one two\n  three\n");
    EXPECT_EQ(paragraph("one two three").laid_out({false, 13}, 2), "one two three\n");
    EXPECT_EQ(paragraph("one two three").laid_out({false, 12}, 2), "one two\n  three\n");
}

TEST(Paragraph, WideCharactersTakeTwoColumns)
{
    EXPECT_EQ(paragraph("日本 日本").laid_out({false, 9}, 0), "日本 日本\n");
    EXPECT_EQ(paragraph("日本 日本").laid_out({false, 8}, 0), "日本\n日本\n");
}

TEST(Paragraph, CutsWordsThatAreTooLong)
{
    EXPECT_EQ(paragraph("a 123456789").laid_out({false, 6}, 2), "a 1234\n  5678\n  9\n");
}

TEST(Paragraph, KeepsTextWhereThereIsNoRoomAtAll)
{
    EXPECT_EQ(paragraph("one two").laid_out({false, 3}, 5), "one two\n");
    EXPECT_EQ(paragraph("日").laid_out({false, 1}, 0), "日\n");
}

TEST(Paragraph, StylesEachWord)
{
    Paragraph made;
    made.add(Style::strong, "a b");
    made.add(Style::plain, " c");
    EXPECT_EQ(made.laid_out(coloured, 0), "\x1B[1ma\x1B[0m \x1B[1mb\x1B[0m c\n");
}

const std::vector<Column> columns{{"Name", false, true}, {"N", true}, {"Last"}};

TEST(Table, ColumnsAreAsWideAsTheirWidestCell)
{
    EXPECT_EQ(table(columns, {{{"日本語"}, {"7"}, {"x"}}, {{"e\xCC\x81"}, {"12"}, {"longer"}}},
                    no_terminal),
              "  Name     N  Last\n"
              "  日本語   7  x\n"
              "  e\xCC\x81       12  longer\n");
}

TEST(Table, CutsTheWidestThatMayShrink)
{
    const std::vector<Column> shrinking{{"A", false, true}, {"B", false, true}, {"C"}};
    const Row row{{"123456789"}, {"1234567890"}, {"123"}};
    EXPECT_EQ(table(shrinking, {row}, {false, 28}), "  A          B           C\n"
                                                    "  123456789  1234567890  123\n");
    EXPECT_EQ(table(shrinking, {row}, {false, 25}), "  A         B         C\n"
                                                    "  1234567…  1234567…  123\n");
    // Neither below what tells one from the other, nor below the head.
    EXPECT_EQ(table({{"A", false, true}, {"Long head", false, true}},
                    {{{"123456789"}, {"1234567890"}}}, {false, 5}),
              "  A       Long head\n"
              "  12345…  12345678…\n");
    EXPECT_EQ(table(shrinking, {row}, {false, 5}), "  A       B       C\n"
                                                   "  12345…  12345…  123\n");
}

TEST(Table, LeavesOutEmptyColumns)
{
    EXPECT_EQ(table(columns, {{{""}, {"7"}, {"x"}}, {{""}, {"8"}, {"y"}}}, no_terminal),
              "  N  Last\n"
              "  7  x\n"
              "  8  y\n");
    EXPECT_EQ(table({{"A"}, {"B"}}, {{{"1"}, {""}}, {{""}, {"2"}}}, no_terminal), "  A  B\n"
                                                                                  "  1\n"
                                                                                  "     2\n");
}

} // namespace
