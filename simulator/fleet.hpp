#pragma once

#include "simulator/answer.hpp"
#include "simulator/device.hpp"
#include "simulator/json_place.hpp"

#include <chrono>
#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace simulator
{

struct AddDevice
{
    Device device;
};

struct RemoveDevice
{
    std::string path;
};

struct SetProperty
{
    std::string path;
    std::string property;
    Value value;
};

using Happening = std::variant<AddDevice, RemoveDevice, SetProperty, Signal>;

/// Something that happens while the simulator runs.
struct Event
{
    /// When it happens, counted from the moment at which the simulator is ready. Without a time it
    /// waits for the command `play`.
    std::optional<std::chrono::milliseconds> at;
    Happening what;
    /// How often it happens, without a pause.
    std::uint64_t times = 1;
};

/// All that a fleet file describes.
struct Fleet
{
    /// Whether the service owns its bus name from the start.
    bool present = true;
    std::vector<Device> devices;
    /// Rules for GetManagedObjects.
    std::vector<Rule> managed_objects_rules;
    std::vector<Event> events;
};

/// Reads a fleet from the text of a fleet file. Key files are looked for relative to `folder`.
/// Throws PlaceError.
Fleet fleet_from_json(std::string_view text, const std::filesystem::path& folder);

/// Reads a fleet file. Throws PlaceError whose place begins with the file's name.
Fleet read_fleet(const std::filesystem::path& file);

/// Reads one device. Key files are looked for relative to `folder`. Throws PlaceError.
Device device_from_json(const JsonPlace& place, const std::filesystem::path& folder);

} // namespace simulator
