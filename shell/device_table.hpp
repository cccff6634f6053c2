#pragma once

#include "shell/eid.hpp"

#include <cstddef>
#include <vector>

/// Whose EID a row of the device table shows.
enum class EidColumn
{
    of_path,
    of_device,
};

/// Prints the device table: a row for each known device, numbered from 0. Texts are never cut.
/// Returns the paths' EIDs in the order of the rows.
std::vector<Eid> print_device_table(EidColumn column);

/// Prints the closing row of the device table, which offers all of `count` devices.
void print_all_devices_row(std::size_t count);

/// Prints the heading of the `number`th of `count` devices, between rules of "=".
void print_device_head(std::size_t number, std::size_t count, Eid eid, std::size_t rule_width);
