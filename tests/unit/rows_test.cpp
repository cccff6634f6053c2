#include "report/writers/rows.hpp"
#include "report_run.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace
{

using namespace report;
using namespace std::literals;

/// How each row begins but for its kind.
const std::string whose =
    R"("schema":"spdm-report/1","controller":"bench-7","run":"night.txt","line":)";
const std::string cpu = R"("eid":12,"path":"/cpu/cpu_12","xmid":"CPU-12",)";
const std::string no_device = R"("eid":null,"path":null,"xmid":null,)";

/// Without the run's own row.
std::string other_rows(const Run& run, const Judgement& judgement = {})
{
    const auto text = rows_of(run, judgement);
    return text.substr(text.find('\n') + 1);
}

TEST(Rows, OfARunOfWhichNothingIsKnown)
{
    Judgement judgement;
    judgement.nothing = true;
    EXPECT_EQ(rows_of(empty_run(), judgement),
              R"({"kind":"run",)" + whose +
                  R"(1,"started":null,"ended":null,"end":null,"client_status":null,"lines":9,)"
                  R"("bytes":300,"verdict":"nothing","passed":0,"failed":0,"errors":0,"skipped":0})"
                  "\n");
}

TEST(Rows, OfARunWithItsCircumstances)
{
    auto run = empty_run();
    run.first_line = 4;
    run.circumstances =
        Circumstances{"2026-03-01T22:00:00Z", "2026-03-01T22:04:10Z", "complete", 0, std::nullopt};
    Judgement judgement;
    judgement.verdict = Verdict::failed;
    judgement.counts.of = {5, 1, 2, 3};
    EXPECT_EQ(rows_of(run, judgement),
              R"({"kind":"run",)" + whose +
                  R"(4,"started":"2026-03-01T22:00:00Z","ended":"2026-03-01T22:04:10Z",)"
                  R"("end":"complete","client_status":0,"lines":6,"bytes":300,"verdict":"failed",)"
                  R"("passed":5,"failed":1,"errors":2,"skipped":3})"
                  "\n");
}

TEST(Rows, OfDevices)
{
    auto run = empty_run();
    run.devices.push_back(cpu_12(2));
    run.devices[0].index = 0;
    run.devices[0].device_eid = std::uint16_t{300};
    run.devices.push_back({});
    run.devices[1].line = 3;
    EXPECT_EQ(other_rows(run), R"({"kind":"device",)" + whose + "2," + cpu +
                                   R"("index":0,"device_eid":300})"
                                   "\n"
                                   R"({"kind":"device",)" +
                                   whose + "3," + no_device +
                                   R"("index":null,"device_eid":null})"
                                   "\n");
}

TEST(Rows, OfCalls)
{
    auto run = empty_run();
    run.devices.push_back(cpu_12(2));
    Call call;
    call.line = 3;
    call.told_line = 5;
    call.device = 0;
    call.operation = Operation::get_signed_measurement;
    call.activity = Activity::suite;
    call.outcome = Outcome::answered;
    call.status = 18;
    call.status_text = "Partial Measurement Success";
    call.microseconds = 1234;
    call.count = 2;
    call.certificate_path = "/tmp/\"chain\".pem";
    call.slot = 7;
    call.indices = {{1, 2, 65535}};
    call.nonce = "0a0b";
    run.calls.push_back(call);
    run.calls.push_back({});
    run.calls[1].line = 6;
    EXPECT_EQ(other_rows(run),
              R"({"kind":"device",)" + whose + "2," + cpu +
                  R"("index":null,"device_eid":null})"
                  "\n"
                  R"({"kind":"call",)" +
                  whose + "3," + cpu +
                  R"("operation":"GetSignedMeasurement","activity":"suite","outcome":"answered",)"
                  R"("status":18,"status_text":"Partial Measurement Success","microseconds":1234,)"
                  R"("count":2,"certificate_path":"/tmp/\"chain\".pem","slot":7,)"
                  R"("indices":[1,2,65535],"nonce":"0a0b"})"
                  "\n"
                  R"({"kind":"call",)" +
                  whose + "6," + no_device +
                  R"("operation":null,"activity":"operations","outcome":"cut","status":null,)"
                  R"("status_text":null,"microseconds":null,"count":null,"certificate_path":null,)"
                  R"("slot":null,"indices":null,"nonce":null})"
                  "\n");
}

Measurement measurement(Line line, std::uint32_t algorithm, std::uint32_t type,
                        std::string_view value)
{
    Measurement block;
    block.line = line;
    block.index = 3;
    block.algorithm = algorithm;
    block.type = type;
    block.size = value.size();
    block.value = value;
    return block;
}

TEST(Rows, OfMeasurements)
{
    auto run = empty_run();
    run.measurements.push_back(measurement(5, 4096, 4000, "\x00\xa5\xff"sv));
    run.measurements.push_back(measurement(6, 1, 135, "\x07\0\0\0\0\0\0\0"sv));
    run.measurements.push_back(measurement(7, 2, 1, "abcdefghijklmnopqrstuvwxyz012345"));
    EXPECT_EQ(other_rows(run),
              R"({"kind":"measurement",)" + whose + "5," + no_device +
                  R"("index":3,"algorithm":4096,"type":4000,"size":3,"value":"00a5ff",)"
                  R"("layout":"not recognised","value_type":null,"digest":null,)"
                  R"("hash_algorithm":null,"decoded":null})"
                  "\n"
                  R"({"kind":"measurement",)" +
                  whose + "6," + no_device +
                  R"("index":3,"algorithm":1,"type":135,"size":8,"value":"0700000000000000",)"
                  R"("layout":"type and algorithm","value_type":"security version",)"
                  R"("digest":false,"hash_algorithm":null,"decoded":"security version 7"})"
                  "\n"
                  R"({"kind":"measurement",)" +
                  whose + "7," + no_device +
                  R"("index":3,"algorithm":2,"type":1,"size":32,"value":)"
                  R"("6162636465666768696a6b6c6d6e6f707172737475767778797a303132333435",)"
                  R"("layout":"type and algorithm","value_type":"mutable firmware","digest":true,)"
                  R"("hash_algorithm":"SHA-256","decoded":"SHA-256 digest of mutable firmware"})"
                  "\n");
}

TEST(Rows, OfSignedMeasurements)
{
    auto run = empty_run();
    Signed data;
    data.line = 5;
    data.structure = Structure::valid;
    data.hashing_algorithm = "SHA-384";
    data.signing_algorithm = "ECDSA-P384";
    data.version = "1.2";
    data.size = 98;
    data.signature_size = 96;
    data.measurement = "\x01\x02"sv;
    data.signature = "\xfe"sv;
    run.signed_measurements.push_back(data);
    run.signed_measurements.push_back({});
    run.signed_measurements[1].line = 6;
    EXPECT_EQ(other_rows(run),
              R"({"kind":"signed",)" + whose + "5," + no_device +
                  R"("hashing_algorithm":"SHA-384","signing_algorithm":"ECDSA-P384",)"
                  R"("version":"1.2","size":98,"signature_size":96,"structure":"valid",)"
                  R"("measurement":"0102","signature":"fe"})"
                  "\n"
                  R"({"kind":"signed",)" +
                  whose + "6," + no_device +
                  R"("hashing_algorithm":"","signing_algorithm":"","version":"","size":null,)"
                  R"("signature_size":null,"structure":"unchecked","measurement":null,)"
                  R"("signature":null})"
                  "\n");
}

TEST(Rows, OfProperties)
{
    auto run = empty_run();
    run.properties.push_back({5, none, none, "Version", "1.2\r"});
    EXPECT_EQ(other_rows(run), R"({"kind":"property",)" + whose + "5," + no_device +
                                   R"("name":"Version","value":"1.2\u000d"})"
                                   "\n");
}

TEST(Rows, OfAvailabilityChecks)
{
    auto run = empty_run();
    Availability check;
    check.line = 5;
    check.answer = Availability::Answer::bus_error;
    check.service = Availability::Service::absent;
    run.availabilities.push_back(check);
    run.availabilities.push_back({});
    run.availabilities[1].line = 6;
    EXPECT_EQ(other_rows(run), R"({"kind":"availability",)" + whose + "5," + no_device +
                                   R"("answer":"bus-error","service":"absent"})"
                                   "\n"
                                   R"({"kind":"availability",)" +
                                   whose + "6," + no_device +
                                   R"("answer":"error","service":null})"
                                   "\n");
}

/// A run of two tests whose checks are in the opposite order.
struct TwoTests
{
    Run run = empty_run();
    Judgement judgement;

    TwoTests()
    {
        Test test;
        test.line = 5;
        test.category = CategoryName::stress;
        test.name = "Stress Test Iteration 1";
        test.ordinal = 1;
        run.tests.push_back(test);
        test.line = 6;
        test.category = CategoryName::failure;
        test.name = "Invalid Slot ID 8";
        test.ordinal = 4;
        test.expects_success = false;
        run.tests.push_back(test);
        judgement.checks.resize(3);
        judgement.checks[1].verdict = Verdict::error;
        judgement.checks[1].reason = "no answer";
        judgement.check_of_test = {2, 1};
    }
};

TEST(Rows, OfTests)
{
    const TwoTests tests;
    EXPECT_EQ(
        other_rows(tests.run, tests.judgement),
        R"({"kind":"test",)" + whose + "5," + no_device +
            R"("category":"Stress Tests","name":"Stress Test Iteration 1","ordinal":1,)"
            R"("expects":"success","verdict":"passed","reason":null})"
            "\n"
            R"({"kind":"test",)" +
            whose + "6," + no_device +
            R"-("category":"Failure Tests (Expected)","name":"Invalid Slot ID 8","ordinal":4,)-"
            R"("expects":"failure","verdict":"error","reason":"no answer"})"
            "\n");
}

TEST(Rows, OfCategories)
{
    auto run = empty_run();
    run.categories.push_back({5, none, "OVERALL SUMMARY", 5, 7, 71, "✗ NEEDS ATTENTION"});
    EXPECT_EQ(other_rows(run), R"({"kind":"category",)" + whose + "5," + no_device +
                                   R"("category":"OVERALL SUMMARY","passed":5,"total":7,)"
                                   R"("rate":71,"grade":"✗ NEEDS ATTENTION"})"
                                   "\n");
}

TEST(Rows, OfSignals)
{
    auto run = empty_run();
    run.signals.push_back({5, none, "DeviceError", std::uint64_t{9}, std::nullopt});
    run.signals.push_back({6, none, "PropertiesChanged", "Passed"sv, "ChallengeStatus"});
    run.signals.push_back({7, none, "PropertiesChanged", {}, "XMID"});
    EXPECT_EQ(other_rows(run), R"({"kind":"signal",)" + whose + "5," + no_device +
                                   R"("signal":"DeviceError","value":9,"name":null})"
                                   "\n"
                                   R"({"kind":"signal",)" +
                                   whose + "6," + no_device +
                                   R"("signal":"PropertiesChanged","value":"Passed",)"
                                   R"("name":"ChallengeStatus"})"
                                   "\n"
                                   R"({"kind":"signal",)" +
                                   whose + "7," + no_device +
                                   R"("signal":"PropertiesChanged","value":null,"name":"XMID"})"
                                   "\n");
}

TEST(Rows, OfNotesNameNoDevice)
{
    auto run = empty_run();
    run.notes.push_back({5, "\xff?"});
    EXPECT_EQ(other_rows(run), R"({"kind":"note",)" + whose +
                                   "5,\"text\":\"\xef\xbf\xbd?\"}"
                                   "\n");
}

/// The kinds of the rows, in their order.
std::string kinds_of(const std::string& rows)
{
    std::string kinds;
    for (std::size_t place = 0; (place = rows.find("{\"kind\":\"", place)) != std::string::npos;)
    {
        place += 9;
        kinds += rows.substr(place, rows.find('"', place) - place) + " ";
    }
    return kinds;
}

TEST(Rows, OfOneLineHaveParentsBeforeChildren)
{
    auto run = empty_run();
    run.notes.push_back({5, ""});
    run.signals.push_back({5, none, "", {}, {}});
    run.categories.push_back({5, none, "", 0, 0, 0, ""});
    run.properties.push_back({5, none, none, "", ""});
    run.signed_measurements.push_back({});
    run.signed_measurements[0].line = 5;
    run.measurements.push_back({});
    run.measurements[0].line = 5;
    run.calls.push_back({});
    run.calls[0].line = 5;
    run.tests.push_back({});
    run.tests[0].line = 5;
    run.availabilities.push_back({});
    run.availabilities[0].line = 5;
    run.devices.push_back(cpu_12(5));
    Judgement judgement;
    judgement.checks.resize(1);
    judgement.check_of_test = {0};
    EXPECT_EQ(
        kinds_of(rows_of(run, judgement)),
        "run device availability test call measurement signed property category signal note ");
}

TEST(Rows, ComeByLineWhateverTheOrderOfTheRunsVectors)
{
    auto run = empty_run();
    run.notes.push_back({9, "fifth"});
    run.notes.push_back({2, "first"});
    run.properties.push_back({4, none, none, "third", ""});
    run.properties.push_back({4, none, none, "fourth", ""});
    run.properties.push_back({3, none, none, "second", ""});
    const auto rows = rows_of(run, {});
    std::vector<std::size_t> places;
    for (const auto* word : {"first", "second", "third", "fourth", "fifth"})
    {
        places.push_back(rows.find(word));
    }
    EXPECT_TRUE(std::ranges::is_sorted(places));
    EXPECT_NE(places.back(), std::string::npos);
}

TEST(Rows, NestedInTheirRun)
{
    TwoTests tests;
    tests.run.devices.push_back(cpu_12(2));
    tests.run.tests[1].device = 0;
    tests.run.notes.push_back({8, "later"});
    tests.run.notes.push_back({7, "earlier"});
    EXPECT_EQ(
        object_of(tests.run, tests.judgement),
        R"({"controller":"bench-7","run":"night.txt","line":1,"started":null,"ended":null,)"
        R"("end":null,"client_status":null,"lines":9,"bytes":300,"verdict":"passed","passed":0,)"
        R"("failed":0,"errors":0,"skipped":0,)"
        R"("devices":[{"line":2,"eid":12,"path":"/cpu/cpu_12","xmid":"CPU-12","index":null,)"
        R"("device_eid":null}],)"
        R"("calls":[],"measurements":[],"signed":[],"properties":[],"availability":[],)"
        R"("tests":[{"line":5,"eid":null,"path":null,"xmid":null,"category":"Stress Tests",)"
        R"("name":"Stress Test Iteration 1","ordinal":1,"expects":"success","verdict":"passed",)"
        R"("reason":null},)"
        R"({"line":6,"eid":12,"path":"/cpu/cpu_12","xmid":"CPU-12",)"
        R"-("category":"Failure Tests (Expected)","name":"Invalid Slot ID 8","ordinal":4,)-"
        R"("expects":"failure","verdict":"error","reason":"no answer"}],)"
        R"("categories":[],"signals":[],)"
        R"("notes":[{"line":7,"text":"earlier"},{"line":8,"text":"later"}]})");
}

TEST(Rows, NestedOfEachKind)
{
    auto run = empty_run();
    run.signals.push_back({5, none, "Info", std::uint64_t{1}, {}});
    run.categories.push_back({6, none, "Stress Tests", 1, 1, 100, "✓ PASS"});
    run.properties.push_back({7, none, none, "XMID", ""});
    run.calls.push_back({});
    run.measurements.push_back({});
    run.signed_measurements.push_back({});
    run.availabilities.push_back({});
    const auto text = object_of(run, {});
    EXPECT_NE(text.find(R"("calls":[{"line":0,"eid":null,"path":null,"xmid":null,"operation")"),
              std::string::npos);
    EXPECT_NE(text.find(R"("measurements":[{"line":0,"eid":null,"path":null,"xmid":null,"index")"),
              std::string::npos);
    EXPECT_NE(text.find(R"("signed":[{"line":0,"eid":null,"path":null,"xmid":null,"hashing)"),
              std::string::npos);
    EXPECT_NE(text.find(R"("properties":[{"line":7,"eid":null,"path":null,"xmid":null,"name")"),
              std::string::npos);
    EXPECT_NE(text.find(R"("availability":[{"line":0,"eid":null,"path":null,"xmid":null,"answer")"),
              std::string::npos);
    EXPECT_NE(text.find(R"("categories":[{"line":6,"eid":null,"path":null,"xmid":null,"category")"),
              std::string::npos);
    EXPECT_NE(text.find(R"("signals":[{"line":5,"eid":null,"path":null,"xmid":null,"signal")"),
              std::string::npos);
}

} // namespace
