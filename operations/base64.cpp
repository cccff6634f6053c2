#include "operations/base64.hpp"

#include "shell/status.hpp"

#include <array>

namespace
{

constexpr std::uint8_t no_sextet = 0xff;

using SextetTable = std::array<std::uint8_t, 256>;

SextetTable make_sextet_table()
{
    SextetTable table;
    table.fill(no_sextet);
    std::uint8_t sextet = 0;
    for (const char digit : base64_alphabet)
    {
        table[static_cast<unsigned char>(digit)] = sextet++;
    }
    return table;
}

} // namespace

std::vector<std::uint8_t> decode_base64(std::string_view text)
{
    const auto sextets = make_sextet_table();
    std::vector<std::uint8_t> bytes;
    bytes.reserve(text.size() / 4 * 3 + 2);
    std::uint32_t group = 0;
    int count = 0;
    for (const char digit : text)
    {
        const auto sextet = sextets[static_cast<unsigned char>(digit)];
        if (sextet == no_sextet)
        {
            break;
        }
        group = group << 6 | sextet;
        if (++count == 4)
        {
            bytes.push_back(static_cast<std::uint8_t>(group >> 16));
            bytes.push_back(static_cast<std::uint8_t>(group >> 8));
            bytes.push_back(static_cast<std::uint8_t>(group));
            group = 0;
            count = 0;
        }
    }
    if (count >= 2)
    {
        bytes.push_back(static_cast<std::uint8_t>(group >> (6 * count - 8)));
    }
    if (count == 3)
    {
        bytes.push_back(static_cast<std::uint8_t>(group >> 2));
    }
    return bytes;
}
