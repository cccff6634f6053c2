#pragma once

#include "runner/conversation.hpp"

#include <chrono>
#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace runner
{

/// Says what is wrong with the command line.
class OptionError : public std::runtime_error
{
  public:
    using std::runtime_error::runtime_error;
};

struct Options
{
    Task task;
    std::optional<std::chrono::seconds>
        monitored; ///< How long to monitor; until a signal if empty.
    std::string client = "spdm-client";
    std::string controller; ///< The host's name by default.
    std::string output;     ///< The folder; empty for a name made of controller and time.
    std::chrono::seconds timeout{120};
    std::uint64_t max_output = 256'000'000;
    bool quiet = false;
    bool force = false;
    std::string answer; ///< What --help or --version asks for; then there is nothing else to do.
};

/// Reads the words after the program's name. Raises `OptionError`.
Options parse_options(std::vector<std::string> words);

} // namespace runner
