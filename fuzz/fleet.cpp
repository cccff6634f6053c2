// Input: choices of support/fleet_grammar.cpp for a fleet, then for eight commands.

#include "simulator/fleet.hpp"

#include "fuzz/support/bus_pair.hpp"
#include "fuzz/support/byte_source.hpp"
#include "fuzz/support/fleet_grammar.hpp"
#include "fuzz/support/require.hpp"
#include "simulator/command_line.hpp"
#include "simulator/message.hpp"
#include "simulator/object_tree.hpp"
#include "simulator/signals.hpp"

#include <systemd/sd-bus.h>

#include <algorithm>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

namespace
{

using namespace simulator;

// The bus's limits, as its specification states them.
constexpr std::size_t longest_name = 255;
constexpr int most_nested_containers = 64;

bool is_element(std::string_view element)
{
    const auto is_letter = [](char c) {
        return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_';
    };
    const auto is_digit = [](char c) { return c >= '0' && c <= '9'; };
    return !element.empty() && !is_digit(element.front()) &&
           std::all_of(element.begin(), element.end(),
                       [&](char c) { return is_letter(c) || is_digit(c); });
}

bool is_dotted(std::string_view name)
{
    const auto dot = name.find('.');
    if (dot == std::string_view::npos)
    {
        return false;
    }
    const auto rest = name.substr(dot + 1);
    return is_element(name.substr(0, dot)) && (is_element(rest) || is_dotted(rest));
}

void require_sender(const std::string& path)
{
    require(sd_bus_object_path_is_valid(path.c_str()) == 1 && path.find('\0') == std::string::npos,
            "an accepted object path is valid");
    require(path != "/org/freedesktop/DBus/Local", "nothing is sent from the reserved path");
}

void require_interface(const std::string& name)
{
    require(sd_bus_interface_name_is_valid(name.c_str()) == 1 && is_dotted(name) &&
                name.size() <= longest_name,
            "an accepted interface or error name is valid");
}

void require_member(const std::string& name)
{
    require(sd_bus_member_name_is_valid(name.c_str()) == 1 && is_element(name) &&
                name.size() <= longest_name,
            "an accepted member name is valid");
}

int nesting(const Body& values)
{
    int deepest = 0;
    for (const Value& value : values)
    {
        if (const auto* held = std::get_if<Body>(&value.content))
        {
            deepest = std::max(deepest, 1 + nesting(*held));
        }
    }
    return deepest;
}

sd_bus* connection()
{
    static const BusPair pair;
    return pair.local;
}

void require_signal(const Signal& signal)
{
    require_sender(signal.path);
    require_interface(signal.interface);
    require(signal.interface != "org.freedesktop.DBus.Local", "the reserved interface is not used");
    require_member(signal.member);
    require(nesting(signal.arguments) <= most_nested_containers, "the bus takes the nesting");
    sd_bus_message* created = nullptr;
    require_success(sd_bus_message_new_signal(connection(), &created, signal.path.c_str(),
                                              signal.interface.c_str(), signal.member.c_str()));
    const RawMessage message(created);
    append_values(created, signal.arguments);
    seal(created);
    require(read_call(created).arguments == signal.arguments,
            "a body reads back as it was written");
}

void require_body(const Body& body)
{
    require_signal({"/a", "a.b", "C", body});
}

void require_rules(const std::vector<Rule>& rules)
{
    for (const Rule& rule : rules)
    {
        if (const auto* body = std::get_if<std::shared_ptr<const Body>>(&rule.action))
        {
            require_body(**body);
        }
        if (const auto* error = std::get_if<ErrorReply>(&rule.action))
        {
            require_interface(error->name);
            require_body({text_value(error->message)});
        }
    }
}

void require_device(const Device& device)
{
    require_sender(device.path);
    require_signal(interfaces_added(device));
    require_signal(interfaces_removed(device));
    for (const auto& [name, value] : device.properties)
    {
        require_signal(properties_changed(device.path, name, value));
    }
    for (const auto& [name, properties] : device.interfaces)
    {
        require_interface(name);
    }
    for (const auto& [method, rules] : device.rules)
    {
        require_rules(rules);
    }
}

struct RequireHappening
{
    void operator()(const AddDevice& add) const
    {
        require_device(add.device);
    }

    void operator()(const RemoveDevice& remove) const
    {
        require_sender(remove.path);
    }

    void operator()(const SetProperty& set) const
    {
        require_signal(properties_changed(set.path, set.property, set.value));
    }

    void operator()(const Signal& signal) const
    {
        require_signal(signal);
    }
};

void require_answers(const std::vector<Device>& devices)
{
    ObjectTree objects(devices);
    const std::string manager = "/com/varn/bmc/spdm/spdm/devicemanager";
    const auto answer = [&](const std::string& path, const std::string& interface,
                            const std::string& member, const Body& arguments) {
        require_body(std::get<Body>(objects.answer({path, interface, member, arguments}).reply));
    };
    answer(manager, "org.freedesktop.DBus.ObjectManager", "GetManagedObjects", {});
    for (const Device& device : devices)
    {
        answer(device.path, "org.freedesktop.DBus.Introspectable", "Introspect", {});
        answer(device.path, "org.freedesktop.DBus.Properties", "GetAll", {text_value("")});
    }
}

/// What the text is read as; nothing when it is refused.
template <typename Complaint, typename Reader>
auto accepted(Reader read, const std::string& text) -> std::optional<decltype(read(text, ""))>
try
{
    return read(text, "/no/such/folder");
}
catch (const Complaint& complaint)
{
    require(*complaint.what() != '\0', "a complaint says something");
    return std::nullopt;
}

void require_valid(const Fleet& fleet)
{
    std::for_each(fleet.devices.begin(), fleet.devices.end(), require_device);
    require_rules(fleet.managed_objects_rules);
    for (const Event& event : fleet.events)
    {
        std::visit(RequireHappening{}, event.what);
    }
    require_answers(fleet.devices);
}

void require_valid(const Command& command)
{
    if (const auto* happening = std::get_if<Happening>(&command))
    {
        std::visit(RequireHappening{}, *happening);
    }
    if (const auto* flood = std::get_if<Flood>(&command))
    {
        require_signal(device_error(flood->path, 0));
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    ByteSource source({data, size});
    FleetGrammar grammar(source);
    if (const auto fleet = accepted<PlaceError>(fleet_from_json, grammar.fleet()))
    {
        require_valid(*fleet);
    }
    for (int i = 0; i < 8 && !source.empty(); ++i)
    {
        if (const auto command = accepted<std::runtime_error>(parse_command, grammar.command()))
        {
            require_valid(*command);
        }
    }
    return 0;
}
