#pragma once

#include <cstdint>
#include <string>

/// Case of the digits a to f.
enum class HexCase
{
    lower,
    upper,
};

/// The 8 hexadecimal digits of `value`, leading zeros kept.
std::string hex_digits(std::uint32_t value, HexCase hex_case);

/// The 64 hexadecimal digits of the first 8 values of the MT19937 generator seeded with `seed`.
std::string nonce_of_seed(std::uint32_t seed, HexCase hex_case);

/// Generates and prints a 32-byte nonce as 64 hexadecimal digits. If the platform's random source
/// fails, it raises the standard library's exception and prints nothing.
std::string generate_nonce(HexCase hex_case);

/// As above, from the random source that the standard random device knows by this token.
std::string generate_nonce(HexCase hex_case, const std::string& random_source);
