#pragma once

#include <sdbusplus/message.hpp>

/// Handlers of the signals of one device's object, run on the monitor thread. Each prints what it
/// received. Arguments of the wrong type raise an exception, which ends the process.

void handle_device_error(sdbusplus::message_t& signal);
void handle_certificate_progress(sdbusplus::message_t& signal);
void handle_properties_changed(sdbusplus::message_t& signal);
