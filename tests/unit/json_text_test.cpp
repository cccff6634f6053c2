#include "report/writers/json_text.hpp"
#include "report/writers/utf8.hpp"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <optional>
#include <ostream>
#include <string>
#include <variant>
#include <vector>

namespace
{

using report::Bytes;
using report::JsonText;
using namespace std::literals;

template <typename Value>
std::string json_of(const Value& value)
{
    JsonText json;
    json.value(value);
    return json.take();
}

struct TextCase
{
    std::string name;
    std::string text;
    std::string json; ///< Without the quotes.
};

std::ostream& operator<<(std::ostream& out, const TextCase& text)
{
    return out << text.name;
}

class JsonTextOf : public testing::TestWithParam<TextCase>
{
};

TEST_P(JsonTextOf, Bytes)
{
    EXPECT_EQ(json_of(GetParam().text), '"' + GetParam().json + '"');
}

/// Wherever they lie among the eight bytes that are looked at together.
TEST_P(JsonTextOf, BytesAmongOthers)
{
    const std::string plain = "a b~c!d#e$f%g&h'";
    for (std::size_t before = 0; before < plain.size(); ++before)
    {
        for (std::size_t after = 0; after < plain.size(); ++after)
        {
            const auto head = plain.substr(0, before);
            const auto tail = plain.substr(0, after);
            EXPECT_EQ(json_of(head + GetParam().text + tail),
                      '"' + head + GetParam().json + tail + '"');
        }
    }
}

const std::string mark = "\xef\xbf\xbd";

INSTANTIATE_TEST_SUITE_P(
    Escapes, JsonTextOf,
    testing::Values(TextCase{"Nothing", "", ""}, TextCase{"Quote", "\"", "\\\""},
                    TextCase{"Backslash", "\\", "\\\\"}, TextCase{"Slash", "/", "/"},
                    TextCase{"LineEnd", "\n", "\\u000a"}, TextCase{"Tab", "\t", "\\u0009"},
                    TextCase{"Nul", "\0"s, "\\u0000"}, TextCase{"UnitSeparator", "\x1f", "\\u001f"},
                    TextCase{"Blank", " ", " "}, TextCase{"Delete", "\x7f", "\x7f"},
                    TextCase{"Several", "\"\r\\\n\"", "\\\"\\u000d\\\\\\u000a\\\""}),
    [](const auto& info) { return info.param.name; });

INSTANTIATE_TEST_SUITE_P(
    Utf8, JsonTextOf,
    testing::Values(
        TextCase{"TwoBytes", "\xc2\x80\xdf\xbf", "\xc2\x80\xdf\xbf"},
        TextCase{"ThreeBytes", "\xe0\xa0\x80✓\xef\xbf\xbf", "\xe0\xa0\x80✓\xef\xbf\xbf"},
        TextCase{"AroundTheSurrogates", "\xed\x9f\xbf\xee\x80\x80", "\xed\x9f\xbf\xee\x80\x80"},
        TextCase{"FourBytes", "\xf0\x90\x80\x80\xf4\x8f\xbf\xbf🎉",
                 "\xf0\x90\x80\x80\xf4\x8f\xbf\xbf🎉"},
        TextCase{"LineSeparators", "\xe2\x80\xa8\xe2\x80\xa9", "\xe2\x80\xa8\xe2\x80\xa9"}),
    [](const auto& info) { return info.param.name; });

INSTANTIATE_TEST_SUITE_P(
    NoUtf8, JsonTextOf,
    testing::Values(TextCase{"LoneContinuations", "\x80\xbf", mark + mark},
                    TextCase{"OverlongOfTwo", "\xc0\xaf\xc1\xbf", mark + mark + mark + mark},
                    TextCase{"OverlongOfThree", "\xe0\x9f\xbf", mark + mark + mark},
                    TextCase{"OverlongOfFour", "\xf0\x8f\xbf\xbf", mark + mark + mark + mark},
                    TextCase{"Surrogate", "\xed\xa0\x80", mark + mark + mark},
                    TextCase{"BeyondTheLast", "\xf4\x90\x80\x80", mark + mark + mark + mark},
                    TextCase{"LeadsThatNeverAre", "\xf5\x80\xff", mark + mark + mark},
                    TextCase{"CutInTwo", "\xc3\"", mark + "\\\""},
                    TextCase{"CutInThree", "\xe2\x9c.", mark + "."},
                    TextCase{"CutInFour", "\xf0\x9f\x8e.\xf0\x9f.", mark + "." + mark + "."},
                    TextCase{"CutByALead", "\xe2\x9c\xe2\x9c\x93", mark + "✓"},
                    TextCase{"CutThenAControl", "\xe2\x9c\x1f", mark + "\\u001f"},
                    TextCase{"LastByteTooGreat", "\xe2\x9c\xc0.", mark + mark + "."}),
    [](const auto& info) { return info.param.name; });

TEST(JsonText, CutCharacterAtTheEndIsOneReplacement)
{
    EXPECT_EQ(json_of("a\xc3"s), "\"a" + mark + '"');
    EXPECT_EQ(json_of("a\xe2\x9c"s), "\"a" + mark + '"');
    EXPECT_EQ(json_of("a\xf0\x9f\x8e"s), "\"a" + mark + '"');
}

TEST(JsonText, NumbersInFull)
{
    EXPECT_EQ(json_of(0), "0");
    EXPECT_EQ(json_of(std::uint8_t{65}), "65");
    EXPECT_EQ(json_of(std::numeric_limits<std::uint64_t>::max()), "18446744073709551615");
    EXPECT_EQ(json_of(std::numeric_limits<std::int64_t>::min()), "-9223372036854775808");
}

TEST(JsonText, OtherValues)
{
    EXPECT_EQ(json_of(true), "true");
    EXPECT_EQ(json_of(false), "false");
    EXPECT_EQ(json_of(std::optional<int>{}), "null");
    EXPECT_EQ(json_of(std::optional{7}), "7");
    EXPECT_EQ(json_of(std::variant<std::monostate, int>{}), "null");
    EXPECT_EQ(json_of(std::variant<std::monostate, int>{7}), "7");
    EXPECT_EQ(json_of(std::vector<int>{}), "[]");
    EXPECT_EQ(json_of(std::vector<int>{1, 2}), "[1,2]");
    EXPECT_EQ(json_of("text"), "\"text\"");
}

TEST(JsonText, BytesInHexadecimal)
{
    EXPECT_EQ(json_of(Bytes{""}), "\"\"");
    EXPECT_EQ(json_of(Bytes{"\x00\x0f\x7f\x80\xff"sv}), "\"000f7f80ff\"");
}

TEST(JsonText, ObjectsAndArraysOfAnything)
{
    JsonText json;
    json.begin_object();
    json("number", 1);
    json.name("array");
    json.begin_array();
    json.begin_object();
    json.end_object();
    json.begin_object();
    json("text", "x");
    json.end_object();
    json.end_array();
    json.end_object();
    EXPECT_EQ(json.take(), R"({"number":1,"array":[{},{"text":"x"}]})");
}

TEST(JsonText, LinesOfValues)
{
    JsonText json;
    json.value(1);
    json.end_line();
    json.value(2);
    json.end_line();
    EXPECT_EQ(json.take(), "1\n2\n");
    EXPECT_EQ(json.take(), "");
}

TEST(JsonText, GrowsAtOnceForWhatIsLong)
{
    const std::string text(100000, 'x');
    EXPECT_EQ(json_of(text), '"' + text + '"');
    EXPECT_EQ(json_of(Bytes{text}).size(), 2 * text.size() + 2);
}

/// Whatever ends the buffer.
TEST(JsonText, GrowsAtAnyPlace)
{
    for (std::size_t size = 4000; size < 4200; ++size)
    {
        JsonText json;
        json.value(std::string(size, 'x'));
        json("name", 1234567890123456789);
        json("other name", true);
        EXPECT_EQ(json.take(), '"' + std::string(size, 'x') +
                                   R"(","name":1234567890123456789,"other name":true)");
    }
}

TEST(JsonText, GrowsWithWhateverComes)
{
    JsonText json;
    std::string expected;
    for (std::size_t size = 0; size < 5000; size += 7)
    {
        json.value(std::string(size, 'x'));
        json.value(Bytes{std::string_view{"\xab\xab\xab\xab\xab"}});
        json.value(1234567890123456789);
        json("name", true);
        expected +=
            '"' + std::string(size, 'x') + "\",\"ababababab\",1234567890123456789,\"name\":true,";
    }
    expected.pop_back();
    EXPECT_EQ(json.take(), expected);
}

} // namespace
