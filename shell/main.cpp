#include "shell/discovery.hpp"
#include "shell/menus.hpp"
#include "shell/service_contract.hpp"

#include <iostream>

int main()
{
    std::cout << "SPDM Client Start" << std::endl;
    std::cout << "Initialization successful" << std::endl;
    std::cout << "Available SPDM Supported Devices." << std::endl;
    discover_devices(ServiceContract::DEVICE_MANAGER_PATH);
    run_main_menu();
    return 0;
}
