#include "monitor/device_signal_handlers.hpp"

#include "monitor/read_argument.hpp"
#include "shell/discovery.hpp"
#include "shell/property_map.hpp"
#include "shell/status.hpp"

#include <cstdint>
#include <iostream>
#include <string>
#include <variant>

namespace
{

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
        // A code without a text leaves the line open: the next property continues it.
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
    else // not reached by values that were read: other types read as an empty text
    {
        std::cout << "Unknown Property." << std::endl;
    }
}

} // namespace

void handle_device_error(sdbusplus::message_t& signal)
{
    print_sender(signal, "Received Error Signal for EID: ");
    const auto code = read_argument<std::uint16_t>(signal);
    std::cout << "Error: " << code << std::endl;
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
