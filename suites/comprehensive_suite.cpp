#include "suites/comprehensive_suite.hpp"

#include "operations/certificates.hpp"
#include "operations/properties.hpp"
#include "shell/device_table.hpp"
#include "shell/discovery.hpp"
#include "suites/measurement_categories.hpp"
#include "suites/results_table.hpp"
#include "suites/service_availability.hpp"

#include <exception>
#include <iomanip>
#include <iostream>
#include <string>
#include <variant>
#include <vector>

namespace
{

constexpr auto banner_rule = "#################################################";

struct Category
{
    const char* name;
    CategoryResult (*run)(Eid);
};

constexpr Category categories[] = {
    {"Normal Measurements", run_normal_measurement_tests},
    {"Signed Measurements", run_signed_measurement_tests},
    {"Failure Tests (Expected)", run_failure_tests},
    {"Stress Tests", run_stress_tests},
};

void print_suite_title()
{
    std::cout << "\n" << banner_rule << std::endl;
    std::cout << "#     COMPREHENSIVE MEASUREMENT TEST SUITE     #" << std::endl;
}

void print_suite_banner(Eid eid)
{
    print_suite_title();
    std::cout << "#               DEVICE EID: " << std::setw(3) << eid << "               #"
              << std::endl;
    std::cout << banner_rule << std::endl;
}

void print_aborted()
{
    std::cout << "\n✗ ABORTING: SPDM service or device not available - cannot run measurement tests"
              << std::endl;
    std::cout << banner_rule << std::endl;
    std::cout << "#           MEASUREMENT TEST SUITE ABORTED       #" << std::endl;
    std::cout << banner_rule << std::endl;
}

void print_done()
{
    std::cout << "\n" << banner_rule << std::endl;
    std::cout << "#           MEASUREMENT TEST SUITE DONE         #" << std::endl;
    std::cout << banner_rule << std::endl;
}

/// Empty when the property is absent or holds no text.
std::string text_property(const PropertyMap& properties, const char* name)
{
    const auto* text = std::get_if<std::string>(find_property(properties, name));
    return text == nullptr ? std::string{} : *text;
}

DeviceDescriptor read_descriptor(Eid eid)
try
{
    const auto* path = find_object_path(eid);
    if (path == nullptr)
    {
        return {};
    }
    PropertyMap properties;
    read_properties(*path, properties);
    return {text_property(properties, "XMID"), text_property(properties, "DeviceDescription")};
}
catch (const std::exception&)
{
    std::cout << "WARNING: Failed to get device properties. Check service availability."
              << std::endl;
    return {};
}

void run_if_available(Eid eid)
{
    if (check_service_availability(eid) == 0)
    {
        print_aborted();
        return;
    }
    run_comprehensive_test_suite(eid);
}

void run_on_all(const std::vector<Eid>& eids)
{
    std::cout << "\nWill run measurement test suite on all " << eids.size() << " devices"
              << std::endl;
    std::size_t number = 0;
    for (const auto eid : eids)
    {
        print_device_head(++number, eids.size(), eid, 80);
        if (check_service_availability(eid) == 0)
        {
            std::cout << "\n✗ SKIPPING: SPDM service or device not available" << std::endl;
            continue;
        }
        run_comprehensive_test_suite(eid);
    }
}

void run_on_selected(const std::vector<Eid>& eids)
{
    const auto count = static_cast<int>(eids.size());
    std::cout << "\nEnter device index (0-" << count - 1 << "): ";
    int index = 0;
    std::cin >> index;
    if (index < 0 || index >= count)
    {
        std::cout << "Invalid index selected!" << std::endl;
        return;
    }
    const auto eid = eids[static_cast<std::size_t>(index)];
    std::cout << "Selected device: EID=" << eid << std::endl;
    run_if_available(eid);
}

} // namespace

void run_comprehensive_test_suite_menu(Eid current_eid)
{
    print_suite_title();
    std::cout << banner_rule << std::endl;
    std::cout << "\nDevice Selection Options:" << std::endl;
    std::cout << "1. Run on current device (EID " << current_eid << ")" << std::endl;
    std::cout << "2. Select device by index from discovered devices" << std::endl;
    std::cout << "3. Run on all discovered SPDM devices" << std::endl;
    std::cout << "Enter choice (1-3): ";
    int choice = 0;
    std::cin >> choice;
    switch (choice)
    {
        case 2: run_on_selected(print_device_table(EidColumn::of_path)); break;
        case 3: run_on_all(print_device_table(EidColumn::of_path)); break;
        default: run_if_available(current_eid);
    }
}

void run_comprehensive_test_suite(Eid eid)
{
    print_suite_banner(eid);
    std::cout << "\n=== Pre-test Authentication ===" << std::endl;
    ReAuthenticate(eid);

    const std::string stars(60, '*');
    std::cout << "\n" << stars << " EXECUTING TEST CATEGORIES " << stars << std::endl;
    CategoryResults results;
    for (const auto& category : categories)
    {
        results[category.name] = category.run(eid);
    }
    print_results(std::cout, eid, read_descriptor(eid), results);
    print_done();
}
