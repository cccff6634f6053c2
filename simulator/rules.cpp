#include "simulator/rules.hpp"

#include "simulator/json_value.hpp"
#include "simulator/names.hpp"

#include <algorithm>

namespace simulator
{

namespace
{

constexpr std::uint64_t any_number = std::numeric_limits<std::uint64_t>::max();
constexpr std::uint64_t longest_delay_ms = 24ULL * 60 * 60 * 1000;
constexpr std::uint64_t most_fields = 255;

std::uint64_t positive(const JsonPlace& place)
{
    const auto number = place.unsigned_number(any_number);
    if (number == 0)
    {
        place.fail("calls are counted from 1");
    }
    return number;
}

std::uint64_t positive_or(const std::optional<JsonPlace>& place, std::uint64_t otherwise)
{
    return place ? positive(*place) : otherwise;
}

CallNumbers call_numbers(const JsonPlace& place)
{
    CallNumbers calls;
    if (place.is_object())
    {
        place.allow_only({"from", "to", "every"});
        calls.from = positive_or(place.find("from"), calls.from);
        calls.to = positive_or(place.find("to"), calls.to);
        calls.every = positive_or(place.find("every"), calls.every);
    }
    else if (place.is_array())
    {
        for (const JsonPlace& number : place.elements())
        {
            calls.listed.push_back(positive(number));
        }
        if (calls.listed.empty())
        {
            place.fail("the list of calls is empty");
        }
    }
    else
    {
        calls.from = calls.to = positive(place);
    }
    return calls;
}

Action reply_action(const JsonPlace& place)
{
    return std::make_shared<const Body>(body_from_json(place));
}

Action error_action(const JsonPlace& place)
{
    const auto parts = place.elements();
    if (parts.size() != 2)
    {
        place.fail("[ERROR NAME, MESSAGE] is expected");
    }
    if (!is_error_name(parts[0].text()))
    {
        parts[0].fail("\"" + parts[0].text() + "\" is no valid error name");
    }
    return ErrorReply{parts[0].text(), text_in(value_from_json("s", parts[1]))};
}

Action cut_action(const JsonPlace& place)
{
    return CutShort{static_cast<std::size_t>(place.unsigned_number(most_fields))};
}

void demand_true(const JsonPlace& place)
{
    if (!place.boolean())
    {
        place.fail("only true can be written here");
    }
}

Action silence_action(const JsonPlace& place)
{
    demand_true(place);
    return Silence{};
}

Action leave_action(const JsonPlace& place)
{
    demand_true(place);
    return LeaveBus{};
}

struct ActionReader
{
    const char* name;
    Action (*read)(const JsonPlace&);
};

constexpr ActionReader action_readers[] = {
    {"reply", reply_action},      {"error", error_action},      {"cut", cut_action},
    {"no_reply", silence_action}, {"disconnect", leave_action},
};

Action read_action(const JsonPlace& place)
{
    Action action = BuiltIn{};
    const char* found = nullptr;
    for (const ActionReader& reader : action_readers)
    {
        const auto written = place.find(reader.name);
        if (written && found != nullptr)
        {
            place.fail(std::string("a rule has one action, not both \"") + found + "\" and \"" +
                       reader.name + "\"");
        }
        if (written)
        {
            action = reader.read(*written);
            found = reader.name;
        }
    }
    if (found == nullptr && !place.find("delay_ms"))
    {
        place.fail("the rule has no action: reply, error, cut, no_reply, disconnect or delay_ms");
    }
    return action;
}

void check_members(const JsonPlace& place, const Method& method)
{
    std::vector<std::string> names{"call", "delay_ms"};
    for (const ActionReader& reader : action_readers)
    {
        names.emplace_back(reader.name);
    }
    for (const Argument& argument : method.in)
    {
        names.push_back(argument.name);
    }
    place.allow_only(names);
}

Rule read_rule(const JsonPlace& place, const Method& method)
{
    check_members(place, method);
    Rule rule;
    rule.action = read_action(place);
    if (const auto delay = place.find("delay_ms"))
    {
        rule.delay = std::chrono::milliseconds(delay->unsigned_number(longest_delay_ms));
    }
    if (const auto calls = place.find("call"))
    {
        rule.calls = call_numbers(*calls);
    }
    for (std::size_t i = 0; i < method.in.size(); ++i)
    {
        if (const auto argument = place.find(method.in[i].name))
        {
            rule.arguments.push_back({i, value_from_json(method.in[i].type, *argument)});
        }
    }
    return rule;
}

bool is_for(const Rule& rule, std::uint64_t number, const Body& arguments)
{
    const auto matches = [&](const ArgumentSelector& selector) {
        return selector.position < arguments.size() &&
               arguments[selector.position] == selector.value;
    };
    return rule.calls.contains(number) &&
           std::all_of(rule.arguments.begin(), rule.arguments.end(), matches);
}

} // namespace

bool CallNumbers::contains(std::uint64_t number) const
{
    const bool in_list =
        listed.empty() || std::find(listed.begin(), listed.end(), number) != listed.end();
    return in_list && number >= from && number <= to && number % every == 0;
}

const Rule* choose_rule(std::span<const Rule> rules, std::uint64_t number, const Body& arguments)
{
    const auto chosen = std::find_if(rules.begin(), rules.end(), [&](const Rule& rule) {
        return is_for(rule, number, arguments);
    });
    return chosen == rules.end() ? nullptr : &*chosen;
}

std::vector<Rule> rules_from_json(const JsonPlace& place, const Method& method)
{
    if (place.is_object())
    {
        return {read_rule(place, method)};
    }
    std::vector<Rule> rules;
    for (const JsonPlace& rule : place.elements())
    {
        rules.push_back(read_rule(rule, method));
    }
    return rules;
}

} // namespace simulator
