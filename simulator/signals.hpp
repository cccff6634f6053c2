#pragma once

#include "simulator/answer.hpp"
#include "simulator/device.hpp"

#include <string>

namespace simulator
{

/// All interfaces of a device with their properties, of type a{sa{sv}}.
Value interfaces_value(const Device& device);

/// InterfacesAdded, from the container that the device's path lies under; from the cpu container
/// for a path that lies under none.
Signal interfaces_added(const Device& device);

/// InterfacesRemoved, from the same container.
Signal interfaces_removed(const Device& device);

/// PropertiesChanged for one property of the device interface.
Signal properties_changed(const std::string& path, const std::string& property, const Value& value);

Signal device_error(const std::string& path, std::uint16_t code);

Signal certificate_progress(const std::string& path, std::uint8_t progress);

Signal information(std::uint16_t number);

} // namespace simulator
