#pragma once

#include "shell/eid.hpp"

/// Reads the device's properties and prints whether the service answers. Returns 1 when it does, 0
/// otherwise; after a bus error it also prints whether the device or the service is missing.
int check_service_availability(Eid eid);
