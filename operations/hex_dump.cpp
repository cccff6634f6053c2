#include "operations/hex_dump.hpp"

#include <algorithm>
#include <array>
#include <climits>

namespace
{

constexpr std::size_t bytes_per_line = 16;
constexpr std::size_t least_offset_digits = 4;
constexpr std::size_t most_offset_digits = sizeof(std::size_t) * CHAR_BIT / 4;
constexpr std::size_t characters_per_byte = 3;
constexpr std::size_t longest_line =
    2 + most_offset_digits + 2 + characters_per_byte * bytes_per_line + 1;

constexpr char digits[] = "0123456789abcdef";

/// Two digits and a blank, padded to 4 bytes so that each byte is one copy; the pad is overwritten by
/// what follows.
using ByteText = std::array<char, 4>;

constexpr auto byte_texts = [] {
    std::array<ByteText, 256> texts{};
    for (std::size_t byte = 0; byte < texts.size(); ++byte)
    {
        texts[byte] = {digits[byte >> 4], digits[byte & 0xf], ' ', '\0'};
    }
    return texts;
}();

// Both write at `end` and return the new end.

char* write_offset(char* end, std::size_t offset)
{
    std::size_t count = least_offset_digits;
    while (count < most_offset_digits && offset >> (4 * count) != 0)
    {
        ++count;
    }
    *end++ = ' ';
    *end++ = ' ';
    while (count-- > 0)
    {
        *end++ = digits[offset >> (4 * count) & 0xf];
    }
    *end++ = ':';
    *end++ = ' ';
    return end;
}

template <std::size_t extent>
char* write_bytes(char* end, std::span<const std::uint8_t, extent> bytes)
{
    for (const auto byte : bytes)
    {
        std::copy_n(byte_texts[byte].begin(), sizeof(ByteText), end);
        end += characters_per_byte;
    }
    return end;
}

} // namespace

void print_hex_dump(std::ostream& out, std::span<const std::uint8_t> data,
                    std::size_t first_position)
{
    std::array<char, longest_line> line;
    std::size_t offset = 0;
    while (offset < data.size())
    {
        const auto column = (first_position + offset) % bytes_per_line;
        const auto count = std::min(bytes_per_line - column, data.size() - offset);
        char* end = line.data();
        if (column == 0)
        {
            end = write_offset(end, offset);
        }
        // Most lines are whole: compiled for their length, they take a third less.
        end = count == bytes_per_line
                  ? write_bytes(end, data.subspan(offset).first<bytes_per_line>())
                  : write_bytes(end, data.subspan(offset, count));
        *end++ = '\n';
        out.write(line.data(), end - line.data());
        out.flush();
        offset += count;
    }
}
