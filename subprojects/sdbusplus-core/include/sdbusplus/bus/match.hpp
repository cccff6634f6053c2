#pragma once

#include <sdbusplus/bus.hpp>
#include <sdbusplus/message.hpp>
#include <systemd/sd-bus.h>

#include <functional>
#include <memory>
#include <string>

namespace sdbusplus::bus
{

/// A subscription that lasts as long as the object. It holds a reference to its connection: see
/// new_default_system() for what that means when the connection's thread ends first.
class match_t
{
  public:
    /// Returns when the bus has confirmed the rule; a rule it refuses raises exception::SdBusError.
    /// `on_message` runs within the connection's process_discard() and must not throw: an exception that
    /// escapes it ends the process.
    match_t(bus_t& bus, const std::string& rule, std::function<void(message_t&)> on_message);

  private:
    using Callback = std::function<void(message_t&)>;

    struct Unref
    {
        void operator()(sd_bus_slot* subscription) const noexcept
        {
            sd_bus_slot_unref(subscription);
        }
    };

    static int deliver(sd_bus_message* message, void* context, sd_bus_error* error) noexcept;

    // On the heap, because sd-bus keeps its address while the match moves. Declared before the slot, so that
    // it outlives the subscription.
    std::unique_ptr<Callback> callback;
    std::unique_ptr<sd_bus_slot, Unref> slot;
};

} // namespace sdbusplus::bus
