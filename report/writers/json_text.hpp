#pragma once

#include <charconv>
#include <concepts>
#include <cstddef>
#include <cstring>
#include <optional>
#include <ranges>
#include <string>
#include <string_view>
#include <variant>

namespace report
{

/// Bytes that are shown as lower-case hexadecimal.
struct Bytes
{
    std::string_view bytes;
};

/// Builds JSON in one text. Each value is followed by a comma, which what closes the object, array or
/// line overwrites.
class JsonText
{
  public:
    JsonText() = default;
    JsonText(const JsonText&) = delete;
    JsonText& operator=(const JsonText&) = delete;

    void begin_object()
    {
        put('{');
    }
    void end_object()
    {
        close('}');
    }
    void begin_array()
    {
        put('[');
    }
    void end_array()
    {
        close(']');
    }

    /// Ends the value before it as a line.
    void end_line()
    {
        next[-1] = '\n';
    }

    /// A field's name; its value comes next. The name holds nothing to escape.
    template <std::size_t size>
    void name(const char (&name)[size])
    {
        need(size + 2);
        *next++ = '"';
        std::memcpy(next, name, size - 1);
        next += size - 1;
        *next++ = '"';
        *next++ = ':';
    }

    void name(std::string_view name)
    {
        put('"');
        copy(name);
        copy("\":");
    }

    template <std::size_t size, typename Value>
    void operator()(const char (&field)[size], const Value& value_of_field)
    {
        name(field);
        value(value_of_field);
    }

    /// Any bytes: what is no UTF-8 becomes U+FFFD.
    void value(std::string_view text);
    void value(Bytes bytes);
    void value(std::monostate)
    {
        copy("null,");
    }
    template <std::integral Number>
    void value(Number number)
    {
        if constexpr (std::same_as<Number, bool>)
        {
            copy(number ? "true," : "false,");
        }
        else
        {
            need(32);
            next = std::to_chars(next, next + 31, number).ptr;
            *next++ = ',';
        }
    }
    template <typename Value>
    void value(const std::optional<Value>& perhaps)
    {
        perhaps ? value(*perhaps) : value(std::monostate{});
    }
    template <typename... Values>
    void value(const std::variant<Values...>& one)
    {
        std::visit([this](const auto& held) { this->value(held); }, one);
    }
    template <std::ranges::range Values>
    requires(!std::convertible_to<Values, std::string_view>) void value(const Values& values)
    {
        begin_array();
        for (const auto& each : values)
        {
            value(each);
        }
        end_array();
    }

    /// Takes JSON made before, with its comma or colon.
    void copy(std::string_view json)
    {
        need(json.size());
        next += json.copy(next, json.size());
    }

    /// The text so far, without the comma after its last value. It begins again with nothing.
    std::string take();

  private:
    void put(char character)
    {
        need(1);
        *next++ = character;
    }
    void close(char bracket)
    {
        if (next[-1] == ',')
        {
            --next;
        }
        need(2);
        *next++ = bracket;
        *next++ = ',';
    }
    void need(std::size_t size)
    {
        if (static_cast<std::size_t>(end - next) < size)
        {
            grow(size);
        }
    }
    void grow(std::size_t size);

    std::string buffer; ///< Longer than the text, which ends at `next`.
    char* next = buffer.data();
    char* end = next;
};

} // namespace report
