#pragma once

#include "fuzz/support/bus_pair.hpp"

#include <cstdint>
#include <span>
#include <string>

/// A message as any peer may send it: its body, behind a sound header, is whatever `body` holds, in either
/// byte order. Null when the bus library refuses it as a whole.
RawMessage receive_from_wire(bool is_big_endian, const std::string& signature,
                             std::span<const std::uint8_t> body);
