#include "report/writers/json_text.hpp"

#include "report/writers/utf8.hpp"

#include <algorithm>
#include <array>
#include <cstdint>
#include <utility>

namespace report
{

namespace
{

constexpr char hex_digits[] = "0123456789abcdef";

constexpr auto hex_of_byte = [] {
    std::array<std::array<char, 2>, 256> texts{};
    for (std::size_t byte = 0; byte < texts.size(); ++byte)
    {
        texts[byte] = {hex_digits[byte >> 4], hex_digits[byte & 0xf]};
    }
    return texts;
}();

/// Copied as it is: ASCII that JSON does not escape.
constexpr auto plain = [] {
    std::array<bool, 256> is{};
    for (std::size_t byte = 0x20; byte < 0x80; ++byte)
    {
        is[byte] = byte != '"' && byte != '\\';
    }
    return is;
}();

constexpr std::uint64_t each_byte(std::uint64_t byte)
{
    return byte * 0x0101010101010101;
}

/// Not 0 where one of eight bytes is below `limit`, or above 0x7f.
constexpr std::uint64_t below(std::uint64_t bytes, std::uint64_t limit)
{
    return (bytes - each_byte(limit)) & each_byte(0x80);
}

bool eight_are_plain(const char* text)
{
    std::uint64_t bytes = 0;
    std::memcpy(&bytes, text, sizeof bytes);
    return ((bytes & each_byte(0x80)) | below(bytes, 0x20) | below(bytes ^ each_byte('"'), 1) |
            below(bytes ^ each_byte('\\'), 1)) == 0;
}

std::size_t plain_size(std::string_view text)
{
    std::size_t size = 0;
    while (text.size() - size >= 8 && eight_are_plain(text.data() + size))
    {
        size += 8;
    }
    while (size < text.size() && plain[static_cast<unsigned char>(text[size])])
    {
        ++size;
    }
    return size;
}

} // namespace

void JsonText::value(std::string_view text)
{
    put('"');
    while (true)
    {
        const auto size = plain_size(text);
        copy(text.substr(0, size));
        text.remove_prefix(size);
        if (text.empty())
        {
            break;
        }
        const auto byte = static_cast<unsigned char>(text.front());
        if (byte >= 0x80)
        {
            const auto character = first_character(text);
            copy(character.valid ? text.substr(0, character.size) : replacement_character);
            text.remove_prefix(character.size);
            continue;
        }
        if (byte >= 0x20)
        {
            put('\\');
            put(text.front());
        }
        else
        {
            copy("\\u00");
            copy({hex_of_byte[byte].data(), 2});
        }
        text.remove_prefix(1);
    }
    copy("\",");
}

void JsonText::value(Bytes bytes)
{
    need(2 * bytes.bytes.size() + 3);
    *next++ = '"';
    for (const auto byte : bytes.bytes)
    {
        std::memcpy(next, hex_of_byte[static_cast<unsigned char>(byte)].data(), 2);
        next += 2;
    }
    *next++ = '"';
    *next++ = ',';
}

std::string JsonText::take()
{
    if (next != buffer.data() && next[-1] == ',')
    {
        --next;
    }
    buffer.resize(static_cast<std::size_t>(next - buffer.data()));
    auto text = std::exchange(buffer, {});
    next = end = buffer.data();
    return text;
}

void JsonText::grow(std::size_t size)
{
    constexpr std::size_t least = 4096;
    const auto used = static_cast<std::size_t>(next - buffer.data());
    buffer.resize(std::max({least, 2 * buffer.size(), used + size}));
    next = buffer.data() + used;
    end = buffer.data() + buffer.size();
}

} // namespace report
