#include "report/writers/plain_text.hpp"

#include <gtest/gtest.h>

namespace
{

using namespace report;

TEST(PlainText, KeepsWhatXmlAllows)
{
    EXPECT_EQ(plain_text("a\t\r\n<&\"]]>\x7f\xc2\x80 é \xf0\x9f\x8e\x89"),
              "a\t\r\n<&\"]]>\x7f\xc2\x80 é \xf0\x9f\x8e\x89");
    EXPECT_EQ(plain_text("\xef\xbf\xbd"), "\xef\xbf\xbd");
    EXPECT_EQ(plain_text(""), "");
}

TEST(PlainText, ReplacesTheRest)
{
    using namespace std::string_view_literals;
    EXPECT_EQ(plain_text("\0|\x01|\x1f|\x0b"sv), "�|�|�|�");
    EXPECT_EQ(plain_text("\xef\xbf\xbe|\xef\xbf\xbf"), "�|�");      // U+FFFE, U+FFFF
    EXPECT_EQ(plain_text("\xff|\xe2\x82|\xed\xa0\x80"), "�|�|���"); // The last is a surrogate.
}

TEST(PlainText, CountsCharacters)
{
    EXPECT_EQ(plain_text("ééé", 3), "ééé");
    EXPECT_EQ(plain_text("éééé", 3), "éé…");
    EXPECT_EQ(plain_text("\xff\xff\xff\xff", 3), "��…");
    EXPECT_EQ(plain_text(std::string(1000, 'x')), std::string(1000, 'x'));
    EXPECT_EQ(plain_text(std::string(1001, 'x')), std::string(999, 'x') + "…");
}

} // namespace
