#pragma once

#include "shell/eid.hpp"

#include <sdbusplus/bus.hpp>
#include <sdbusplus/bus/match.hpp>

#include <map>
#include <string>
#include <vector>

/// The matches for devices' own signals, by object path. Written only on the monitor thread, released
/// at exit. They outlive the thread, but its connection is closed then, so they receive nothing.
extern std::map<std::string, std::vector<sdbusplus::bus::match_t>> device_subscriptions;

/// Subscribes on `bus` to the signals of the device known by `eid`; a second call subscribes a
/// second time. An unknown EID gets an empty path. Raises `sdbusplus::exception::SdBusError`.
void subscribe_device_signals(sdbusplus::bus_t& bus, Eid eid);

/// Ends all subscriptions of the device object at `path`, if there are any.
void drop_device_subscriptions(const std::string& path);

/// Call it with the monitor thread's connection when the thread ends. If any of its subscriptions are
/// left, it closes the connection and keeps a reference until the process ends: releasing the last
/// reference to a default connection makes libsystemd clear the pointer to it in the storage of the
/// thread that opened it, and that memory may be gone once the thread has ended.
void keep_connection_of_subscriptions(sdbusplus::bus_t&& bus);
