#pragma once

#include <systemd/sd-bus.h>

#include <memory>
#include <system_error>

/// Throws on an error of raw sd-bus: that is a fault of the test, not of the code under test.
inline int require(int result)
{
    if (result < 0)
    {
        throw std::system_error(-result, std::generic_category(), "raw sd-bus");
    }
    return result;
}

struct Unref
{
    void operator()(sd_bus* connection) const
    {
        sd_bus_flush_close_unref(connection);
    }
    void operator()(sd_bus_message* message) const
    {
        sd_bus_message_unref(message);
    }
    void operator()(sd_bus_slot* slot) const
    {
        sd_bus_slot_unref(slot);
    }
};

using RawBus = std::unique_ptr<sd_bus, Unref>;
using RawMessage = std::unique_ptr<sd_bus_message, Unref>;
using RawSlot = std::unique_ptr<sd_bus_slot, Unref>;

/// A new connection, independent of the thread's default one.
inline RawBus open_raw_bus()
{
    sd_bus* connection = nullptr;
    require(sd_bus_open_system(&connection));
    return RawBus{connection};
}
