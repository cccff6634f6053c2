#pragma once

#include "simulator/answer.hpp"
#include "simulator/message.hpp"
#include "simulator/options.hpp"

#include <systemd/sd-bus.h>
#include <systemd/sd-event.h>

#include <functional>
#include <memory>
#include <span>

namespace simulator
{

struct BusRelease
{
    void operator()(sd_bus* bus) const
    {
        sd_bus_flush_close_unref(bus);
    }
};

/// The connection to the bus, which can be closed and opened again. Its functions throw BusFailure.
class Connection
{
  public:
    /// Says whether it takes the call; if not, the bus library answers.
    using CallHandler = std::function<bool(sd_bus_message*)>;

    /// `on_loss` is called when the connection breaks, but not when `close` ends it.
    Connection(sd_event* event, BusChoice choice, CallHandler on_call,
               std::function<void()> on_loss);

    /// Connects unless connected.
    void open();

    /// Owns the service's name; does nothing when it is owned already.
    void own_name();

    void release_name();

    void close();

    /// Whether the message came over the connection that is open now.
    bool carried(sd_bus_message* message) const;

    void send(const Signal& signal);

    void reply(sd_bus_message* call, std::span<const Value> values);
    void reply(sd_bus_message* call, const ErrorReply& error);

    /// Returns when all that was sent has gone to the bus.
    void flush();

  private:
    static int receive(sd_bus_message* message, void* self, sd_bus_error*);

    void connect();
    sd_bus* opened() const;

    sd_event* event;
    BusChoice choice;
    CallHandler on_call;
    std::function<void()> on_loss;
    std::unique_ptr<sd_bus, BusRelease> bus;
    unsigned unflushed = 0;
};

} // namespace simulator
