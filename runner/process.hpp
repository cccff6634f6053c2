#pragma once

#include "runner/descriptor.hpp"
#include "runner/event_loop.hpp"

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <sys/types.h>

namespace runner
{

/// How a process ended: exactly one of both.
struct ProcessEnd
{
    std::optional<int> status;
    std::optional<int> signal;
};

/// A shell command in a process group of its own, of which nothing is left after the end.
class Process
{
  public:
    /// Called by the event loop.
    struct Listener
    {
        std::function<void(std::string_view)> output; ///< Its standard output.
        std::function<void(std::string_view)> errors; ///< Its standard error.
        std::function<void(ProcessEnd)> ended;        ///< After the last output.
    };

    /// Starts it. SIGPIPE must be ignored, SIGCHLD blocked. Raises `std::system_error`.
    Process(EventLoop& loop, const std::string& command, Listener listener);
    ~Process();
    Process(const Process&) = delete;
    Process& operator=(const Process&) = delete;

    /// Writes to its standard input. False if it does not read: the pipe is full.
    bool write(std::string_view text);
    void close_input();

    /// Asks the group to end, and makes it after some seconds.
    void terminate();

  private:
    /// One of its outputs.
    struct Stream
    {
        Descriptor read_end;
        Source source;
    };

    void start(const std::string& command);
    void read(Stream& stream, const std::function<void(std::string_view)>& take);
    void signal_group(int signal) const;
    void child_ended(const siginfo_t& how);
    void finish_if_ended();

    EventLoop& loop;
    Listener listener;
    pid_t child = -1;
    Descriptor input;
    Stream output;
    Stream errors;
    Source child_source;
    Source kill_timer;
    Source drain_timer;
    std::optional<ProcessEnd> end;
    bool finished = false;
};

} // namespace runner
