#pragma once

#include <sdbusplus/detail/appending.hpp>
#include <sdbusplus/detail/reading.hpp>
#include <sdbusplus/exception.hpp>
#include <systemd/sd-bus.h>

#include <type_traits>

namespace sdbusplus
{

class bus_t;

/// One reference to a D-Bus message. Every failure raises exception::SdBusError.
///
/// C++ types and their D-Bus types, deduced at compile time:
///   bool b, uint8_t y, int16_t n, uint16_t q, int32_t i, uint32_t u, int64_t x, uint64_t t, double d,
///   std::string and const char* s, message::object_path o, std::vector<T> aT, std::map<K, V> a{KV},
///   std::pair<K, V> a dict entry {KV}, std::tuple<T...> a structure (T...), std::variant<T...> v.
class message_t
{
  public:
    /// Takes a new reference.
    explicit message_t(sd_bus_message* message) noexcept;
    /// Takes over the caller's reference.
    message_t(sd_bus_message* message, std::false_type) noexcept;

    message_t(const message_t& other) noexcept;
    message_t(message_t&& other) noexcept;
    message_t& operator=(message_t other) noexcept;
    ~message_t();

    /// Appends each value to the message.
    template <typename... Args>
    void append(const Args&... args)
    {
        (detail::append_value<detail::Appended<Args>>(handle, args), ...);
    }

    /// Reads the next values in order. Containers keep what they held before; a map keeps the first of two
    /// equal keys. A variant's alternatives are tried in order; content of none of them is skipped and gives
    /// the value-initialised first alternative. A const char* points into the message.
    template <typename... Args>
    void read(Args&... args)
    {
        (detail::read_value(handle, args), ...);
    }

    /// Object path that a call or a signal is about; null in a reply. Lives in the message.
    const char* get_path() const noexcept;

    /// A new reference to the connection of the message. Needs <sdbusplus/bus.hpp>.
    bus_t get_bus() const;

  private:
    friend class bus_t;

    sd_bus_message* handle;
};

} // namespace sdbusplus
