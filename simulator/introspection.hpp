#pragma once

#include "simulator/interfaces.hpp"
#include "simulator/value.hpp"

#include <map>
#include <set>
#include <string>
#include <vector>

namespace simulator
{

/// What introspection shows of one object.
struct Node
{
    std::vector<const Interface*> interfaces;
    /// By interface name; an interface that is not among `interfaces` has properties only.
    std::map<std::string, const Properties*> properties;
    /// The next path elements of the objects below.
    std::set<std::string> children;
};

/// The introspection data of a node, as XML.
std::string introspection_xml(const Node& node);

} // namespace simulator
