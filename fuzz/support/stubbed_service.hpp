#pragma once

#include "fuzz/support/byte_source.hpp"
#include "fuzz/support/dbus_value.hpp"

#include <cstdint>
#include <optional>
#include <span>

/// The bus and the SPDM service on it, as the client's calls into libsystemd find them in this program: the
/// default system-bus connection is one end of a pair of connections, calls are answered as the fuzzer's
/// bytes say, and the monitor thread receives signals over the other end. Every call's names, path and
/// signature are checked against the contract.

/// Forgets the last run. Answers and signals are made from `bytes`; behind their end, answers are those of
/// a sound service without signals.
void start_service(std::span<const std::uint8_t> bytes);

/// To be called before the monitor thread is started.
void expect_monitor();

/// Waits until the monitor thread has handled every signal that there is.
void await_quiet_monitor();

/// The object tree that the service answered with, where it had the contract's type.
const std::optional<DbusValue>& told_object_tree();

/// Whether this is the thread of the menus, not the monitor's.
bool is_main_thread();

/// How long the client believes to have slept since the start.
unsigned slept_milliseconds();
