#include "operations/nonce.hpp"

#include <array>
#include <cstdio>
#include <iostream>
#include <limits>
#include <random>

std::string hex_digits(std::uint32_t value, HexCase hex_case)
{
    std::array<char, 8 + 1> digits;
    std::snprintf(digits.data(), digits.size(), hex_case == HexCase::lower ? "%08x" : "%08X",
                  static_cast<unsigned>(value));
    return digits.data();
}

std::string nonce_of_seed(std::uint32_t seed, HexCase hex_case)
{
    constexpr int values = 8;
    std::mt19937 generator{seed};
    std::uniform_int_distribution<std::uint32_t> any_value{
        0, std::numeric_limits<std::uint32_t>::max()};
    std::string nonce;
    nonce.reserve(64);
    for (int drawn = 0; drawn < values; ++drawn)
    {
        nonce += hex_digits(any_value(generator), hex_case);
    }
    return nonce;
}

std::string generate_nonce(HexCase hex_case)
{
    return generate_nonce(hex_case, "default");
}

std::string generate_nonce(HexCase hex_case, const std::string& random_source)
{
    auto nonce = nonce_of_seed(std::random_device{random_source}(), hex_case);
    std::cout << "ℹ INFO: Generated 32-byte nonce"
              << (hex_case == HexCase::lower ? " (lowercase)" : "") << ": " << nonce
              << " (256 bits)" << std::endl;
    return nonce;
}
