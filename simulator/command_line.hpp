#pragma once

#include "simulator/fleet.hpp"

#include <cstdint>
#include <filesystem>
#include <string>
#include <variant>

namespace simulator
{

struct Flood
{
    std::string path;
    std::uint64_t count;
};

struct Play
{
};

struct ReleaseName
{
};

struct OwnName
{
};

struct LeaveNow
{
};

struct Help
{
};

struct Quit
{
};

using Command = std::variant<Happening, Flood, Play, ReleaseName, OwnName, LeaveNow, Help, Quit>;

/// All commands and what they take, in one line.
extern const char* const command_help;

/// Reads a line of the standard input. Key files of devices are looked for relative to `folder`.
/// Throws std::runtime_error, which says what is wrong with the line.
Command parse_command(const std::string& line, const std::filesystem::path& folder);

} // namespace simulator
