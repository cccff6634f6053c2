#include "analysis_parts.hpp"
#include "operations/hex_dump.hpp"

#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

namespace
{

std::string dump(const std::vector<std::uint8_t>& bytes, std::size_t first_position = 0)
{
    std::ostringstream out;
    print_hex_dump(out, bytes, first_position);
    return out.str();
}

TEST(HexDump, OfNothingIsNothing)
{
    EXPECT_EQ(dump({}), "");
    EXPECT_EQ(dump({}, 5), "");
}

TEST(HexDump, OfEighteenBytesIsTwoLines)
{
    EXPECT_EQ(dump(counting(18)), "  0000: 00 01 02 03 04 05 06 07 08 09 0a 0b 0c 0d 0e 0f \n"
                                  "  0010: 10 11 \n");
}

TEST(HexDump, OfSixteenBytesIsOneLine)
{
    EXPECT_EQ(dump(counting(16)), "  0000: 00 01 02 03 04 05 06 07 08 09 0a 0b 0c 0d 0e 0f \n");
}

TEST(HexDump, OfSeventeenBytesHasOneByteInItsSecondLine)
{
    EXPECT_EQ(dump(counting(17)), "  0000: 00 01 02 03 04 05 06 07 08 09 0a 0b 0c 0d 0e 0f \n"
                                  "  0010: 10 \n");
}

TEST(HexDump, ShowsEveryByteValueInTwoLowerCaseDigits)
{
    const auto text = dump(counting(256));
    EXPECT_NE(text.find("  0090: 90 91 92 93 94 95 96 97 98 99 9a 9b 9c 9d 9e 9f \n"),
              std::string::npos);
    EXPECT_NE(text.find("  00f0: f0 f1 f2 f3 f4 f5 f6 f7 f8 f9 fa fb fc fd fe ff \n"),
              std::string::npos);
}

TEST(HexDump, ShowsFourDigitsOfOffsetAndMoreWhereNeeded)
{
    const auto text = dump(std::vector<std::uint8_t>(0x10011, 0xab));
    EXPECT_NE(text.find("\n  fff0: ab "), std::string::npos);
    EXPECT_NE(text.find("\n  10000: ab "), std::string::npos);
    EXPECT_EQ(text.substr(text.rfind("\n", text.size() - 2)), "\n  10010: ab \n");
}

TEST(HexDump, ThatStartsWithinALineStartsWithBareBytes)
{
    EXPECT_EQ(dump(counting(20), 13), "00 01 02 \n"
                                      "  0003: 03 04 05 06 07 08 09 0a 0b 0c 0d 0e 0f 10 11 12 \n"
                                      "  0013: 13 \n");
}

TEST(HexDump, ThatStartsWithinALineAndEndsInItIsOneBareLine)
{
    EXPECT_EQ(dump(counting(3), 21), "00 01 02 \n");
    EXPECT_EQ(dump(counting(3), 29), "00 01 02 \n");
}

TEST(HexDump, ThatStartsAtALaterLineShowsOffsetsFromItsOwnStart)
{
    EXPECT_EQ(dump(counting(17), 48), "  0000: 00 01 02 03 04 05 06 07 08 09 0a 0b 0c 0d 0e 0f \n"
                                      "  0010: 10 \n");
}

/// The same layout made byte by byte, to compare with.
std::string dump_by_bytes(const std::vector<std::uint8_t>& bytes, std::size_t first_position)
{
    std::string text;
    for (std::size_t offset = 0; offset < bytes.size(); ++offset)
    {
        char part[32];
        const auto position = first_position + offset;
        if (position % 16 == 0)
        {
            std::snprintf(part, sizeof part, "  %04zx: ", offset);
            text += part;
        }
        std::snprintf(part, sizeof part, "%02x ", static_cast<unsigned>(bytes[offset]));
        text += part;
        if (position % 16 == 15 || offset + 1 == bytes.size())
        {
            text += "\n";
        }
    }
    return text;
}

TEST(HexDump, OfEachLengthAtEachAlignment)
{
    for (std::size_t size = 0; size <= 64; ++size)
    {
        for (std::size_t position = 0; position < 16; ++position)
        {
            EXPECT_EQ(dump(counting(size), position), dump_by_bytes(counting(size), position))
                << size << " bytes at " << position;
        }
    }
}

TEST(HexDump, NeitherMindsNorChangesTheFormatOfTheStream)
{
    std::ostringstream out;
    out << std::hex << std::showbase << std::left << std::uppercase;
    out.fill('#');
    const auto flags = out.flags();
    print_hex_dump(out, counting(1));
    EXPECT_EQ(out.str(), "  0000: 00 \n");
    EXPECT_EQ(out.flags(), flags);
    EXPECT_EQ(out.fill(), '#');
}

} // namespace
