#pragma once

#include <compare>
#include <string>
#include <utility>

namespace sdbusplus::message
{

/// A D-Bus object path: a type of its own, so that it is sent as "o" and not as "s".
struct object_path
{
    object_path() = default;
    explicit object_path(std::string text) : str(std::move(text)) {}

    auto operator<=>(const object_path&) const = default;

    std::string str;
};

} // namespace sdbusplus::message
