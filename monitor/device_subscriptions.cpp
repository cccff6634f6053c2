#include "monitor/device_subscriptions.hpp"

#include "monitor/device_signal_handlers.hpp"
#include "monitor/match_rules.hpp"
#include "shell/discovery.hpp"
#include "shell/service_contract.hpp"

#include <algorithm>
#include <iostream>
#include <iterator>
#include <set>
#include <utility>

std::map<std::string, std::vector<sdbusplus::bus::match_t>> device_subscriptions;

namespace
{

/// Paths that this thread has subscribed to, even if the subscriptions have ended since.
thread_local std::set<std::string> paths_subscribed_here;

} // namespace

void subscribe_device_signals(sdbusplus::bus_t& bus, Eid eid)
{
    std::cout << "subscribing to signals" << std::endl;
    std::vector<sdbusplus::bus::match_t> matches;
    const auto subscribe = [&](const char* member, const char* interface, auto handler) {
        matches.emplace_back(bus, match_rules::signal(member, object_path_entry(eid), interface),
                             handler);
    };
    subscribe(ServiceContract::DEVICE_ERROR, ServiceContract::DEVICE_INTERFACE,
              handle_device_error);
    subscribe(ServiceContract::CERTIFICATE_PROGRESS, ServiceContract::DEVICE_INTERFACE,
              handle_certificate_progress);
    subscribe(ServiceContract::PROPERTIES_CHANGED, ServiceContract::PROPERTIES_INTERFACE,
              handle_properties_changed);
    paths_subscribed_here.insert(object_path_entry(eid));
    auto& subscriptions = device_subscriptions[object_path_entry(eid)];
    std::move(matches.begin(), matches.end(), std::back_inserter(subscriptions));
}

void drop_device_subscriptions(const std::string& path)
{
    device_subscriptions.erase(path);
}

void keep_connection_of_subscriptions(sdbusplus::bus_t&& bus)
{
    // Never destroyed, or the references would be released at exit.
    static auto& kept = *new std::vector<sdbusplus::bus_t>;
    if (std::any_of(paths_subscribed_here.begin(), paths_subscribed_here.end(),
                    [](const auto& path) { return device_subscriptions.contains(path); }))
    {
        // Nobody reads it from now on; open, it would make the daemon queue every matching signal.
        bus.close();
        kept.push_back(std::move(bus));
    }
}
