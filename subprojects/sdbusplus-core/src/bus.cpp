#include <sdbusplus/bus.hpp>
#include <sdbusplus/detail/check.hpp>

namespace sdbusplus
{

bus_t::bus_t(sd_bus* connection) : bus_t(sd_bus_ref(connection), std::false_type{}) {}

bus_t::bus_t(sd_bus* connection, std::false_type) : handle(connection)
{
    // Completes the connect and Hello exchange. Where that fails, the first use of the connection says so.
    const char* unused = nullptr;
    sd_bus_get_unique_name(connection, &unused);
}

message_t bus_t::new_method_call(const char* service, const char* path, const char* interface,
                                 const char* member)
{
    sd_bus_message* method_call = nullptr;
    detail::check(sd_bus_message_new_method_call(handle.get(), &method_call, service, path,
                                                 interface, member),
                  "sd_bus_message_new_method_call");
    return message_t{method_call, std::false_type{}};
}

message_t bus_t::call(message_t& method_call, uint64_t timeout_us)
{
    sd_bus_error error{};
    sd_bus_message* reply = nullptr;
    const int result = sd_bus_call(handle.get(), method_call.handle, timeout_us, &error, &reply);
    if (result < 0 && sd_bus_error_is_set(&error))
    {
        throw exception::SdBusError(&error, "sd_bus_call");
    }
    detail::check(result, "sd_bus_call");
    return message_t{reply, std::false_type{}};
}

bool bus_t::process_discard()
{
    return detail::check(sd_bus_process(handle.get(), nullptr), "sd_bus_process discard") > 0;
}

int bus_t::wait(uint64_t timeout_us)
{
    return detail::check(sd_bus_wait(handle.get(), timeout_us), "sd_bus_wait");
}

std::string bus_t::get_unique_name()
{
    const char* name = nullptr;
    detail::check(sd_bus_get_unique_name(handle.get(), &name), "sd_bus_get_unique_name");
    return name;
}

void bus_t::close()
{
    sd_bus_close(handle.get());
}

namespace bus
{

bus_t new_default_system()
{
    sd_bus* connection = nullptr;
    detail::check(sd_bus_default_system(&connection), "sd_bus_default_system");
    return bus_t{connection, std::false_type{}};
}

} // namespace bus

} // namespace sdbusplus
