#include "shell/discovery.hpp"

#include "shell/method_call.hpp"
#include "shell/property_map.hpp"
#include "shell/service_contract.hpp"

#include <algorithm>
#include <exception>
#include <iostream>
#include <variant>

std::map<Eid, std::string> discovered_objects;

namespace
{

/// The service's objects by path, each with its interfaces' properties.
using ManagedObjects =
    std::map<sdbusplus::message::object_path, std::map<std::string, PropertyMap>>;

ManagedObjects read_managed_objects(const std::string& root_path)
{
    MethodCall call{root_path, ServiceContract::OBJECT_MANAGER_INTERFACE,
                    ServiceContract::GET_MANAGED_OBJECTS};
    ManagedObjects objects;
    call.exchange(objects);
    return objects;
}

/// A device's property, which must hold a `Value`. Content of any other type reads as the variant's
/// first alternative, so that one is a type no caller asks for: std::get then raises an error.
template <typename Value>
Value read_property(const std::string& path, const char* name)
{
    MethodCall call{path, ServiceContract::PROPERTIES_INTERFACE, ServiceContract::GET};
    call.append(ServiceContract::DEVICE_INTERFACE, name);
    std::variant<bool, Value> value;
    call.exchange(value);
    return std::get<Value>(value);
}

} // namespace

std::optional<Eid> eid_from_path(const std::string& path)
{
    const auto slash = path.rfind('/');
    if (slash == std::string::npos)
    {
        return std::nullopt;
    }
    const auto digit = path.find_first_of("0123456789", slash + 1);
    if (digit == std::string::npos)
    {
        return std::nullopt;
    }
    return static_cast<Eid>(std::stoi(path.substr(digit)));
}

void enter_device(Eid eid, const std::string& path)
{
    discovered_objects[eid] = path;
}

std::optional<Eid> find_eid(const std::string& path)
{
    const auto device = std::find_if(discovered_objects.begin(), discovered_objects.end(),
                                     [&path](const auto& known) { return known.second == path; });
    return device == discovered_objects.end() ? std::nullopt : std::optional{device->first};
}

void erase_device(Eid eid)
{
    discovered_objects.erase(eid);
}

const std::string& object_path_entry(Eid eid)
{
    return discovered_objects[eid];
}

const std::string* find_object_path(Eid eid)
{
    const auto device = discovered_objects.find(eid);
    return device == discovered_objects.end() ? nullptr : &device->second;
}

const std::string* resolve_object_path(Eid eid)
{
    const auto* path = find_object_path(eid);
    if (path == nullptr)
    {
        std::cout << "Object name not found." << std::endl;
    }
    return path;
}

int discover_devices(const std::string& root_path)
try
{
    for (const auto& object : read_managed_objects(root_path))
    {
        const auto& path = object.first.str;
        if (const auto eid = eid_from_path(path))
        {
            enter_device(*eid, path);
        }
    }
    return 0;
}
catch (const std::exception&)
{
    std::cout << "ERROR: Failed to retrieve SPDM objects. Check D-Bus service availability."
              << std::endl;
    return -1;
}

int list_objects()
{
    if (discovered_objects.empty())
    {
        std::cout << "No objects found" << std::endl;
        return -1;
    }
    int number = 1;
    for (const auto& [eid, path] : discovered_objects)
    {
        std::cout << number++ << ": " << path << std::endl;
    }
    std::cout << "\n";
    return 0;
}

int read_device_identity(Eid eid, std::string& xmid_out, Eid& eid_out)
{
    const auto* path = find_object_path(eid);
    if (path == nullptr)
    {
        xmid_out.clear();
        eid_out = 0;
        return 0;
    }
    try
    {
        // Held so that both calls share one connection.
        const auto bus = sdbusplus::bus::new_default_system();
        xmid_out = read_property<std::string>(*path, "XMID");
        eid_out = read_property<std::uint16_t>(*path, "DeviceEID");
        return 1;
    }
    catch (const std::exception&)
    {
        xmid_out = "N/A";
        eid_out = eid;
        return 0;
    }
}
