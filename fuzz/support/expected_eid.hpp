#pragma once

#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string_view>

/// The EID that a device's object path implies, told digit by digit. Raises `std::out_of_range` for a
/// number beyond the 32-bit signed range.
inline std::optional<std::uint16_t> expected_eid(std::string_view path)
{
    const auto is_digit = [](char character) { return character >= '0' && character <= '9'; };
    if (path.find('/') == std::string_view::npos)
    {
        return std::nullopt;
    }
    while (path.find('/') != std::string_view::npos)
    {
        path.remove_prefix(path.find('/') + 1);
    }
    while (!path.empty() && !is_digit(path.front()))
    {
        path.remove_prefix(1);
    }
    if (path.empty())
    {
        return std::nullopt;
    }
    std::int64_t value = 0;
    for (; !path.empty() && is_digit(path.front()); path.remove_prefix(1))
    {
        value = value * 10 + (path.front() - '0');
        if (value > INT32_MAX)
        {
            throw std::out_of_range("more than 32 bits");
        }
    }
    return static_cast<std::uint16_t>(value % 65536);
}
