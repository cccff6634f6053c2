#pragma once

#include <compare>
#include <string>
#include <utility>

namespace sdbusplus::message
{

/// A D-Bus object path; told from plain text by its type, so that it travels as "o" and not as "s".
struct object_path
{
    object_path() = default;
    explicit object_path(std::string text) : str(std::move(text)) {}

    auto operator<=>(const object_path&) const = default;

    std::string str;
};

} // namespace sdbusplus::message
