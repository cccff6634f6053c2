#include "name_of.hpp"
#include "operations/base64.hpp"

#include <gtest/gtest.h>

#include <string>

namespace
{

std::string decoded(std::string_view text)
{
    const auto bytes = decode_base64(text);
    return {bytes.begin(), bytes.end()};
}

struct TextCase
{
    std::string name;
    std::string text;
    std::string bytes;
};

std::ostream& operator<<(std::ostream& out, const TextCase& text)
{
    return out << '"' << text.text << '"';
}

class DecodeBase64 : public testing::TestWithParam<TextCase>
{
};

TEST_P(DecodeBase64, GivesTheBytes)
{
    EXPECT_EQ(decoded(GetParam().text), GetParam().bytes);
}

INSTANTIATE_TEST_SUITE_P(Rfc4648, DecodeBase64,
                         testing::Values(TextCase{"Empty", "", ""}, TextCase{"F", "Zg==", "f"},
                                         TextCase{"Fo", "Zm8=", "fo"},
                                         TextCase{"Foo", "Zm9v", "foo"},
                                         TextCase{"Foob", "Zm9vYg==", "foob"},
                                         TextCase{"Fooba", "Zm9vYmE=", "fooba"},
                                         TextCase{"Foobar", "Zm9vYmFy", "foobar"}),
                         name_of);

INSTANTIATE_TEST_SUITE_P(Partial, DecodeBase64,
                         testing::Values(TextCase{"WholeGroup", "QUJD", "ABC"},
                                         TextCase{"ThreeAndPadding", "QUI=", "AB"},
                                         TextCase{"ThreeAlone", "QUI", "AB"},
                                         TextCase{"TwoAlone", "QQ", "A"},
                                         TextCase{"OneAlone", "Q", ""},
                                         TextCase{"OneMoreThanAGroup", "QUJDQ", "ABC"},
                                         TextCase{"TwoMoreThanAGroup", "QUJDQQ", "ABCA"},
                                         TextCase{"LeftOverBitsAreDropped", "QUJ", "AB"},
                                         TextCase{"HighestDigits", "////", "\xff\xff\xff"},
                                         TextCase{"PlusAndSlash", "+/+/", "\xfb\xff\xbf"}),
                         name_of);

INSTANTIATE_TEST_SUITE_P(Foreign, DecodeBase64,
                         testing::Values(TextCase{"Blank", "QUJD QUJD", "ABC"},
                                         TextCase{"LineBreak", "QUJD\nQUJD", "ABC"},
                                         TextCase{"CarriageReturn", "QUJD\r\nQUJD", "ABC"},
                                         TextCase{"Dash", "QUJD-UJD", "ABC"},
                                         TextCase{"Underscore", "QUJD_UJD", "ABC"},
                                         TextCase{"PaddingInTheMiddle", "QUI=QUJD", "AB"},
                                         TextCase{"PaddingFirst", "=QUJD", ""},
                                         TextCase{"BlankFirst", " QUJD", ""},
                                         TextCase{"Null", std::string("QUJD\0QUJD", 9), "ABC"},
                                         TextCase{"HighBit", "QUJD\xc3\xa4QUJD", "ABC"}),
                         name_of);

TEST(DecodeBase64Stop, AtAForeignCharacterInEveryPosition)
{
    const std::string text = "Zm9vYmFy";
    const std::string prefixes[] = {"", "", "f", "fo", "foo", "foo", "foob", "fooba", "foobar"};
    for (const char foreign : std::string{" \n\t-_=.,:@[`{\x7f\x80\xff"})
    {
        for (std::size_t place = 0; place <= text.size(); ++place)
        {
            auto broken = text;
            broken.insert(place, 1, foreign);
            EXPECT_EQ(decoded(broken), prefixes[place]) << static_cast<int>(foreign) << place;
        }
    }
}

TEST(DecodeBase64Bytes, OfEveryValue)
{
    const std::string digits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    for (unsigned value = 0; value < 256; ++value)
    {
        const std::string text{digits[value >> 2], digits[(value & 3) << 4]};
        EXPECT_EQ(decode_base64(text), std::vector<std::uint8_t>{static_cast<std::uint8_t>(value)});
    }
}

} // namespace
