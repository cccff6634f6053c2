#pragma once

#include <systemd/sd-event.h>

#include <chrono>
#include <exception>
#include <functional>
#include <list>
#include <memory>
#include <string_view>

namespace simulator
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

/// The one loop from which everything is done. Its functions throw BusFailure.
class EventLoop
{
  public:
    /// From here on SIGTERM and SIGINT end the loop with 0.
    EventLoop();

    sd_event* get() const
    {
        return event.get();
    }

    /// Calls `action` once, after `delay`.
    void after(std::chrono::milliseconds delay, std::function<void()> action);

    /// Calls `take` with what comes from the file descriptor, and with an empty text at its end.
    void on_input(int descriptor, std::function<void(std::string_view)> take);

    /// Returns the code that `stop` was given. What an action throws ends the loop and comes out.
    int run();

    void stop(int code);

  private:
    using Source = std::unique_ptr<sd_event_source, EventRelease>;

    struct Timer
    {
        EventLoop* loop;
        std::function<void()> action;
        Source source;
        std::list<Timer>::iterator place;
    };

    struct Input
    {
        int descriptor = -1;
        std::function<void(std::string_view)> take;
        Source source;
    };

    void read_input();
    void guard(const std::function<void()>& action);

    std::unique_ptr<sd_event, EventRelease> event;
    std::list<Timer> timers;
    Input input;
    std::exception_ptr failure;
};

} // namespace simulator
