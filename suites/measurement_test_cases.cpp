#include "suites/measurement_test_cases.hpp"

#include "operations/device_operation.hpp"
#include "operations/signed_measurements.hpp"

#include <iostream>

namespace
{

/// Prints the line for `result`, and returns `result`.
int judge(int result, const std::string& when_succeeded, const std::string& when_failed)
{
    std::cout << (result == success ? when_succeeded : when_failed) << std::endl;
    return result;
}

void print_indices(const MeasurementIndices& indices)
{
    std::cout << "Indices: ";
    for (const auto index : indices)
    {
        std::cout << index << " ";
    }
}

} // namespace

int test_single_index(Eid eid, std::uint16_t index, std::uint16_t slot)
{
    const auto number = std::to_string(index);
    std::cout << "\n=== Testing Single Measurement Index " << number << " ===" << std::endl;
    return judge(get_measurement(eid, slot, {index}),
                 "✓ PASS: Single measurement index " + number + " test passed",
                 "✗ FAIL: Single measurement index " + number + " test failed");
}

int test_multiple_indices(Eid eid, const MeasurementIndices& indices, std::uint16_t slot)
{
    std::cout << "\n=== Testing Multiple Measurement Indices ===" << std::endl;
    print_indices(indices);
    std::cout << std::endl;
    return judge(get_measurement(eid, slot, indices), "✓ PASS: Multiple measurements test passed",
                 "✗ FAIL: Multiple measurements test failed");
}

int test_all_measurements(Eid eid, std::uint16_t slot)
{
    std::cout << "\n=== Testing All Measurements Retrieval (0xFF) ===" << std::endl;
    return judge(get_measurement(eid, slot, {all_measurements}),
                 "✓ PASS: All measurements test passed", "✗ FAIL: All measurements test failed");
}

int test_invalid_index(Eid eid, std::uint16_t index, std::uint16_t slot)
{
    std::cout << "\n=== Testing Invalid Measurement Index " << index << " ===" << std::endl;
    return judge(get_measurement(eid, slot, {index}),
                 "⚠ WARNING: Invalid measurement index unexpectedly passed",
                 "✓ PASS: Invalid measurement index correctly failed");
}

int test_invalid_slot(Eid eid, std::uint16_t slot)
{
    std::cout << "\n=== Testing Invalid Slot ID " << slot << " ===" << std::endl;
    return judge(get_measurement(eid, slot, {1}), "⚠ WARNING: Invalid slot ID unexpectedly passed",
                 "✓ PASS: Invalid slot ID correctly failed");
}

int test_signed_measurement(Eid eid, const MeasurementIndices& indices, std::uint16_t slot,
                            const std::string& nonce)
{
    std::cout << "\n=== Testing Signed Measurement with Nonce ===" << std::endl;
    print_indices(indices);
    std::cout << "Nonce: " << nonce << std::endl;
    return judge(get_signed_measurement(eid, indices, slot, nonce),
                 "✓ PASS: Signed measurement with nonce test passed",
                 "✗ FAIL: Signed measurement with nonce test failed");
}
