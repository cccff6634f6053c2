#pragma once

namespace sdbusplus::detail
{

/// Raises SdBusError for a negative result of sd-bus.
[[noreturn]] void throw_error(int result, const char* step);

/// Returns a result of sd-bus; raises a negative one as an SdBusError whose text begins with `step`.
inline int check(int result, const char* step)
{
    if (result < 0) [[unlikely]]
    {
        throw_error(result, step);
    }
    return result;
}

} // namespace sdbusplus::detail
