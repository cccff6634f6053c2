#include "operations/base64.hpp"

#include "shell/status.hpp"

#include <array>

namespace
{

constexpr std::uint8_t last_sextet = 63;
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
    std::vector<std::uint8_t> bytes(text.size() / 4 * 3 + 2);
    auto end = bytes.begin();
    const auto sextet_at = [&](std::size_t place) {
        return sextets[static_cast<unsigned char>(text[place])];
    };
    std::size_t place = 0;
    // Whole groups; no sextet has the bits that mark another character.
    for (; place + 4 <= text.size(); place += 4)
    {
        const std::uint32_t a = sextet_at(place);
        const std::uint32_t b = sextet_at(place + 1);
        const std::uint32_t c = sextet_at(place + 2);
        const std::uint32_t d = sextet_at(place + 3);
        if ((a | b | c | d) > last_sextet)
        {
            break;
        }
        *end++ = static_cast<std::uint8_t>(a << 2 | b >> 4);
        *end++ = static_cast<std::uint8_t>(b << 4 | c >> 2);
        *end++ = static_cast<std::uint8_t>(c << 6 | d);
    }
    std::uint32_t bits = 0;
    int pending = 0; // the lowest bits, which belong to the next byte
    for (; place < text.size() && sextet_at(place) <= last_sextet; ++place)
    {
        bits = bits << 6 | sextet_at(place);
        pending += 6 - 8;
        if (pending < 0) // the first digit of four completes no byte
        {
            pending = 6;
            continue;
        }
        *end++ = static_cast<std::uint8_t>(bits >> pending);
    }
    bytes.erase(end, bytes.end());
    return bytes;
}
