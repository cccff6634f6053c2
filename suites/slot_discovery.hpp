#pragma once

#include "shell/eid.hpp"

#include <cstdint>
#include <vector>

/// A device has so many certificate slots.
constexpr std::uint16_t slot_count = 8;

/// Certificate slot numbers, ascending, each of 0..7.
using SlotList = std::vector<std::uint16_t>;

/// Asks the device which certificate slots it supports, and prints them. Empty when there are none
/// and when the device cannot be asked.
SlotList get_supported_slots(Eid eid);
