#pragma once

#include <sdbusplus/detail/object_path.hpp>

#include <concepts>
#include <cstdint>
#include <map>
#include <string>
#include <tuple>
#include <type_traits>
#include <utility>
#include <variant>
#include <vector>

namespace sdbusplus::detail
{

/// D-Bus type code of a basic type; NUL for any other.
template <typename T>
inline constexpr char basic_code = '\0';
template <>
inline constexpr char basic_code<bool> = 'b';
template <>
inline constexpr char basic_code<uint8_t> = 'y';
template <>
inline constexpr char basic_code<int16_t> = 'n';
template <>
inline constexpr char basic_code<uint16_t> = 'q';
template <>
inline constexpr char basic_code<int32_t> = 'i';
template <>
inline constexpr char basic_code<uint32_t> = 'u';
template <>
inline constexpr char basic_code<int64_t> = 'x';
template <>
inline constexpr char basic_code<uint64_t> = 't';
template <>
inline constexpr char basic_code<double> = 'd';
template <>
inline constexpr char basic_code<std::string> = 's';
template <>
inline constexpr char basic_code<const char*> = 's';
template <>
inline constexpr char basic_code<message::object_path> = 'o';

template <typename T>
concept Basic = basic_code<T>
!= '\0';

/// Types that sd-bus transfers in their C++ representation; it transfers bool as an int.
template <typename T>
concept Number = Basic<T> && std::is_arithmetic_v<T> && !std::same_as<T, bool>;

template <typename T>
inline constexpr bool is_vector = false;
template <typename... Parameters>
inline constexpr bool is_vector<std::vector<Parameters...>> = true;

template <typename T>
inline constexpr bool is_map = false;
template <typename... Parameters>
inline constexpr bool is_map<std::map<Parameters...>> = true;

/// Arrays whose memory has the layout of the wire.
template <typename T>
concept IntegerVector =
    is_vector<T> && Number<typename T::value_type> && std::integral<typename T::value_type>;

template <typename T>
concept Vector = is_vector<T>;

template <typename T>
concept Map = is_map<T>;

/// A D-Bus signature as a type, so that joining signatures costs nothing at run time.
template <char... Codes>
struct Signature
{
    static constexpr char text[] = {Codes..., '\0'};
};

template <char... Left, char... Right>
Signature<Left..., Right...> operator+(Signature<Left...>, Signature<Right...>);

/// The signature of a C++ type. A type without a specialisation does not exist on the bus.
template <typename T>
struct SignatureOf;

/// The joined signatures of several types.
template <typename... Ts>
using Joined = decltype((Signature<>{} + ... + typename SignatureOf<Ts>::type{}));

/// The signature of a container's contents, as sd-bus takes it to enter or open the container.
template <typename T>
struct ContentsOf;

template <Vector T>
struct ContentsOf<T>
{
    using type = Joined<typename T::value_type>;
};

template <Map T>
struct ContentsOf<T>
{
    using type = Joined<std::pair<typename T::key_type, typename T::mapped_type>>;
};

template <typename Key, typename Value>
struct ContentsOf<std::pair<Key, Value>>
{
    using type = Joined<std::remove_const_t<Key>, Value>;
};

template <typename... Members>
struct ContentsOf<std::tuple<Members...>>
{
    static_assert(sizeof...(Members) > 0, "D-Bus knows no empty structure");
    using type = Joined<Members...>;
};

template <Basic T>
struct SignatureOf<T>
{
    using type = Signature<basic_code<T>>;
};

template <typename T>
requires Vector<T> || Map<T>
struct SignatureOf<T>
{
    using type = decltype(Signature<'a'>{} + typename ContentsOf<T>::type{});
};

template <typename Key, typename Value>
struct SignatureOf<std::pair<Key, Value>>
{
    using type = decltype(Signature<'{'>{} + typename ContentsOf<std::pair<Key, Value>>::type{} +
                          Signature<'}'>{});
};

template <typename... Members>
struct SignatureOf<std::tuple<Members...>>
{
    using type = decltype(Signature<'('>{} + typename ContentsOf<std::tuple<Members...>>::type{} +
                          Signature<')'>{});
};

template <typename... Alternatives>
struct SignatureOf<std::variant<Alternatives...>>
{
    using type = Signature<'v'>;
};

/// Signature of T as a C string.
template <typename T>
inline constexpr const char* signature_text = SignatureOf<T>::type::text;

/// Contents of the container T as a C string.
template <typename T>
inline constexpr const char* contents_text = ContentsOf<T>::type::text;

} // namespace sdbusplus::detail
