#pragma once

#include <string>
#include <vector>

namespace simulator
{

struct Argument
{
    std::string name;
    std::string type;
};

struct Method
{
    std::string name;
    std::vector<Argument> in;
    std::vector<Argument> out;
};

struct SignalMember
{
    std::string name;
    std::vector<Argument> arguments;
};

/// What an interface of the simulated service offers, as introspection shows it and as calls to it
/// are checked.
struct Interface
{
    std::string name;
    std::vector<Method> methods;
    std::vector<SignalMember> signals;
};

extern const Interface device_interface;
extern const Interface info_interface;
extern const Interface object_manager_interface;
extern const Interface properties_interface;
extern const Interface introspectable_interface;
extern const Interface peer_interface;

/// The method of this name, null when the interface has none.
const Method* find_method(const Interface& interface, const std::string& name);

/// The signature of all arguments together.
std::string signature_of(const std::vector<Argument>& arguments);

} // namespace simulator
