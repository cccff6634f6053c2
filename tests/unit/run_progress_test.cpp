#include "runner/progress.hpp"

#include <gtest/gtest.h>

#include <string>

namespace
{

using namespace runner;
using std::chrono::seconds;

std::string text_after(const std::string& output, seconds elapsed, std::size_t devices = 0)
{
    PositionReader reader(devices);
    reader.take(output);
    return progress_text(reader.position(), elapsed);
}

const std::string device = "DEVICE 3/7: EID 12\n********** NORMAL MEASUREMENT TESTS **********\n"
                           "ℹ INFO: Supported slots: 0, 1\n";
const std::string passed = "✓ PASS: Single measurement index 1 test passed\n";
const std::string failed = "✗ FAIL: Signed measurement with nonce test failed\n";

TEST(RunProgress, BeginsWithTheStart)
{
    EXPECT_EQ(text_after("SPDM Client Start\n", seconds(3)), "starting, 0:03");
}

TEST(RunProgress, CountsTestsOfThoseThatTheSlotsMean)
{
    // 7 failure tests, 20 stress tests, and for each slot 4 normal, 4 signed and 3 stress tests.
    EXPECT_EQ(text_after(device + passed, seconds(0)),
              "device 3 of 7 (EID 12), Normal Measurements, 1 of 49 tests, 0:00, about 0:00 left");
    EXPECT_EQ(text_after("DEVICE 3/7: EID 12\n⚠ WARNING: No certificate slots found to be "
                         "supported\n",
                         seconds(0)),
              "device 3 of 7 (EID 12), 0 of 7 tests, 0:00, about 0:00 left");
}

TEST(RunProgress, EstimatesTheRest)
{
    // Two devices and 7 of 49 tests, 15 of 49 sevenths.
    std::string output = device;
    for (int i = 0; i < 7; ++i)
    {
        output += failed;
    }
    EXPECT_EQ(text_after(output, seconds(150)),
              "device 3 of 7 (EID 12), Normal Measurements, 7 of 49 tests, 2:30, about 5:40 left");
    EXPECT_EQ(text_after(output, seconds(15000)),
              "device 3 of 7 (EID 12), Normal Measurements, 7 of 49 tests, 4:10:00, about 9:26:40 "
              "left");
}

TEST(RunProgress, NamesEachCategory)
{
    const std::string start = "DEVICE 1/1: EID 9\n";
    EXPECT_EQ(text_after(start + "********** SIGNED MEASUREMENT TESTS **********\n", seconds(0)),
              "device 1 of 1 (EID 9), Signed Measurements, 0:00");
    EXPECT_EQ(text_after(start + "********** MEASUREMENT FAILURE TESTS **********\n", seconds(0)),
              "device 1 of 1 (EID 9), Failure Tests, 0:00");
    EXPECT_EQ(text_after(start + "********** MEASUREMENT STRESS TESTS **********\n", seconds(0)),
              "device 1 of 1 (EID 9), Stress Tests, 0:00");
}

TEST(RunProgress, BeginsAgainWithEachDevice)
{
    EXPECT_EQ(text_after(device + passed + "DEVICE 4/7: EID 20\n", seconds(0)),
              "device 4 of 7 (EID 20), 0:00, about 0:00 left");
    EXPECT_EQ(text_after("Selected device: EID=12\n" + passed + "Selected device: EID=13\n",
                         seconds(0), 2),
              "device 2 of 2 (EID 13), 0:00, about 0:00 left");
    EXPECT_EQ(text_after("Starting Regression for object/com/varn/cpu_12\n"
                         "Starting Regression for object/com/varn/cpu_20\n",
                         seconds(0)),
              "device 2 (EID 20), 0:00");
}

TEST(RunProgress, NumbersThatMakeNoSenseAreIgnored)
{
    for (const char* line : {"DEVICE 0/7: EID 1\n", "DEVICE 8/7: EID 1\n", "DEVICE x\n",
                             "DEVICE 1/: EID 1\n", "DEVICE 99999999999999999999999/7: EID 1\n"})
    {
        EXPECT_EQ(text_after(line, seconds(0)), "starting, 0:00") << line;
    }
    EXPECT_EQ(text_after("DEVICE 1/7: EID \x1b[2J\n", seconds(0)), "device 1 of 7, 0:00");
}

TEST(RunProgress, CountsSignals)
{
    EXPECT_EQ(text_after("Selected device: EID=12\nPress -1 to stop monitoring\n", seconds(1)),
              "monitoring, 0 signals, 0:01");
    EXPECT_EQ(
        text_after("Press -1 to stop monitoring\nReceived Interface CPU Signal.\n", seconds(61)),
        "monitoring, 1 signal, 1:01");
}

} // namespace
