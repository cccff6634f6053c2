#pragma once

#include <cstdint>
#include <span>
#include <string>

constexpr char expected_digits[] = "0123456789abcdef";

/// An offset in at least 4 lower-case hexadecimal digits.
inline std::string expected_offset(std::size_t offset)
{
    std::string text;
    while (text.size() < 4 || offset > 0)
    {
        text.insert(text.begin(), expected_digits[offset % 16]);
        offset /= 16;
    }
    return text;
}

/// The hex dump of `data`, of which `before` bytes come earlier in the whole, told byte by byte.
inline std::string expected_dump(std::span<const std::uint8_t> data, std::size_t before = 0)
{
    std::string dump;
    for (std::size_t offset = 0; offset < data.size(); ++offset)
    {
        const auto column = (before + offset) % 16;
        if (column == 0)
        {
            dump += "  " + expected_offset(offset) + ": ";
        }
        const char byte[] = {expected_digits[data[offset] / 16], expected_digits[data[offset] % 16],
                             ' '};
        dump.append(byte, sizeof byte);
        if (column == 15 || offset + 1 == data.size())
        {
            dump += '\n';
        }
    }
    return dump;
}
