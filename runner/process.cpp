#include "runner/process.hpp"

#include <array>
#include <cerrno>
#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace runner
{

namespace
{

constexpr std::chrono::seconds patience{3};

/// How long output may come after the process has ended, from what has left its group.
constexpr std::chrono::seconds drain_time{1};

[[noreturn]] void fail(const char* call)
{
    throw std::system_error(errno, std::generic_category(), call);
}

/// What the new process does until it is the shell; only calls that are safe after fork(2).
[[noreturn]] void become_shell(const std::array<int, 3>& streams, const char* command, pid_t parent)
{
    ::setpgid(0, 0);
    // A client whose input has ended may show its menu for ever.
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (::getppid() != parent)
    {
        ::_exit(127);
    }
    for (std::size_t stream = 0; stream < streams.size(); ++stream)
    {
        ::dup2(streams[stream], static_cast<int>(stream));
    }
    ::signal(SIGPIPE, SIG_DFL);
    sigset_t none;
    sigemptyset(&none);
    ::sigprocmask(SIG_SETMASK, &none, nullptr);
    ::execl("/bin/sh", "sh", "-c", command, nullptr);
    ::_exit(127);
}

} // namespace

Process::Process(EventLoop& loop, const std::string& command, Listener listener)
    : loop(loop), listener(std::move(listener))
{
    start(command);
    output.source =
        loop.when_readable(output.read_end.number, [this] { read(output, this->listener.output); });
    errors.source =
        loop.when_readable(errors.read_end.number, [this] { read(errors, this->listener.errors); });
    child_source = loop.when_ended(child, [this](const siginfo_t& how) { child_ended(how); });
}

Process::~Process()
{
    if (child > 0 && !end)
    {
        signal_group(SIGKILL);
        child_source.reset();
        while (::waitpid(child, nullptr, 0) < 0 && errno == EINTR)
        {}
    }
}

void Process::start(const std::string& command)
{
    // The child's ends; those of this process stay open.
    Descriptor child_input;
    Descriptor child_output;
    Descriptor child_errors;
    const auto connect = [](Descriptor& reading, Descriptor& writing) {
        std::array<int, 2> ends{};
        if (::pipe2(ends.data(), O_CLOEXEC) != 0)
        {
            fail("pipe2");
        }
        reading.number = ends[0];
        writing.number = ends[1];
    };
    connect(child_input, input);
    connect(output.read_end, child_output);
    connect(errors.read_end, child_errors);
    for (const int own : {input.number, output.read_end.number, errors.read_end.number})
    {
        ::fcntl(own, F_SETFL, O_NONBLOCK);
    }
    const auto parent = ::getpid();
    child = ::fork();
    if (child < 0)
    {
        fail("fork");
    }
    if (child == 0)
    {
        become_shell({child_input.number, child_output.number, child_errors.number},
                     command.c_str(), parent);
    }
    // Both do it, because either may be first.
    ::setpgid(child, child);
}

bool Process::write(std::string_view text)
{
    const auto written = ::write(input.number, text.data(), text.size());
    // A process that has ended, or has closed its input, is known by the end of its output.
    return written == static_cast<ssize_t>(text.size()) || (written < 0 && errno == EPIPE);
}

void Process::close_input()
{
    input.close();
}

void Process::terminate()
{
    if (kill_timer || end)
    {
        return;
    }
    signal_group(SIGTERM);
    signal_group(SIGCONT); // One that is stopped would not notice.
    kill_timer = loop.after(patience, [this] { signal_group(SIGKILL); });
}

void Process::signal_group(int signal) const
{
    ::kill(-child, signal);
}

void Process::read(Stream& stream, const std::function<void(std::string_view)>& take)
{
    std::array<char, 65536> block;
    const auto size = ::read(stream.read_end.number, block.data(), block.size());
    if (size < 0 && (errno == EAGAIN || errno == EINTR))
    {
        return;
    }
    if (size > 0)
    {
        take({block.data(), static_cast<std::size_t>(size)});
        return;
    }
    stream.source.reset();
    stream.read_end.close();
    finish_if_ended();
}

void Process::child_ended(const siginfo_t& how)
{
    // Not reaped yet, so that its number is still the group's.
    signal_group(SIGKILL);
    kill_timer.reset();
    end = how.si_code == CLD_EXITED ? ProcessEnd{how.si_status, {}} : ProcessEnd{{}, how.si_status};
    drain_timer = loop.after(drain_time, [this] {
        output.source.reset();
        errors.source.reset();
        finish_if_ended();
    });
    finish_if_ended();
}

void Process::finish_if_ended()
{
    if (end && !output.source && !errors.source && !finished)
    {
        finished = true;
        drain_timer.reset();
        listener.ended(*end);
    }
}

} // namespace runner
