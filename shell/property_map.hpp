#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <variant>

/// A property's value. A value of any other D-Bus type reads as the empty string.
using PropertyValue = std::variant<std::string, std::uint32_t, std::uint16_t, bool>;

/// Property values by name, as read from an a{sv}.
using PropertyMap = std::map<std::string, PropertyValue>;

/// The value of the property of this name, null when there is none.
inline const PropertyValue* find_property(const PropertyMap& properties, const std::string& name)
{
    const auto property = properties.find(name);
    return property == properties.end() ? nullptr : &property->second;
}
