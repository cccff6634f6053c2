#include "shell/discovery.hpp"
#include "shell/menus.hpp"
#include "shell/service_contract.hpp"

#include <cstdio>
#include <iostream>

namespace
{

/// Big enough for all but the very longest lines, so that a flush is one write. Pages that no line
/// reaches use no memory.
char output_buffer[4 << 20];

} // namespace

int main()
{
    std::setvbuf(stdout, output_buffer, _IOFBF, sizeof output_buffer);
    std::cout << "SPDM Client Start" << std::endl;
    std::cout << "Initialization successful" << std::endl;
    std::cout << "Available SPDM Supported Devices." << std::endl;
    discover_devices(ServiceContract::DEVICE_MANAGER_PATH);
    run_main_menu();
    return 0;
}
