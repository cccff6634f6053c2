#include "simulator/signals.hpp"

#include "shell/service_contract.hpp"

namespace simulator
{

using Contract = ServiceContract;

namespace
{

std::string container_of(const std::string& path)
{
    for (const char* container : {Contract::HALC_CONTROLLER_PATH, Contract::NIC_CONTROLLER_PATH})
    {
        if (path.starts_with(std::string(container) + "/"))
        {
            return container;
        }
    }
    return Contract::CPU_PATH;
}

Value interface_entry(const std::string& name, const Properties& properties)
{
    return entry_value(text_value(name), properties_value(properties));
}

} // namespace

Value interfaces_value(const Device& device)
{
    Body entries{interface_entry(Contract::DEVICE_INTERFACE, device.properties)};
    for (const auto& [name, properties] : device.interfaces)
    {
        entries.push_back(interface_entry(name, properties));
    }
    return array_value("{sa{sv}}", std::move(entries));
}

Signal interfaces_added(const Device& device)
{
    return {container_of(device.path), Contract::OBJECT_MANAGER_INTERFACE,
            Contract::INTERFACES_ADDED, Body{path_value(device.path), interfaces_value(device)}};
}

Signal interfaces_removed(const Device& device)
{
    Body names{text_value(Contract::DEVICE_INTERFACE)};
    for (const auto& [name, properties] : device.interfaces)
    {
        names.push_back(text_value(name));
    }
    return {container_of(device.path), Contract::OBJECT_MANAGER_INTERFACE,
            Contract::INTERFACES_REMOVED,
            Body{path_value(device.path), array_value("s", std::move(names))}};
}

Signal properties_changed(const std::string& path, const std::string& property, const Value& value)
{
    const Value changed = properties_value({{property, value}});
    return {path, Contract::PROPERTIES_INTERFACE, Contract::PROPERTIES_CHANGED,
            Body{text_value(Contract::DEVICE_INTERFACE), changed, array_value("s", {})}};
}

Signal device_error(const std::string& path, std::uint16_t code)
{
    return {path, Contract::DEVICE_INTERFACE, Contract::DEVICE_ERROR,
            Body{number_value('q', code)}};
}

Signal certificate_progress(const std::string& path, std::uint8_t progress)
{
    return {path, Contract::DEVICE_INTERFACE, Contract::CERTIFICATE_PROGRESS,
            Body{number_value('y', progress)}};
}

Signal information(std::uint16_t number)
{
    return {Contract::INFO_PATH, Contract::INFO_INTERFACE, Contract::INFO,
            Body{number_value('q', number)}};
}

} // namespace simulator
