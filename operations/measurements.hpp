#pragma once

#include "shell/eid.hpp"

#include <cstdint>
#include <ostream>
#include <tuple>
#include <vector>

/// Ordered measurement indices; the single value 255 asks for all measurements.
using MeasurementIndices = std::vector<std::uint16_t>;
constexpr std::uint16_t all_measurements = 255;

/// Index, data, algorithm and type of a measurement, in wire order.
using MeasurementBlock =
    std::tuple<std::uint16_t, std::vector<std::uint8_t>, std::uint32_t, std::uint16_t>;

/// Prints every block with a hex dump of its data.
void print_measurement_analysis(std::ostream& out, const std::vector<MeasurementBlock>& blocks);

/// Fetches and prints measurement blocks of a device. Returns 0 when the service's status counts as
/// a success, 1 otherwise and on every failure. Neither slot nor indices are checked.
int get_measurement(Eid eid, std::uint16_t slot, const MeasurementIndices& indices);
