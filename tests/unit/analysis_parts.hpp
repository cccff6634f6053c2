#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

inline const std::string equals_60 =
    "============================================================\n";
inline const std::string dashes_40 = "----------------------------------------\n";

/// The lines after the finding when a signed measurement is invalid; `raw_data` is the start of its text.
inline std::string validation_failure(const std::string& raw_data)
{
    return "❌ VALIDATION FAILED: Signed measurement structure is invalid\n"
           "⚠️  WARNING: This may indicate:\n"
           "   • Device did not include signature in last measurement\n"
           "   • Signature algorithm mismatch\n"
           "   • Data corruption or truncation\n"
           "   • Device firmware issue\n"
           "\nRaw data (first 80 chars): " +
           raw_data + "\n";
}

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
