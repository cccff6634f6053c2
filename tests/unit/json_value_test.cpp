#include "mistake.hpp"
#include "simulator/json_value.hpp"

#include <gtest/gtest.h>

#include <limits>
#include <ostream>
#include <string>

namespace
{

using namespace simulator;

Value parse_value(const std::string& type, const std::string& text)
{
    const auto json = parse_json(text);
    return value_from_json(type, JsonPlace(*json, "value"));
}

/// The JSON notation that a text of another notation is read as.
std::string notation(const std::string& type, const std::string& text)
{
    const Value value = parse_value(type, text);
    EXPECT_EQ(value.signature, type);
    return json_text(value);
}

TEST(JsonValue, OfBasicTypes)
{
    EXPECT_EQ(parse_value("b", "true"), bool_value(true));
    EXPECT_EQ(parse_value("y", "255"), number_value('y', 255));
    EXPECT_EQ(parse_value("q", "65535"), number_value('q', 65535));
    EXPECT_EQ(parse_value("u", "4294967295"), number_value('u', 4294967295));
    EXPECT_EQ(parse_value("t", "18446744073709551615"),
              number_value('t', std::numeric_limits<std::uint64_t>::max()));
    EXPECT_EQ(parse_value("n", "-32768"), (Value{"n", std::int64_t{-32768}}));
    EXPECT_EQ(parse_value("i", "2147483647"), (Value{"i", std::int64_t{2147483647}}));
    EXPECT_EQ(parse_value("x", "-9223372036854775808"),
              (Value{"x", std::numeric_limits<std::int64_t>::min()}));
    EXPECT_EQ(parse_value("d", "2.5"), (Value{"d", 2.5}));
    EXPECT_EQ(parse_value("d", "-3"), (Value{"d", -3.0}));
    EXPECT_EQ(parse_value("s", R"("a✓")"), text_value("a✓"));
    EXPECT_EQ(parse_value("o", R"("/a/b")"), path_value("/a/b"));
    EXPECT_EQ(parse_value("g", R"("a{sv}")"), (Value{"g", std::string("a{sv}")}));
}

TEST(JsonValue, OfContainers)
{
    EXPECT_EQ(parse_value("aq", "[1, 2]"),
              array_value("q", {number_value('q', 1), number_value('q', 2)}));
    EXPECT_EQ(parse_value("aq", "[]"), array_value("q", {}));
    EXPECT_EQ(parse_value("(qs)", R"([1, "x"])"),
              struct_value({number_value('q', 1), text_value("x")}));
    EXPECT_EQ(parse_value("v", R"(["q", 1])"), variant_value(number_value('q', 1)));
    EXPECT_EQ(notation("a(qayuq)", R"([[1, "00ff", 2, 3]])"), "[[1,[0,255],2,3]]");
    EXPECT_EQ(notation("aas", R"([["a"], []])"), R"([["a"],[]])");
}

TEST(JsonValue, OfBytes)
{
    EXPECT_EQ(parse_value("ay", R"("00ffAb")"), bytes_value({0x00, 0xff, 0xab}));
    EXPECT_EQ(parse_value("ay", "[0, 255]"), bytes_value({0x00, 0xff}));
    EXPECT_EQ(parse_value("ay", R"("")"), bytes_value({}));
}

TEST(JsonValue, OfDictionaries)
{
    const Value expected = properties_value({{"a", number_value('q', 1)}, {"b", text_value("x")}});
    EXPECT_EQ(parse_value("a{sv}", R"({"a": ["q", 1], "b": ["s", "x"]})"), expected);
    EXPECT_EQ(parse_value("a{sv}", R"([["a", ["q", 1]], ["b", ["s", "x"]]])"), expected);
    EXPECT_EQ(notation("a{sq}", R"([["a", 1], ["a", 2]])"), R"([["a",1],["a",2]])");
    EXPECT_EQ(notation("a{qs}", R"([[7, "x"]])"), R"([[7,"x"]])");
    EXPECT_EQ(notation("a{oa{sa{sv}}}", R"({"/a": {"i.f": {"P": ["b", true]}}})"),
              R"([["/a",[["i.f",[["P",["b",true]]]]]]])");
}

TEST(JsonValue, Repeats)
{
    EXPECT_EQ(parse_value("s", R"({"repeat": "ab", "times": 3})"), text_value("ababab"));
    EXPECT_EQ(parse_value("s", R"({"repeat": "ab", "times": 0})"), text_value(""));
    EXPECT_EQ(parse_value("s", R"({"repeat": "", "times": 5})"), text_value(""));
    EXPECT_EQ(parse_value("ay", R"({"repeat": "00ff", "times": 2})"),
              bytes_value({0, 255, 0, 255}));
    EXPECT_EQ(parse_value("ay", R"({"repeat": 7, "times": 2})"), bytes_value({7, 7}));
    EXPECT_EQ(notation("aq", R"({"repeat": 5, "times": 2})"), "[5,5]");
    EXPECT_EQ(notation("a{sq}", R"({"repeat": ["k", 1], "times": 2})"), R"([["k",1],["k",1]])");
    EXPECT_EQ(notation("a(qayuq)", R"({"repeat": [1, {"repeat": "ab", "times": 2}, 3, 4],
                                       "times": 2})"),
              "[[1,[171,171],3,4],[1,[171,171],3,4]]");
}

TEST(JsonValue, RepeatsUpToTheSizeOfAMessage)
{
    const Value text = parse_value("s", R"({"repeat": "0123456789abcdef", "times": 1048576})");
    EXPECT_EQ(text_in(text).size(), 16777216U);
    const Value blocks = parse_value("aq", R"({"repeat": 1, "times": 10000})");
    EXPECT_EQ(elements_in(blocks).size(), 10000U);
}

TEST(JsonValue, OfWholeBody)
{
    const auto json = parse_json(R"(["qa{sv}s", 1, {}, "x"])");
    EXPECT_EQ(body_from_json(JsonPlace(*json)),
              (Body{number_value('q', 1), properties_value({}), text_value("x")}));
}

struct TypedMistake
{
    std::string name;
    std::string type;
    std::string json;
    std::string complaint;
};

std::ostream& operator<<(std::ostream& out, const TypedMistake& mistake)
{
    return out << mistake.type << " " << mistake.json;
}

class ValueMistake : public testing::TestWithParam<TypedMistake>
{
};

TEST_P(ValueMistake, IsNamedWithItsPlace)
{
    EXPECT_EQ(complaint_of<PlaceError>([] { parse_value(GetParam().type, GetParam().json); }),
              GetParam().complaint);
}

INSTANTIATE_TEST_SUITE_P(
    Basic, ValueMistake,
    testing::Values(
        TypedMistake{"BoolNumber", "b", "1",
                     "value: true or false is expected, not a whole number"},
        TypedMistake{"ByteRange", "y", "256", "value: 256 is out of range for type y (0 to 255)"},
        TypedMistake{"ByteNegative", "y", "-1", "value: -1 is out of range for type y (0 to 255)"},
        TypedMistake{"Uint16Range", "q", "65536",
                     "value: 65536 is out of range for type q (0 to 65535)"},
        TypedMistake{"Uint16Text", "q", R"("5")", "value: a whole number is expected, not a text"},
        TypedMistake{"Uint16Fraction", "q", "5.0",
                     "value: a whole number is expected, not a number with a fraction"},
        TypedMistake{"Uint32Range", "u", "4294967296",
                     "value: 4294967296 is out of range for type u (0 to 4294967295)"},
        TypedMistake{"Uint64Range", "t", "-1",
                     "value: -1 is out of range for type t (0 to 18446744073709551615)"},
        TypedMistake{"Int16Low", "n", "-32769",
                     "value: -32769 is out of range for type n (-32768 to 32767)"},
        TypedMistake{"Int16High", "n", "32768",
                     "value: 32768 is out of range for type n (-32768 to 32767)"},
        TypedMistake{"Int32High", "i", "2147483648",
                     "value: 2147483648 is out of range for type i (-2147483648 to 2147483647)"},
        TypedMistake{
            "Int64High", "x", "9223372036854775808",
            "value: 9223372036854775808 is out of range for type x (-9223372036854775808 to "
            "9223372036854775807)"},
        TypedMistake{"Int64Null", "x", "null", "value: a whole number is expected, not null"},
        TypedMistake{"DoubleText", "d", R"("1")", "value: a number is expected, not a text"},
        TypedMistake{"TextNumber", "s", "5", "value: a text is expected, not a whole number"},
        TypedMistake{"TextNul", "s", R"("a\u0000b")",
                     "value: a D-Bus text cannot hold the character U+0000"},
        TypedMistake{"TextRepeatTimes", "s", R"({"repeat": "ab", "times": 67108865})",
                     "value.times: 67108865 is out of range (0 to 67108864)"},
        TypedMistake{"TextOtherObject", "s", R"({"repeat": "ab"})",
                     "value: a text is expected, not an object"},
        TypedMistake{"TextRepeatNested", "s",
                     R"({"repeat": {"repeat": "ab", "times": 2}, "times": 2})",
                     "value.repeat: a text is expected, not an object"},
        TypedMistake{"Path", "o", R"("/a/")", "value: \"/a/\" is no valid object path"},
        TypedMistake{"Signature", "g", R"("a")",
                     "value: \"a\" is no valid signature: a type is missing at its end"}),
    name_of);

INSTANTIATE_TEST_SUITE_P(
    Container, ValueMistake,
    testing::Values(
        TypedMistake{"ArrayText", "as", R"("x")", "value: an array is expected, not a text"},
        TypedMistake{"ArrayElement", "as", R"(["x", 5])",
                     "value[1]: a text is expected, not a whole number"},
        TypedMistake{"ArrayRepeatTimes", "as", R"({"repeat": "x", "times": 1000001})",
                     "value.times: 1000001 is out of range (0 to 1000000)"},
        TypedMistake{"ArrayRepeatElement", "aq", R"({"repeat": "x", "times": 2})",
                     "value.repeat: a whole number is expected, not a text"},
        TypedMistake{"BytesDigits", "ay", R"("0g")", "value: \"0g\" is no pair of hex digits"},
        TypedMistake{"BytesOdd", "ay", R"("000")",
                     "value: an even number of hex digits is expected, not 3"},
        TypedMistake{"BytesElement", "ay", "[0, 256]",
                     "value[1]: 256 is out of range for type y (0 to 255)"},
        TypedMistake{"BytesRepeat", "ay", R"({"repeat": 256, "times": 2})",
                     "value.repeat: 256 is out of range for type y (0 to 255)"},
        TypedMistake{"StructCount", "(qs)", "[1]", "value: 2 values are expected, not 1"},
        TypedMistake{"StructField", "a(qs)", R"([[1, "x"], [1, 2]])",
                     "value[1][1]: a text is expected, not a whole number"},
        TypedMistake{"VariantUntyped", "v", "5", "value: an array is expected, not a whole number"},
        TypedMistake{"VariantTypes", "v", R"(["qq", 1])",
                     "value[0]: the signature of one complete type is expected, not \"qq\""},
        TypedMistake{"VariantNoType", "v", R"(["", 1])",
                     "value[0]: the signature of one complete type is expected, not \"\""},
        TypedMistake{"VariantSignature", "v", R"(["z", 1])",
                     "value[0]: \"z\" is no valid signature: 'z' is no type here"},
        TypedMistake{"DictionaryKey", "a{qs}", R"({"1": "x"})",
                     "value.1 (key): a whole number is expected, not a text"},
        TypedMistake{"DictionaryValue", "a{sq}", R"({"a": "x"})",
                     "value.a: a whole number is expected, not a text"},
        TypedMistake{"DictionaryPair", "a{sq}", R"([["a"]])",
                     "value[0]: 2 values are expected, not 1"}),
    name_of);

/// A q inside this many variants.
std::string nested_variants(int count)
{
    std::string text = R"(["q", 1])";
    for (int i = 1; i < count; ++i)
    {
        text = R"(["v", )" + text + "]";
    }
    return text;
}

std::string value_complaint(const std::string& type, const std::string& json)
{
    return complaint_of<PlaceError>([&] { parse_value(type, json); });
}

TEST(JsonValue, NestsAsDeepAsTheBusTakes)
{
    EXPECT_EQ(value_complaint("v", nested_variants(57)), "(no complaint)");
    const std::string complaint = value_complaint("v", nested_variants(58));
    const std::string expected = "more than 57 containers within each other";
    EXPECT_TRUE(complaint.ends_with(expected)) << complaint;
    EXPECT_EQ(value_complaint("aa{s(v)}", R"([{"k": [)" + nested_variants(53) + "]}]"),
              "(no complaint)");
    EXPECT_NE(value_complaint("aa{s(v)}", R"([{"k": [)" + nested_variants(54) + "]}]"),
              "(no complaint)");
}

TEST(JsonValue, NestedRepeatsHaveALimit)
{
    EXPECT_EQ(value_complaint("aan", R"({"repeat": {"repeat": 1, "times": 1000}, "times": 9991})"),
              "value.times: 9991 is out of range (0 to 9990)");
    const std::string piece(64, 'x');
    EXPECT_EQ(value_complaint("as", R"({"repeat": {"repeat": ")" + piece +
                                        R"(", "times": 524287}, "times": 5})"),
              "value.times: 5 is out of range (0 to 4)");
}

} // namespace
