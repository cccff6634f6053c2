#include "simulator/names.hpp"

#include <systemd/sd-bus.h>

namespace simulator
{

namespace
{

/// The bus library's validators read up to the first U+0000.
bool is_valid(int (*validate)(const char*), const std::string& text)
{
    return text.find('\0') == std::string::npos && validate(text.c_str()) > 0;
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

bool is_reserved(const std::string& name)
{
    return name == "/org/freedesktop/DBus/Local" || name == "org.freedesktop.DBus.Local";
}

} // namespace simulator
