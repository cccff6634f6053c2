#include "simulator/connection.hpp"

#include "shell/service_contract.hpp"
#include "simulator/bus_failure.hpp"

#include <cerrno>
#include <iostream>
#include <utility>

namespace simulator
{

namespace
{

// The bus library queues what the bus does not take at once; this keeps the queue short.
constexpr unsigned signals_between_flushes = 256;

using BusHandle = std::unique_ptr<sd_bus, BusRelease>;

BusHandle open_address(const std::string& address)
{
    sd_bus* created = nullptr;
    check(sd_bus_new(&created), "sd_bus_new");
    BusHandle bus(created);
    check(sd_bus_set_address(created, address.c_str()), "sd_bus_set_address");
    check(sd_bus_set_bus_client(created, true), "sd_bus_set_bus_client");
    check(sd_bus_start(created), "sd_bus_start");
    return bus;
}

BusHandle open_bus(const BusChoice& choice)
{
    sd_bus* created = nullptr;
    switch (choice.kind)
    {
        case BusChoice::Kind::system:
            check(sd_bus_open_system(&created), "sd_bus_open_system");
            break;
        case BusChoice::Kind::session: check(sd_bus_open_user(&created), "sd_bus_open_user"); break;
        case BusChoice::Kind::address: return open_address(choice.address);
    }
    return BusHandle(created);
}

void send_and_release(sd_bus_message* message, std::span<const Value> values)
{
    const MessageHandle owned(message);
    body_size(values);
    append_values(message, values);
    check(sd_bus_send(nullptr, message, nullptr), "sd_bus_send");
}

} // namespace

Connection::Connection(sd_event* event, BusChoice choice, CallHandler on_call,
                       std::function<void()> on_loss)
    : event(event),
      choice(std::move(choice)),
      on_call(std::move(on_call)),
      on_loss(std::move(on_loss))
{}

void Connection::open()
try
{
    if (!bus)
    {
        connect();
    }
}
catch (const BusFailure& failure)
{
    throw BusFailure(std::string("cannot connect to the bus: ") + failure.what());
}

void Connection::connect()
{
    BusHandle connected = open_bus(choice);
    // A filter sees every call before the library looks for objects of its own.
    check(sd_bus_add_filter(connected.get(), nullptr, receive, this), "sd_bus_add_filter");
    const char* unique_name = nullptr;
    check(sd_bus_get_unique_name(connected.get(), &unique_name), "sd_bus_get_unique_name");
    check(sd_bus_attach_event(connected.get(), event, SD_EVENT_PRIORITY_NORMAL),
          "sd_bus_attach_event");
    bus = std::move(connected);
}

int Connection::receive(sd_bus_message* message, void* self, sd_bus_error*)
{
    auto& connection = *static_cast<Connection*>(self);
    if (sd_bus_message_is_signal(message, "org.freedesktop.DBus.Local", "Disconnected") > 0)
    {
        connection.on_loss();
        return 1;
    }
    if (sd_bus_message_is_method_call(message, nullptr, nullptr) <= 0)
    {
        return 0;
    }
    try
    {
        return connection.on_call(message) ? 1 : 0;
    }
    catch (const std::exception& error)
    {
        std::cerr << "spdm-simulator: no reply to " << sd_bus_message_get_member(message) << ": "
                  << error.what() << std::endl;
        return 1;
    }
}

void Connection::own_name()
{
    const int result = sd_bus_request_name(opened(), ServiceContract::SERVICE_NAME, 0);
    if (result == -EEXIST)
    {
        throw BusFailure(std::string("another program owns the name ") +
                         ServiceContract::SERVICE_NAME);
    }
    if (result != -EALREADY)
    {
        check(result, "sd_bus_request_name");
    }
}

void Connection::release_name()
{
    check(sd_bus_release_name(opened(), ServiceContract::SERVICE_NAME), "sd_bus_release_name");
}

void Connection::close()
{
    flush();
    sd_bus_close(opened());
    bus.reset();
}

bool Connection::carried(sd_bus_message* message) const
{
    return bus && sd_bus_message_get_bus(message) == bus.get();
}

void Connection::send(const Signal& signal)
{
    sd_bus_message* created = nullptr;
    check(sd_bus_message_new_signal(opened(), &created, signal.path.c_str(),
                                    signal.interface.c_str(), signal.member.c_str()),
          "sd_bus_message_new_signal");
    send_and_release(created, signal.arguments);
    if (++unflushed == signals_between_flushes)
    {
        flush();
    }
}

void Connection::reply(sd_bus_message* call, std::span<const Value> values)
{
    sd_bus_message* created = nullptr;
    check(sd_bus_message_new_method_return(call, &created), "sd_bus_message_new_method_return");
    send_and_release(created, values);
}

void Connection::reply(sd_bus_message* call, const ErrorReply& error)
{
    const sd_bus_error content{error.name.c_str(), error.message.c_str(), 0};
    sd_bus_message* created = nullptr;
    check(sd_bus_message_new_method_error(call, &created, &content),
          "sd_bus_message_new_method_error");
    send_and_release(created, {});
}

void Connection::flush()
{
    check(sd_bus_flush(opened()), "sd_bus_flush");
    unflushed = 0;
}

sd_bus* Connection::opened() const
{
    if (!bus)
    {
        throw BusFailure("not connected to the bus");
    }
    return bus.get();
}

} // namespace simulator
