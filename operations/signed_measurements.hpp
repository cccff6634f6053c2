#pragma once

#include "operations/measurements.hpp"
#include "shell/eid.hpp"

#include <cstddef>
#include <cstdint>
#include <ostream>
#include <span>
#include <string>
#include <string_view>

/// A signed measurement as the service sends it.
struct SignedMeasurement
{
    /// Base64 of the measurement part followed by the signature.
    std::string data;
    std::string hashing_algorithm;
    std::string signing_algorithm;
    std::string version;
};

/// Signature size in bytes that the algorithm implies; 0 for a name the table does not know.
std::size_t expected_signature_size(std::string_view signing_algorithm);

/// Whether `bytes`, decoded from `measurement.data`, can hold a measurement part and a signature;
/// prints the finding.
bool validate_signed_measurement(std::ostream& out, const SignedMeasurement& measurement,
                                 std::span<const std::uint8_t> bytes);

/// Prints `bytes`, decoded from `measurement.data`, whole and split into measurement and signature.
void print_signed_measurement_analysis(std::ostream& out, const SignedMeasurement& measurement,
                                       std::span<const std::uint8_t> bytes);

/// Fetches, prints, checks and splits a signed measurement of a device. Returns 0 when the service's
/// status counts as a success, whatever the check finds, 1 otherwise and on every failure. `nonce` is
/// sent as it is.
int get_signed_measurement(Eid eid, const MeasurementIndices& indices, std::uint16_t slot,
                           const std::string& nonce);
