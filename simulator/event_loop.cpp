#include "simulator/event_loop.hpp"

#include "simulator/bus_failure.hpp"

#include <array>
#include <cerrno>
#include <csignal>
#include <exception>
#include <sys/epoll.h>
#include <unistd.h>

namespace simulator
{

namespace
{

// The clock's finest step: sd-event otherwise lets timers wait up to a quarter of a second.
constexpr std::uint64_t accuracy_us = 1;

} // namespace

EventLoop::EventLoop()
{
    sd_event* created = nullptr;
    check(sd_event_new(&created), "sd_event_new");
    event.reset(created);
    sigset_t ending;
    sigemptyset(&ending);
    for (const int signal : {SIGTERM, SIGINT})
    {
        sigaddset(&ending, signal);
        sigprocmask(SIG_BLOCK, &ending, nullptr);
        // Without a handler of its own the signal ends the loop with the code 0.
        check(sd_event_add_signal(event.get(), nullptr, signal, nullptr, nullptr),
              "sd_event_add_signal");
    }
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
        stop(1);
    }
}

void EventLoop::after(std::chrono::milliseconds delay, std::function<void()> action)
{
    const auto timer = timers.insert(timers.end(), Timer{this, std::move(action), {}, {}});
    timer->place = timer;
    const auto expired = [](sd_event_source*, std::uint64_t, void* data) {
        auto& self = *static_cast<Timer*>(data);
        EventLoop& loop = *self.loop;
        loop.guard(self.action);
        loop.timers.erase(self.place);
        return 0;
    };
    const std::chrono::microseconds wait = delay;
    sd_event_source* source = nullptr;
    check(sd_event_add_time_relative(event.get(), &source, CLOCK_MONOTONIC,
                                     static_cast<std::uint64_t>(wait.count()), accuracy_us, expired,
                                     &*timer),
          "sd_event_add_time_relative");
    timer->source.reset(source);
}

void EventLoop::read_input()
{
    std::array<char, 65536> block{};
    const ssize_t size = ::read(input.descriptor, block.data(), block.size());
    if (size < 0 && (errno == EINTR || errno == EAGAIN))
    {
        return;
    }
    if (size <= 0)
    {
        input.source.reset();
    }
    input.take({block.data(), static_cast<std::size_t>(size > 0 ? size : 0)});
}

void EventLoop::on_input(int descriptor, std::function<void(std::string_view)> take)
{
    input.descriptor = descriptor;
    input.take = std::move(take);
    const auto readable = [](sd_event_source*, int, std::uint32_t, void* data) {
        auto& loop = *static_cast<EventLoop*>(data);
        loop.guard([&] { loop.read_input(); });
        return 0;
    };
    const auto always = [](sd_event_source*, void* data) {
        auto& loop = *static_cast<EventLoop*>(data);
        loop.guard([&] { loop.read_input(); });
        return 0;
    };
    sd_event_source* source = nullptr;
    int result = sd_event_add_io(event.get(), &source, descriptor, EPOLLIN, readable, this);
    if (result == -EPERM)
    {
        // Files cannot be waited for, because they can always be read.
        result = sd_event_add_defer(event.get(), &source, always, this);
    }
    check(result, "sd_event_add_io");
    input.source.reset(source);
    check(sd_event_source_set_enabled(source, SD_EVENT_ON), "sd_event_source_set_enabled");
}

int EventLoop::run()
{
    const int code = check(sd_event_loop(event.get()), "sd_event_loop");
    if (failure)
    {
        std::rethrow_exception(failure);
    }
    return code;
}

void EventLoop::stop(int code)
{
    sd_event_exit(event.get(), code);
}

} // namespace simulator
