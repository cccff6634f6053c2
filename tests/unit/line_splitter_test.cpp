#include "report/reader/line_splitter.hpp"

#include <gtest/gtest.h>

#include <malloc.h>
#include <ostream>
#include <random>
#include <string>
#include <utility>
#include <vector>

namespace
{

using report::LineSplitter;

/// Each line and the bytes that it took.
using Lines = std::vector<std::pair<std::string, std::uint64_t>>;

Lines lines_of(const std::vector<std::string>& chunks)
{
    Lines lines;
    const auto take = [&](std::string_view line, std::uint64_t bytes) {
        lines.emplace_back(line, bytes);
    };
    LineSplitter splitter;
    for (const auto& chunk : chunks)
    {
        splitter.feed(chunk, take);
    }
    splitter.finish(take);
    return lines;
}

struct SplitCase
{
    std::string name;
    std::vector<std::string> chunks;
    Lines lines;
};

std::ostream& operator<<(std::ostream& out, const SplitCase& split)
{
    return out << split.name;
}

class Split : public testing::TestWithParam<SplitCase>
{
};

TEST_P(Split, IntoLines)
{
    EXPECT_EQ(lines_of(GetParam().chunks), GetParam().lines);
}

const std::string longest(LineSplitter::longest, 'x');
const std::string half(LineSplitter::kept_end, 'x');

INSTANTIATE_TEST_SUITE_P(
    Texts, Split,
    testing::Values(
        SplitCase{"Nothing", {}, {}}, SplitCase{"EmptyChunks", {"", ""}, {}},
        SplitCase{"Whole", {"one\ntwo\n"}, {{"one", 4}, {"two", 4}}},
        SplitCase{"EmptyLines", {"\n\na\n\n"}, {{"", 1}, {"", 1}, {"a", 2}, {"", 1}}},
        SplitCase{"LastWithoutEnd", {"one\ntwo"}, {{"one", 4}, {"two", 3}}},
        SplitCase{"AcrossChunks", {"o", "n", "e\ntw", "o\nx"}, {{"one", 4}, {"two", 4}, {"x", 1}}},
        SplitCase{"EndInNextChunk", {"one", "\n", "\n"}, {{"one", 4}, {"", 1}}},
        SplitCase{"NulBytes",
                  {std::string("a\0b\n\0", 5)},
                  {{std::string("a\0b", 3), 4}, {std::string(1, '\0'), 1}}},
        SplitCase{"CarriageReturns",
                  {"a\r\nb\r\r\n\r\nc\rd\n"},
                  {{"a", 3}, {"b", 4}, {"", 2}, {"c\rd", 4}}},
        SplitCase{"CarriageReturnBeforeCut", {"a\r", "\nb\r", "\r\n"}, {{"a", 3}, {"b", 4}}},
        SplitCase{"CarriageReturnAtInputsEnd", {"a\r"}, {{"a", 2}}},
        SplitCase{"OnlyCarriageReturnAtInputsEnd", {"a\n\r"}, {{"a", 2}, {"", 1}}}),
    [](const auto& info) { return info.param.name; });

INSTANTIATE_TEST_SUITE_P(
    LongLines, Split,
    testing::Values(
        SplitCase{"Longest", {longest + "\n"}, {{longest, 65537}}},
        SplitCase{"LongestWithoutEnd", {longest}, {{longest, 65536}}},
        SplitCase{"OneLonger",
                  {"b" + half + half.substr(1) + "e\n"},
                  {{"b" + half.substr(1) + half.substr(1) + "e", 65538}}},
        SplitCase{"MiddleGoes",
                  {"begin" + longest + std::string(100, 'm') + longest + "end\nnext\n"},
                  {{"begin" + half.substr(5) + half.substr(3) + "end", 131181}, {"next", 5}}},
        SplitCase{"MiddleGoesAcrossChunks",
                  {"begin", longest, std::string(100, 'm'), longest, "end", "\nnext"},
                  {{"begin" + half.substr(5) + half.substr(3) + "end", 131181}, {"next", 4}}},
        SplitCase{"CarriageReturnCounts", {longest + "\r\n"}, {{longest.substr(1), 65538}}},
        SplitCase{"EndOfCarriageReturns",
                  {longest + longest + std::string(40000, '\r') + "\n"},
                  {{half, 171073}}},
        SplitCase{"WithoutEnd", {longest + "abc"}, {{half + half.substr(3) + "abc", 65539}}}),
    [](const auto& info) { return info.param.name; });

/// Lines of all lengths, with the bytes that matter among others.
std::string random_text(std::mt19937& random, std::size_t size, std::size_t line_ends_of_thousand)
{
    std::string text;
    while (text.size() < size)
    {
        const auto choice = random() % 1000;
        text += choice < line_ends_of_thousand       ? '\n'
                : choice < 2 * line_ends_of_thousand ? '\r'
                                                     : static_cast<char>(random());
    }
    return text;
}

std::vector<std::string> random_cuts(std::mt19937& random, const std::string& text,
                                     std::size_t longest_chunk)
{
    std::vector<std::string> chunks;
    for (std::size_t at = 0; at < text.size(); at += chunks.back().size())
    {
        chunks.push_back(text.substr(at, random() % longest_chunk));
    }
    return chunks;
}

TEST(SplitText, DoesNotDependOnItsChunks)
{
    std::mt19937 random(1);
    for (int round = 0; round < 300; ++round)
    {
        const auto text = random_text(random, random() % 300, 10 * (random() % 30));
        const auto chunks = random_cuts(random, text, 2 + random() % 50);
        ASSERT_EQ(lines_of(chunks), lines_of({text})) << "round " << round;
    }
}

TEST(SplitText, OfLongLinesDoesNotDependOnItsChunks)
{
    std::mt19937 random(2);
    for (int round = 0; round < 40; ++round)
    {
        std::string text;
        for (const auto size : {0U, 1U, 3U, 60000U})
        {
            const auto near_longest = longest.size() - 4 + random() % 8;
            text += random_text(random, near_longest + size * (random() % 8), 0) + "\r\n";
        }
        const auto chunks = random_cuts(random, text, round % 2 == 0 ? 200000 : 2000);
        ASSERT_TRUE(lines_of(chunks) == lines_of({text})) << "round " << round;
    }
}

/// Without the splitter: what a shortened line consists of.
TEST(SplitText, KeepsBothEndsOfAnyLength)
{
    std::mt19937 random(3);
    for (const auto size : {65536U, 65537U, 98304U, 98305U, 131072U, 131073U, 163841U, 1000000U})
    {
        auto text = random_text(random, size, 0);
        for (auto& byte : text)
        {
            byte = byte == '\n' || byte == '\r' ? 'n' : byte;
        }
        const auto kept = text.substr(0, 32768) + text.substr(size - 32768);
        for (const auto longest_chunk : {100U, 40000U, 2000000U})
        {
            const auto lines = lines_of(random_cuts(random, text + "\n", longest_chunk));
            ASSERT_EQ(lines.size(), 1U);
            EXPECT_TRUE(lines[0].first == kept) << size << " in chunks up to " << longest_chunk;
            EXPECT_EQ(lines[0].second, size + 1);
        }
    }
}

/// Bytes that the process has from the heap.
std::size_t heap_bytes()
{
    const auto info = mallinfo2();
    return info.uordblks + info.hblkhd;
}

TEST(SplitText, NeedsLittleMemoryForALineOfAnyLength)
{
    const std::string chunk(50000, 'x');
    LineSplitter splitter;
    const auto before = heap_bytes();
    for (int count = 0; count < 200; ++count)
    {
        splitter.feed(chunk, [](std::string_view, std::uint64_t) { FAIL() << "no line ends"; });
    }
    EXPECT_LT(heap_bytes(), before + 1000000);
}

} // namespace
