#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

inline const std::string equals_60 =
    "============================================================\n";
inline const std::string dashes_40 = "----------------------------------------\n";

/// The bytes 0, 1, 2 and so on; 255 is followed by 0.
inline std::vector<std::uint8_t> counting(std::size_t size)
{
    std::vector<std::uint8_t> bytes;
    for (std::size_t position = 0; position < size; ++position)
    {
        bytes.push_back(static_cast<std::uint8_t>(position));
    }
    return bytes;
}
