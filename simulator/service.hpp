#pragma once

#include "simulator/call_log.hpp"
#include "simulator/connection.hpp"
#include "simulator/event_loop.hpp"
#include "simulator/fleet.hpp"
#include "simulator/object_tree.hpp"

#include <cstddef>
#include <string>
#include <vector>

namespace simulator
{

/// The simulated service: answers calls by the fleet's rules and objects, and makes things happen.
/// Its functions throw BusFailure, and std::runtime_error for what cannot be done.
class Service
{
  public:
    Service(EventLoop& loop, Fleet fleet, const BusChoice& bus, const std::string& log_file);

    /// Connects, and owns the name unless the fleet's service is absent.
    void start();

    /// Starts the clock for the events that have a time.
    void start_events();

    /// Does what the next event without a time says.
    void play_next_event();

    void happen(const Happening& what);

    /// Sends DeviceError with the codes 0 to count - 1 (modulo 65536), as fast as the bus takes them.
    void flood(const std::string& path, std::uint64_t count);

    void release_name();

    /// Owns the name, on a new connection if there is none.
    void own_name();

    void disconnect();

    void flush();

  private:
    void make_happen(const AddDevice& add);
    void make_happen(const RemoveDevice& remove);
    void make_happen(const SetProperty& set);
    void make_happen(const Signal& signal);
    Device& device_at(const std::string& path);
    bool receive(sd_bus_message* message);
    void carry_out(sd_bus_message* message, const Call& call, const Action& action);
    const Rule* rule_for(const Call& call);
    void send_built_in(sd_bus_message* message, const Call& call, std::size_t fields);
    void perform(const Event& event);

    EventLoop& loop;
    Fleet fleet;
    ObjectTree objects;
    Connection connection;
    CallLog log;
    std::uint64_t managed_objects_calls = 0;
    std::size_t next_event = 0;
};

} // namespace simulator
