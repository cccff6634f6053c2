#include "operations/measurement_operation.hpp"

#include <iostream>
#include <string>

void print_title_rule(std::ostream& out)
{
    out << std::string(60, '=') << std::endl;
}

void print_section_rule(std::ostream& out)
{
    out << std::string(40, '-') << std::endl;
}

void print_bus_error_details()
{
    std::cout << "ERROR DETAILS: This typically means:" << std::endl;
    std::cout << "  1. SPDM service (com.varn.bmc.spdm.spdm) is not running" << std::endl;
    std::cout << "  2. Device endpoint is not available or not initialized" << std::endl;
    std::cout << "  3. D-Bus system bus communication issue" << std::endl;
}
