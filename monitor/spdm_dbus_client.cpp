#include "monitor/spdm_dbus_client.hpp"

#include "monitor/device_subscriptions.hpp"
#include "monitor/match_rules.hpp"
#include "monitor/service_signal_handlers.hpp"
#include "shell/service_contract.hpp"

#include <sdbusplus/bus.hpp>
#include <sdbusplus/bus/match.hpp>
#include <sdbusplus/exception.hpp>

#include <cstdint>
#include <iostream>
#include <optional>
#include <utility>
#include <vector>

namespace
{

using SignalHandler = void (*)(sdbusplus::message_t&);

constexpr std::uint64_t wait_microseconds = 1000;

using Matches = std::vector<sdbusplus::bus::match_t>;

void add_match(Matches& matches, sdbusplus::bus_t& bus, const char* member, const char* path,
               const char* interface, SignalHandler handler)
{
    matches.emplace_back(bus, match_rules::signal(member, path, interface), handler);
}

void add_matches(Matches& matches, sdbusplus::bus_t& bus)
{
    const auto object_manager = [&](const char* member, const char* path, SignalHandler handler) {
        add_match(matches, bus, member, path, ServiceContract::OBJECT_MANAGER_INTERFACE, handler);
    };
    constexpr auto added = ServiceContract::INTERFACES_ADDED;
    object_manager(added, ServiceContract::CPU_PATH, handle_cpu_added);
    object_manager(added, ServiceContract::HALC_CONTROLLER_PATH, handle_halc_added);
    object_manager(added, ServiceContract::NIC_CONTROLLER_PATH, handle_nic_added);
    constexpr auto removed = ServiceContract::INTERFACES_REMOVED;
    object_manager(removed, ServiceContract::CPU_PATH, handle_interfaces_removed);
    object_manager(removed, ServiceContract::NIC_CONTROLLER_PATH, handle_interfaces_removed);
    object_manager(removed, ServiceContract::HALC_CONTROLLER_PATH, handle_interfaces_removed);
    add_match(matches, bus, ServiceContract::INFO, ServiceContract::INFO_PATH,
              ServiceContract::INFO_INTERFACE, handle_info);
}

} // namespace

spdm_dbus_client::~spdm_dbus_client()
{
    delete thread;
}

void spdm_dbus_client::start_monitor()
{
    running = true;
    thread = new std::thread(&spdm_dbus_client::monitor_loop, this);
}

void spdm_dbus_client::stop_monitor()
{
    running = false;
    if (thread != nullptr && thread->joinable())
    {
        thread->join();
    }
    // The joined thread object stays allocated until exit, a few bytes a start.
    thread = nullptr;
}

void spdm_dbus_client::monitor_loop()
{
    std::optional<sdbusplus::bus_t> bus;
    Matches matches;
    try
    {
        bus = sdbusplus::bus::new_default_system();
        add_matches(matches, *bus);
        while (running)
        {
            bus->process_discard();
            bus->wait(wait_microseconds);
        }
    }
    catch (const sdbusplus::exception::exception& error)
    {
        std::cout << "Something went wrong :" << error.what() << std::endl;
    }
    while (!matches.empty()) // the last one first, which the vector itself does not promise
    {
        matches.pop_back();
    }
    if (bus)
    {
        keep_connection_of_subscriptions(std::move(*bus));
    }
}
