#include "operations/hex_dump.hpp"

#include <algorithm>
#include <array>
#include <climits>

namespace
{

constexpr std::size_t bytes_per_line = 16;
constexpr std::size_t least_offset_digits = 4;
constexpr std::size_t most_offset_digits = sizeof(std::size_t) * CHAR_BIT / 4;

constexpr char hex_digits[] = "0123456789abcdef";

/// Holds the longest line: two blanks, offset, ": ", bytes, line end.
using Line = std::array<char, 2 + most_offset_digits + 2 + 3 * bytes_per_line + 1>;

char* write_offset(char* end, std::size_t offset)
{
    std::size_t digits = least_offset_digits;
    while (digits < most_offset_digits && offset >> (4 * digits) != 0)
    {
        ++digits;
    }
    *end++ = ' ';
    *end++ = ' ';
    while (digits-- > 0)
    {
        *end++ = hex_digits[offset >> (4 * digits) & 0xf];
    }
    *end++ = ':';
    *end++ = ' ';
    return end;
}

char* write_bytes(char* end, std::span<const std::uint8_t> bytes)
{
    for (const unsigned byte : bytes)
    {
        *end++ = hex_digits[byte >> 4];
        *end++ = hex_digits[byte & 0xf];
        *end++ = ' ';
    }
    return end;
}

} // namespace

void print_hex_dump(std::ostream& out, std::span<const std::uint8_t> data,
                    std::size_t first_position)
{
    Line line;
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
        end = write_bytes(end, data.subspan(offset, count));
        *end++ = '\n';
        out.write(line.data(), end - line.data());
        out.flush();
        offset += count;
    }
}
