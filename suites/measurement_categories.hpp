#pragma once

#include "shell/eid.hpp"
#include "suites/category_result.hpp"
#include "suites/slot_discovery.hpp"

/// The test categories of the comprehensive suite. Each asks the device for its certificate slots,
/// runs its tests on them, prints a summary and returns what it counted. Without a supported slot
/// all but the failure tests abort, with a line that says so, and return zero counts.

CategoryResult run_normal_measurement_tests(Eid eid);
CategoryResult run_signed_measurement_tests(Eid eid);

/// A test counts as passed when its call failed.
CategoryResult run_failure_tests(Eid eid);

/// As above, with another source of the supported slots.
CategoryResult run_failure_tests(Eid eid, SlotList (*supported_slots)(Eid));

/// Pauses for 100 ms after each of ten rapid tests.
CategoryResult run_stress_tests(Eid eid);
