#pragma once

#include <systemd/sd-bus.h>

#include <memory>

struct UnrefMessage
{
    void operator()(sd_bus_message* message) const
    {
        sd_bus_message_unref(message);
    }
};

using RawMessage = std::unique_ptr<sd_bus_message, UnrefMessage>;

/// Two connections of this process that talk to each other without a bus daemon in between.
class BusPair
{
  public:
    BusPair();
    ~BusPair();
    BusPair(const BusPair&) = delete;
    BusPair& operator=(const BusPair&) = delete;

    /// For the code under test.
    sd_bus* local = nullptr;
    sd_bus* peer = nullptr;
};

/// Ends the writing of a message and goes to its beginning, as if it had been received.
void seal(sd_bus_message* message);
