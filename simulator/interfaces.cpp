#include "simulator/interfaces.hpp"

#include "shell/service_contract.hpp"

#include <algorithm>

namespace simulator
{

using Contract = ServiceContract;

const Interface device_interface{
    Contract::DEVICE_INTERFACE,
    {
        {Contract::RE_AUTHENTICATE, {}, {{"status", "u"}}},
        {Contract::GET_CERTIFICATE, {{"slot", "q"}}, {{"status", "q"}, {"path", "s"}}},
        {Contract::GET_CERTIFICATE_PROPERTIES, {{"slot", "u"}}, {{"status", "u"}}},
        {Contract::GET_MEASUREMENT,
         {{"slot", "q"}, {"indices", "aq"}},
         {{"status", "q"}, {"count", "q"}, {"measurements", "a(qayuq)"}}},
        {Contract::GET_SIGNED_MEASUREMENT,
         {{"indices", "aq"}, {"slot", "q"}, {"nonce", "s"}},
         {{"status", "u"},
          {"signed_measurements", "s"},
          {"hashing_algorithm", "s"},
          {"signing_algorithm", "s"},
          {"version", "s"}}},
    },
    {
        {Contract::DEVICE_ERROR, {{"code", "q"}}},
        {Contract::CERTIFICATE_PROGRESS, {{"progress", "y"}}},
    }};

const Interface info_interface{
    Contract::INFO_INTERFACE, {}, {{Contract::INFO, {{"information", "q"}}}}};

const Interface object_manager_interface{
    Contract::OBJECT_MANAGER_INTERFACE,
    {{Contract::GET_MANAGED_OBJECTS, {}, {{"objects", "a{oa{sa{sv}}}"}}}},
    {
        {Contract::INTERFACES_ADDED, {{"object", "o"}, {"interfaces", "a{sa{sv}}"}}},
        {Contract::INTERFACES_REMOVED, {{"object", "o"}, {"interfaces", "as"}}},
    }};

const Interface properties_interface{
    Contract::PROPERTIES_INTERFACE,
    {
        {Contract::GET, {{"interface", "s"}, {"property", "s"}}, {{"value", "v"}}},
        {Contract::GET_ALL, {{"interface", "s"}}, {{"properties", "a{sv}"}}},
        {"Set", {{"interface", "s"}, {"property", "s"}, {"value", "v"}}, {}},
    },
    {{Contract::PROPERTIES_CHANGED,
      {{"interface", "s"}, {"changed", "a{sv}"}, {"invalidated", "as"}}}}};

const Interface introspectable_interface{
    "org.freedesktop.DBus.Introspectable", {{"Introspect", {}, {{"xml", "s"}}}}, {}};

const Interface peer_interface{
    "org.freedesktop.DBus.Peer", {{"Ping", {}, {}}, {"GetMachineId", {}, {{"id", "s"}}}}, {}};

const Method* find_method(const Interface& interface, const std::string& name)
{
    const auto found = std::find_if(interface.methods.begin(), interface.methods.end(),
                                    [&](const Method& method) { return method.name == name; });
    return found == interface.methods.end() ? nullptr : &*found;
}

std::string signature_of(const std::vector<Argument>& arguments)
{
    std::string signature;
    for (const Argument& argument : arguments)
    {
        signature += argument.type;
    }
    return signature;
}

} // namespace simulator
