#include "simulator/names.hpp"

#include <systemd/sd-bus.h>

#include <string_view>

namespace simulator
{

namespace
{

/// The bus library's validators read up to the first U+0000.
bool is_valid(int (*validate)(const char*), const std::string& text)
{
    return text.find('\0') == std::string::npos && validate(text.c_str()) > 0;
}

/// U+FDD0 to U+FDEF, and the last two of each plane: the bus library sends none of them.
bool has_noncharacter(std::string_view text)
{
    const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    for (std::size_t i = 2; i < text.size(); ++i)
    {
        const bool ends_plane =
            byte(i) >= 0xbe && byte(i - 1) == 0xbf && (byte(i - 2) & 0x0fU) == 0x0fU;
        const bool in_block =
            byte(i - 2) == 0xef && byte(i - 1) == 0xb7 && byte(i) >= 0x90 && byte(i) <= 0xaf;
        // Every plane but the first: F0 to F4, then a byte that ends in F.
        const bool leads = byte(i - 2) == 0xef || (i > 2 && byte(i - 3) >= 0xf0);
        if (in_block || (ends_plane && leads))
        {
            return true;
        }
    }
    return false;
}

} // namespace

bool is_object_path(const std::string& text)
{
    return is_valid(sd_bus_object_path_is_valid, text);
}

bool is_interface_name(const std::string& text)
{
    return is_valid(sd_bus_interface_name_is_valid, text);
}

bool is_member_name(const std::string& text)
{
    // The bus library lets a member begin with a digit, the bus does not.
    return is_valid(sd_bus_member_name_is_valid, text) && (text[0] < '0' || text[0] > '9');
}

bool is_error_name(const std::string& text)
{
    return is_interface_name(text); // the rules are the same
}

std::string flaw_in_text(const std::string& text)
{
    if (text.find('\0') != std::string::npos)
    {
        return "cannot hold the character U+0000";
    }
    return has_noncharacter(text) ? "cannot hold a noncharacter, U+FFFE for instance" : "";
}

bool is_reserved(const std::string& name)
{
    return name == "/org/freedesktop/DBus/Local" || name == "org.freedesktop.DBus.Local";
}

} // namespace simulator
