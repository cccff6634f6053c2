#pragma once

#include <sdbusplus/message.hpp>

/// Handlers of the service's own signals, run on the monitor thread. Each prints what it received.
/// Arguments of the wrong type raise an exception, which ends the process; the `..._added` handlers
/// print it to standard error instead.

/// A device was announced: enters it into `discovered_objects` and subscribes to its signals.
void handle_cpu_added(sdbusplus::message_t& signal);
void handle_halc_added(sdbusplus::message_t& signal);
void handle_nic_added(sdbusplus::message_t& signal);

/// A device was removed: erases it and its subscriptions.
void handle_interfaces_removed(sdbusplus::message_t& signal);

void handle_info(sdbusplus::message_t& signal);
