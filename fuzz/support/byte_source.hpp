#pragma once

#include <algorithm>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

/// Hands out the fuzzer's bytes from front to back, so that an input can be written by hand. Zeros follow
/// the last byte.
class ByteSource
{
  public:
    explicit ByteSource(std::span<const std::uint8_t> bytes) : rest(bytes) {}

    bool empty() const
    {
        return rest.empty();
    }

    /// Up to `count` bytes.
    std::span<const std::uint8_t> bytes(std::size_t count)
    {
        const auto taken = rest.first(std::min(count, rest.size()));
        rest = rest.subspan(taken.size());
        return taken;
    }

    /// Little endian.
    template <std::unsigned_integral Number>
    Number number()
    {
        Number value = 0;
        unsigned place = 0;
        for (const auto byte : bytes(sizeof(Number)))
        {
            value = static_cast<Number>(value | static_cast<Number>(byte) << (8 * place++));
        }
        return value;
    }

    std::uint8_t byte()
    {
        return number<std::uint8_t>();
    }

    /// A byte that says how long, then ASCII without NUL.
    std::string text()
    {
        std::string text;
        for (const auto byte : bytes(this->byte()))
        {
            const auto ascii = static_cast<char>(byte & 0x7f);
            text += ascii == '\0' ? '?' : ascii;
        }
        return text;
    }

  private:
    std::span<const std::uint8_t> rest;
};
