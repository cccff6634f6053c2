#include "simulator/object_tree.hpp"

#include "shell/service_contract.hpp"
#include "simulator/device_methods.hpp"
#include "simulator/signals.hpp"

#include <algorithm>

namespace simulator
{

using Contract = ServiceContract;

namespace
{

constexpr const char* object_managers[] = {
    Contract::DEVICE_MANAGER_PATH,
    Contract::CPU_PATH,
    Contract::HALC_CONTROLLER_PATH,
    Contract::NIC_CONTROLLER_PATH,
};

bool is_object_manager(const std::string& path)
{
    return std::find(std::begin(object_managers), std::end(object_managers), path) !=
           std::end(object_managers);
}

std::string prefix_below(const std::string& path)
{
    return path == "/" ? path : path + "/";
}

ErrorReply standard_error(const std::string& name, const std::string& message)
{
    return {"org.freedesktop.DBus.Error." + name, message};
}

ErrorReply unknown_object(const std::string& path)
{
    return standard_error("UnknownObject", "Unknown object '" + path + "'.");
}

ErrorReply unknown_interface(const std::string& interface)
{
    return standard_error("UnknownInterface", "Unknown interface '" + interface + "'.");
}

ErrorReply unknown_property(const std::string& property)
{
    return standard_error("UnknownProperty", "Unknown property '" + property + "'.");
}

ErrorReply wrong_arguments(const std::string& member, const std::string& given,
                           const std::string& wanted)
{
    return standard_error("InvalidArgs", "Invalid arguments '" + given + "' to call " + member +
                                             "(), expecting '" + wanted + "'.");
}

/// Adds the path element after `prefix`, if the path `below` has one.
void add_child(std::set<std::string>& children, const std::string& prefix, const std::string& below)
{
    if (below.starts_with(prefix) && below.size() > prefix.size())
    {
        children.insert(
            below.substr(prefix.size(), below.find('/', prefix.size()) - prefix.size()));
    }
}

/// Whether a call that names `interface` is for the interface `name`. A call that names none is for
/// all.
bool is_meant(const std::string& interface, const std::string& name)
{
    return interface.empty() || interface == name;
}

bool has_interface(const Node& node, const std::string& interface)
{
    return node.properties.contains(interface) ||
           std::any_of(node.interfaces.begin(), node.interfaces.end(),
                       [&](const Interface* candidate) { return candidate->name == interface; });
}

Answer get_property(const Node& node, const std::string& interface, const std::string& property)
{
    for (const auto& [name, properties] : node.properties)
    {
        const auto found = properties->find(property);
        if (is_meant(interface, name) && found != properties->end())
        {
            return {Body{variant_value(found->second)}};
        }
    }
    return {unknown_property(property)};
}

Answer get_all_properties(const Node& node, const std::string& interface)
{
    Properties all;
    for (const auto& [name, properties] : node.properties)
    {
        if (is_meant(interface, name))
        {
            all.insert(properties->begin(), properties->end());
        }
    }
    return {Body{properties_value(all)}};
}

} // namespace

ObjectTree::ObjectTree(std::vector<Device> fleet)
{
    for (Device& device : fleet)
    {
        add(std::move(device));
    }
}

void ObjectTree::add(Device device)
{
    const std::string path = device.path;
    devices.insert_or_assign(path, std::move(device));
}

void ObjectTree::remove(const std::string& path)
{
    devices.erase(path);
}

Device* ObjectTree::find_device(const std::string& path)
{
    const auto found = devices.find(path);
    return found == devices.end() ? nullptr : &found->second;
}

const Device* ObjectTree::find_device(const std::string& path) const
{
    const auto found = devices.find(path);
    return found == devices.end() ? nullptr : &found->second;
}

std::set<std::string> ObjectTree::children_of(const std::string& path) const
{
    const std::string prefix = prefix_below(path);
    std::set<std::string> children;
    for (const char* manager : object_managers)
    {
        add_child(children, prefix, manager);
    }
    add_child(children, prefix, Contract::INFO_PATH);
    for (auto device = devices.lower_bound(prefix);
         device != devices.end() && device->first.starts_with(prefix); ++device)
    {
        add_child(children, prefix, device->first);
    }
    return children;
}

/// Without interfaces when there is no object at this path.
Node ObjectTree::node_at(const std::string& path) const
{
    Node node;
    node.children = children_of(path);
    if (const Device* device = find_device(path))
    {
        node.interfaces.push_back(&device_interface);
        node.properties.emplace(device_interface.name, &device->properties);
        for (const auto& [name, properties] : device->interfaces)
        {
            node.properties.emplace(name, &properties);
        }
    }
    if (path == Contract::INFO_PATH)
    {
        node.interfaces.push_back(&info_interface);
    }
    if (is_object_manager(path))
    {
        node.interfaces.push_back(&object_manager_interface);
    }
    if (!node.interfaces.empty() || !node.children.empty())
    {
        node.interfaces.insert(node.interfaces.end(),
                               {&properties_interface, &peer_interface, &introspectable_interface});
    }
    return node;
}

std::vector<const Interface*> ObjectTree::candidates(const Call& call, const Node& node) const
{
    std::vector<const Interface*> meant;
    for (const Interface* interface : node.interfaces)
    {
        if (interface != &peer_interface && is_meant(call.interface, interface->name))
        {
            meant.push_back(interface);
        }
    }
    return meant;
}

std::variant<const Method*, ErrorReply> ObjectTree::resolve(const Call& call) const
{
    const Node node = node_at(call.path);
    if (node.interfaces.empty())
    {
        return unknown_object(call.path);
    }
    if (!call.interface.empty() && !has_interface(node, call.interface))
    {
        return unknown_interface(call.interface);
    }
    for (const Interface* interface : candidates(call, node))
    {
        const Method* method = find_method(*interface, call.member);
        if (method == nullptr)
        {
            continue;
        }
        const std::string given = body_signature(call.arguments);
        const std::string wanted = signature_of(method->in);
        if (given != wanted)
        {
            return wrong_arguments(call.member, given, wanted);
        }
        return method;
    }
    return standard_error("UnknownMethod", "Unknown method '" + call.member + "'.");
}

Answer ObjectTree::answer(const Call& call)
{
    if (call.member == introspectable_interface.methods.front().name)
    {
        return {Body{text_value(introspection_xml(node_at(call.path)))}};
    }
    if (call.member == Contract::GET_MANAGED_OBJECTS)
    {
        return {managed_objects(call.path)};
    }
    if (find_method(properties_interface, call.member) != nullptr)
    {
        return answer_properties(call);
    }
    Device* device = find_device(call.path);
    return device == nullptr ? Answer{unknown_object(call.path)}
                             : answer_device_method(*device, call.member, call.arguments);
}

Answer ObjectTree::answer_properties(const Call& call) const
{
    const Node node = node_at(call.path);
    const std::string& interface = text_in(call.arguments[0]);
    if (node.interfaces.empty())
    {
        return {unknown_object(call.path)};
    }
    if (!interface.empty() && !has_interface(node, interface))
    {
        return {unknown_interface(interface)};
    }
    if (call.member == Contract::GET_ALL)
    {
        return get_all_properties(node, interface);
    }
    Answer value = get_property(node, interface, text_in(call.arguments[1]));
    const bool is_set = call.member != Contract::GET;
    if (is_set && std::holds_alternative<Body>(value.reply))
    {
        return {standard_error("PropertyReadOnly",
                               "Property '" + text_in(call.arguments[1]) + "' is not writable.")};
    }
    return value;
}

Body ObjectTree::managed_objects(const std::string& root) const
{
    const std::string prefix =
        root == Contract::DEVICE_MANAGER_PATH ? std::string("/") : prefix_below(root);
    Body entries;
    for (auto device = devices.lower_bound(prefix);
         device != devices.end() && device->first.starts_with(prefix); ++device)
    {
        entries.push_back(entry_value(path_value(device->first), interfaces_value(device->second)));
    }
    return {array_value("{oa{sa{sv}}}", std::move(entries))};
}

} // namespace simulator
