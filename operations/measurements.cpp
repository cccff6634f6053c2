#include "operations/measurements.hpp"

#include "operations/hex_dump.hpp"
#include "operations/measurement_operation.hpp"
#include "shell/method_call.hpp"
#include "shell/service_contract.hpp"
#include "shell/status.hpp"

#include <iostream>
#include <string>

namespace
{

constexpr MeasurementComplaints measurement_complaints{
    "D-BUS ERROR: Measurement operation failed. Check service availability.",
    "  4. Device does not support measurement operations",
    "GENERIC ERROR: Measurement operation failed. Check device configuration.",
};

void print_block(std::ostream& out, std::size_t number, const MeasurementBlock& block)
{
    const auto& [index, data, algorithm, type] = block;
    out << "\n📋 MEASUREMENT BLOCK " << number << std::endl;
    print_section_rule(out);
    out << "Index:         " << index << std::endl;
    out << "Algorithm:     " << algorithm << std::endl;
    out << "Type:          " << type << std::endl;
    out << "Data Size:     " << data.size() << " bytes" << std::endl;
    out << "Data (Hex):" << std::endl;
    print_hex_dump(out, data);
    out << std::endl;
}

/// The time taken includes printing the progress lines.
int fetch_and_print(const std::string& path, std::uint16_t slot, const MeasurementIndices& indices)
{
    MethodCall call{path, ServiceContract::DEVICE_INTERFACE, ServiceContract::GET_MEASUREMENT};
    call.append(slot, indices);
    call.start_clock();
    std::cout << "DEBUG: Calling D-Bus method on object: " << path << std::endl;
    call.send();
    std::cout << "DEBUG: Reading D-Bus reply..." << std::endl;
    std::uint16_t status = 0xFF;
    call.read(status);
    std::cout << "DEBUG: Read status: " << status << std::endl;
    std::uint16_t measurement_count = 0;
    call.read(measurement_count);
    std::cout << "DEBUG: Read NumMeasurements: " << measurement_count << std::endl;
    std::vector<MeasurementBlock> blocks;
    call.read(blocks);
    std::cout << "DEBUG: Read measurement data, size: " << blocks.size() << std::endl;
    const auto elapsed = call.elapsed_microseconds();

    const bool succeeded = status_advice(status) != 0;
    std::cout << "Get Measurement Status: " << status << " (" << status_text(status) << ") "
              << "NumMeasurements: " << measurement_count << " Time taken (in us): " << elapsed
              << std::endl;
    if (!blocks.empty())
    {
        print_measurement_analysis(std::cout, blocks);
    }
    else if (succeeded)
    {
        std::cout << "ℹ INFO: No measurement data returned" << std::endl;
    }
    return succeeded ? success : failure;
}

} // namespace

void print_measurement_analysis(std::ostream& out, const std::vector<MeasurementBlock>& blocks)
{
    out << "\n📊 DETAILED MEASUREMENT DATA ANALYSIS" << std::endl;
    print_title_rule(out);
    if (blocks.empty())
    {
        out << "ℹ INFO: No measurement data to display" << std::endl;
        return;
    }
    std::size_t number = 0;
    for (const auto& block : blocks)
    {
        print_block(out, ++number, block);
    }
}

int get_measurement(Eid eid, std::uint16_t slot, const MeasurementIndices& indices)
{
    return run_measurement_operation(eid, measurement_complaints, [&](const std::string& path) {
        return fetch_and_print(path, slot, indices);
    });
}
