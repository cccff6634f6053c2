#pragma once

#include "simulator/device.hpp"

#include <optional>
#include <string>
#include <string_view>

namespace simulator
{

/// The name of the preset for a device at this path when none is named: by its container, "cpu"
/// outside of the containers.
std::string_view default_preset(std::string_view path);

/// A device at `path` as the preset ("cpu", "nic", "halc" or "bare") describes it; nothing for
/// another name. Texts and measurements are made up from the path, so two devices differ.
std::optional<Device> preset_device(std::string_view preset, const std::string& path);

} // namespace simulator
