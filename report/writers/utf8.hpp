#pragma once

#include <cstddef>
#include <string_view>

namespace report
{

/// The first character of a text, or what is in place of one.
struct Utf8Character
{
    std::size_t size = 0; ///< Bytes; of what is no character those that one U+FFFD replaces.
    bool valid = false;
};

/// U+FFFD, in place of what is no UTF-8.
constexpr std::string_view replacement_character = "\xef\xbf\xbd";

/// `text` is not empty. What is no character is cut as Unicode recommends: as long as a character
/// could still come of it.
inline Utf8Character first_character(std::string_view text)
{
    const auto byte = [text](std::size_t place) {
        return place < text.size() ? static_cast<unsigned char>(text[place]) : 0u;
    };
    const auto lead = byte(0);
    if (lead < 0x80)
    {
        return {1, true};
    }
    if (lead < 0xc2 || lead > 0xf4)
    {
        return {1, false};
    }
    const std::size_t size = lead < 0xe0 ? 2 : lead < 0xf0 ? 3 : 4;
    // Neither longer than needed, nor a surrogate, nor beyond U+10FFFF.
    const auto least = lead == 0xe0 ? 0xa0u : lead == 0xf0 ? 0x90u : 0x80u;
    const auto most = lead == 0xed ? 0x9fu : lead == 0xf4 ? 0x8fu : 0xbfu;
    if (byte(1) < least || byte(1) > most)
    {
        return {1, false};
    }
    for (std::size_t place = 2; place < size; ++place)
    {
        if (byte(place) < 0x80 || byte(place) > 0xbf)
        {
            return {place, false};
        }
    }
    return {size, true};
}

} // namespace report
