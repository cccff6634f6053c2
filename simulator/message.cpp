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

constexpr std::size_t largest_array = 64UL * 1024 * 1024;
// The header comes on top; path, interface and member have limits of their own.
constexpr std::size_t largest_body = 2 * largest_array - 64UL * 1024;

std::size_t alignment_of(char type)
{
    switch (type)
    {
        case 'y':
        case 'g':
        case 'v': return 1;
        case 'n':
        case 'q': return 2;
        case 'x':
        case 't':
        case 'd':
        case '(':
        case '{': return 8;
        default: return 4;
    }
}

std::size_t aligned(std::size_t offset, char type)
{
    const std::size_t alignment = alignment_of(type);
    return (offset + alignment - 1) / alignment * alignment;
}

std::size_t end_of(const Value& value, std::size_t offset);

/// Where the content ends that begins at `offset`, which is aligned for its type.
struct EndOf
{
    std::size_t offset;
    const std::string& signature;

    std::size_t operator()(const std::string& content) const
    {
        const std::size_t length = signature == "g" ? 1 : 4;
        return offset + length + content.size() + 1;
    }

    std::size_t operator()(const Bytes& content) const
    {
        return end_of_array(offset + 4, offset + 4 + content.size());
    }

    std::size_t operator()(const Body& content) const
    {
        switch (signature.front())
        {
            case 'v': return end_of(content.front(), offset + content.front().signature.size() + 2);
            case 'a':
            {
                const std::size_t start = aligned(offset + 4, signature[1]);
                return end_of_array(start, end_of_all(content, start));
            }
            default: return end_of_all(content, offset);
        }
    }

    /// A number: its alignment is its size.
    std::size_t operator()(auto) const
    {
        return offset + alignment_of(signature.front());
    }

    static std::size_t end_of_all(std::span<const Value> values, std::size_t offset)
    {
        for (const Value& value : values)
        {
            offset = end_of(value, offset);
        }
        return offset;
    }

    static std::size_t end_of_array(std::size_t start, std::size_t end)
    {
        if (end - start > largest_array)
        {
            throw BusFailure("an array is larger than the 64 MiB that a bus takes");
        }
        return end;
    }
};

std::size_t end_of(const Value& value, std::size_t offset)
{
    return std::visit(EndOf{aligned(offset, value.signature.front()), value.signature},
                      value.content);
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

std::size_t body_size(std::span<const Value> values)
{
    const std::size_t size = EndOf::end_of_all(values, 0);
    if (size > largest_body)
    {
        throw BusFailure("the message is larger than the 128 MiB that a bus takes");
    }
    return size;
}

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
