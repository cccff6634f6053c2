#pragma once

#include <charconv>
#include <cstdint>
#include <optional>
#include <string_view>
#include <utility>

/// The parts of a line.
namespace report
{

/// The number that `text` is, whole.
template <typename Number>
std::optional<Number> number_in(std::string_view text)
{
    Number number{};
    const auto* end = text.data() + text.size();
    const auto [stopped, error] = std::from_chars(text.data(), end, number);
    if (text.empty() || error != std::errc{} || stopped != end)
    {
        return std::nullopt;
    }
    return number;
}

/// The number with which `text` begins; `text` then begins after it.
template <typename Number>
std::optional<Number> take_number(std::string_view& text)
{
    Number number{};
    const auto [stopped, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc{})
    {
        return std::nullopt;
    }
    text.remove_prefix(static_cast<std::size_t>(stopped - text.data()));
    return number;
}

/// Whether `text` began with `prefix`; it then begins after it.
inline bool take(std::string_view& text, std::string_view prefix)
{
    if (!text.starts_with(prefix))
    {
        return false;
    }
    text.remove_prefix(prefix.size());
    return true;
}

/// The text before the last `separator`; `text` then begins after it. Nothing where there is none.
inline std::optional<std::string_view> take_until_last(std::string_view& text,
                                                       std::string_view separator)
{
    const auto at = text.rfind(separator);
    if (at == std::string_view::npos)
    {
        return std::nullopt;
    }
    return std::exchange(text, text.substr(at + separator.size())).substr(0, at);
}

/// The text before the first `separator`; `text` then begins after it. Nothing where there is none.
inline std::optional<std::string_view> take_until(std::string_view& text,
                                                  std::string_view separator)
{
    const auto at = text.find(separator);
    if (at == std::string_view::npos)
    {
        return std::nullopt;
    }
    return std::exchange(text, text.substr(at + separator.size())).substr(0, at);
}

/// Before the microseconds that end a result's line.
constexpr std::string_view time_label = " Time taken(In us): ";

inline bool ends_with_time(std::string_view text)
{
    return take_until_last(text, time_label) && number_in<std::int64_t>(text);
}

} // namespace report
