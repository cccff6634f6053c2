#include "simulator/json_value.hpp"

#include "simulator/names.hpp"
#include "simulator/signature.hpp"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <limits>

namespace simulator
{

namespace
{

// A message has at most 128 MiB; more elements or bytes than these can never be sent.
constexpr std::uint64_t longest_text = 128ULL * 1024 * 1024;
constexpr std::uint64_t most_elements = 1'000'000;
// The limit for values made by repeats, nested ones included.
constexpr std::uint64_t most_values = 10'000'000;
// The bus takes 64 containers within each other; GetManagedObjects puts 7 around a property.
constexpr int most_containers = 57;

Value read(const std::string& type, const JsonPlace& place, int depth);

bool is_repeat(const JsonPlace& place)
{
    return place.is_object() && place.find("repeat") && place.find("times") &&
           place.members().size() == 2;
}

std::size_t times_of(const JsonPlace& place, std::uint64_t greatest)
{
    return static_cast<std::size_t>(place.member("times").unsigned_number(greatest));
}

template <typename Sequence>
Sequence repeated(const Sequence& once, const JsonPlace& place)
{
    const auto times = times_of(place, longest_text / (once.empty() ? 1 : once.size()));
    Sequence all;
    all.reserve(once.size() * times);
    for (std::size_t i = 0; i < times && !once.empty(); ++i)
    {
        all.insert(all.end(), once.begin(), once.end());
    }
    return all;
}

std::string plain_text(const JsonPlace& place)
{
    check_text(place.text(), place);
    return place.text();
}

std::string read_text(const JsonPlace& place)
{
    return is_repeat(place) ? repeated(plain_text(place.member("repeat")), place)
                            : plain_text(place);
}

std::string read_path(const JsonPlace& place)
{
    if (!is_object_path(plain_text(place)))
    {
        place.fail("\"" + place.text() + "\" is no valid object path");
    }
    return place.text();
}

std::string read_signature(const JsonPlace& place)
{
    types_at(place);
    return place.text();
}

std::uint8_t read_byte(const JsonPlace& place)
{
    return static_cast<std::uint8_t>(place.unsigned_number(255, "type y"));
}

Bytes plain_bytes(const JsonPlace& place)
{
    if (place.is_text())
    {
        return place.hex_bytes();
    }
    Bytes bytes;
    for (const JsonPlace& element : place.elements())
    {
        bytes.push_back(read_byte(element));
    }
    return bytes;
}

Bytes read_bytes(const JsonPlace& place)
{
    if (!is_repeat(place))
    {
        return plain_bytes(place);
    }
    const JsonPlace once = place.member("repeat");
    return repeated(once.is_number() ? Bytes{read_byte(once)} : plain_bytes(once), place);
}

Body read_fields(const std::vector<std::string>& types, const JsonPlace& place, int depth)
{
    const auto elements = place.elements();
    if (elements.size() != types.size())
    {
        place.fail(std::to_string(types.size()) + " values are expected, not " +
                   std::to_string(elements.size()));
    }
    Body fields;
    for (std::size_t i = 0; i < types.size(); ++i)
    {
        fields.push_back(read(types[i], elements[i], depth));
    }
    return fields;
}

/// The types between the brackets of a structure or dictionary entry.
std::vector<std::string> inner_types(const std::string& type)
{
    return complete_types(std::string_view(type).substr(1, type.size() - 2));
}

Value read_element(const std::string& type, const JsonPlace& place, int depth)
{
    const bool bracketed = type.front() == '{';
    return bracketed ? Value{type, read_fields(inner_types(type), place, depth + 1)}
                     : read(type, place, depth);
}

/// A dictionary written as an object: its keys are texts, so its key type has to be one.
Body read_object_entries(const std::string& type, const JsonPlace& place, int depth)
{
    const auto types = inner_types(type);
    Body entries;
    for (const auto& [name, content] : place.members())
    {
        const Json key = name;
        entries.push_back(
            {type, Body{read(types[0], JsonPlace(key, content.place() + " (key)"), depth + 1),
                        read(types[1], content, depth + 1)}});
    }
    return entries;
}

/// How much a value holds.
struct Extent
{
    std::uint64_t bytes = 8; // for a number, or for a size and padding
    std::uint64_t values = 1;
};

Extent extent_of(const Value& value)
{
    Extent extent;
    if (const auto* text = std::get_if<std::string>(&value.content))
    {
        extent.bytes += text->size();
    }
    else if (const auto* bytes = std::get_if<Bytes>(&value.content))
    {
        extent.bytes += bytes->size();
    }
    else if (const auto* held = std::get_if<Body>(&value.content))
    {
        for (const Value& element : *held)
        {
            const Extent more = extent_of(element);
            extent.bytes += more.bytes;
            extent.values += more.values;
        }
    }
    return extent;
}

Body repeated_element(const Value& element, const JsonPlace& place)
{
    const Extent extent = extent_of(element);
    const std::size_t times = times_of(
        place, std::min({most_elements, longest_text / extent.bytes, most_values / extent.values}));
    return Body(times, element);
}

Body read_elements(const std::string& type, const JsonPlace& place, int depth)
{
    if (is_repeat(place))
    {
        return repeated_element(read_element(type, place.member("repeat"), depth), place);
    }
    if (type.front() == '{' && place.is_object())
    {
        return read_object_entries(type, place, depth);
    }
    Body elements;
    for (const JsonPlace& element : place.elements())
    {
        elements.push_back(read_element(type, element, depth));
    }
    return elements;
}

Value read_array(const std::string& type, const JsonPlace& place, int depth)
{
    if (type == "ay")
    {
        return bytes_value(read_bytes(place));
    }
    return {type, read_elements(type.substr(1), place, depth + 1)};
}

Value read_typed(const JsonPlace& place, int depth)
{
    const auto parts = place.elements();
    if (parts.size() != 2)
    {
        place.fail("[SIGNATURE, VALUE] is expected");
    }
    const auto types = types_at(parts[0]);
    if (types.size() != 1)
    {
        parts[0].fail("the signature of one complete type is expected, not \"" + parts[0].text() +
                      "\"");
    }
    return read(types[0], parts[1], depth);
}

Value read_variant(const JsonPlace& place, int depth)
{
    return variant_value(read_typed(place, depth + 1));
}

template <typename Integer>
std::uint64_t read_unsigned(char type, const JsonPlace& place)
{
    return place.unsigned_number(std::numeric_limits<Integer>::max(), std::string("type ") + type);
}

template <typename Integer>
std::int64_t read_signed(char type, const JsonPlace& place)
{
    return place.signed_number(std::numeric_limits<Integer>::min(),
                               std::numeric_limits<Integer>::max(), std::string("type ") + type);
}

Value read(const std::string& type, const JsonPlace& place, int depth)
{
    if (depth > most_containers)
    {
        place.fail("more than " + std::to_string(most_containers) +
                   " containers within each other");
    }
    const char kind = type.front();
    switch (kind)
    {
        case 'b': return bool_value(place.boolean());
        case 'y': return {type, read_unsigned<std::uint8_t>(kind, place)};
        case 'q': return {type, read_unsigned<std::uint16_t>(kind, place)};
        case 'u': return {type, read_unsigned<std::uint32_t>(kind, place)};
        case 't': return {type, read_unsigned<std::uint64_t>(kind, place)};
        case 'n': return {type, read_signed<std::int16_t>(kind, place)};
        case 'i': return {type, read_signed<std::int32_t>(kind, place)};
        case 'x': return {type, read_signed<std::int64_t>(kind, place)};
        case 'd': return {type, place.number()};
        case 's': return text_value(read_text(place));
        case 'o': return path_value(read_path(place));
        case 'g': return {type, read_signature(place)};
        case 'v': return read_variant(place, depth);
        case '(': return {type, read_fields(inner_types(type), place, depth + 1)};
        default: return read_array(type, place, depth);
    }
}

Json json_from_value(const Value& value);

struct ToJson
{
    Json operator()(const Bytes& bytes) const
    {
        return bytes;
    }

    Json operator()(const Body& elements) const
    {
        Json all = Json::array();
        for (const Value& element : elements)
        {
            all.push_back(json_from_value(element));
        }
        return all;
    }

    Json operator()(const auto& basic) const
    {
        return basic;
    }
};

Json json_from_value(const Value& value)
{
    Json json = std::visit(ToJson{}, value.content);
    if (value.signature != "v")
    {
        return json;
    }
    return Json::array({elements_in(value).front().signature, std::move(json.front())});
}

} // namespace

Value value_from_json(const std::string& type, const JsonPlace& place)
{
    return read(type, place, 0);
}

Value typed_value_from_json(const JsonPlace& place)
{
    return read_typed(place, 0);
}

Body body_from_json(const JsonPlace& place)
{
    const auto parts = place.elements();
    if (parts.empty())
    {
        place.fail("[SIGNATURE, VALUE...] is expected");
    }
    const auto types = types_at(parts[0]);
    if (types.size() != parts.size() - 1)
    {
        place.fail("the signature \"" + parts[0].text() + "\" asks for " +
                   std::to_string(types.size()) + " values, not " +
                   std::to_string(parts.size() - 1));
    }
    Body body;
    for (std::size_t i = 0; i < types.size(); ++i)
    {
        body.push_back(value_from_json(types[i], parts[i + 1]));
    }
    return body;
}

void check_text(const std::string& text, const JsonPlace& place)
{
    const std::string flaw = flaw_in_text(text);
    if (!flaw.empty())
    {
        place.fail("a D-Bus text " + flaw);
    }
}

std::vector<std::string> types_at(const JsonPlace& place)
{
    const std::string& signature = place.text();
    try
    {
        return complete_types(signature);
    }
    catch (const std::invalid_argument& error)
    {
        place.fail(error.what());
    }
}

std::string json_text(const Value& value)
{
    return json_from_value(value).dump();
}

} // namespace simulator
