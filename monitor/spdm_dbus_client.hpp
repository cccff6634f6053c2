#pragma once

#include <thread>

/// Watches the service's signals on a thread of its own between start and stop.
class spdm_dbus_client
{
  public:
    spdm_dbus_client() = default;
    spdm_dbus_client(const spdm_dbus_client&) = delete;
    spdm_dbus_client& operator=(const spdm_dbus_client&) = delete;

    /// A monitor that still runs ends the process (`std::terminate`).
    ~spdm_dbus_client();

    /// Starts the thread. Passes on what its creation raises.
    void start_monitor();

    /// Ends the thread after the handler in progress, and waits for it.
    void stop_monitor();

  private:
    /// The thread's body: subscribes, then dispatches signals while `running`. Prints a bus error
    /// and ends at it.
    void monitor_loop();

    /// Set before the thread is created and cleared while it runs. Plain, not atomic: the loop reads
    /// it anew every turn, since the calls into the bus library in between might change it for all
    /// the compiler knows, and a late read costs a turn of a millisecond at most.
    bool running = false;

    std::thread* thread = nullptr;
};
