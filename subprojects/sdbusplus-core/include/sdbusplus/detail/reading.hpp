#pragma once

#include <sdbusplus/detail/signature.hpp>
#include <systemd/sd-bus.h>

#include <concepts>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <tuple>
#include <utility>
#include <variant>

namespace sdbusplus::detail
{

/// The steps of walking through one kind of container, as what() names them.
struct ReadSteps
{
    const char* enter;
    const char* at_end;
    const char* exit;
};

inline constexpr ReadSteps sequence_read_steps{
    "sd_bus_message_enter_container emplace_back_container",
    "sd_bus_message_at_end emplace_back_container",
    "sd_bus_message_exit_container emplace_back_container",
};
inline constexpr ReadSteps map_read_steps{
    "sd_bus_message_enter_container emplace_container",
    "sd_bus_message_at_end emplace_container",
    "sd_bus_message_exit_container emplace_container",
};
inline constexpr ReadSteps tuple_read_steps{
    "sd_bus_message_enter_container tuple",
    nullptr,
    "sd_bus_message_exit_container tuple",
};
inline constexpr ReadSteps variant_read_steps{
    "sd_bus_message_enter_container variant",
    nullptr,
    "sd_bus_message_exit_container variant",
};

void read_number(sd_bus_message* source, char type, void* value);
bool read_bool(sd_bus_message* source);
/// The text lives in the message.
const char* read_text(sd_bus_message* source, char type);
/// The bytes live in the message.
std::span<const uint8_t> read_integers(sd_bus_message* source, char type);
void enter_container(sd_bus_message* source, char type, const char* contents,
                     const ReadSteps& steps);
bool at_end(sd_bus_message* source, const ReadSteps& steps);
void exit_container(sd_bus_message* source, const ReadSteps& steps);
/// Signature of what the variant that comes next holds; empty when no variant comes next.
std::string_view variant_contents(sd_bus_message* source);
void skip_variant(sd_bus_message* source);

/// Declared before its callers, as containers nest in any order.
template <typename T>
void read_value(sd_bus_message* source, T& value);

template <IntegerVector T>
void read_array(sd_bus_message* source, T& vector)
{
    using Element = typename T::value_type;
    const auto bytes = read_integers(source, basic_code<Element>);
    // sd-bus aligns an array's data for its element type.
    const auto* first = static_cast<const Element*>(static_cast<const void*>(bytes.data()));
    vector.insert(vector.end(), first, first + bytes.size() / sizeof(Element));
}

/// Reads an array's elements one after the other and hands each to `take`.
template <typename Element, typename Take>
void read_elements(sd_bus_message* source, const ReadSteps& steps, Take take)
{
    enter_container(source, SD_BUS_TYPE_ARRAY, signature_text<Element>, steps);
    while (!at_end(source, steps))
    {
        Element element{};
        read_value(source, element);
        take(std::move(element));
    }
    exit_container(source, steps);
}

template <typename... Members>
void read_members(sd_bus_message* source, char type, const char* contents, Members&... members)
{
    enter_container(source, type, contents, tuple_read_steps);
    (read_value(source, members), ...);
    exit_container(source, tuple_read_steps);
}

template <typename Key, typename Value>
void read_structure(sd_bus_message* source, std::pair<Key, Value>& entry)
{
    read_members(source, SD_BUS_TYPE_DICT_ENTRY, contents_text<std::pair<Key, Value>>, entry.first,
                 entry.second);
}

template <typename... Members>
void read_structure(sd_bus_message* source, std::tuple<Members...>& tuple)
{
    std::apply(
        [source](Members&... members) {
            read_members(source, SD_BUS_TYPE_STRUCT, contents_text<std::tuple<Members...>>,
                         members...);
        },
        tuple);
}

template <typename Alternative, typename... Alternatives>
void read_alternative(sd_bus_message* source, std::variant<Alternatives...>& variant)
{
    enter_container(source, SD_BUS_TYPE_VARIANT, signature_text<Alternative>, variant_read_steps);
    Alternative value{};
    read_value(source, value);
    exit_container(source, variant_read_steps);
    variant.template emplace<Alternative>(std::move(value));
}

template <typename... Alternatives>
void read_structure(sd_bus_message* source, std::variant<Alternatives...>& variant)
{
    // Read once for all alternatives.
    const auto contents = variant_contents(source);
    if (((contents == signature_text<Alternatives> &&
          (read_alternative<Alternatives>(source, variant), true)) ||
         ...))
    {
        return;
    }
    skip_variant(source);
    variant = std::variant<Alternatives...>{};
}

template <typename T>
void read_value(sd_bus_message* source, T& value)
{
    if constexpr (Number<T>)
    {
        read_number(source, basic_code<T>, &value);
    }
    else if constexpr (std::same_as<T, bool>)
    {
        value = read_bool(source);
    }
    else if constexpr (std::same_as<T, message::object_path>)
    {
        value.str = read_text(source, basic_code<T>);
    }
    else if constexpr (Basic<T>)
    {
        value = read_text(source, basic_code<T>);
    }
    else if constexpr (IntegerVector<T>)
    {
        read_array(source, value);
    }
    else if constexpr (Vector<T>)
    {
        using Element = typename T::value_type;
        read_elements<Element>(source, sequence_read_steps, [&value](Element&& element) {
            value.emplace_back(std::move(element));
        });
    }
    else if constexpr (Map<T>)
    {
        using Entry = std::pair<typename T::key_type, typename T::mapped_type>;
        read_elements<Entry>(source, map_read_steps,
                             [&value](Entry&& entry) { value.emplace(std::move(entry)); });
    }
    else
    {
        read_structure(source, value);
    }
}

} // namespace sdbusplus::detail
