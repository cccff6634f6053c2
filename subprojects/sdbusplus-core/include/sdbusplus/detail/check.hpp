#pragma once

namespace sdbusplus::detail
{

/// Raises SdBusError for a negative result of sd-bus.
[[noreturn]] void throw_error(int result, const char* step);

/// Hands on a result of sd-bus that is no failure; a failure becomes an SdBusError that begins with `step`.
inline int check(int result, const char* step)
{
    if (result < 0) [[unlikely]]
    {
        throw_error(result, step);
    }
    return result;
}

} // namespace sdbusplus::detail
