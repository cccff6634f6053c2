#include "suites/measurement_categories.hpp"

#include "operations/device_operation.hpp"
#include "operations/nonce.hpp"
#include "suites/measurement_test_cases.hpp"

#include <algorithm>
#include <chrono>
#include <iostream>
#include <thread>

namespace
{

bool contains(const SlotList& slots, std::uint16_t slot)
{
    return std::find(slots.begin(), slots.end(), slot) != slots.end();
}

void print_slot_heading(std::uint16_t slot)
{
    std::cout << "\nTesting with supported slot " << slot << ":" << std::endl;
}

/// Runs `test` on every slot, each under its heading, and counts the successes.
template <typename Test>
void test_each_slot(const SlotList& slots, CategoryResult& result, Test test)
{
    for (const auto slot : slots)
    {
        print_slot_heading(slot);
        result.count(test(slot) == success);
    }
}

/// The device's slots; prints `abort_line` when there are none.
SlotList find_slots(Eid eid, const char* abort_line)
{
    auto slots = get_supported_slots(eid);
    if (slots.empty())
    {
        std::cout << abort_line << std::endl;
    }
    return slots;
}

void print_summary(const char* heading, const CategoryResult& result)
{
    std::cout << heading << std::endl;
    std::cout << "Passed: " << result.passed << "/" << result.total << " tests" << std::endl;
    std::cout << "Success Rate: " << result.rate() << "%" << std::endl;
}

/// The lowest slot that the device does not support, 8 when it supports all.
std::uint16_t find_unsupported_slot(const SlotList& slots)
{
    for (std::uint16_t slot = 0; slot < slot_count; ++slot)
    {
        if (!contains(slots, slot))
        {
            std::cout << "ℹ INFO: Found unsupported slot for testing: " << slot << std::endl;
            return slot;
        }
    }
    std::cout << "ℹ INFO: All slots 0-7 are supported, using slot 8 for unsupported test"
              << std::endl;
    return slot_count;
}

} // namespace

CategoryResult run_normal_measurement_tests(Eid eid)
{
    std::cout << "\n********** NORMAL MEASUREMENT TESTS **********" << std::endl;
    const auto slots = find_slots(eid, "✗ ABORT: No supported slots found for measurement testing");
    if (slots.empty())
    {
        return {};
    }
    CategoryResult result;
    std::cout << "\n=== Testing Single Measurements with Supported Slots ===" << std::endl;
    for (const auto slot : slots)
    {
        for (const auto index : MeasurementIndices{1, 2})
        {
            print_slot_heading(slot);
            result.count(test_single_index(eid, index, slot) == success);
        }
    }
    std::cout << "\n=== Testing Multiple Measurements with Supported Slots ===" << std::endl;
    test_each_slot(slots, result, [eid](auto slot) {
        return test_multiple_indices(eid, {1, 2, 3}, slot);
    });
    std::cout << "\n=== Testing All Measurements with Supported Slots ===" << std::endl;
    test_each_slot(slots, result, [eid](auto slot) { return test_all_measurements(eid, slot); });

    print_summary("\n=== NORMAL MEASUREMENT TEST SUMMARY ===", result);
    return result;
}

CategoryResult run_signed_measurement_tests(Eid eid)
{
    std::cout << "\n********** SIGNED MEASUREMENT TESTS **********" << std::endl;
    const auto slots =
        find_slots(eid, "✗ ABORT: No supported slots found for signed measurement testing");
    if (slots.empty())
    {
        return {};
    }
    CategoryResult result;
    std::cout << "\n=== Testing Basic Signed Measurements with Empty Nonce ===" << std::endl;
    test_each_slot(slots, result,
                   [eid](auto slot) { return test_signed_measurement(eid, {1}, slot, ""); });
    std::cout << "\n=== Testing Signed Measurements with 32-byte Random Nonce (Uppercase Hex) ==="
              << std::endl;
    test_each_slot(slots, result, [eid](auto slot) {
        return test_signed_measurement(eid, {1}, slot, generate_nonce(HexCase::upper));
    });
    std::cout
        << "\n=== Testing Multiple Indices Signed Measurements with 32-byte Random Nonce (Lowercase Hex) ==="
        << std::endl;
    test_each_slot(slots, result, [eid](auto slot) {
        return test_signed_measurement(eid, {1, 2, 3}, slot, generate_nonce(HexCase::lower));
    });
    std::cout << "\n=== Testing All Signed Measurements with 32-byte Random Nonce ===" << std::endl;
    test_each_slot(slots, result, [eid](auto slot) {
        return test_signed_measurement(eid, {all_measurements}, slot,
                                       generate_nonce(HexCase::upper));
    });

    print_summary("\n=== SIGNED MEASUREMENT TEST SUMMARY ===", result);
    return result;
}

CategoryResult run_failure_tests(Eid eid)
{
    return run_failure_tests(eid, get_supported_slots);
}

CategoryResult run_failure_tests(Eid eid, SlotList (*supported_slots)(Eid))
{
    std::cout << "\n********** MEASUREMENT FAILURE TESTS **********" << std::endl;
    const auto slots = supported_slots(eid);
    const std::uint16_t valid_slot = slots.empty() ? 0 : slots.front();
    const auto unsupported_slot = find_unsupported_slot(supported_slots(eid));

    CategoryResult result;
    std::cout << "\n=== Testing Invalid Measurement Indices ===" << std::endl;
    for (const auto index : MeasurementIndices{256, 300, 999})
    {
        result.count(test_invalid_index(eid, index, valid_slot) != success);
    }
    std::cout << "\n=== Testing Invalid Slot IDs ===" << std::endl;
    std::cout << "Testing with unsupported slot " << unsupported_slot << ":" << std::endl;
    result.count(test_invalid_slot(eid, unsupported_slot) != success);
    for (const auto slot : SlotList{8, 15, 255})
    {
        // Read again for each slot: the repeated lines are required output.
        if (contains(supported_slots(eid), slot))
        {
            std::cout << "ℹ INFO: Skipping slot " << slot << " as it is actually supported"
                      << std::endl;
            continue;
        }
        std::cout << "Testing with invalid slot " << slot << ":" << std::endl;
        result.count(test_invalid_slot(eid, slot) != success);
    }

    std::cout << "\n=== MEASUREMENT FAILURE TEST SUMMARY ===" << std::endl;
    std::cout << "Expected Failures: " << result.passed << "/" << result.total << " tests"
              << std::endl;
    std::cout << "Proper Error Handling Rate: " << result.rate() << "%" << std::endl;
    return result;
}

CategoryResult run_stress_tests(Eid eid)
{
    constexpr std::chrono::milliseconds pause{100};

    std::cout << "\n********** MEASUREMENT STRESS TESTS **********" << std::endl;
    const auto slots = find_slots(eid, "✗ ABORT: No supported slots found for stress testing");
    if (slots.empty())
    {
        return {};
    }
    const auto stress_slot = slots.front();

    CategoryResult result;
    std::cout << "\n=== Rapid Successive Measurements Test ===" << std::endl;
    for (int repetition = 0; repetition < 10; ++repetition)
    {
        result.count(test_single_index(eid, 1, stress_slot) == success);
        std::this_thread::sleep_for(pause);
    }
    std::cout << "\n=== Alternating Measurement Types Test ===" << std::endl;
    for (int repetition = 0; repetition < 5; ++repetition)
    {
        result.count(test_single_index(eid, 1, stress_slot) == success);
        result.count(test_signed_measurement(eid, {1}, stress_slot,
                                             generate_nonce(HexCase::upper)) == success);
    }
    std::cout << "\n=== Different Supported Slot Stress Test ===" << std::endl;
    for (const auto slot : slots)
    {
        for (const auto index : MeasurementIndices{1, 2, 3})
        {
            result.count(test_single_index(eid, index, slot) == success);
        }
    }

    print_summary("\n=== MEASUREMENT STRESS TEST SUMMARY ===", result);
    return result;
}
