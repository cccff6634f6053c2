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
    const auto sextet = [&](std::size_t place) -> std::uint32_t {
        return sextets[static_cast<unsigned char>(text[place])];
    };
    std::vector<std::uint8_t> bytes(text.size() / 4 * 3 + 2);
    auto end = bytes.begin();
    const auto put = [&end](std::uint32_t byte) { *end++ = static_cast<std::uint8_t>(byte); };

    std::size_t place = 0;
    for (; place + 4 <= text.size(); place += 4)
    {
        const std::uint32_t a = sextet(place), b = sextet(place + 1), c = sextet(place + 2),
                            d = sextet(place + 3);
        if ((a | b | c | d) > 0x3f)
        {
            break;
        }
        put(a << 2 | b >> 4);
        put(b << 4 | c >> 2);
        put(c << 6 | d);
    }

    // The last group, which ends with the text or at its first foreign character.
    std::uint32_t group = 0;
    unsigned count = 0;
    for (; place < text.size() && sextet(place) != no_sextet; ++place)
    {
        group = group << 6 | sextet(place);
        ++count;
    }
    for (unsigned left = 6 * count; left >= 8; left -= 8)
    {
        put(group >> (left - 8));
    }
    bytes.erase(end, bytes.end());
    return bytes;
}
