#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

/// Decodes Base64 text up to the first character outside the alphabet, such as "="; the rest is
/// ignored. A last group of 2 or 3 characters gives 1 or 2 bytes, a single character none. Cannot
/// fail.
std::vector<std::uint8_t> decode_base64(std::string_view text);
