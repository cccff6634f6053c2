#pragma once

#include <sdbusplus/message.hpp>

/// A signal's next argument. Raises `sdbusplus::exception::SdBusError` when it has another type.
template <typename Value>
Value read_argument(sdbusplus::message_t& signal)
{
    Value value{};
    signal.read(value);
    return value;
}
