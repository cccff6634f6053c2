#include "monitor/service_signal_handlers.hpp"

#include "monitor/device_subscriptions.hpp"
#include "monitor/read_argument.hpp"
#include "shell/discovery.hpp"

#include <cstdint>
#include <exception>
#include <iostream>
#include <string>

namespace
{

std::string read_object_path(sdbusplus::message_t& signal)
{
    return read_argument<sdbusplus::message::object_path>(signal).str;
}

/// Enters the device under the EID that its path implies, and returns that EID. A path without a
/// number is not entered; 0 is returned, whatever device has that EID.
Eid enter_added_device(const std::string& path)
{
    const auto eid = eid_from_path(path);
    if (eid)
    {
        enter_device(*eid, path);
    }
    return eid.value_or(0);
}

/// The first and the last line of an InterfacesAdded handler.
struct AddedTexts
{
    const char* received;
    const char* completed;
};

void handle_interfaces_added(sdbusplus::message_t& signal, const AddedTexts& texts)
{
    std::cout << texts.received << std::endl;
    try
    {
        const auto path = read_object_path(signal);
        const auto eid = enter_added_device(path);
        std::cout << "Object Added :" << path << std::endl;
        auto bus = signal.get_bus();
        subscribe_device_signals(bus, eid);
        std::cout << texts.completed << std::endl;
    }
    catch (const std::exception& error)
    {
        std::cerr << "Error: " << error.what() << std::endl;
    }
}

} // namespace

void handle_cpu_added(sdbusplus::message_t& signal)
{
    handle_interfaces_added(signal, {"Received Interface CPU Signal.",
                                     "Interface  Added handler FOR CPU is completed."});
}

void handle_halc_added(sdbusplus::message_t& signal)
{
    handle_interfaces_added(signal, {"Received Interface HALC Signal.",
                                     "Interface  Added handler FOR HALC is completed."});
}

void handle_nic_added(sdbusplus::message_t& signal)
{
    handle_interfaces_added(signal, {"Received Interface NIC Signal.",
                                     "Interface  Added handler FOR NIC is completed."});
}

void handle_interfaces_removed(sdbusplus::message_t& signal)
{
    std::cout << "Received Interface Removed  Signal." << std::endl;
    const auto path = read_object_path(signal);
    if (const auto eid = find_eid(path))
    {
        drop_device_subscriptions(path);
        erase_device(*eid);
    }
    std::cout << "Object removed:" << path << std::endl;
    std::cout << "Interface Removed handler is completed." << std::endl;
}

void handle_info(sdbusplus::message_t& signal)
{
    std::cout << "Received Info Signal." << std::endl;
    const auto value = read_argument<std::uint16_t>(signal);
    std::cout << "Info Signal: " << value << std::endl;
    std::cout << "Info handler is completed." << std::endl;
}
