#pragma once

#include "shell/eid.hpp"

/// Asks whether the service answers for the device, and prints what it says. Returns 1 when it does,
/// 0 otherwise; then it has printed which of device and service seems to be missing.
int check_service_availability(Eid eid);
