// Input: blocks, each of index, algorithm, type (2, 4 and 2 bytes), how often its data is repeated and how
// long that is (a byte each), and the data. 255 repeats data beyond 64 KiB.

#include "fuzz/support/byte_source.hpp"
#include "fuzz/support/expected_dump.hpp"
#include "fuzz/support/require.hpp"
#include "fuzz/support/stream_format.hpp"
#include "operations/measurements.hpp"

#include <sstream>
#include <string>
#include <vector>

namespace
{

MeasurementBlock next_block(ByteSource& source)
{
    const auto index = source.number<std::uint16_t>();
    const auto algorithm = source.number<std::uint32_t>();
    const auto type = source.number<std::uint16_t>();
    const unsigned choice = source.byte();
    const auto repetitions = choice == 255 ? 257 : choice % 4;
    const auto bytes = source.bytes(source.byte());
    std::vector<std::uint8_t> data;
    for (unsigned repetition = 0; repetition <= repetitions; ++repetition)
    {
        data.insert(data.end(), bytes.begin(), bytes.end());
    }
    return {index, data, algorithm, type};
}

std::string expected_block(std::size_t number, const MeasurementBlock& block)
{
    const auto& [index, data, algorithm, type] = block;
    return "\n📋 MEASUREMENT BLOCK " + std::to_string(number) + "\n" + std::string(40, '-') +
           "\nIndex:         " + std::to_string(index) +
           "\nAlgorithm:     " + std::to_string(algorithm) +
           "\nType:          " + std::to_string(type) +
           "\nData Size:     " + std::to_string(data.size()) + " bytes\nData (Hex):\n" +
           expected_dump(data) + "\n";
}

std::string expected_analysis(const std::vector<MeasurementBlock>& blocks)
{
    auto text = "\n📊 DETAILED MEASUREMENT DATA ANALYSIS\n" + std::string(60, '=') + "\n";
    for (std::size_t place = 0; place < blocks.size(); ++place)
    {
        text += expected_block(place + 1, blocks[place]);
    }
    return blocks.empty() ? text + "ℹ INFO: No measurement data to display\n" : text;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    ByteSource source{{data, size}};
    std::vector<MeasurementBlock> blocks;
    std::size_t total = 0;
    constexpr std::size_t enough = 1 << 16;
    while (!source.empty() && total < enough)
    {
        blocks.push_back(next_block(source));
        total += std::get<1>(blocks.back()).size();
    }

    std::ostringstream out;
    print_measurement_analysis(out, blocks);
    require_equal(out.str(), expected_analysis(blocks), "analysis");
    require_plain_format(out);
    require(out.str().size() <= 256 + 256 * blocks.size() + 16 * total,
            "the output is linear in the input");
    return 0;
}
