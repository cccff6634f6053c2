#pragma once

#include "simulator/interfaces.hpp"
#include "simulator/json_place.hpp"
#include "simulator/value.hpp"

#include <chrono>
#include <cstdint>
#include <limits>
#include <memory>
#include <span>
#include <variant>
#include <vector>

namespace simulator
{

struct ErrorReply
{
    std::string name;
    std::string message;
};

/// The device's own answer, untouched.
struct BuiltIn
{
};

/// The device's own answer, of which only the first fields are sent.
struct CutShort
{
    std::size_t fields;
};

/// Takes the call and never answers.
struct Silence
{
};

/// Closes the connection to the bus without an answer.
struct LeaveBus
{
};

/// What to do about a call. A fixed reply is shared, because it may be large and may wait.
using Action =
    std::variant<BuiltIn, std::shared_ptr<const Body>, ErrorReply, CutShort, Silence, LeaveBus>;

/// Which calls, counted from 1, a rule is for: those from `from` to `to`, of which every `every`th,
/// and only those in `listed` unless it is empty.
struct CallNumbers
{
    std::uint64_t from = 1;
    std::uint64_t to = std::numeric_limits<std::uint64_t>::max();
    std::uint64_t every = 1;
    std::vector<std::uint64_t> listed;

    bool contains(std::uint64_t number) const;
};

/// Demands that the argument at this position has this value.
struct ArgumentSelector
{
    std::size_t position;
    Value value;
};

struct Rule
{
    CallNumbers calls;
    std::vector<ArgumentSelector> arguments;
    Action action;
    std::chrono::milliseconds delay{0};
};

/// The first rule for the `number`th call with these arguments, null when none is for it.
const Rule* choose_rule(std::span<const Rule> rules, std::uint64_t number, const Body& arguments);

/// Reads one rule or an array of rules for calls of `method`; throws PlaceError.
std::vector<Rule> rules_from_json(const JsonPlace& place, const Method& method);

} // namespace simulator
