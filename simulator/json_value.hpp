#pragma once

#include "simulator/json_place.hpp"
#include "simulator/value.hpp"

#include <string>

namespace simulator
{

/// The D-Bus value of one complete type that a JSON value writes down. Throws PlaceError when the
/// JSON value does not fit the type.
Value value_from_json(const std::string& type, const JsonPlace& place);

/// A value that states its type: [SIGNATURE, VALUE], the signature being one complete type.
Value typed_value_from_json(const JsonPlace& place);

/// A whole message body: [SIGNATURE, VALUE...], one JSON value for each complete type.
Body body_from_json(const JsonPlace& place);

/// Throws PlaceError when the bus takes no such text, which came with `place`.
void check_text(const std::string& text, const JsonPlace& place);

/// The complete types of a signature; throws PlaceError instead of std::invalid_argument.
std::vector<std::string> types_at(const JsonPlace& place);

/// The JSON notation of a value: variants as [SIGNATURE, VALUE], dictionaries as arrays of pairs.
std::string json_text(const Value& value);

} // namespace simulator
