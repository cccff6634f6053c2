#include "report/options.hpp"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

namespace report
{

namespace
{

constexpr unsigned most_jobs = 256;

constexpr const char* help =
    R"(Usage: spdm-report [--json FILE] [--ndjson FILE] [--junit FOLDER|FILE]
                   [--metrics FILE] [--fail-on LIST] [--jobs N] INPUT...

Judges what spdm-client printed. Without an output option prints a summary.

  INPUT            a transcript (also .gz or .zst), - for standard input, or a
                   folder, which is searched for *.txt, *.txt.gz and *.txt.zst
  --json FILE      write one JSON document; - is standard output
  --ndjson FILE    write a JSON object a line for each thing in the transcripts
  --junit FOLDER   write JUnit XML for a build server, a file a controller
  --junit FILE     all in one file, which ends in .xml
  --metrics FILE   write verdicts and call times for Prometheus
  --fail-on LIST   what makes the exit status 1, separated by commas: failed,
                   error, incomplete, deviation; all by default
  --jobs N         inputs read at the same time; 1 by default
  --version        print the version
  -h, --help       print this text

Exit status: 0 all passed, 1 something failed or was an error, 2 wrong usage or
something cannot be read or written, 3 nothing to judge.
)";

struct FailWord
{
    std::string_view word;
    bool FailOn::*member;
};

constexpr std::array fail_words{
    FailWord{"failed", &FailOn::failed},
    FailWord{"error", &FailOn::error},
    FailWord{"incomplete", &FailOn::incomplete},
    FailWord{"deviation", &FailOn::deviation},
};

FailOn parse_fail_on(std::string_view list)
{
    FailOn fail_on{false, false, false, false};
    while (true)
    {
        const auto end = std::min(list.find(','), list.size());
        const auto known =
            std::find_if(fail_words.begin(), fail_words.end(),
                         [&](const FailWord& row) { return row.word == list.substr(0, end); });
        if (known == fail_words.end())
        {
            throw OptionError("--fail-on: \"" + std::string(list.substr(0, end)) +
                              "\" is none of failed, error, incomplete, deviation");
        }
        fail_on.*known->member = true;
        if (end == list.size())
        {
            return fail_on;
        }
        list.remove_prefix(end + 1);
    }
}

/// Two outputs into one file would overwrite each other.
void require_different_files(const Request& request)
{
    const std::array outputs{
        std::pair{"--json", &request.json},
        std::pair{"--ndjson", &request.ndjson},
        std::pair{"--junit", &request.junit},
        std::pair{"--metrics", &request.metrics},
    };
    for (const auto& [option, path] : outputs)
    {
        const auto* const first =
            std::find_if(outputs.begin(), outputs.end(),
                         [path = path](const auto& other) { return *other.second == *path; });
        if (!path->empty() && first->second != path)
        {
            throw OptionError(std::string(first->first) + " and " + option + " both write to " +
                              (*path == "-" ? "standard output" : *path));
        }
    }
}

} // namespace

Options parse_options(std::vector<std::string> words)
try
{
    Options options;
    Request& request = options.request;
    std::string fail_on;
    CLI::App app;
    app.set_help_flag("-h,--help");
    app.set_version_flag("--version", "spdm-report " PROJECT_VERSION);
    const auto not_empty = CLI::Validator(
        [](const std::string& name) {
            return name.empty() ? std::string("needs a file's name") : std::string();
        },
        "");
    app.add_option("--json", request.json)->check(not_empty);
    app.add_option("--ndjson", request.ndjson)->check(not_empty);
    app.add_option("--junit", request.junit)->check(not_empty);
    app.add_option("--metrics", request.metrics)->check(not_empty);
    auto* const fail_option = app.add_option("--fail-on", fail_on);
    app.add_option("--jobs", request.jobs)->check(CLI::Range(1U, most_jobs));
    app.add_option("INPUT", request.inputs)->required();
    std::reverse(words.begin(), words.end()); // As the library takes them.
    try
    {
        app.parse(std::move(words));
    }
    catch (const CLI::CallForHelp&)
    {
        return {{}, help};
    }
    catch (const CLI::CallForVersion& version)
    {
        return {{}, std::string(version.what()) + "\n"};
    }
    if (fail_option->count() != 0)
    {
        request.fail_on = parse_fail_on(fail_on);
    }
    require_different_files(request);
    return options;
}
catch (const CLI::ParseError& problem)
{
    throw OptionError(problem.what());
}

} // namespace report
