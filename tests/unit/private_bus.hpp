#pragma once

#include <sys/types.h>

/// A dbus-daemon of the test's own, reached as the system bus while the object lives. One at a time, as the
/// address is the process's.
///
/// It is started and watched by a keeper process that stops it and removes its folder as soon as the test process lets
/// go, be it by stop(), by an exit or by a crash.
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
    int lifeline = -1;
    pid_t keeper = -1;
};
