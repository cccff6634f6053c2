#include "operations/hex_dump.hpp"

#include <algorithm>
#include <array>
#include <climits>
#include <cstring>

namespace
{

constexpr std::size_t bytes_per_line = 16;
constexpr std::size_t least_offset_digits = 4;
constexpr std::size_t most_offset_digits = sizeof(std::size_t) * CHAR_BIT / 4;

constexpr char digit_characters[] = "0123456789abcdef";

/// Two digits and a blank. A fourth character rounds them up to what one store takes; the next byte's
/// text, or the line's end, goes over it.
using ByteText = std::array<char, 4>;
constexpr std::size_t characters_per_byte = 3;

/// Holds the longest line: two blanks, offset, ": ", bytes, line end.
using Line =
    std::array<char, 2 + most_offset_digits + 2 + characters_per_byte * bytes_per_line + 1>;

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
        *end++ = digit_characters[offset >> (4 * digits) & 0xf];
    }
    *end++ = ':';
    *end++ = ' ';
    return end;
}

constexpr auto byte_texts = [] {
    std::array<ByteText, 256> texts{};
    for (std::size_t byte = 0; byte < texts.size(); ++byte)
    {
        texts[byte] = {digit_characters[byte >> 4], digit_characters[byte & 0xf], ' ', '\0'};
    }
    return texts;
}();

char* write_bytes(char* end, std::span<const std::uint8_t> bytes)
{
    for (const auto byte : bytes)
    {
        std::memcpy(end, byte_texts[byte].data(), sizeof(ByteText));
        end += characters_per_byte;
    }
    return end;
}

} // namespace

void print_hex_dump(std::ostream& out, std::span<const std::uint8_t> data,
                    std::size_t first_position)
{
    // To the stream's buffer at once: a megabyte is 65,536 lines, and the stream's own checks before
    // and after each output are a fifth of their cost.
    auto& lines = *out.rdbuf();
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
        const auto size = end - line.data();
        if (lines.sputn(line.data(), size) != size || lines.pubsync() != 0)
        {
            out.setstate(std::ios_base::badbit);
        }
        offset += count;
    }
}
