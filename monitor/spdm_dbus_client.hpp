#pragma once

#include <thread>

/// Watches the service's signals on a thread of its own between start and stop.
///
/// What both threads use has no lock. The thread's creation orders all that the menu's thread did before
/// it, and the join in stop_monitor() all that the handlers did before what the menus read of it next. In
/// between only the handlers touch the devices' tables, while the menu's thread reads numbers up to -1.
/// Both print to std::cout, which is synchronised with C's streams and so locked by them: no line is lost,
/// but lines of the two may stand in any order.
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
