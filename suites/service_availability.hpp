#pragma once

#include "shell/eid.hpp"

/// Reads the device's properties and prints whether the service answers. Returns 1 when it does;
/// otherwise prints whether the device or the service seems to be missing, and returns 0.
int check_service_availability(Eid eid);
