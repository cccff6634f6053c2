#include "name_of.hpp"
#include "recorded_console.hpp"
#include "suites/measurement_test_cases.hpp"

#include <gtest/gtest.h>

#include <functional>
#include <string>

namespace
{

struct TestCase
{
    std::string name;
    std::function<int()> run;
    std::string heading;
    std::string verdict;
};

std::ostream& operator<<(std::ostream& out, const TestCase& test_case)
{
    return out << test_case.name;
}

class OnAnUnknownDevice : public testing::TestWithParam<TestCase>
{
};

TEST_P(OnAnUnknownDevice, TheCallFails)
{
    const RecordedConsole console;
    const auto result = GetParam().run();
    EXPECT_EQ(console.lines(),
              GetParam().heading + "Object name not found.\n" + GetParam().verdict);
    EXPECT_EQ(result, 1);
}

INSTANTIATE_TEST_SUITE_P(
    TestCases, OnAnUnknownDevice,
    testing::Values(TestCase{"SingleIndex", [] { return test_single_index(12, 65535, 0); },
                             "\n=== Testing Single Measurement Index 65535 ===\n",
                             "✗ FAIL: Single measurement index 65535 test failed\n"},
                    TestCase{"MultipleIndices",
                             [] {
                                 return test_multiple_indices(12, {3, 0, 255}, 0);
                             },
                             "\n=== Testing Multiple Measurement Indices ===\n"
                             "Indices: 3 0 255 \n",
                             "✗ FAIL: Multiple measurements test failed\n"},
                    TestCase{"NoIndices", [] { return test_multiple_indices(12, {}, 0); },
                             "\n=== Testing Multiple Measurement Indices ===\n"
                             "Indices: \n",
                             "✗ FAIL: Multiple measurements test failed\n"},
                    TestCase{"AllMeasurements", [] { return test_all_measurements(12, 0); },
                             "\n=== Testing All Measurements Retrieval (0xFF) ===\n",
                             "✗ FAIL: All measurements test failed\n"},
                    TestCase{"InvalidIndex", [] { return test_invalid_index(12, 256, 0); },
                             "\n=== Testing Invalid Measurement Index 256 ===\n",
                             "✓ PASS: Invalid measurement index correctly failed\n"},
                    TestCase{"InvalidSlot", [] { return test_invalid_slot(12, 8); },
                             "\n=== Testing Invalid Slot ID 8 ===\n",
                             "✓ PASS: Invalid slot ID correctly failed\n"},
                    TestCase{"Signed",
                             [] {
                                 return test_signed_measurement(12, {1, 2, 3}, 0, "00ff");
                             },
                             "\n=== Testing Signed Measurement with Nonce ===\n"
                             "Indices: 1 2 3 Nonce: 00ff\n",
                             "✗ FAIL: Signed measurement with nonce test failed\n"},
                    TestCase{"SignedWithAnEmptyNonceAndNoIndices",
                             [] { return test_signed_measurement(12, {}, 0, ""); },
                             "\n=== Testing Signed Measurement with Nonce ===\n"
                             "Indices: Nonce: \n",
                             "✗ FAIL: Signed measurement with nonce test failed\n"}),
    name_of);

} // namespace
