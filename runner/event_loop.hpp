#pragma once

#include <systemd/sd-event.h>

#include <chrono>
#include <csignal>
#include <cstdint>
#include <exception>
#include <functional>
#include <memory>
#include <vector>

namespace runner
{

struct EventRelease
{
    void operator()(sd_event* event) const
    {
        sd_event_unref(event);
    }
    void operator()(sd_event_source* source) const
    {
        sd_event_source_disable_unref(source);
    }
};

using Source = std::unique_ptr<sd_event_source, EventRelease>;

/// Waits for descriptors, a child, times and signals. An exception out of a callback ends the loop.
class EventLoop
{
  public:
    EventLoop();

    /// Calls `ready` whenever the descriptor can be read.
    Source when_readable(int descriptor, std::function<void()> ready);

    /// Calls `ended` with what waitid(2) says. The child is reaped after that. SIGCHLD is blocked.
    Source when_ended(int child, std::function<void(const siginfo_t&)> ended);

    Source after(std::chrono::milliseconds delay, std::function<void()> action);

    /// Lets what `after` returned expire once more.
    static void again(const Source& timer, std::chrono::milliseconds delay);

    /// Calls `action` with the signal, which is blocked.
    Source when_signalled(int signal, std::function<void(int)> action);

    /// Until `stop()`; raises what a callback has raised.
    void run();
    void stop();

  private:
    /// What a source calls; kept until the loop goes, because a source may be released in its callback.
    struct Callback
    {
        EventLoop* loop;
        std::function<void()> action;
        std::function<void(const siginfo_t&)> child_action;
    };

    Callback* keep(Callback callback);
    void guard(const std::function<void()>& action);

    std::unique_ptr<sd_event, EventRelease> event;
    std::vector<std::unique_ptr<Callback>> callbacks;
    std::exception_ptr failure;
};

} // namespace runner
