// Input: how many values a message holds and their types, the values, then the C++ types that are read, a
// byte each; support/dbus_value.cpp tells how types and values are written. Or 254 (little endian) or 255
// (big endian), how many types, the message's types, the types that are read, and a body as on the wire.

#include "fuzz/support/bus_pair.hpp"
#include "fuzz/support/byte_source.hpp"
#include "fuzz/support/dbus_value.hpp"
#include "fuzz/support/require.hpp"
#include "fuzz/support/wire_message.hpp"

#include <sdbusplus/exception.hpp>
#include <sdbusplus/message.hpp>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <iterator>
#include <map>
#include <string>
#include <string_view>
#include <tuple>
#include <variant>
#include <vector>

using sdbusplus::message_t;
using sdbusplus::message::object_path;

namespace
{

using PropertyValue = std::variant<std::string, std::uint32_t, std::uint16_t, bool>;
using PropertyMap = std::map<std::string, PropertyValue>;
using Block = std::tuple<std::uint16_t, std::vector<std::uint8_t>, std::uint32_t, std::uint16_t>;

/// What the values that were written read as, told apart from the binding.
template <typename Number>
requires std::is_arithmetic_v<Number>
void convert(const DbusValue& value, Number& number)
{
    number = static_cast<Number>(value.number);
}

void convert(const DbusValue& value, std::string& text)
{
    text = value.text;
}

void convert(const DbusValue& value, object_path& path)
{
    path.str = value.text;
}

template <typename Element>
void convert(const DbusValue& value, std::vector<Element>& elements);
template <typename Key, typename Mapped>
void convert(const DbusValue& value, std::map<Key, Mapped>& map);
template <typename... Members>
void convert(const DbusValue& value, std::tuple<Members...>& tuple);

template <typename Alternative, typename Variant>
bool convert_alternative(const DbusValue& content, std::string_view signature, Variant& variant)
{
    if (content.signature != signature)
    {
        return false;
    }
    Alternative alternative{};
    convert(content, alternative);
    variant = alternative;
    return true;
}

/// The alternatives' types; the first that fits counts.
void convert(const DbusValue& value, PropertyValue& variant)
{
    const auto& content = value.members.front();
    convert_alternative<std::string>(content, "s", variant) ||
        convert_alternative<std::uint32_t>(content, "u", variant) ||
        convert_alternative<std::uint16_t>(content, "q", variant) ||
        convert_alternative<bool>(content, "b", variant);
}

void convert(const DbusValue& value, std::variant<bool, std::uint16_t>& variant)
{
    const auto& content = value.members.front();
    convert_alternative<bool>(content, "b", variant) ||
        convert_alternative<std::uint16_t>(content, "q", variant);
}

void convert(const DbusValue& value, std::variant<std::vector<std::string>, PropertyMap>& variant)
{
    const auto& content = value.members.front();
    convert_alternative<std::vector<std::string>>(content, "as", variant) ||
        convert_alternative<PropertyMap>(content, "a{sv}", variant);
}

template <typename Element>
void convert(const DbusValue& value, std::vector<Element>& elements)
{
    for (const auto& member : value.members)
    {
        Element element{};
        convert(member, element);
        elements.push_back(element);
    }
}

template <typename Key, typename Mapped>
void convert(const DbusValue& value, std::map<Key, Mapped>& map)
{
    for (const auto& entry : value.members)
    {
        Key key{};
        Mapped mapped{};
        convert(entry.members.at(0), key);
        convert(entry.members.at(1), mapped);
        map.emplace(key, mapped);
    }
}

template <typename... Members>
void convert(const DbusValue& value, std::tuple<Members...>& tuple)
{
    std::apply(
        [&value](Members&... members) {
            std::size_t place = 0;
            (convert(value.members.at(place++), members), ...);
        },
        tuple);
}

RawMessage new_message()
{
    static const BusPair connections;
    sd_bus_message* message = nullptr;
    require(sd_bus_message_new_signal(connections.local, &message, "/a", "a.b", "c") >= 0,
            "a signal is created");
    return RawMessage{message};
}

void require_telling(const sdbusplus::exception::SdBusError& error)
{
    const std::string_view text = error.what();
    require(text.starts_with("sd_bus_message_"), "an error begins with its step");
    require(text.ends_with(": System.Error.ENXIO: No such device or address"),
            "an error tells what sd-bus says");
    require(error.get_errno() == ENXIO, "an error has sd-bus's number");
}

template <typename Value>
bool read(message_t& message, Value& value)
try
{
    message.read(value);
    return true;
}
catch (const sdbusplus::exception::SdBusError& error)
{
    require_telling(error);
    return false;
}

/// What was read reads the same when the binding has written it.
template <typename Value>
void require_round_trip(const Value& value, std::string_view signature)
{
    const auto raw = new_message();
    message_t message{raw.get()};
    message.append(value);
    require(sd_bus_message_get_signature(raw.get(), true) == signature,
            "what is written has the type's signature");
    seal(raw.get());
    Value again{};
    require(read(message, again), "what is written can be read");
    require(again == value, "what is written reads the same");
}

/// Whether the reading can go on: reads `next`, or behind the last value when that is null.
template <typename Value>
bool check_read(message_t& message, const DbusValue* next, std::string_view signature)
{
    Value expected{};
    const bool at_end_of_variants = next == nullptr && signature == "v";
    const bool fits = next != nullptr && next->signature == signature;
    if (fits)
    {
        convert(*next, expected);
    }
    Value value{};
    require(read(message, value) == (fits || at_end_of_variants),
            "a value reads as its own type and as no other");
    if (!fits)
    {
        return false;
    }
    require(value == expected, "what is read is what was written");
    require_round_trip(value, signature);
    return true;
}

/// Reads from a body that may be broken anywhere. Whether the reading can go on.
template <typename Value>
bool read_from_wire(message_t& message)
try
{
    Value value{};
    message.read(value);
    return true;
}
catch (const sdbusplus::exception::SdBusError& error)
{
    require(std::string_view{error.what()}.starts_with("sd_bus_message_"),
            "an error begins with its step");
    require(error.get_errno() > 0, "an error has a number");
    return false;
}

struct ReadingType
{
    std::string_view signature;
    bool (*check)(message_t&, const DbusValue*, std::string_view);
    bool (*read_from_wire)(message_t&);
};

template <typename Value>
constexpr ReadingType reading_type(std::string_view signature)
{
    return {signature, check_read<Value>, read_from_wire<Value>};
}

using TextProperty = std::variant<bool, std::uint16_t>;
using Interfaces = std::map<std::string, PropertyMap>;

constexpr ReadingType reading_types[] = {
    reading_type<bool>("b"),
    reading_type<std::uint8_t>("y"),
    reading_type<std::int16_t>("n"),
    reading_type<std::uint16_t>("q"),
    reading_type<std::int32_t>("i"),
    reading_type<std::uint32_t>("u"),
    reading_type<std::int64_t>("x"),
    reading_type<std::uint64_t>("t"),
    reading_type<double>("d"),
    reading_type<std::string>("s"),
    reading_type<object_path>("o"),
    reading_type<std::vector<std::uint8_t>>("ay"),
    reading_type<std::vector<std::uint16_t>>("aq"),
    reading_type<std::vector<std::string>>("as"),
    reading_type<std::vector<std::vector<bool>>>("aab"),
    reading_type<PropertyValue>("v"),
    reading_type<TextProperty>("v"),
    reading_type<std::variant<std::vector<std::string>, PropertyMap>>("v"),
    reading_type<PropertyMap>("a{sv}"),
    reading_type<std::map<std::string, std::string>>("a{ss}"),
    reading_type<std::map<object_path, Interfaces>>("a{oa{sa{sv}}}"),
    reading_type<std::tuple<std::string, PropertyValue>>("(sv)"),
    reading_type<std::vector<Block>>("a(qayuq)"),
    reading_type<std::vector<PropertyValue>>("av"),
};

/// One of those that are read, more often than not.
std::string next_signature(ByteSource& source)
{
    const auto choice = source.byte();
    return choice < 160 ? std::string{reading_types[choice % std::size(reading_types)].signature}
                        : next_type(source);
}

DbusValues next_body(ByteSource& source, unsigned count)
{
    DbusValues body;
    for (; count > 0; --count)
    {
        body.push_back(next_value(source, next_signature(source)));
    }
    return body;
}

/// Chosen by a byte; where that is even, the first that reads `signature`, if one does.
const ReadingType& next_reading_type(ByteSource& source, std::string_view signature)
{
    const auto choice = source.byte();
    const auto known =
        std::find_if(std::begin(reading_types), std::end(reading_types),
                     [signature](const auto& row) { return row.signature == signature; });
    return choice % 2 == 0 && known != std::end(reading_types)
               ? *known
               : reading_types[choice / 2 % std::size(reading_types)];
}

void read_values(ByteSource& source, unsigned count)
{
    const auto body = next_body(source, count);
    const auto raw = new_message();
    append_values(raw.get(), body);
    seal(raw.get());

    message_t message{raw.get()};
    bool goes_on = true;
    for (std::size_t place = 0; goes_on; ++place)
    {
        const auto* next = place < body.size() ? &body[place] : nullptr;
        const auto& type =
            next_reading_type(source, next == nullptr ? std::string_view{} : next->signature);
        goes_on = type.check(message, next, type.signature);
    }
}

void read_wire_body(ByteSource& source, bool is_big_endian)
{
    std::string signature;
    std::vector<const ReadingType*> types;
    for (unsigned left = 1 + source.byte() % 4; left > 0; --left)
    {
        const auto sent = next_signature(source);
        types.push_back(&next_reading_type(source, sent));
        signature += sent;
    }
    const auto raw = receive_from_wire(is_big_endian, signature, source.bytes(SIZE_MAX));
    if (raw != nullptr)
    {
        message_t message{raw.get()};
        auto next = types.begin();
        while (next != types.end() && (*next)->read_from_wire(message))
        {
            ++next;
        }
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    constexpr unsigned first_wire_form = 254;
    ByteSource source{{data, size}};
    const unsigned form = source.byte();
    if (form >= first_wire_form)
    {
        read_wire_body(source, form > first_wire_form);
    }
    else
    {
        read_values(source, form % 8);
    }
    return 0;
}
