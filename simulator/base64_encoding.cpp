#include "simulator/base64_encoding.hpp"

#include <algorithm>

namespace simulator
{

std::string encode_base64(const Bytes& bytes)
{
    static constexpr char alphabet[] =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string text;
    text.reserve((bytes.size() + 2) / 3 * 4);
    for (std::size_t start = 0; start < bytes.size(); start += 3)
    {
        const std::size_t given = std::min<std::size_t>(3, bytes.size() - start);
        std::uint32_t group = 0;
        for (std::size_t i = 0; i < 3; ++i)
        {
            group = group << 8 | (i < given ? bytes[start + i] : 0U);
        }
        for (std::size_t i = 0; i < 4; ++i)
        {
            text += i <= given ? alphabet[group >> (18 - 6 * i) & 0x3FU] : '=';
        }
    }
    return text;
}

} // namespace simulator
