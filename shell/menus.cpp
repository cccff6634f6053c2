#include "shell/menus.hpp"

#include "monitor/spdm_dbus_client.hpp"
#include "operations/certificates.hpp"
#include "operations/measurements.hpp"
#include "operations/properties.hpp"
#include "operations/signed_measurements.hpp"
#include "shell/device_table.hpp"
#include "shell/discovery.hpp"
#include "suites/comprehensive_suite.hpp"
#include "suites/regression.hpp"

#include <chrono>
#include <cstdint>
#include <exception>
#include <iostream>
#include <limits>
#include <string>
#include <thread>
#include <vector>

namespace
{

std::uint32_t ask_slot()
{
    std::cout << "Please Enter Slot Number: ";
    std::uint32_t slot = 0;
    std::cin >> slot;
    return slot;
}

std::uint16_t ask_narrow_slot()
{
    return static_cast<std::uint16_t>(ask_slot());
}

MeasurementIndices ask_indices()
{
    std::cout << "Enter the indices of measurement block to fetch:" << std::endl;
    MeasurementIndices indices;
    std::int32_t index = 0;
    while (std::cin >> index && index != -1)
    {
        indices.push_back(static_cast<std::uint16_t>(index));
        std::cout << "Enter the next value (enter -1 to stop): ";
    }
    return indices;
}

void recur_re_authentication(Eid eid)
{
    int result = 0;
    for (int attempt = 0; result == 0 && attempt < 5; ++attempt)
    {
        result = ReAuthenticate(eid);
        std::this_thread::sleep_for(std::chrono::seconds{1});
    }
}

void ask_measurement(Eid eid)
{
    const auto slot = ask_narrow_slot();
    get_measurement(eid, slot, ask_indices());
}

void ask_signed_measurement(Eid eid)
{
    const std::string nonce;
    const auto slot = ask_narrow_slot();
    get_signed_measurement(eid, ask_indices(), slot, nonce);
}

/// Returns when the operator has entered -1; never after the end of input or an answer that is no
/// number.
void wait_for_stop()
{
    std::int32_t answer = 0;
    while (true)
    {
        while (std::cin.peek() == std::istream::traits_type::eof())
        {}
        std::cin >> answer;
        if (answer == -1)
        {
            return;
        }
        std::cin.ignore(std::numeric_limits<std::streamsize>::max(), '\n');
    }
}

void monitor_signals()
{
    std::cout << "Press -1 to stop monitoring" << std::endl;
    static spdm_dbus_client monitor_holder;
    try
    {
        monitor_holder.start_monitor();
    }
    catch (const std::exception&)
    {
        std::cout << "Error while creating SPDMManagerServiceThread" << std::endl;
    }
    wait_for_stop();
    try
    {
        monitor_holder.stop_monitor();
    }
    catch (const std::exception&)
    {
        std::cout << "Error while stopping SPDMManagerServiceThread" << std::endl;
    }
}

void run_operations_menu(Eid eid)
{
    // Not reset before each read: after the end of input the last choice repeats.
    std::uint32_t choice = 0;
    while (choice != 9)
    {
        std::cout << "1: ReAuthenticate\n"
                     "2: GetCertficate\n"
                     "3: GetCertificateProperties\n"
                     "4: GetAll Properties\n"
                     "5: Recurring ReAuthenticate\n"
                     "6: GetMeasurement \n"
                     "7: GetSignedMeasurement \n"
                     "8: Monitor Signals\n"
                     "9: Go Back \n"
                     "Please Choose the option:"
                  << std::endl;
        std::cin >> choice;
        switch (choice)
        {
            case 1: ReAuthenticate(eid); break;
            case 2: GetCertificate(eid, ask_narrow_slot()); break;
            case 3: GetCertificateProperties(eid, ask_slot()); break;
            case 4: show_properties(eid); break;
            case 5: recur_re_authentication(eid); break;
            case 6: ask_measurement(eid); break;
            case 7: ask_signed_measurement(eid); break;
            case 8: monitor_signals(); break;
            case 9: break;
            default: std::cout << "Invalid method.\nPlease try again..." << std::endl;
        }
    }
}

void report_device(Eid eid)
{
    std::cout << "\n--- ReAuthenticate ---" << std::endl;
    ReAuthenticate(eid);
    std::cout << "\n--- Get Properties ---" << std::endl;
    show_properties(eid);
}

/// What an activity does with the devices that the operator selected.
struct Activity
{
    void (*run_on_one)(Eid);
    const char* run_all_title;
    std::size_t rule_width;
    void (*run_on_each)(Eid);
};

constexpr Activity normal_test{
    run_operations_menu,
    "\nRunning operations on all discovered objects:",
    60,
    report_device,
};

constexpr Activity measurement_test_suite{
    run_comprehensive_test_suite_menu,
    "\nRunning measurement test suite on all discovered objects:",
    80,
    run_comprehensive_test_suite,
};

void run_on_all(const Activity& activity, const std::vector<Eid>& eids)
{
    std::cout << activity.run_all_title << std::endl;
    std::size_t number = 0;
    for (const auto eid : eids)
    {
        print_device_head(++number, eids.size(), eid, activity.rule_width);
        activity.run_on_each(eid);
    }
}

void run_activity(const Activity& activity)
{
    std::cout << "Available SPDM objects:" << std::endl;
    if (list_objects() == -1)
    {
        return;
    }
    const auto eids = print_device_table(EidColumn::of_device);
    print_all_devices_row(eids.size());
    std::cout << "\nChoose the device index (0-" << eids.size() << "): " << std::endl;
    int answer = 0;
    std::cin >> answer;
    const auto index = static_cast<unsigned>(answer);
    if (index > eids.size())
    {
        std::cout << "Invalid device index selected.\nPlease try again..." << std::endl;
        return;
    }
    if (index == eids.size())
    {
        run_on_all(activity, eids);
        return;
    }
    std::cout << "Selected device: EID=" << eids[index] << std::endl;
    activity.run_on_one(eids[index]);
}

} // namespace

void run_main_menu()
{
    while (true)
    {
        std::cout << "1: Regression Test\n"
                     "2: Normal Test\n"
                     "3: Measurement Test Suite\n"
                     "4: Exit \n"
                     "Please Choose the option:"
                  << std::endl;
        std::uint32_t choice = 0;
        std::cin >> choice;
        switch (choice)
        {
            case 1:
                run_regression();
                std::cout << "\n";
                break;
            case 2: run_activity(normal_test); break;
            case 3: run_activity(measurement_test_suite); break;
            default: return;
        }
    }
}
