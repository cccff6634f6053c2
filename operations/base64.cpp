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
    std::vector<std::uint8_t> bytes(text.size() / 4 * 3 + 2);
    auto end = bytes.begin();
    std::uint32_t bits = 0;
    int pending = 0; // the lowest bits, which belong to the next byte
    for (const char digit : text)
    {
        const auto sextet = sextets[static_cast<unsigned char>(digit)];
        if (sextet == no_sextet)
        {
            break;
        }
        bits = bits << 6 | sextet;
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
