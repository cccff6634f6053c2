#include "operations/bus_error_details.hpp"

#include <iostream>

void print_bus_error_details()
{
    std::cout << "ERROR DETAILS: This typically means:" << std::endl;
    std::cout << "  1. SPDM service (com.varn.bmc.spdm.spdm) is not running" << std::endl;
    std::cout << "  2. Device endpoint is not available or not initialized" << std::endl;
    std::cout << "  3. D-Bus system bus communication issue" << std::endl;
}
