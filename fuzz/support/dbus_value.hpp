#pragma once

#include "fuzz/support/byte_source.hpp"

#include <systemd/sd-bus.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

/// A D-Bus value of any type.
struct DbusValue
{
    /// Of one complete type.
    std::string signature;
    /// A number of any width, sign-extended; a bool as 0 or 1; a double's nearest whole number.
    std::int64_t number = 0;
    /// A text, an object path or a signature.
    std::string text;
    /// Of an array, a structure, a dict entry; the one content of a variant.
    std::vector<DbusValue> members;
};

using DbusValues = std::vector<DbusValue>;

/// The complete types that a signature consists of.
std::vector<std::string> complete_types(std::string_view signature);

/// One complete type, which may be nested.
std::string next_type(ByteSource& source);

/// A value of the complete type `signature`.
DbusValue next_value(ByteSource& source, const std::string& signature);

/// A value for each complete type of `signature`.
DbusValues next_values(ByteSource& source, std::string_view signature);

/// A valid object path; text that is one already stays as it is.
std::string next_object_path(ByteSource& source);

void append_values(sd_bus_message* message, const DbusValues& values);
