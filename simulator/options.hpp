#pragma once

#include <stdexcept>
#include <string>
#include <vector>

namespace simulator
{

/// Which bus to connect to.
struct BusChoice
{
    enum class Kind
    {
        system,
        session,
        address,
    };

    Kind kind = Kind::system;
    /// Only for Kind::address.
    std::string address = {};
};

struct Options
{
    BusChoice bus;
    /// Empty when no calls are to be logged.
    std::string log_file;
    std::string fleet_file;
    /// What was asked for instead of a simulator: the options or the version.
    std::string information;
};

/// Says what is wrong with the command line.
class OptionError : public std::runtime_error
{
    using std::runtime_error::runtime_error;
};

/// Reads the words after the program's name; throws OptionError.
Options parse_options(std::vector<std::string> words);

} // namespace simulator
