#include "report/judge/rules.hpp"

#include <gtest/gtest.h>

#include <optional>
#include <ostream>
#include <string>

namespace
{

using report::Call;
using report::CallFacts;
using report::Operation;
using report::Outcome;
using report::Signed;
using report::Structure;
using report::Verdict;
using enum report::Operation;
using enum report::Outcome;

/// A call outside tests.
struct CallCase
{
    Operation operation;
    Outcome outcome;
    std::optional<std::uint64_t> status;
    Verdict verdict;
    std::string reason;
    std::optional<Structure> structure = std::nullopt;
};

std::ostream& operator<<(std::ostream& out, const CallCase& row)
{
    return out << "operation " << static_cast<int>(row.operation) << " outcome "
               << static_cast<int>(row.outcome) << " status "
               << (row.status ? std::to_string(*row.status) : "none");
}

class Rules : public testing::TestWithParam<CallCase>
{
};

TEST_P(Rules, JudgeACall)
{
    const auto& row = GetParam();
    Call call;
    call.operation = row.operation;
    call.outcome = row.outcome;
    call.status = row.status;
    Signed checked;
    checked.structure = row.structure.value_or(Structure::unchecked);
    const auto& rule = report::rule_for({call, nullptr, row.structure ? &checked : nullptr});
    EXPECT_EQ(rule.verdict, row.verdict);
    EXPECT_EQ(rule.reason, row.reason);
}

const std::string missing = "its result is missing";
const std::string bus = "no answer: D-Bus error";
const std::string none = "no answer, or one that could not be read";
const std::string unknown_to_client = "the client does not know the device";

INSTANTIATE_TEST_SUITE_P(
    ReAuthenticate, Rules,
    testing::Values(
        CallCase{re_authenticate, answered, 0, Verdict::failed, ""},
        CallCase{re_authenticate, answered, 1, Verdict::passed, ""},
        CallCase{re_authenticate, answered, 2, Verdict::failed, ""},
        CallCase{re_authenticate, answered, 3, Verdict::failed, ""},
        CallCase{re_authenticate, answered, 4, Verdict::failed, ""},
        CallCase{re_authenticate, answered, 10, Verdict::failed, ""},
        CallCase{re_authenticate, answered, 18, Verdict::failed, ""},
        CallCase{re_authenticate, answered, {}, Verdict::failed, "a status without a word"},
        CallCase{re_authenticate, error, {}, Verdict::error, none},
        CallCase{re_authenticate, error, 1, Verdict::error, none},
        CallCase{re_authenticate, unknown_device, {}, Verdict::error, unknown_to_client},
        CallCase{re_authenticate, cut, {}, Verdict::error, missing},
        CallCase{re_authenticate, cut, 1, Verdict::error, missing}));

INSTANTIATE_TEST_SUITE_P(
    Certificates, Rules,
    testing::Values(
        CallCase{get_certificate, answered, 0, Verdict::passed, ""},
        CallCase{get_certificate, answered, 1, Verdict::failed, ""},
        CallCase{get_certificate, answered, {}, Verdict::failed, ""},
        CallCase{get_certificate, error, {}, Verdict::error, none},
        CallCase{get_certificate, unknown_device, {}, Verdict::error, unknown_to_client},
        CallCase{get_certificate_properties, answered, 0, Verdict::passed, ""},
        CallCase{get_certificate_properties, answered, 1, Verdict::failed, ""},
        CallCase{get_certificate_properties, error, {}, Verdict::error, none},
        CallCase{get_all, answered, {}, Verdict::passed, ""},
        CallCase{get_all, error, {}, Verdict::error, none},
        CallCase{get_all, unknown_device, {}, Verdict::error, unknown_to_client},
        CallCase{get_all, cut, {}, Verdict::error, missing},
        CallCase{
            report::Operation::unknown, unknown_device, {}, Verdict::error, unknown_to_client}));

INSTANTIATE_TEST_SUITE_P(
    Measurements, Rules,
    testing::Values(
        CallCase{get_measurement, answered, 0, Verdict::passed, ""},
        CallCase{get_measurement, answered, 1, Verdict::failed, ""},
        CallCase{get_measurement, answered, 9, Verdict::failed, ""},
        CallCase{get_measurement, answered, 10, Verdict::skipped, ""},
        CallCase{get_measurement, answered, 11, Verdict::skipped, ""},
        CallCase{get_measurement, answered, 12, Verdict::failed, ""},
        CallCase{get_measurement, answered, 17, Verdict::failed, ""},
        CallCase{get_measurement, answered, 18, Verdict::passed, ""},
        CallCase{get_measurement, answered, 19, Verdict::failed, ""},
        CallCase{get_measurement, answered, 65535, Verdict::failed, ""},
        CallCase{get_measurement, answered, {}, Verdict::failed, ""},
        CallCase{get_measurement, bus_error, {}, Verdict::error, bus},
        CallCase{get_measurement, bus_error, 0, Verdict::error, bus},
        CallCase{get_measurement, error, 0, Verdict::error, none},
        CallCase{get_measurement, unknown_device, {}, Verdict::error, unknown_to_client},
        CallCase{get_measurement, cut, 0, Verdict::error, missing},
        CallCase{get_signed_measurement, answered, 0, Verdict::passed, ""},
        CallCase{get_signed_measurement, answered, 0, Verdict::passed, "", Structure::valid},
        CallCase{get_signed_measurement, answered, 18, Verdict::passed, "", Structure::valid},
        CallCase{get_signed_measurement, answered, 0, Verdict::failed,
                 "signed data of invalid structure", Structure::invalid},
        CallCase{get_signed_measurement, answered, 18, Verdict::failed,
                 "signed data of invalid structure", Structure::invalid},
        CallCase{get_signed_measurement, answered, 0, Verdict::error,
                 "the check of the signed data is missing", Structure::unchecked},
        CallCase{get_signed_measurement, answered, 10, Verdict::skipped, "", Structure::invalid},
        CallCase{get_signed_measurement, answered, 5, Verdict::failed, ""},
        CallCase{get_signed_measurement, bus_error, {}, Verdict::error, bus}));

/// A call of a test.
struct TestCase
{
    std::string name;
    bool expects_success;
    report::Test::ClientVerdict client;
    Outcome outcome;
    std::optional<std::uint64_t> status;
    Verdict verdict;
    std::string reason;
    bool other_device = false;
    std::optional<Structure> structure = std::nullopt;
};

std::ostream& operator<<(std::ostream& out, const TestCase& row)
{
    return out << row.name;
}

class TestRules : public testing::TestWithParam<TestCase>
{
};

TEST_P(TestRules, Judge)
{
    const auto& row = GetParam();
    Call call;
    call.operation = get_measurement;
    call.activity = report::Activity::suite;
    call.outcome = row.outcome;
    call.status = row.status;
    report::Test test;
    test.expects_success = row.expects_success;
    test.client_verdict = row.client;
    Signed checked;
    checked.structure = row.structure.value_or(Structure::unchecked);
    const auto& rule =
        report::rule_for({call, &test, row.structure ? &checked : nullptr, row.other_device});
    EXPECT_EQ(rule.verdict, row.verdict);
    EXPECT_EQ(rule.reason, row.reason);
}

constexpr auto passed = report::Test::ClientVerdict::passed;
constexpr auto failed = report::Test::ClientVerdict::failed;
constexpr auto warning = report::Test::ClientVerdict::warning;
constexpr auto no_verdict = report::Test::ClientVerdict::none;
const std::string contradiction = "the client's verdict contradicts the call's result";

INSTANTIATE_TEST_SUITE_P(
    Of, TestRules,
    testing::Values(
        TestCase{"Success", true, passed, answered, 0, Verdict::passed, ""},
        TestCase{"PartialSuccess", true, passed, answered, 18, Verdict::passed, ""},
        TestCase{"Failure", true, failed, answered, 9, Verdict::failed, ""},
        TestCase{"NotSupported", true, failed, answered, 10, Verdict::skipped, ""},
        TestCase{"NoSummary", true, failed, answered, 11, Verdict::skipped, ""},
        TestCase{"BusError", true, failed, bus_error, {}, Verdict::error, bus},
        TestCase{"OtherError", true, failed, error, {}, Verdict::error, none},
        TestCase{
            "UnknownDevice", true, failed, unknown_device, {}, Verdict::error, unknown_to_client},
        TestCase{"Cut", true, no_verdict, cut, {}, Verdict::error, missing},
        TestCase{"NoVerdict", true, no_verdict, answered, 0, Verdict::error,
                 "its verdict is missing"},
        TestCase{"PassOfAFailure", true, passed, answered, 9, Verdict::error, contradiction},
        TestCase{"PassOfABusError", true, passed, bus_error, {}, Verdict::error, contradiction},
        TestCase{"FailOfASuccess", true, failed, answered, 0, Verdict::error, contradiction},
        TestCase{"OtherDevice", true, passed, answered, 0, Verdict::error,
                 "its call went to another device", true},
        TestCase{"InvalidStructure", true, passed, answered, 0, Verdict::failed,
                 "signed data of invalid structure", false, Structure::invalid},
        TestCase{"RefusedAsExpected", false, passed, answered, 9, Verdict::passed, ""},
        TestCase{"NotSupportedAsExpected", false, passed, answered, 10, Verdict::passed, ""},
        TestCase{"NoWordAsExpected", false, passed, answered, 65535, Verdict::passed, ""},
        TestCase{"UnexpectedSuccess", false, warning, answered, 0, Verdict::failed,
                 "unexpectedly passed"},
        TestCase{"UnexpectedPartialSuccess", false, warning, answered, 18, Verdict::failed,
                 "unexpectedly passed"},
        TestCase{"FailureTestWithoutAnAnswer", false, passed, bus_error, {}, Verdict::error, bus},
        TestCase{"FailureTestOfAnUnknownDevice",
                 false,
                 passed,
                 unknown_device,
                 {},
                 Verdict::error,
                 unknown_to_client},
        TestCase{"FailureTestWithAnError", false, passed, error, {}, Verdict::error, none},
        TestCase{"WarningOfARefusal", false, warning, answered, 9, Verdict::error, contradiction},
        TestCase{"PassOfAnUnexpectedSuccess", false, passed, answered, 0, Verdict::error,
                 contradiction},
        TestCase{"FailureTestWithoutAVerdict", false, no_verdict, answered, 9, Verdict::error,
                 "its verdict is missing"}),
    [](const auto& info) { return info.param.name; });

TEST(Rules, AMeasurementOutsideTheSuitesTests)
{
    Call call;
    call.activity = report::Activity::suite;
    call.outcome = answered;
    call.status = 0;
    for (const auto operation : {get_measurement, get_signed_measurement})
    {
        call.operation = operation;
        EXPECT_EQ(report::rule_for({call}).verdict, Verdict::error);
        EXPECT_EQ(report::rule_for({call}).reason, "a measurement outside the suite's tests");
    }
    call.operation = get_all;
    EXPECT_EQ(report::rule_for({call}).verdict, Verdict::passed);
    call.operation = get_measurement;
    for (const auto activity : {report::Activity::regression, report::Activity::operations,
                                report::Activity::all_devices})
    {
        call.activity = activity;
        EXPECT_EQ(report::rule_for({call}).verdict, Verdict::passed);
    }
}

} // namespace
