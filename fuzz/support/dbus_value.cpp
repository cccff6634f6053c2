#include "fuzz/support/dbus_value.hpp"

#include "fuzz/support/require.hpp"

#include <bit>

namespace
{

constexpr unsigned deepest = 4;

/// From an opening bracket to its closing one.
std::size_t bracketed_length(std::string_view signature)
{
    std::size_t length = 0;
    int depth = 0;
    do
    {
        const char code = signature[length++];
        depth += (code == '(' || code == '{') - (code == ')' || code == '}');
    }
    while (depth > 0);
    return length;
}

std::size_t complete_length(std::string_view signature)
{
    if (signature.front() == 'a')
    {
        return 1 + complete_length(signature.substr(1));
    }
    return bracketed_length(signature);
}

char next_code(ByteSource& source, std::string_view codes)
{
    return codes[source.byte() % codes.size()];
}

/// More of those that the client knows.
constexpr std::string_view basic_codes = "ssqquubbynixtdog";
constexpr std::string_view all_codes = "ssqquubbynixtdogvvaaa({";

std::string next_type_at(ByteSource& source, unsigned depth)
{
    const char code = next_code(source, depth >= deepest ? basic_codes : all_codes);
    switch (code)
    {
        case 'a': return "a" + next_type_at(source, depth + 1);
        case '{':
        {
            const char key = next_code(source, basic_codes);
            return std::string{"a{"} + key + next_type_at(source, depth + 1) + "}";
        }
        case '(':
        {
            std::string members;
            for (unsigned left = 1 + source.byte() % 4; left > 0; --left)
            {
                members += next_type_at(source, depth + 1);
            }
            return "(" + members + ")";
        }
        default: return {code};
    }
}

/// So short that those of a message fit into one signature.
std::string next_short_type(ByteSource& source, unsigned depth)
{
    constexpr std::size_t longest = 30;
    const auto type = next_type_at(source, depth);
    return type.size() > longest ? "s" : type;
}

DbusValue next_value_at(ByteSource& source, const std::string& signature, unsigned depth);

DbusValues next_members(ByteSource& source, std::string_view signature, unsigned depth)
{
    DbusValues members;
    for (const auto& type : complete_types(signature))
    {
        members.push_back(next_value_at(source, type, depth));
    }
    return members;
}

std::string_view inner(std::string_view brackets)
{
    return brackets.substr(1, brackets.size() - 2);
}

DbusValues next_elements(ByteSource& source, const std::string& type, unsigned depth)
{
    DbusValues elements;
    for (unsigned left = source.byte() % 32; left > 0 && !source.empty(); --left)
    {
        elements.push_back(next_value_at(source, type, depth + 1));
    }
    return elements;
}

std::int64_t next_number(ByteSource& source, char code)
{
    switch (code)
    {
        case 'b': return source.byte() & 1;
        case 'y': return source.byte();
        case 'n': return static_cast<std::int16_t>(source.number<std::uint16_t>());
        case 'q': return source.number<std::uint16_t>();
        case 'i': return static_cast<std::int32_t>(source.number<std::uint32_t>());
        case 'u':
        case 'd': return source.number<std::uint32_t>();
        default: return static_cast<std::int64_t>(source.number<std::uint64_t>());
    }
}

DbusValue next_value_at(ByteSource& source, const std::string& signature, unsigned depth)
{
    DbusValue value;
    value.signature = signature;
    switch (signature.front())
    {
        case 's': value.text = source.text(); break;
        case 'o': value.text = next_object_path(source); break;
        case 'g': value.text = next_type_at(source, deepest); break;
        case 'v':
            value.members = {next_value_at(source, next_short_type(source, depth), depth + 1)};
            break;
        case 'a': value.members = next_elements(source, signature.substr(1), depth); break;
        case '(':
        case '{': value.members = next_members(source, inner(signature), depth + 1); break;
        default: value.number = next_number(source, signature.front());
    }
    return value;
}

void append_value(sd_bus_message* message, const DbusValue& value);

void append_container(sd_bus_message* message, char type, std::string_view contents,
                      const DbusValues& members)
{
    require_success(sd_bus_message_open_container(message, type, std::string{contents}.c_str()));
    append_values(message, members);
    require_success(sd_bus_message_close_container(message));
}

/// Numbers have the machine's byte order, so that the low bytes of one stand where its type wants them.
static_assert(std::endian::native == std::endian::little);

void append_value(sd_bus_message* message, const DbusValue& value)
{
    const std::string_view signature = value.signature;
    switch (const char type = signature.front())
    {
        case 's':
        case 'o':
        case 'g':
            require_success(sd_bus_message_append_basic(message, type, value.text.c_str()));
            break;
        case 'v':
            append_container(message, type, value.members.front().signature, value.members);
            break;
        case 'a': append_container(message, type, signature.substr(1), value.members); break;
        case '(':
            append_container(message, SD_BUS_TYPE_STRUCT, inner(signature), value.members);
            break;
        case '{':
            append_container(message, SD_BUS_TYPE_DICT_ENTRY, inner(signature), value.members);
            break;
        case 'd':
        {
            const auto number = static_cast<double>(value.number);
            require_success(sd_bus_message_append_basic(message, type, &number));
            break;
        }
        default: require_success(sd_bus_message_append_basic(message, type, &value.number));
    }
}

} // namespace

std::vector<std::string> complete_types(std::string_view signature)
{
    std::vector<std::string> types;
    while (!signature.empty())
    {
        const auto length = complete_length(signature);
        types.emplace_back(signature.substr(0, length));
        signature.remove_prefix(length);
    }
    return types;
}

std::string next_type(ByteSource& source)
{
    return next_short_type(source, 0);
}

DbusValue next_value(ByteSource& source, const std::string& signature)
{
    return next_value_at(source, signature, 0);
}

DbusValues next_values(ByteSource& source, std::string_view signature)
{
    return next_members(source, signature, 0);
}

std::string next_object_path(ByteSource& source)
{
    constexpr std::string_view characters =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789_/";
    std::string path = "/";
    for (const char character : source.text())
    {
        const bool known = characters.find(character) != std::string_view::npos;
        const char next =
            known ? character : characters[static_cast<unsigned char>(character) % 64];
        if (next != '/' || path.back() != '/')
        {
            path += next;
        }
    }
    if (path.size() > 1 && path.back() == '/')
    {
        path.pop_back();
    }
    return path;
}

void append_values(sd_bus_message* message, const DbusValues& values)
{
    for (const auto& value : values)
    {
        append_value(message, value);
    }
}
