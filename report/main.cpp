#include "report/options.hpp"
#include "report/run_report.hpp"
#include "report/writers/display_text.hpp"

#include <csignal>
#include <cstdio>
#include <exception>
#include <string>

namespace
{

constexpr int cannot_start = 2;

void complain(const std::string& text)
{
    std::fprintf(stderr, "spdm-report: %s\n", report::printable(text).c_str());
}

/// What was asked for instead of a report.
int answer(const std::string& text)
{
    if (std::fputs(text.c_str(), stdout) < 0 || std::fflush(stdout) != 0)
    {
        complain("cannot write standard output");
        return cannot_start;
    }
    return 0;
}

} // namespace

int main(int argc, char** argv)
try
{
    std::signal(SIGPIPE, SIG_IGN);
    const auto options = report::parse_options({argv + 1, argv + argc});
    if (!options.answer.empty())
    {
        return answer(options.answer);
    }
    return static_cast<int>(report::run_report(options.request, complain));
}
catch (const report::OptionError& problem)
{
    complain(std::string(problem.what()) + " (try: spdm-report --help)");
    return cannot_start;
}
catch (const std::exception& problem)
{
    complain(problem.what());
    return cannot_start;
}
