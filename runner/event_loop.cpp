#include "runner/event_loop.hpp"

#include <sys/epoll.h>
#include <sys/wait.h>
#include <system_error>
#include <utility>

namespace runner
{

namespace
{

// The clock's finest step: sd-event otherwise lets timers wait up to a quarter of a second.
constexpr std::uint64_t accuracy_us = 1;

int check(int result, const char* call)
{
    if (result < 0)
    {
        throw std::system_error(-result, std::generic_category(), call);
    }
    return result;
}

void block(int signal)
{
    sigset_t blocked;
    sigemptyset(&blocked);
    sigaddset(&blocked, signal);
    check(-::pthread_sigmask(SIG_BLOCK, &blocked, nullptr), "pthread_sigmask");
}

} // namespace

EventLoop::EventLoop()
{
    sd_event* created = nullptr;
    check(sd_event_new(&created), "sd_event_new");
    event.reset(created);
}

Source EventLoop::when_readable(int descriptor, std::function<void()> ready)
{
    const auto call = [](sd_event_source*, int, std::uint32_t, void* data) {
        const auto& callback = *static_cast<Callback*>(data);
        callback.loop->guard(callback.action);
        return 0;
    };
    sd_event_source* source = nullptr;
    check(sd_event_add_io(event.get(), &source, descriptor, EPOLLIN, call,
                          keep({this, std::move(ready), {}})),
          "sd_event_add_io");
    return Source(source);
}

Source EventLoop::when_ended(int child, std::function<void(const siginfo_t&)> ended)
{
    const auto call = [](sd_event_source*, const siginfo_t* how, void* data) {
        const auto& callback = *static_cast<Callback*>(data);
        callback.loop->guard([&] { callback.child_action(*how); });
        return 0;
    };
    sd_event_source* source = nullptr;
    check(sd_event_add_child(event.get(), &source, child, WEXITED, call,
                             keep({this, {}, std::move(ended)})),
          "sd_event_add_child");
    return Source(source);
}

Source EventLoop::after(std::chrono::milliseconds delay, std::function<void()> action)
{
    const auto call = [](sd_event_source*, std::uint64_t, void* data) {
        const auto& callback = *static_cast<Callback*>(data);
        callback.loop->guard(callback.action);
        return 0;
    };
    const std::chrono::microseconds wait = delay;
    sd_event_source* source = nullptr;
    check(sd_event_add_time_relative(event.get(), &source, CLOCK_MONOTONIC,
                                     static_cast<std::uint64_t>(wait.count()), accuracy_us, call,
                                     keep({this, std::move(action), {}})),
          "sd_event_add_time_relative");
    return Source(source);
}

void EventLoop::again(const Source& timer, std::chrono::milliseconds delay)
{
    const std::chrono::microseconds wait = delay;
    check(sd_event_source_set_time_relative(timer.get(), static_cast<std::uint64_t>(wait.count())),
          "sd_event_source_set_time_relative");
    check(sd_event_source_set_enabled(timer.get(), SD_EVENT_ONESHOT),
          "sd_event_source_set_enabled");
}

Source EventLoop::when_signalled(int signal, std::function<void(int)> action)
{
    block(signal);
    const auto call = [](sd_event_source*, const signalfd_siginfo*, void* data) {
        const auto& callback = *static_cast<Callback*>(data);
        callback.loop->guard(callback.action);
        return 0;
    };
    sd_event_source* source = nullptr;
    auto bound = [action = std::move(action), signal] { action(signal); };
    check(
        sd_event_add_signal(event.get(), &source, signal, call, keep({this, std::move(bound), {}})),
        "sd_event_add_signal");
    return Source(source);
}

void EventLoop::run()
{
    check(sd_event_loop(event.get()), "sd_event_loop");
    if (failure)
    {
        std::rethrow_exception(failure);
    }
}

void EventLoop::stop()
{
    sd_event_exit(event.get(), 0);
}

EventLoop::Callback* EventLoop::keep(Callback callback)
{
    callbacks.push_back(std::make_unique<Callback>(std::move(callback)));
    return callbacks.back().get();
}

void EventLoop::guard(const std::function<void()>& action)
{
    try
    {
        action();
    }
    catch (...)
    {
        failure = std::current_exception();
        stop();
    }
}

} // namespace runner
