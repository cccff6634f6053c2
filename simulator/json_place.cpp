#include "simulator/json_place.hpp"

#include <nlohmann/json.hpp>

#include <algorithm>

namespace simulator
{

namespace
{

std::string name_of_kind(const Json& value)
{
    switch (value.type())
    {
        case Json::value_t::null: return "null";
        case Json::value_t::object: return "an object";
        case Json::value_t::array: return "an array";
        case Json::value_t::string: return "a text";
        case Json::value_t::boolean: return "true or false";
        case Json::value_t::number_float: return "a number with a fraction";
        default: return "a whole number";
    }
}

std::string range_text(const std::string& number, const std::string& least,
                       const std::string& greatest, const std::string& kind)
{
    return number + " is out of range" + (kind.empty() ? "" : " for " + kind) + " (" + least +
           " to " + greatest + ")";
}

/// what() ends at the first U+0000.
std::string printable(std::string text)
{
    for (auto zero = text.find('\0'); zero != std::string::npos; zero = text.find('\0', zero))
    {
        text.replace(zero, 1, "\\u0000");
    }
    return text;
}

int hex_digit(char digit)
{
    constexpr std::string_view digits = "0123456789abcdef";
    const char lower = digit >= 'A' && digit <= 'F' ? static_cast<char>(digit - 'A' + 'a') : digit;
    const auto position = digits.find(lower);
    return position == std::string_view::npos ? -1 : static_cast<int>(position);
}

} // namespace

PlaceError::PlaceError(const std::string& place, const std::string& what)
    : std::runtime_error(printable(place.empty() ? what : place + ": " + what))
{}

JsonPlace::JsonPlace(const Json& json, std::string place) : value(json), where(std::move(place)) {}

void JsonPlace::fail(const std::string& what) const
{
    throw PlaceError(where, what);
}

void JsonPlace::fail_type(const std::string& expected) const
{
    fail(expected + " is expected, not " + name_of_kind(value));
}

JsonPlace JsonPlace::member(const std::string& name) const
{
    const auto found = find(name);
    if (!found)
    {
        fail("the member \"" + name + "\" is missing");
    }
    return *found;
}

std::optional<JsonPlace> JsonPlace::find(const std::string& name) const
{
    if (!value.is_object())
    {
        fail_type("an object");
    }
    const auto found = value.find(name);
    if (found == value.end())
    {
        return std::nullopt;
    }
    return JsonPlace(*found, where.empty() ? name : where + "." + name);
}

std::vector<std::pair<std::string, JsonPlace>> JsonPlace::members() const
{
    if (!value.is_object())
    {
        fail_type("an object");
    }
    std::vector<std::pair<std::string, JsonPlace>> all;
    for (const auto& [name, content] : value.items())
    {
        all.emplace_back(name, JsonPlace(content, where.empty() ? name : where + "." + name));
    }
    return all;
}

std::vector<JsonPlace> JsonPlace::elements() const
{
    if (!value.is_array())
    {
        fail_type("an array");
    }
    std::vector<JsonPlace> all;
    all.reserve(value.size());
    for (const Json& element : value)
    {
        all.emplace_back(element, where + "[" + std::to_string(all.size()) + "]");
    }
    return all;
}

void JsonPlace::allow_only(const std::vector<std::string>& names) const
{
    for (const auto& [name, content] : members())
    {
        if (std::find(names.begin(), names.end(), name) == names.end())
        {
            fail("the member \"" + name + "\" is not known here");
        }
    }
}

bool JsonPlace::is_null() const
{
    return value.is_null();
}

bool JsonPlace::is_object() const
{
    return value.is_object();
}

bool JsonPlace::is_array() const
{
    return value.is_array();
}

bool JsonPlace::is_text() const
{
    return value.is_string();
}

bool JsonPlace::is_number() const
{
    return value.is_number();
}

const std::string& JsonPlace::text() const
{
    if (!value.is_string())
    {
        fail_type("a text");
    }
    return value.get_ref<const std::string&>();
}

bool JsonPlace::boolean() const
{
    if (!value.is_boolean())
    {
        fail_type("true or false");
    }
    return value.get<bool>();
}

double JsonPlace::number() const
{
    if (!value.is_number())
    {
        fail_type("a number");
    }
    return value.get<double>();
}

std::uint64_t JsonPlace::unsigned_number(std::uint64_t greatest, const std::string& kind) const
{
    if (!value.is_number_integer())
    {
        fail_type("a whole number");
    }
    if (!value.is_number_unsigned() || value.get<std::uint64_t>() > greatest)
    {
        fail(range_text(value.dump(), "0", std::to_string(greatest), kind));
    }
    return value.get<std::uint64_t>();
}

std::int64_t JsonPlace::signed_number(std::int64_t least, std::int64_t greatest,
                                      const std::string& kind) const
{
    if (!value.is_number_integer())
    {
        fail_type("a whole number");
    }
    const bool beyond = value.is_number_unsigned() &&
                        value.get<std::uint64_t>() > static_cast<std::uint64_t>(greatest);
    if (beyond || value.get<std::int64_t>() < least)
    {
        fail(range_text(value.dump(), std::to_string(least), std::to_string(greatest), kind));
    }
    return value.get<std::int64_t>();
}

std::vector<std::uint8_t> JsonPlace::hex_bytes() const
{
    const std::string& digits = text();
    std::vector<std::uint8_t> bytes;
    bytes.reserve(digits.size() / 2);
    for (std::size_t i = 0; i + 1 < digits.size(); i += 2)
    {
        const int high = hex_digit(digits[i]);
        const int low = hex_digit(digits[i + 1]);
        if (high < 0 || low < 0)
        {
            fail("\"" + digits.substr(i, 2) + "\" is no pair of hex digits");
        }
        bytes.push_back(static_cast<std::uint8_t>(high * 16 + low));
    }
    if (digits.size() % 2 != 0)
    {
        fail("an even number of hex digits is expected, not " + std::to_string(digits.size()));
    }
    return bytes;
}

std::shared_ptr<const Json> parse_json(std::string_view text)
try
{
    return std::make_shared<const Json>(Json::parse(text));
}
catch (const Json::exception& error)
{
    // The library writes "[json.exception.parse_error.101] parse error at line 3, column 5: why"
    // and "[json.exception.out_of_range.406] why".
    const std::string what = error.what();
    const std::string lead = "parse error at ";
    const auto place = what.find(lead);
    throw PlaceError(
        {}, what.substr(place == std::string::npos ? what.find("] ") + 2 : place + lead.size()));
}

} // namespace simulator
