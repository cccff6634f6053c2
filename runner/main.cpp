#include "report/run_report.hpp"
#include "report/writers/display_text.hpp"
#include "runner/options.hpp"
#include "runner/result_folder.hpp"
#include "runner/session.hpp"

#include <csignal>
#include <cstdio>
#include <exception>
#include <string>
#include <vector>

namespace
{

constexpr int cannot_start = 2;
constexpr int not_complete = 3;
constexpr int after_signal = 128;

void say(const std::string& text)
{
    std::fprintf(stderr, "spdm-run: %s\n", report::printable(text).c_str());
}

/// What was asked for instead of a run.
int answer(const std::string& text)
{
    if (std::fputs(text.c_str(), stdout) < 0 || std::fflush(stdout) != 0)
    {
        say("cannot write standard output");
        return cannot_start;
    }
    return 0;
}

int exit_status(const runner::Outcome& outcome, report::ExitStatus report_status)
{
    if (outcome.signal != 0)
    {
        return after_signal + outcome.signal;
    }
    if (outcome.cannot_write)
    {
        return cannot_start;
    }
    return outcome.problem.empty() ? static_cast<int>(report_status) : not_complete;
}

} // namespace

int main(int argc, char** argv)
try
{
    std::signal(SIGPIPE, SIG_IGN);
    const std::vector<std::string> words(argv + 1, argv + argc);
    const auto options = runner::parse_options(words);
    if (!options.answer.empty())
    {
        return answer(options.answer);
    }
    const auto outcome = runner::run(options, words, say);
    if (!outcome.problem.empty())
    {
        say(outcome.problem);
    }
    report::Request request;
    request.inputs = {outcome.folder == "-" ? "./-" : outcome.folder}; // "-" is standard input.
    return exit_status(outcome, report::run_report(request, say));
}
catch (const runner::OptionError& problem)
{
    say(std::string(problem.what()) + " (try: spdm-run --help)");
    return cannot_start;
}
catch (const std::exception& problem)
{
    say(problem.what());
    return cannot_start;
}
