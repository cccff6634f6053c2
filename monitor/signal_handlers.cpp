#include "monitor/signal_handlers.hpp"

#include "monitor/device_subscriptions.hpp"
#include "shell/discovery.hpp"
#include "shell/property_map.hpp"
#include "shell/status.hpp"

#include <cstdint>
#include <exception>
#include <iostream>
#include <string>
#include <variant>

namespace
{

template <typename Value>
Value read_argument(sdbusplus::message_t& signal)
{
    Value value{};
    signal.read(value);
    return value;
}

std::string read_object_path(sdbusplus::message_t& signal)
{
    return read_argument<sdbusplus::message::object_path>(signal).str;
}

/// Enters the device under the EID that its path implies and returns that. A path without a number
/// is not entered and counts as EID 0, whatever is known by that.
Eid enter_added_device(const std::string& path)
{
    const auto eid = eid_from_path(path);
    if (eid)
    {
        enter_device(*eid, path);
    }
    return eid.value_or(0);
}

/// What an announcement's handler prints first and last.
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

/// Prints `label` and the EID for every device known by the path that the signal came from.
void print_sender(sdbusplus::message_t& signal, const char* label)
{
    const std::string sender = signal.get_path();
    for (const auto& [eid, path] : discovered_objects)
    {
        if (path == sender)
        {
            std::cout << label << eid << std::endl;
        }
    }
}

void print_changed_property(const std::string& name, const PropertyValue& value)
{
    std::cout << name << ": ";
    if (const auto* text = std::get_if<std::string>(&value))
    {
        std::cout << *text << std::endl;
    }
    else if (const auto* code = std::get_if<std::uint32_t>(&value))
    {
        // A code without a text leaves the line open: the next property goes on in it.
        if (const auto* status = find_text(ChallengeStatusText, *code))
        {
            std::cout << *status << std::endl;
        }
    }
    else if (const auto* number = std::get_if<std::uint16_t>(&value))
    {
        std::cout << *number << std::endl;
    }
    else if (const auto* flag = std::get_if<bool>(&value))
    {
        std::cout << (*flag ? "true" : "false") << std::endl;
    }
    else
    {
        std::cout << "Unknown Property." << std::endl;
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
    if (erase_device(path))
    {
        drop_device_subscriptions(path);
    }
    std::cout << "Object removed:" << path << std::endl;
    std::cout << "Interface Removed handler is completed." << std::endl;
}

void handle_info(sdbusplus::message_t& signal)
{
    std::cout << "Received Info Signal." << std::endl;
    std::cout << "Info Signal: " << read_argument<std::uint16_t>(signal) << std::endl;
    std::cout << "Info handler is completed." << std::endl;
}

void handle_device_error(sdbusplus::message_t& signal)
{
    print_sender(signal, "Received Error Signal for EID: ");
    std::cout << "Error: " << read_argument<std::uint16_t>(signal) << std::endl;
    std::cout << "Error handler is completed." << std::endl;
}

void handle_certificate_progress(sdbusplus::message_t& signal)
{
    std::cout << "Received Certificate Progress Signal." << std::endl;
    print_sender(signal, "Received Certificate Progress Signal for EID: ");
    const unsigned progress = read_argument<std::uint8_t>(signal);
    std::cout << "Progress: " << progress << std::endl;
    std::cout << "Certificate Progress handler is completed." << std::endl;
}

void handle_properties_changed(sdbusplus::message_t& signal)
{
    std::cout << "Received properties changed Signal." << std::endl;
    print_sender(signal, "Received properties changed Signal for EID: ");
    std::string interface;
    PropertyMap changed;
    signal.read(interface, changed);
    for (const auto& [name, value] : changed)
    {
        print_changed_property(name, value);
    }
    std::cout << "Properties change handler is completed." << std::endl;
}
