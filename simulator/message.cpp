#include "simulator/message.hpp"

#include "simulator/bus_failure.hpp"

#include <string_view>

namespace simulator
{

namespace
{

void append(sd_bus_message* message, const Value& value);

void append_basic(sd_bus_message* message, char type, const void* content)
{
    check(sd_bus_message_append_basic(message, type, content), "sd_bus_message_append_basic");
}

void append_container(sd_bus_message* message, char type, const std::string& contents,
                      const Body& elements)
{
    check(sd_bus_message_open_container(message, type, contents.c_str()),
          "sd_bus_message_open_container");
    append_values(message, elements);
    check(sd_bus_message_close_container(message), "sd_bus_message_close_container");
}

template <typename Integer>
void append_integer(sd_bus_message* message, char type, auto number)
{
    const auto content = static_cast<Integer>(number);
    append_basic(message, type, &content);
}

/// Appends what the alternative holds as the type that the signature begins with.
struct Appender
{
    sd_bus_message* message;
    const std::string& signature;

    void operator()(bool content) const
    {
        append_integer<int>(message, 'b', content);
    }

    void operator()(std::uint64_t content) const
    {
        switch (signature.front())
        {
            case 'y': return append_integer<std::uint8_t>(message, 'y', content);
            case 'q': return append_integer<std::uint16_t>(message, 'q', content);
            case 'u': return append_integer<std::uint32_t>(message, 'u', content);
            default: return append_integer<std::uint64_t>(message, 't', content);
        }
    }

    void operator()(std::int64_t content) const
    {
        switch (signature.front())
        {
            case 'n': return append_integer<std::int16_t>(message, 'n', content);
            case 'i': return append_integer<std::int32_t>(message, 'i', content);
            default: return append_integer<std::int64_t>(message, 'x', content);
        }
    }

    void operator()(double content) const
    {
        append_basic(message, 'd', &content);
    }

    void operator()(const std::string& content) const
    {
        append_basic(message, signature.front(), content.c_str());
    }

    void operator()(const Bytes& content) const
    {
        check(sd_bus_message_append_array(message, 'y', content.data(), content.size()),
              "sd_bus_message_append_array");
    }

    void operator()(const Body& content) const
    {
        const std::string inner =
            signature.size() < 2 ? "" : signature.substr(1, signature.size() - 2);
        switch (signature.front())
        {
            case 'v': return append_container(message, 'v', content.front().signature, content);
            case '(': return append_container(message, 'r', inner, content);
            case '{': return append_container(message, 'e', inner, content);
            default: return append_container(message, 'a', signature.substr(1), content);
        }
    }
};

void append(sd_bus_message* message, const Value& value)
{
    std::visit(Appender{message, value.signature}, value.content);
}

template <typename Content>
Content read_basic(sd_bus_message* message, char type)
{
    Content content{};
    check(sd_bus_message_read_basic(message, type, &content), "sd_bus_message_read_basic");
    return content;
}

template <typename Integer>
Value read_unsigned(sd_bus_message* message, char type)
{
    return {std::string(1, type), std::uint64_t{read_basic<Integer>(message, type)}};
}

template <typename Integer>
Value read_signed(sd_bus_message* message, char type)
{
    return {std::string(1, type), std::int64_t{read_basic<Integer>(message, type)}};
}

Body read_values(sd_bus_message* message);

Value read_container(sd_bus_message* message, char type, const std::string& contents)
{
    check(sd_bus_message_enter_container(message, type, contents.c_str()),
          "sd_bus_message_enter_container");
    Body elements = read_values(message);
    check(sd_bus_message_exit_container(message), "sd_bus_message_exit_container");
    switch (type)
    {
        case 'v': return {"v", std::move(elements)};
        case 'r': return {"(" + contents + ")", std::move(elements)};
        case 'e': return {"{" + contents + "}", std::move(elements)};
        default: return {"a" + contents, std::move(elements)};
    }
}

Value read_bytes(sd_bus_message* message)
{
    const void* start = nullptr;
    std::size_t size = 0;
    check(sd_bus_message_read_array(message, 'y', &start, &size), "sd_bus_message_read_array");
    const auto* first = static_cast<const std::uint8_t*>(start);
    return bytes_value(size == 0 ? Bytes{} : Bytes(first, first + size));
}

/// File descriptors mean nothing to the simulator; its own numbers for them are not shown.
Value skip_descriptor(sd_bus_message* message)
{
    check(sd_bus_message_skip(message, "h"), "sd_bus_message_skip");
    return {"h", std::uint64_t{0}};
}

Value read_value(sd_bus_message* message, char type, const char* contents)
{
    switch (type)
    {
        case 'b': return bool_value(read_basic<int>(message, type) != 0);
        case 'y': return read_unsigned<std::uint8_t>(message, type);
        case 'q': return read_unsigned<std::uint16_t>(message, type);
        case 'u': return read_unsigned<std::uint32_t>(message, type);
        case 't': return read_unsigned<std::uint64_t>(message, type);
        case 'n': return read_signed<std::int16_t>(message, type);
        case 'i': return read_signed<std::int32_t>(message, type);
        case 'x': return read_signed<std::int64_t>(message, type);
        case 'd': return {"d", read_basic<double>(message, type)};
        case 'h': return skip_descriptor(message);
        case 's':
        case 'o':
        case 'g':
            return {std::string(1, type), std::string(read_basic<const char*>(message, type))};
        default: break;
    }
    return type == 'a' && std::string_view(contents) == "y"
               ? read_bytes(message)
               : read_container(message, type, contents);
}

/// The values up to the end of the message or of the container that was entered.
Body read_values(sd_bus_message* message)
{
    Body values;
    char type = 0;
    const char* contents = nullptr;
    while (check(sd_bus_message_peek_type(message, &type, &contents), "sd_bus_message_peek_type") >
           0)
    {
        values.push_back(read_value(message, type, contents));
    }
    return values;
}

std::string text_or_empty(const char* text)
{
    return text == nullptr ? "" : text;
}

} // namespace

void append_values(sd_bus_message* message, std::span<const Value> values)
{
    for (const Value& value : values)
    {
        append(message, value);
    }
}

Call read_call(sd_bus_message* message)
{
    Call call{text_or_empty(sd_bus_message_get_path(message)),
              text_or_empty(sd_bus_message_get_interface(message)),
              text_or_empty(sd_bus_message_get_member(message)), read_values(message)};
    // The bus library may still have to read the message itself.
    check(sd_bus_message_rewind(message, true), "sd_bus_message_rewind");
    return call;
}

} // namespace simulator
