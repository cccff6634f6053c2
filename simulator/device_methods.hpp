#pragma once

#include "simulator/answer.hpp"
#include "simulator/device.hpp"

#include <string>

namespace simulator
{

/// What the device itself answers to a method of the device interface whose arguments have the right
/// types. The answer depends on slot, indices and nonce. ReAuthenticate changes the device.
Answer answer_device_method(Device& device, const std::string& method, const Body& arguments);

} // namespace simulator
