#pragma once

#include "shell/eid.hpp"

#include <cstdint>
#include <vector>

/// Certificate slots per device.
constexpr std::uint16_t slot_count = 8;

/// Certificate slot numbers, ascending, each of 0..7.
using SlotList = std::vector<std::uint16_t>;

/// Reads and prints which certificate slots the device supports. Empty when there are none and after
/// an error.
SlotList get_supported_slots(Eid eid);
