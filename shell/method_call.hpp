#pragma once

#include "shell/service_contract.hpp"

#include <sdbusplus/bus.hpp>
#include <sdbusplus/message.hpp>

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

/// One method call over the calling thread's default system-bus connection: acquires the
/// connection, creates the call, takes the arguments, times the exchange and reads the reply.
/// Its destructor releases all of it. Every step that fails raises
/// `sdbusplus::exception::SdBusError`.
class MethodCall
{
  public:
    /// A call of `member` on the service's object at `path`.
    MethodCall(const std::string& path, const char* interface, const char* member)
        : MethodCall(ServiceContract::SERVICE_NAME, path, interface, member)
    {}

    /// A call to any other peer on the bus.
    MethodCall(const char* destination, const std::string& path, const char* interface,
               const char* member)
        : bus(sdbusplus::bus::new_default_system()),
          call(bus.new_method_call(destination, path.c_str(), interface, member))
    {}

    /// Appends the arguments in their order; the D-Bus types follow from the C++ types.
    template <typename... Arguments>
    void append(const Arguments&... arguments)
    {
        call.append(arguments...);
    }

    /// Starts the measured interval.
    void start_clock()
    {
        started = Clock::now();
    }

    /// Sends the call and waits for the reply, up to the bus library's default timeout.
    void send()
    {
        reply = bus.call(call, default_timeout);
    }

    /// Reads the reply's next fields; only after `send`.
    template <typename... Fields>
    void read(Fields&... fields)
    {
        reply->read(fields...);
    }

    /// Microseconds since `start_clock`, truncated toward zero. The system clock may be set
    /// meanwhile, so they may be negative.
    std::int64_t elapsed_microseconds() const
    {
        return std::chrono::duration_cast<std::chrono::microseconds>(Clock::now() - started)
            .count();
    }

    /// The whole exchange: sends, reads `fields` and returns the microseconds that both took.
    template <typename... Fields>
    std::int64_t exchange(Fields&... fields)
    {
        start_clock();
        send();
        read(fields...);
        return elapsed_microseconds();
    }

  private:
    using Clock = std::chrono::system_clock;

    static constexpr std::uint64_t default_timeout = 0;

    sdbusplus::bus_t bus;
    sdbusplus::message_t call;
    std::optional<sdbusplus::message_t> reply;
    Clock::time_point started;
};
