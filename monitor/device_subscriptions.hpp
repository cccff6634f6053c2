#pragma once

#include "shell/discovery.hpp"

#include <sdbusplus/bus.hpp>
#include <sdbusplus/bus/match.hpp>

#include <map>
#include <string>
#include <vector>

/// The matches on devices' own signals by object path. Written by the monitor's handlers alone, on
/// the monitor thread.
///
/// The matches outlive the thread whose connection they are bound to: they keep that connection
/// open, unprocessed, until the last of them goes. libsystemd then clears the ended thread's
/// thread-local pointer to its default connection. The memory is still mapped, as the C library
/// keeps a few ended threads' stacks for reuse; where a later monitor thread has taken it over, that
/// thread merely no longer shares its connection, and it never asks for it twice.
extern std::map<std::string, std::vector<sdbusplus::bus::match_t>> device_subscriptions;

/// Subscribes on `bus` to the signals of the device known by `eid`; a second call subscribes a
/// second time. An unknown EID gets an empty path. Raises `sdbusplus::exception::SdBusError`.
void subscribe_device_signals(sdbusplus::bus_t& bus, Eid eid);

/// Ends all subscriptions of the device object at `path`, if there are any.
void drop_device_subscriptions(const std::string& path);
