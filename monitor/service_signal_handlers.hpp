#pragma once

#include <sdbusplus/message.hpp>

/// Handlers of the service's own signals, run on the monitor thread. Each prints what it received. An
/// exception out of a handler ends the process; a signal whose contents are of another type than the
/// contract's raises one, except in the `..._added` handlers, which say it on standard error.

/// A device was announced: enters it into `discovered_objects` and subscribes to its signals.
void handle_cpu_added(sdbusplus::message_t& signal);
void handle_halc_added(sdbusplus::message_t& signal);
void handle_nic_added(sdbusplus::message_t& signal);

/// A device went away: forgets it and its subscriptions.
void handle_interfaces_removed(sdbusplus::message_t& signal);

void handle_info(sdbusplus::message_t& signal);
