#pragma once

#include "simulator/answer.hpp"
#include "simulator/value.hpp"

#include <systemd/sd-bus.h>

#include <cstddef>
#include <memory>
#include <span>

namespace simulator
{

struct MessageRelease
{
    void operator()(sd_bus_message* message) const
    {
        sd_bus_message_unref(message);
    }
};

/// Owns one reference to a message.
using MessageHandle = std::unique_ptr<sd_bus_message, MessageRelease>;

/// The size of a message body in the bus's format. Throws BusFailure when it, or an array in it, is larger
/// than a bus takes: sending it would cost the connection.
std::size_t body_size(std::span<const Value> values);

// Both throw BusFailure.
void append_values(sd_bus_message* message, std::span<const Value> values);
Call read_call(sd_bus_message* message);

} // namespace simulator
