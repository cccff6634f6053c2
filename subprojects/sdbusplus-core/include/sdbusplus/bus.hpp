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

    /// Creates a call, not sent yet.
    message_t new_method_call(const char* service, const char* path, const char* interface,
                              const char* member);

    /// Sends a call and waits for its reply; an error reply is raised. 0 is the library's default timeout.
    message_t call(message_t& method_call, uint64_t timeout_us);

    /// Dispatches at most one pending message; true when it did something.
    bool process_discard();

    /// Waits up to the timeout until there is something to process; positive when there is.
    int wait(uint64_t timeout_us);

    std::string get_unique_name();

    /// Closes the connection for all holders of a reference; this object keeps its own. Queued messages are
    /// dropped, and later calls on the connection fail.
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
/// sd-bus keeps it in a thread-local variable and clears that with the last reference. Messages and matches hold
/// references, too: one that outlives the thread keeps the connection open, unprocessed, unless it is closed, and
/// releasing it writes to the storage of a thread that has ended.
bus_t new_default_system();

} // namespace bus

} // namespace sdbusplus
