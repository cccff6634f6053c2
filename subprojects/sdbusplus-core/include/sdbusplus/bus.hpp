#pragma once

#include <sdbusplus/exception.hpp>
#include <sdbusplus/message.hpp>
#include <systemd/sd-bus.h>

#include <cstdint>
#include <memory>
#include <string>
#include <type_traits>

namespace sdbusplus
{

namespace bus
{
class match_t;
}

/// One reference to a bus connection. Every failure raises exception::SdBusError.
class bus_t
{
  public:
    /// Takes a new reference.
    explicit bus_t(sd_bus* connection);
    /// Takes over the caller's reference.
    bus_t(sd_bus* connection, std::false_type);

    /// A call that is still to be given its arguments and sent.
    message_t new_method_call(const char* service, const char* path, const char* interface,
                              const char* member);

    /// Sends a call and waits for its reply; an error reply is raised. 0 is the library's own time-out.
    message_t call(message_t& method_call, uint64_t timeout_us);

    /// Handles what is pending, one message at most; true when it did something.
    bool process_discard();

    /// Waits until there is something to process, at most so long; positive when there is.
    int wait(uint64_t timeout_us);

    std::string get_unique_name();

    /// Closes the connection for all who hold a reference to it; this object keeps its own. Messages still
    /// queued are dropped. Whatever is done over the connection afterwards fails.
    void close();

  private:
    friend class bus::match_t;

    struct Unref
    {
        void operator()(sd_bus* connection) const noexcept
        {
            sd_bus_unref(connection);
        }
    };

    std::unique_ptr<sd_bus, Unref> handle;
};

namespace bus
{

/// The calling thread's shared connection to the system bus, opened if the thread has none yet.
///
/// sd-bus keeps it in a thread-local and clears that when the last reference goes. References are also held by
/// messages and matches: one that outlives the thread keeps the connection open, unprocessed, and its release
/// writes to the storage of a thread that is gone.
bus_t new_default_system();

} // namespace bus

} // namespace sdbusplus
