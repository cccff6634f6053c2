#include "analysis_parts.hpp"
#include "operations/measurements.hpp"
#include "recorded_console.hpp"

#include <gtest/gtest.h>

#include <sstream>
#include <string>

namespace
{

std::string analysis(const std::vector<MeasurementBlock>& blocks)
{
    const RecordedConsole console;
    print_measurement_analysis(std::cout, blocks);
    return console.lines();
}

TEST(MeasurementAnalysis, OfNoBlocksSaysSo)
{
    EXPECT_EQ(analysis({}), "\n📊 DETAILED MEASUREMENT DATA ANALYSIS\n" + equals_60 +
                                "ℹ INFO: No measurement data to display\n");
}

TEST(MeasurementAnalysis, PrintsEachBlockInItsOrder)
{
    const std::vector<MeasurementBlock> blocks{
        {3, {0x00, 0x01, 0xfe}, 4294967295, 65535},
        {1, {}, 0, 2},
    };
    EXPECT_EQ(analysis(blocks), "\n📊 DETAILED MEASUREMENT DATA ANALYSIS\n" + equals_60 +
                                    "\n📋 MEASUREMENT BLOCK 1\n" + dashes_40 +
                                    "Index:         3\n"
                                    "Algorithm:     4294967295\n"
                                    "Type:          65535\n"
                                    "Data Size:     3 bytes\n"
                                    "Data (Hex):\n"
                                    "  0000: 00 01 fe \n"
                                    "\n"
                                    "\n📋 MEASUREMENT BLOCK 2\n" +
                                    dashes_40 +
                                    "Index:         1\n"
                                    "Algorithm:     0\n"
                                    "Type:          2\n"
                                    "Data Size:     0 bytes\n"
                                    "Data (Hex):\n"
                                    "\n");
}

TEST(MeasurementAnalysis, LeavesTheStreamsFormat)
{
    std::ostringstream out;
    const auto flags = out.flags();
    print_measurement_analysis(out, {{1, {0xff}, 1, 1}});
    EXPECT_EQ(out.flags(), flags);
    EXPECT_EQ(out.fill(), ' ');
}

TEST(GetMeasurement, OfAnUnknownDeviceIsAFailure)
{
    const RecordedConsole console;
    EXPECT_EQ(get_measurement(5, 0, {1}), 1);
    EXPECT_EQ(console.lines(), "Object name not found.\n");
}

} // namespace
