#pragma once

#include "operations/measurements.hpp"
#include "shell/eid.hpp"

#include <cstdint>
#include <string>

/// The test cases of the measurement suites. Each prints a heading, makes one call, prints a verdict
/// and returns the call's result, 0 for success. The two `test_invalid_...` expect the call to fail.

int test_single_index(Eid eid, std::uint16_t index, std::uint16_t slot);
int test_multiple_indices(Eid eid, const MeasurementIndices& indices, std::uint16_t slot);
int test_all_measurements(Eid eid, std::uint16_t slot);
int test_invalid_index(Eid eid, std::uint16_t index, std::uint16_t slot);

/// Fetches measurement 1.
int test_invalid_slot(Eid eid, std::uint16_t slot);

int test_signed_measurement(Eid eid, const MeasurementIndices& indices, std::uint16_t slot,
                            const std::string& nonce);
