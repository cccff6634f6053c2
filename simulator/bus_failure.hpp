#pragma once

#include <cstring>
#include <stdexcept>
#include <string>

namespace simulator
{

/// A step of the bus library that failed: "sd_bus_request_name: File exists".
class BusFailure : public std::runtime_error
{
  public:
    explicit BusFailure(const std::string& what) : std::runtime_error(what) {}

    /// `error` is a positive error number.
    BusFailure(const char* step, int error)
        : std::runtime_error(std::string(step) + ": " + std::strerror(error))
    {}
};

/// Passes on what a function of the bus library returned, unless it is a negative error number.
inline int check(int result, const char* step)
{
    if (result < 0)
    {
        throw BusFailure(step, -result);
    }
    return result;
}

} // namespace simulator
