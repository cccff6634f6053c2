#pragma once

#include <functional>
#include <string>
#include <vector>

namespace report
{

/// What makes the exit status tell of a failure.
struct FailOn
{
    bool failed = true;     ///< Checks that failed.
    bool error = true;      ///< Checks that proved nothing.
    bool incomplete = true; ///< Those that proved nothing because the transcript stops.
    bool deviation = true;  ///< Differences from the baseline.
};

/// What to read and to write. A path of "-" is standard input or output, an empty one no output.
struct Request
{
    std::vector<std::string> inputs;
    std::string json;
    std::string ndjson;
    std::string junit; ///< A folder, unless it is "-" or ends in .xml.
    std::string metrics;
    FailOn fail_on;
    unsigned jobs = 1; ///< Inputs read at the same time.
};

enum class ExitStatus
{
    passed = 0,
    failed = 1,
    cannot_read_or_write = 2,
    nothing_to_judge = 3
};

/// Reads, judges and writes; prints the summary to standard output if no other output is named.
/// SIGPIPE must be ignored. `complain` is called, by one thread at a time, with each input or output
/// that cannot be read or written.
ExitStatus run_report(const Request& request,
                      const std::function<void(const std::string&)>& complain);

} // namespace report
