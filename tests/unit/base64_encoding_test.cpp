#include "simulator/base64_encoding.hpp"

#include <gtest/gtest.h>

#include <string>

namespace
{

using namespace simulator;

std::string encode(const std::string& text)
{
    return encode_base64({text.begin(), text.end()});
}

TEST(Base64Encoding, PadsToGroupsOfFour)
{
    EXPECT_EQ(encode(""), "");
    EXPECT_EQ(encode("A"), "QQ==");
    EXPECT_EQ(encode("AB"), "QUI=");
    EXPECT_EQ(encode("ABC"), "QUJD");
    EXPECT_EQ(encode("ABCA"), "QUJDQQ==");
    EXPECT_EQ(encode("foobar"), "Zm9vYmFy");
}

TEST(Base64Encoding, UsesTheWholeAlphabet)
{
    Bytes bytes;
    for (unsigned i = 0; i < 64; i += 4)
    {
        // The sextets i, i + 1, i + 2 and i + 3.
        const unsigned group = i << 18 | (i + 1) << 12 | (i + 2) << 6 | (i + 3);
        for (const unsigned shift : {16U, 8U, 0U})
        {
            bytes.push_back(static_cast<std::uint8_t>(group >> shift & 0xFF));
        }
    }
    EXPECT_EQ(encode_base64(bytes),
              "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/");
}

} // namespace
