#pragma once

#include "operations/bus_error_details.hpp"
#include "operations/device_operation.hpp"

#include <sdbusplus/exception.hpp>

#include <ostream>

/// What the two measurement operations print when they fail.
struct MeasurementComplaints
{
    const char* bus_error;
    /// The last of the likely reasons for a bus error.
    const char* unsupported;
    const char* generic_error;
};

/// Prints the rule under the title of an analysis.
void print_title_rule(std::ostream& out);

/// Prints the rule under the head of a section of an analysis.
void print_section_rule(std::ostream& out);

/// As `run_device_operation`, with separate lines for bus errors, which include the likely reasons.
template <typename Operation>
int run_measurement_operation(Eid eid, const MeasurementComplaints& complaints, Operation operation)
{
    return run_device_operation(eid, complaints.generic_error, [&](const std::string& path) {
        try
        {
            return operation(path);
        }
        catch (const sdbusplus::exception::exception&)
        {
            std::cout << complaints.bus_error << std::endl;
            print_bus_error_details();
            std::cout << complaints.unsupported << std::endl;
            return failure;
        }
    });
}
