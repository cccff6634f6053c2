#include "runner/session.hpp"

#include "runner/conversation.hpp"
#include "runner/event_loop.hpp"
#include "runner/process.hpp"
#include "runner/progress.hpp"
#include "runner/result_folder.hpp"

#include <algorithm>
#include <array>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <optional>
#include <string_view>
#include <utility>

namespace runner
{

namespace
{

using Clock = std::chrono::steady_clock;

constexpr Milliseconds tick_time{1000};
constexpr int cannot_start = 127;

/// The last line that holds anything, of the few bytes at a text's end.
class LastLine
{
  public:
    void add(std::string_view bytes)
    {
        constexpr std::size_t kept = 400;
        text.append(bytes.substr(bytes.size() - std::min(bytes.size(), kept)));
        text.erase(0, text.size() - std::min(text.size(), kept));
    }

    std::string get() const
    {
        const auto end = text.find_last_not_of("\r\n ") + 1;
        const auto start = text.substr(0, end).rfind('\n') + 1;
        return text.substr(start, end - start);
    }

  private:
    std::string text;
};

class Session
{
  public:
    Session(const Options& options, Circumstances& circumstances, ResultFolder& folder)
        : options(options),
          circumstances(circumstances),
          folder(folder),
          conversation(options.task),
          progress(options.task.eids.size(), options.quiet)
    {}

    Outcome run()
    {
        for (const int signal : {SIGINT, SIGTERM, SIGHUP})
        {
            sources.push_back(loop.when_signalled(signal, [this](int which) { stop(which); }));
        }
        client.emplace(loop, options.client,
                       Process::Listener{[this](std::string_view bytes) { output(bytes); },
                                         [this](std::string_view bytes) { errors(bytes); },
                                         [this](ProcessEnd end) { ended(end); }});
        timeout = loop.after(options.timeout, [this] { check_timeout(); });
        tick = loop.after(tick_time, [this] {
            progress.tick(elapsed());
            EventLoop::again(tick, tick_time);
        });
        loop.run();
        client.reset();
        progress.finish();
        circumstances.ended = std::chrono::system_clock::now();
        circumstances.problem = outcome.problem;
        circumstances.end = end_word;
        return outcome;
    }

  private:
    Milliseconds elapsed() const
    {
        return std::chrono::duration_cast<Milliseconds>(Clock::now() - started);
    }

    void output(std::string_view bytes)
    {
        last_output = elapsed();
        const auto allowed = bytes.substr(0, options.max_output - received);
        circumstances.reads.add(received, last_output);
        received += allowed.size();
        keep([&] { folder.add_output(allowed); });
        last_line.add(allowed);
        progress.take(allowed, last_output);
        if (outcome.problem.empty())
        {
            converse(allowed);
        }
        if (allowed.size() < bytes.size())
        {
            end_early("interrupted", "the client printed more than " +
                                         std::to_string(options.max_output) + " bytes");
        }
    }

    void errors(std::string_view bytes)
    {
        const auto allowed = bytes.substr(0, options.max_output - received_errors);
        received_errors += allowed.size();
        keep([&] { folder.add_errors(allowed); });
        last_error.add(allowed);
        if (allowed.size() < bytes.size())
        {
            end_early("interrupted", "the client printed more than " +
                                         std::to_string(options.max_output) +
                                         " bytes to its standard error");
        }
    }

    void converse(std::string_view bytes)
    {
        const bool was_monitoring = conversation.monitoring();
        for (const auto& text : conversation.take(bytes))
        {
            answer(text);
        }
        if (!conversation.problem().empty())
        {
            end_early("interrupted", "the client " + conversation.problem());
        }
        else if (conversation.monitoring() && !was_monitoring && options.monitored)
        {
            monitor_timer = loop.after(*options.monitored, [this] { stop_monitoring(); });
        }
    }

    void answer(const std::string& text)
    {
        circumstances.answers.push_back({received, text.substr(0, text.size() - 1), elapsed()});
        if (!client->write(text))
        {
            end_early("interrupted", "the client does not read its answers");
        }
        if (conversation.complete())
        {
            client->close_input();
        }
    }

    void stop_monitoring()
    {
        if (conversation.monitoring())
        {
            last_output = elapsed();
            answer(conversation.stop_monitoring());
        }
    }

    void stop(int signal)
    {
        if (conversation.monitoring() && outcome.problem.empty() && signal != SIGHUP)
        {
            stop_monitoring();
            return;
        }
        outcome.signal = outcome.signal == 0 ? signal : outcome.signal;
        end_early("interrupted", "interrupted by signal " + std::to_string(signal));
    }

    void check_timeout()
    {
        const auto quiet = conversation.monitoring() ? Milliseconds(0) : elapsed() - last_output;
        if (quiet < options.timeout)
        {
            EventLoop::again(timeout, options.timeout - quiet);
            return;
        }
        end_early("timeout", "the client printed nothing for " +
                                 std::to_string(options.timeout.count()) + " s; expected was its " +
                                 conversation.expected() + last_words(last_line));
    }

    void ended(ProcessEnd end)
    {
        circumstances.client_end = end;
        if (outcome.problem.empty())
        {
            outcome.problem = problem_of(end);
            end_word = outcome.problem.empty() ? "complete" : "client-ended";
        }
        loop.stop();
    }

    std::string problem_of(const ProcessEnd& end) const
    {
        if (end.signal)
        {
            return "the client died of signal " + std::to_string(*end.signal) +
                   last_words(last_error);
        }
        if (*end.status == cannot_start && received == 0)
        {
            return "the client cannot be started" + last_words(last_error);
        }
        const auto status = "status " + std::to_string(*end.status);
        if (!conversation.complete())
        {
            return "the client ended with " + status + " where its " + conversation.expected() +
                   " was expected" + last_words(last_error.get().empty() ? last_line : last_error);
        }
        return *end.status == 0 ? "" : "the client ended with " + status + last_words(last_error);
    }

    static std::string last_words(const LastLine& line)
    {
        const auto text = line.get();
        return text.empty() ? "" : "; its last line: " + text;
    }

    /// Ends the client. Only the first reason counts.
    void end_early(const char* word, std::string problem)
    {
        if (outcome.problem.empty())
        {
            outcome.problem = std::move(problem);
            end_word = word;
        }
        client->terminate();
    }

    /// Does what writes to the folder, until that fails.
    template <typename Action>
    void keep(const Action& action)
    {
        if (outcome.cannot_write)
        {
            return;
        }
        try
        {
            action();
        }
        catch (const FolderError& error)
        {
            outcome.cannot_write = true;
            end_early("interrupted", error.what());
        }
    }

    const Options& options;
    Circumstances& circumstances;
    ResultFolder& folder;
    Conversation conversation;
    Progress progress;
    EventLoop loop;
    std::vector<Source> sources;
    Source timeout;
    Source tick;
    Source monitor_timer;
    std::optional<Process> client;
    const Clock::time_point started = Clock::now();
    Milliseconds last_output{0};
    std::uint64_t received = 0;
    std::uint64_t received_errors = 0;
    LastLine last_line;
    LastLine last_error;
    const char* end_word = "interrupted";
    Outcome outcome;
};

/// Keeps signals for the event loop; restores them at the end.
class BlockedSignals
{
  public:
    BlockedSignals()
    {
        sigset_t blocked;
        sigemptyset(&blocked);
        for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGCHLD})
        {
            sigaddset(&blocked, signal);
        }
        ::pthread_sigmask(SIG_BLOCK, &blocked, &before);
    }
    ~BlockedSignals()
    {
        ::pthread_sigmask(SIG_SETMASK, &before, nullptr);
    }
    BlockedSignals(const BlockedSignals&) = delete;
    BlockedSignals& operator=(const BlockedSignals&) = delete;

  private:
    sigset_t before{};
};

} // namespace

Outcome run(const Options& options, const std::vector<std::string>& words,
            const std::function<void(const std::string&)>& say)
{
    Circumstances circumstances;
    circumstances.words = words;
    circumstances.client = options.client;
    circumstances.controller = options.controller;
    circumstances.started = std::chrono::system_clock::now();
    circumstances.end = "interrupted";
    const auto name = options.output.empty()
                          ? default_folder(options.controller, circumstances.started)
                          : options.output;
    ResultFolder folder(name, options.force, circumstances);
    if (options.output.empty())
    {
        say("writes to " + name);
    }

    const BlockedSignals blocked;
    Outcome outcome = Session(options, circumstances, folder).run();
    outcome.folder = name;
    try
    {
        folder.finish(circumstances);
    }
    catch (const FolderError& error)
    {
        outcome.cannot_write = true;
        outcome.problem = outcome.problem.empty() ? error.what() : outcome.problem;
    }
    return outcome;
}

} // namespace runner
