#pragma once

#include "shell/eid.hpp"
#include "shell/property_map.hpp"

#include <cstdint>
#include <iosfwd>
#include <string>

/// Reads all properties of the device object at `path` in one call. Returns the microseconds that
/// the exchange took. Raises `sdbusplus::exception::SdBusError`.
std::int64_t read_properties(const std::string& path, PropertyMap& properties);

/// Prints the device's 27 properties, one a line. An absent property is entered as an empty text. A
/// property of the wrong type raises `std::bad_variant_access` after its label (ChallengeStatus: before
/// it). `out` prints bools as words from then on.
void print_properties(std::ostream& out, PropertyMap& properties);

/// Prints the property report of a device. Returns 0 when all of it was printed, 1 otherwise.
int show_properties(Eid eid);
