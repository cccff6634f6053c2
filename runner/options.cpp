#include "runner/options.hpp"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <array>
#include <string_view>
#include <unistd.h>
#include <utility>

namespace runner
{

namespace
{

constexpr unsigned most_seconds = 366 * 24 * 3600;
constexpr std::size_t longest_controller = 255;

constexpr const char* help =
    R"(Usage: spdm-run regression|suite|properties|monitor [OPTION]...

Runs spdm-client unattended, keeps what it prints in a folder, and judges it.

  regression           the regression test on all devices
  suite                the measurement test suite
  properties           re-authentication and properties
  monitor              the service's signals, until SIGINT or SIGTERM

  --for SECONDS        monitor for so long
  --client COMMAND     the shell command that runs the client; spdm-client by
                       default
  --device EID         only this device; may be repeated (but for monitor)
  --controller NAME    the controller's name; the host's by default
  --timeout SECONDS    end the client when it prints nothing for so long while
                       it does not monitor; 120 by default
  --output FOLDER      where to write; a new folder by default
  --max-output BYTES   end the client when it has printed more; 256000000 by
                       default
  --quiet              no progress on standard error
  --force              overwrite a result in FOLDER
  --version            print the version
  -h, --help           print this text

FOLDER gets transcript.txt, run.json and, where there is any, stderr.txt. The
summary of spdm-report on it goes to standard output.

Exit status: that of spdm-report (0 all passed, 1 something failed or was an
error, 2 wrong usage or something cannot be read or written, 3 nothing to
judge); 3 also if the conversation did not complete; 128 and its number after
a signal.
)";

struct ActivityWord
{
    std::string_view word;
    Activity activity;
};

constexpr std::array activity_words{
    ActivityWord{"regression", Activity::regression},
    ActivityWord{"suite", Activity::suite},
    ActivityWord{"properties", Activity::properties},
    ActivityWord{"monitor", Activity::monitor},
};

Activity activity_of(std::string_view word)
{
    const auto* const known =
        std::find_if(activity_words.begin(), activity_words.end(),
                     [&](const ActivityWord& row) { return row.word == word; });
    if (known == activity_words.end())
    {
        throw OptionError("\"" + std::string(word) +
                          "\" is none of regression, suite, properties, monitor");
    }
    return known->activity;
}

std::string host_name()
{
    std::array<char, longest_controller + 1> name{};
    return ::gethostname(name.data(), longest_controller) == 0 ? name.data() : "";
}

void require_sense(const Options& options)
{
    const auto& [activity, eids] = options.task;
    if (options.monitored && activity != Activity::monitor)
    {
        throw OptionError("--for is for monitor alone");
    }
    if (!eids.empty() && activity == Activity::regression)
    {
        throw OptionError("--device: the regression test is for all devices");
    }
    if (eids.size() > 1 && activity == Activity::monitor)
    {
        throw OptionError("--device: monitor takes one");
    }
    if (options.controller.size() > longest_controller)
    {
        throw OptionError("--controller: the name is longer than 255 bytes");
    }
}

} // namespace

std::string_view word_of(Activity activity)
{
    return std::find_if(activity_words.begin(), activity_words.end(),
                        [&](const ActivityWord& row) { return row.activity == activity; })
        ->word;
}

Options parse_options(std::vector<std::string> words)
try
{
    Options options;
    std::string activity;
    unsigned seconds = 0;
    unsigned timeout = static_cast<unsigned>(options.timeout.count());
    CLI::App app;
    app.set_help_flag("-h,--help");
    app.set_version_flag("--version", "spdm-run " PROJECT_VERSION);
    const auto not_empty = CLI::Validator(
        [](const std::string& text) {
            return std::string(text.empty() ? "must not be empty" : "");
        },
        "");
    app.add_option("ACTIVITY", activity)->required();
    auto* const for_option = app.add_option("--for", seconds)->check(CLI::Range(1U, most_seconds));
    app.add_option("--client", options.client)->check(not_empty);
    app.add_option("--device", options.task.eids)
        ->check(CLI::Range(0, 65535))
        ->allow_extra_args(false);
    app.add_option("--controller", options.controller)->check(not_empty);
    app.add_option("--timeout", timeout)->check(CLI::Range(1U, most_seconds));
    app.add_option("--output", options.output)->check(not_empty);
    app.add_option("--max-output", options.max_output)
        ->check(CLI::Range(std::uint64_t{1}, std::uint64_t{1} << 62U));
    app.add_flag("--quiet", options.quiet);
    app.add_flag("--force", options.force);
    std::reverse(words.begin(), words.end()); // As the library takes them.
    try
    {
        app.parse(std::move(words));
    }
    catch (const CLI::CallForHelp&)
    {
        options.answer = help;
        return options;
    }
    catch (const CLI::CallForVersion& version)
    {
        options.answer = std::string(version.what()) + "\n";
        return options;
    }
    options.task.activity = activity_of(activity);
    options.timeout = std::chrono::seconds(timeout);
    if (for_option->count() != 0)
    {
        options.monitored = std::chrono::seconds(seconds);
    }
    if (options.controller.empty())
    {
        options.controller = host_name();
    }
    require_sense(options);
    return options;
}
catch (const CLI::ParseError& problem)
{
    throw OptionError(problem.what());
}

} // namespace runner
