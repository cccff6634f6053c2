#pragma once

#include <sys/types.h>

/// A dbus-daemon of the test's own, reached as the system bus while the object lives. One at a time, as the
/// address is the process's. It leaves nothing behind, however the test ends: its socket has no file, its
/// configuration neither, and the kernel ends it with the test.
class PrivateBus
{
  public:
    PrivateBus();
    ~PrivateBus();
    PrivateBus(const PrivateBus&) = delete;
    PrivateBus& operator=(const PrivateBus&) = delete;

    /// Ends the daemon; its clients lose their connections. The address stays set, so that nothing reaches the
    /// machine's own bus by mistake.
    void stop();

  private:
    pid_t daemon = -1;
};
