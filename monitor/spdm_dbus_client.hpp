#pragma once

#include <thread>

/// Watches the service's signals on a thread of its own between start and stop.
///
/// The threads share the device tables without a lock: between start and stop only the handlers use
/// them, and the thread's creation and its join order the accesses. Both threads print to std::cout,
/// which is synchronised with C's streams and so locked: no line is lost, but their order may vary.
class spdm_dbus_client
{
  public:
    spdm_dbus_client() = default;
    spdm_dbus_client(const spdm_dbus_client&) = delete;
    spdm_dbus_client& operator=(const spdm_dbus_client&) = delete;

    /// Ends the process (`std::terminate`) if the monitor still runs.
    ~spdm_dbus_client();

    /// Starts the thread. Exceptions from its creation propagate.
    void start_monitor();

    /// Ends the thread after the handler in progress, and waits for it.
    void stop_monitor();

  private:
    /// The thread's body: subscribes, then dispatches signals while `running`. Prints a bus error
    /// and returns.
    void monitor_loop();

    /// Set before the thread is created, cleared while it runs. Plain, not atomic: the calls into the
    /// bus library make the compiler read it again each turn, and a late read costs one turn, a
    /// millisecond.
    bool running = false;

    std::thread* thread = nullptr;
};
