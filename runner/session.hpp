#pragma once

#include "runner/options.hpp"

#include <functional>
#include <string>

namespace runner
{

/// How a run ended.
struct Outcome
{
    std::string folder;  ///< Where the result is.
    std::string problem; ///< Why it is not complete; empty if it is.
    bool cannot_write = false;
    int signal = 0; ///< That ended it; 0 if none did. Stopping the monitor is no such.
};

/// Runs the client and keeps its output, with `say` for what concerns the user. `words` are the
/// command line's. Raises `FolderError` if nothing can be kept.
Outcome run(const Options& options, const std::vector<std::string>& words,
            const std::function<void(const std::string&)>& say);

} // namespace runner
