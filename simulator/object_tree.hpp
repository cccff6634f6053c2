#pragma once

#include "simulator/answer.hpp"
#include "simulator/device.hpp"
#include "simulator/interfaces.hpp"
#include "simulator/introspection.hpp"

#include <map>
#include <string>
#include <variant>
#include <vector>

namespace simulator
{

/// The objects of the simulated service: the device manager, the containers, the information object,
/// the devices, and the nodes above them. It knows nothing of a connection.
class ObjectTree
{
  public:
    explicit ObjectTree(std::vector<Device> fleet);

    /// The method that a call is for; an error when there is no such object, interface or method, or
    /// when the arguments have other types. Calls of the interface org.freedesktop.DBus.Peer are the
    /// bus library's to answer, not this tree's.
    std::variant<const Method*, ErrorReply> resolve(const Call& call) const;

    /// The built-in answer to a call that `resolve` found a method for. A delayed answer may find the
    /// object removed.
    Answer answer(const Call& call);

    /// Adds a device, or replaces the one at its path.
    void add(Device device);

    void remove(const std::string& path);

    /// Null when there is no device at this path.
    Device* find_device(const std::string& path);
    const Device* find_device(const std::string& path) const;

  private:
    Node node_at(const std::string& path) const;
    std::set<std::string> children_of(const std::string& path) const;
    std::vector<const Interface*> candidates(const Call& call, const Node& node) const;
    Answer answer_properties(const Call& call) const;
    Body managed_objects(const std::string& root) const;

    std::map<std::string, Device> devices;
};

} // namespace simulator
