#pragma once

#include "report/run_report.hpp"

#include <stdexcept>
#include <string>
#include <vector>

namespace report
{

/// Says what is wrong with the command line.
class OptionError : public std::runtime_error
{
  public:
    using std::runtime_error::runtime_error;
};

struct Options
{
    Request request;
    std::string answer; ///< What --help or --version asks for; then there is nothing else to do.
};

/// Reads the words after the program's name. Raises `OptionError`.
Options parse_options(std::vector<std::string> words);

} // namespace report
