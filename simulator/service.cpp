#include "simulator/service.hpp"

#include "shell/service_contract.hpp"
#include "simulator/interfaces.hpp"
#include "simulator/signals.hpp"

#include <algorithm>
#include <iostream>
#include <limits>
#include <stdexcept>
#include <utility>

namespace simulator
{

namespace
{

constexpr std::size_t all_fields = std::numeric_limits<std::size_t>::max();

} // namespace

Service::Service(EventLoop& loop, Fleet described, const BusChoice& bus,
                 const std::string& log_file)
    : loop(loop),
      fleet(std::move(described)),
      objects(std::exchange(fleet.devices, {})),
      connection(
          loop.get(), bus, [this](sd_bus_message* message) { return receive(message); },
          [this] {
              std::cerr << "spdm-simulator: the connection to the bus is lost" << std::endl;
              this->loop.stop(1);
          }),
      log(log_file)
{}

void Service::start()
{
    connection.open();
    if (fleet.present)
    {
        connection.own_name();
    }
}

void Service::start_events()
{
    for (const Event& event : fleet.events)
    {
        if (event.at)
        {
            loop.after(*event.at, [this, &event] {
                try
                {
                    perform(event);
                }
                catch (const std::runtime_error& error)
                {
                    std::cerr << "spdm-simulator: event at " << event.at->count()
                              << " ms: " << error.what() << std::endl;
                }
            });
        }
    }
}

void Service::play_next_event()
{
    while (next_event < fleet.events.size() && fleet.events[next_event].at)
    {
        ++next_event;
    }
    if (next_event == fleet.events.size())
    {
        throw std::runtime_error("no event is left to play");
    }
    perform(fleet.events[next_event++]);
}

void Service::perform(const Event& event)
{
    for (std::uint64_t i = 0; i < event.times; ++i)
    {
        happen(event.what);
    }
}

void Service::happen(const Happening& what)
{
    std::visit([this](const auto& happening) { make_happen(happening); }, what);
}

void Service::make_happen(const AddDevice& add)
{
    connection.send(interfaces_added(add.device));
    objects.add(add.device);
}

void Service::make_happen(const RemoveDevice& remove)
{
    connection.send(interfaces_removed(device_at(remove.path)));
    objects.remove(remove.path);
}

void Service::make_happen(const SetProperty& set)
{
    Device& device = device_at(set.path);
    connection.send(properties_changed(set.path, set.property, set.value));
    device.properties.insert_or_assign(set.property, set.value);
}

void Service::make_happen(const Signal& signal)
{
    connection.send(signal);
}

Device& Service::device_at(const std::string& path)
{
    Device* device = objects.find_device(path);
    if (device == nullptr)
    {
        throw std::runtime_error("there is no device at " + path);
    }
    return *device;
}

void Service::flood(const std::string& path, std::uint64_t count)
{
    for (std::uint64_t i = 0; i < count; ++i)
    {
        connection.send(device_error(path, static_cast<std::uint16_t>(i & 0xFFFF)));
    }
}

void Service::release_name()
{
    connection.release_name();
}

void Service::own_name()
{
    connection.open();
    connection.own_name();
}

void Service::disconnect()
{
    connection.close();
}

void Service::flush()
{
    connection.flush();
}

bool Service::receive(sd_bus_message* message)
{
    const Call call = read_call(message);
    log.write(call);
    if (call.interface == peer_interface.name)
    {
        return false;
    }
    const auto resolved = objects.resolve(call);
    if (const auto* error = std::get_if<ErrorReply>(&resolved))
    {
        connection.reply(message, *error);
        return true;
    }
    const Rule* rule = rule_for(call);
    const Action action = rule == nullptr ? BuiltIn{} : rule->action;
    if (rule == nullptr || rule->delay.count() == 0)
    {
        carry_out(message, call, action);
        return true;
    }
    const std::shared_ptr<sd_bus_message> kept(sd_bus_message_ref(message), sd_bus_message_unref);
    loop.after(rule->delay, [this, kept, call, action] {
        if (connection.carried(kept.get()))
        {
            carry_out(kept.get(), call, action);
        }
    });
    return true;
}

const Rule* Service::rule_for(const Call& call)
{
    if (call.member == ServiceContract::GET_MANAGED_OBJECTS)
    {
        return choose_rule(fleet.managed_objects_rules, ++managed_objects_calls, call.arguments);
    }
    Device* device = objects.find_device(call.path);
    if (device == nullptr)
    {
        return nullptr;
    }
    return choose_rule(device->rules[call.member], ++device->calls[call.member], call.arguments);
}

void Service::carry_out(sd_bus_message* message, const Call& call, const Action& action)
{
    if (const auto* body = std::get_if<std::shared_ptr<const Body>>(&action))
    {
        connection.reply(message, **body);
    }
    else if (const auto* error = std::get_if<ErrorReply>(&action))
    {
        connection.reply(message, *error);
    }
    else if (const auto* cut = std::get_if<CutShort>(&action))
    {
        send_built_in(message, call, cut->fields);
    }
    else if (std::holds_alternative<BuiltIn>(action))
    {
        send_built_in(message, call, all_fields);
    }
    else if (std::holds_alternative<LeaveBus>(action))
    {
        connection.close();
    }
}

void Service::send_built_in(sd_bus_message* message, const Call& call, std::size_t fields)
{
    const Answer answer = objects.answer(call);
    for (const Signal& signal : answer.signals)
    {
        connection.send(signal);
    }
    if (const auto* error = std::get_if<ErrorReply>(&answer.reply))
    {
        connection.reply(message, *error);
        return;
    }
    const std::span<const Value> body = std::get<Body>(answer.reply);
    connection.reply(message, body.first(std::min(fields, body.size())));
}

} // namespace simulator
