#include "shell/device_table.hpp"

#include "shell/discovery.hpp"

#include <iomanip>
#include <iostream>
#include <string>

std::vector<Eid> print_device_table(EidColumn column)
{
    std::cout << "\nDiscovered SPDM Devices:" << std::endl;
    std::cout << "Index | EID  | XMID            | D-Bus Path" << std::endl;
    std::cout << "------|------|-----------------|------------------------------------------"
              << std::endl;
    std::vector<Eid> eids;
    for (const auto& [eid, path] : discovered_objects)
    {
        std::string xmid;
        Eid eid_of_device = 0;
        read_device_identity(eid, xmid, eid_of_device);
        std::cout << std::setw(5) << eids.size() << " | " << std::setw(4)
                  << (column == EidColumn::of_device ? eid_of_device : eid) << " | "
                  << std::setw(15) << xmid << " | " << path << std::endl;
        eids.push_back(eid);
    }
    return eids;
}

void print_all_devices_row(std::size_t count)
{
    std::cout << std::setw(5) << count << " | " << std::setw(4) << "ALL"
              << " | "
              << "Run on all objects" << std::endl;
}

void print_device_head(std::size_t number, std::size_t count, Eid eid, std::size_t rule_width)
{
    const std::string rule(rule_width, '=');
    std::cout << "\n" << rule << std::endl;
    std::cout << "DEVICE " << number << "/" << count << ": EID " << eid << std::endl;
    std::cout << rule << std::endl;
}
