#pragma once

#include <sdbusplus/detail/signature.hpp>
#include <systemd/sd-bus.h>

#include <concepts>
#include <cstddef>
#include <string>
#include <tuple>
#include <type_traits>
#include <utility>
#include <variant>

namespace sdbusplus::detail
{

/// The steps of writing one kind of container, as what() names them.
struct AppendSteps
{
    const char* open;
    const char* close;
};

inline constexpr AppendSteps sequence_append_steps{
    "sd_bus_message_open_container emplace_back_container",
    "sd_bus_message_close_container emplace_back_container",
};
inline constexpr AppendSteps map_append_steps{
    "sd_bus_message_open_container emplace_container",
    "sd_bus_message_close_container emplace_container",
};
inline constexpr AppendSteps tuple_append_steps{
    "sd_bus_message_open_container tuple",
    "sd_bus_message_close_container tuple",
};
inline constexpr AppendSteps variant_append_steps{
    "sd_bus_message_open_container variant",
    "sd_bus_message_close_container variant",
};

void append_number(sd_bus_message* target, char type, const void* value);
void append_bool(sd_bus_message* target, bool value);
void append_text(sd_bus_message* target, char type, const char* text);
void append_integers(sd_bus_message* target, char type, const void* first, std::size_t bytes);
void open_container(sd_bus_message* target, char type, const char* contents,
                    const AppendSteps& steps);
void close_container(sd_bus_message* target, const AppendSteps& steps);

/// The type an argument is appended as: a character array, such as a literal, counts as text.
template <typename T>
using Appended = std::conditional_t<std::is_convertible_v<const T&, const char*>, const char*, T>;

/// Declared before its callers, as containers nest in any order.
template <typename T>
void append_value(sd_bus_message* target, const T& value);

template <typename T>
void append_elements(sd_bus_message* target, const T& elements, const AppendSteps& steps)
{
    open_container(target, SD_BUS_TYPE_ARRAY, contents_text<T>, steps);
    for (const auto& element : elements)
    {
        append_value(target, element);
    }
    close_container(target, steps);
}

template <typename... Members>
void append_members(sd_bus_message* target, char type, const char* contents,
                    const Members&... members)
{
    open_container(target, type, contents, tuple_append_steps);
    (append_value(target, members), ...);
    close_container(target, tuple_append_steps);
}

template <typename Key, typename Value>
void append_structure(sd_bus_message* target, const std::pair<Key, Value>& entry)
{
    append_members(target, SD_BUS_TYPE_DICT_ENTRY, contents_text<std::pair<Key, Value>>,
                   entry.first, entry.second);
}

template <typename... Members>
void append_structure(sd_bus_message* target, const std::tuple<Members...>& tuple)
{
    std::apply(
        [target](const Members&... members) {
            append_members(target, SD_BUS_TYPE_STRUCT, contents_text<std::tuple<Members...>>,
                           members...);
        },
        tuple);
}

template <typename Alternative>
void append_alternative(sd_bus_message* target, const Alternative& value)
{
    open_container(target, SD_BUS_TYPE_VARIANT, signature_text<Alternative>, variant_append_steps);
    append_value(target, value);
    close_container(target, variant_append_steps);
}

template <typename... Alternatives>
void append_structure(sd_bus_message* target, const std::variant<Alternatives...>& variant)
{
    std::visit([target](const auto& value) { append_alternative(target, value); }, variant);
}

template <typename T>
void append_value(sd_bus_message* target, const T& value)
{
    if constexpr (Number<T>)
    {
        append_number(target, basic_code<T>, &value);
    }
    else if constexpr (std::same_as<T, bool>)
    {
        append_bool(target, value);
    }
    else if constexpr (std::same_as<T, std::string>)
    {
        append_text(target, basic_code<T>, value.c_str());
    }
    else if constexpr (std::same_as<T, message::object_path>)
    {
        append_text(target, basic_code<T>, value.str.c_str());
    }
    else if constexpr (Basic<T>)
    {
        append_text(target, basic_code<T>, value);
    }
    else if constexpr (IntegerVector<T>)
    {
        append_integers(target, basic_code<typename T::value_type>, value.data(),
                        value.size() * sizeof(typename T::value_type));
    }
    else if constexpr (Vector<T>)
    {
        append_elements(target, value, sequence_append_steps);
    }
    else if constexpr (Map<T>)
    {
        append_elements(target, value, map_append_steps);
    }
    else
    {
        append_structure(target, value);
    }
}

} // namespace sdbusplus::detail
