#pragma once

#include <cstdint>

/// Endpoint identifier; the key that names a device everywhere.
using Eid = std::uint16_t;
