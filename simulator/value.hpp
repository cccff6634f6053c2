#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <variant>
#include <vector>

namespace simulator
{

struct Value;

using Bytes = std::vector<std::uint8_t>;

/// Values one after the other: the body of a message, or what a container holds.
using Body = std::vector<Value>;

/// One D-Bus value.
struct Value
{
    /// The signature of exactly one complete type.
    std::string signature;

    /// What fits the type: bool for b; unsigned for y, q, u, t; signed for n, i, x; double for d;
    /// text for s, o, g; Bytes for ay; Body for the elements of any other array, the fields of a
    /// structure or a dictionary entry, and the one content of a variant.
    std::variant<bool, std::uint64_t, std::int64_t, double, std::string, Bytes, Body> content;

    bool operator==(const Value&) const = default;
};

/// Property values (not wrapped in variants) by property name.
using Properties = std::map<std::string, Value>;

Value bool_value(bool content);

/// An unsigned number of type y, q, u or t.
Value number_value(char type, std::uint64_t content);

Value text_value(std::string content);

/// A value of type o; `path` has to be a valid object path.
Value path_value(std::string path);

Value bytes_value(Bytes content);

Value struct_value(Body fields);

Value variant_value(Value content);

/// An array; `element` is the signature of its elements, "{sv}" for instance.
Value array_value(const std::string& element, Body elements);

/// The dictionary entry {key, content}.
Value entry_value(Value key, Value content);

/// The value of type a{sv} that holds `properties`.
Value properties_value(const Properties& properties);

std::string body_signature(const Body& body);

/// The number in an unsigned value; throws std::bad_variant_access for other values.
std::uint64_t number_in(const Value& value);

/// The text in a value of type s, o or g; throws std::bad_variant_access for other values.
const std::string& text_in(const Value& value);

/// The elements or fields in a container other than ay; throws std::bad_variant_access for other
/// values.
const Body& elements_in(const Value& value);

} // namespace simulator
