#include "mistake.hpp"
#include "simulator/rules.hpp"

#include <gtest/gtest.h>

#include <string>

namespace
{

using namespace simulator;

const Method& get_signed_measurement()
{
    return *find_method(device_interface, "GetSignedMeasurement");
}

std::vector<Rule> parse_rules(const std::string& text)
{
    const auto json = parse_json(text);
    return rules_from_json(JsonPlace(*json, "rules"), get_signed_measurement());
}

/// The arguments of GetSignedMeasurement.
Body arguments(std::vector<std::uint64_t> indices, std::uint64_t slot, const std::string& nonce)
{
    Body elements;
    for (const std::uint64_t index : indices)
    {
        elements.push_back(number_value('q', index));
    }
    return {array_value("q", elements), number_value('q', slot), text_value(nonce)};
}

const Body any_arguments = arguments({1}, 0, "");

/// Those of the calls 1 to 10 that a rule with these members applies to.
std::string calls_of(const std::string& members)
{
    const auto rules = parse_rules("{" + members + R"(, "no_reply": true})");
    std::string calls;
    for (std::uint64_t number = 1; number <= 10; ++number)
    {
        calls += choose_rule(rules, number, any_arguments) == nullptr
                     ? ""
                     : " " + std::to_string(number);
    }
    return calls;
}

bool is_for(const std::string& members, const Body& arguments)
{
    const auto rules = parse_rules("{" + members + R"(, "no_reply": true})");
    return choose_rule(rules, 1, arguments) != nullptr;
}

template <typename Kind>
Kind action_of(const std::string& rule)
{
    return std::get<Kind>(parse_rules(rule).at(0).action);
}

TEST(Rules, SelectByTheNumberOfTheCall)
{
    EXPECT_EQ(calls_of(R"("call": 3)"), " 3");
    EXPECT_EQ(calls_of(R"("call": [9, 1, 4])"), " 1 4 9");
    EXPECT_EQ(calls_of(R"("call": {"from": 4, "to": 6})"), " 4 5 6");
    EXPECT_EQ(calls_of(R"("call": {"from": 9})"), " 9 10");
    EXPECT_EQ(calls_of(R"("call": {"to": 2})"), " 1 2");
    EXPECT_EQ(calls_of(R"("call": {"every": 4})"), " 4 8");
    EXPECT_EQ(calls_of(R"("call": {"every": 2, "from": 5})"), " 6 8 10");
    EXPECT_EQ(calls_of(R"("delay_ms": 0)"), " 1 2 3 4 5 6 7 8 9 10");
}

TEST(Rules, SelectByArguments)
{
    EXPECT_TRUE(is_for(R"("slot": 2)", arguments({1}, 2, "")));
    EXPECT_FALSE(is_for(R"("slot": 2)", arguments({2}, 1, "")));
    EXPECT_TRUE(is_for(R"("indices": [1, 2])", arguments({1, 2}, 0, "")));
    EXPECT_FALSE(is_for(R"("indices": [1, 2])", arguments({2, 1}, 0, "")));
    EXPECT_FALSE(is_for(R"("indices": [1, 2])", arguments({1}, 0, "")));
    EXPECT_TRUE(is_for(R"("indices": [])", arguments({}, 0, "")));
    EXPECT_TRUE(is_for(R"("nonce": "ab")", arguments({}, 0, "ab")));
    EXPECT_FALSE(is_for(R"("nonce": "ab")", arguments({}, 0, "AB")));
}

TEST(Rules, AllSelectorsHaveToHold)
{
    const std::string members = R"("slot": 2, "nonce": "ab", "call": 1)";
    EXPECT_TRUE(is_for(members, arguments({1}, 2, "ab")));
    EXPECT_FALSE(is_for(members, arguments({1}, 2, "")));
    EXPECT_FALSE(is_for(members, arguments({1}, 3, "ab")));
    EXPECT_EQ(calls_of(R"("slot": 0, "call": 2)"), " 2");
}

TEST(Rules, FirstMatchWins)
{
    const auto rules = parse_rules(R"([{"slot": 1, "cut": 1}, {"slot": 1, "cut": 2}, {"cut": 3}])");
    EXPECT_EQ(choose_rule(rules, 1, arguments({}, 1, "")), &rules[0]);
    EXPECT_EQ(choose_rule(rules, 1, arguments({}, 0, "")), &rules[2]);
}

TEST(Rules, NoneMayMatch)
{
    EXPECT_EQ(choose_rule(parse_rules("[]"), 1, any_arguments), nullptr);
    EXPECT_EQ(choose_rule(parse_rules(R"([{"slot": 1, "cut": 1}])"), 1, any_arguments), nullptr);
}

TEST(Rules, ActionsAreRead)
{
    EXPECT_EQ(*action_of<std::shared_ptr<const Body>>(R"({"reply": ["sq", "x", 1]})"),
              (Body{text_value("x"), number_value('q', 1)}));
    EXPECT_TRUE(action_of<std::shared_ptr<const Body>>(R"({"reply": [""]})")->empty());
    EXPECT_EQ(action_of<ErrorReply>(R"({"error": ["a.b.C", "why"]})").name, "a.b.C");
    EXPECT_EQ(action_of<ErrorReply>(R"({"error": ["a.b.C", "why"]})").message, "why");
    EXPECT_EQ(action_of<CutShort>(R"({"cut": 2})").fields, 2U);
    action_of<Silence>(R"({"no_reply": true})");
    action_of<LeaveBus>(R"({"disconnect": true})");
    action_of<BuiltIn>(R"({"delay_ms": 7})");
}

TEST(Rules, DelayGoesWithEveryAction)
{
    EXPECT_EQ(parse_rules(R"({"delay_ms": 7})")[0].delay, std::chrono::milliseconds(7));
    EXPECT_EQ(parse_rules(R"({"delay_ms": 8, "cut": 1})")[0].delay, std::chrono::milliseconds(8));
    EXPECT_EQ(parse_rules(R"({"cut": 1})")[0].delay, std::chrono::milliseconds(0));
}

class RulesMistake : public testing::TestWithParam<Mistake>
{
};

TEST_P(RulesMistake, IsNamedWithItsPlace)
{
    EXPECT_EQ(complaint_of<PlaceError>([] { parse_rules(GetParam().written); }),
              GetParam().complaint);
}

INSTANTIATE_TEST_SUITE_P(
    Rules, RulesMistake,
    testing::Values(
        Mistake{"NoArray", "5", "rules: an array is expected, not a whole number"},
        Mistake{"NoAction", R"({"slot": 1})",
                "rules: the rule has no action: reply, error, cut, no_reply, disconnect or "
                "delay_ms"},
        Mistake{"TwoActions", R"({"cut": 1, "reply": [""]})",
                "rules: a rule has one action, not both \"reply\" and \"cut\""},
        Mistake{"UnknownMember", R"([{"cut": 1}, {"cuts": 1}])",
                "rules[1]: the member \"cuts\" is not known here"},
        Mistake{"SelectorOfOtherMethod", R"({"property": "XMID", "cut": 1})",
                "rules: the member \"property\" is not known here"},
        Mistake{"SlotRange", R"({"slot": 65536, "cut": 1})",
                "rules.slot: 65536 is out of range for type q (0 to 65535)"},
        Mistake{"IndexType", R"({"indices": [1, "2"], "cut": 1})",
                "rules.indices[1]: a whole number is expected, not a text"},
        Mistake{"NonceType", R"({"nonce": 1, "cut": 1})",
                "rules.nonce: a text is expected, not a whole number"},
        Mistake{"CallZero", R"({"call": 0, "cut": 1})", "rules.call: calls are counted from 1"},
        Mistake{"CallZeroInList", R"({"call": [1, 0], "cut": 1})",
                "rules.call[1]: calls are counted from 1"},
        Mistake{"CallNone", R"({"call": [], "cut": 1})", "rules.call: the list of calls is empty"},
        Mistake{"CallText", R"({"call": "1", "cut": 1})",
                "rules.call: a whole number is expected, not a text"},
        Mistake{"CallEvery", R"({"call": {"every": 0}, "cut": 1})",
                "rules.call.every: calls are counted from 1"},
        Mistake{"CallMember", R"({"call": {"until": 5}, "cut": 1})",
                "rules.call: the member \"until\" is not known here"},
        Mistake{"ErrorParts", R"({"error": ["a.b"]})",
                "rules.error: [ERROR NAME, MESSAGE] is expected"},
        Mistake{"ErrorName", R"({"error": ["Failed", "why"]})",
                "rules.error[0]: \"Failed\" is no valid error name"},
        Mistake{"ErrorNameDigit", R"({"error": ["a.9b", "why"]})",
                "rules.error[0]: \"a.9b\" is no valid error name"},
        Mistake{"ErrorMessage", R"({"error": ["a.b", 5]})",
                "rules.error[1]: a text is expected, not a whole number"},
        Mistake{"CutRange", R"({"cut": 256})", "rules.cut: 256 is out of range (0 to 255)"},
        Mistake{"NoReplyFalse", R"({"no_reply": false})",
                "rules.no_reply: only true can be written here"},
        Mistake{"DisconnectNumber", R"({"disconnect": 1})",
                "rules.disconnect: true or false is expected, not a whole number"},
        Mistake{"DelayRange", R"({"delay_ms": 86400001})",
                "rules.delay_ms: 86400001 is out of range (0 to 86400000)"},
        Mistake{"ReplyEmpty", R"({"reply": []})", "rules.reply: [SIGNATURE, VALUE...] is expected"},
        Mistake{"ReplyCount", R"({"reply": ["qs", 1]})",
                "rules.reply: the signature \"qs\" asks for 2 values, not 1"},
        Mistake{"ReplyValue", R"({"reply": ["qs", 1, 2]})",
                "rules.reply[2]: a text is expected, not a whole number"}),
    name_of);

} // namespace
