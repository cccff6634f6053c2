#include "monitor/spdm_dbus_client.hpp"

#include "monitor/match_rules.hpp"
#include "monitor/service_signal_handlers.hpp"
#include "shell/service_contract.hpp"

#include <sdbusplus/bus.hpp>
#include <sdbusplus/bus/match.hpp>
#include <sdbusplus/exception.hpp>

#include <array>
#include <cstdint>
#include <iostream>

namespace
{

using SignalHandler = void (*)(sdbusplus::message_t&);

constexpr std::uint64_t wait_microseconds = 1000;

sdbusplus::bus::match_t added(sdbusplus::bus_t& bus, const char* path, SignalHandler handler)
{
    return {bus,
            match_rules::signal(ServiceContract::INTERFACES_ADDED, path,
                                ServiceContract::OBJECT_MANAGER_INTERFACE),
            handler};
}

sdbusplus::bus::match_t removed(sdbusplus::bus_t& bus, const char* path)
{
    return {bus,
            match_rules::signal(ServiceContract::INTERFACES_REMOVED, path,
                                ServiceContract::OBJECT_MANAGER_INTERFACE),
            handle_interfaces_removed};
}

sdbusplus::bus::match_t info(sdbusplus::bus_t& bus)
{
    return {bus,
            match_rules::signal(ServiceContract::INFO, ServiceContract::INFO_PATH,
                                ServiceContract::INFO_INTERFACE),
            handle_info};
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
try
{
    auto bus = sdbusplus::bus::new_default_system();
    const std::array matches{
        added(bus, ServiceContract::CPU_PATH, handle_cpu_added),
        added(bus, ServiceContract::HALC_CONTROLLER_PATH, handle_halc_added),
        added(bus, ServiceContract::NIC_CONTROLLER_PATH, handle_nic_added),
        removed(bus, ServiceContract::CPU_PATH),
        removed(bus, ServiceContract::NIC_CONTROLLER_PATH),
        removed(bus, ServiceContract::HALC_CONTROLLER_PATH),
        info(bus),
    };
    while (running)
    {
        bus.process_discard();
        bus.wait(wait_microseconds);
    }
}
catch (const sdbusplus::exception::exception& error)
{
    std::cout << "Something went wrong :" << error.what() << std::endl;
}
