#include <sdbusplus/bus.hpp>
#include <sdbusplus/detail/check.hpp>
#include <sdbusplus/message.hpp>

#include <utility>

namespace sdbusplus
{

message_t::message_t(sd_bus_message* message) noexcept : handle(sd_bus_message_ref(message)) {}

message_t::message_t(sd_bus_message* message, std::false_type) noexcept : handle(message) {}

message_t::message_t(const message_t& other) noexcept : message_t(other.handle) {}

message_t::message_t(message_t&& other) noexcept : handle(std::exchange(other.handle, nullptr)) {}

message_t& message_t::operator=(message_t other) noexcept
{
    std::swap(handle, other.handle);
    return *this;
}

message_t::~message_t()
{
    sd_bus_message_unref(handle);
}

const char* message_t::get_path() const noexcept
{
    return sd_bus_message_get_path(handle);
}

bus_t message_t::get_bus() const
{
    return bus_t{sd_bus_message_get_bus(handle)};
}

} // namespace sdbusplus

namespace sdbusplus::detail
{

void read_number(sd_bus_message* source, char type, void* value)
{
    check(sd_bus_message_read_basic(source, type, value), "sd_bus_message_read_basic fundamental");
}

bool read_bool(sd_bus_message* source)
{
    int value = 0;
    check(sd_bus_message_read_basic(source, SD_BUS_TYPE_BOOLEAN, &value),
          "sd_bus_message_read_basic bool");
    return value != 0;
}

const char* read_text(sd_bus_message* source, char type)
{
    const char* text = "";
    check(sd_bus_message_read_basic(source, type, &text), "sd_bus_message_read_basic string");
    return text;
}

std::span<const uint8_t> read_integers(sd_bus_message* source, char type)
{
    const void* first = nullptr;
    std::size_t bytes = 0;
    check(sd_bus_message_read_array(source, type, &first, &bytes), "sd_bus_message_read_array");
    return {static_cast<const uint8_t*>(first), bytes};
}

void enter_container(sd_bus_message* source, char type, const char* contents,
                     const ReadSteps& steps)
{
    check(sd_bus_message_enter_container(source, type, contents), steps.enter);
}

bool at_end(sd_bus_message* source, const ReadSteps& steps)
{
    return check(sd_bus_message_at_end(source, false), steps.at_end) > 0;
}

void exit_container(sd_bus_message* source, const ReadSteps& steps)
{
    check(sd_bus_message_exit_container(source), steps.exit);
}

std::string_view variant_contents(sd_bus_message* source)
{
    char type = '\0';
    const char* contents = nullptr;
    check(sd_bus_message_peek_type(source, &type, &contents), "sd_bus_message_verify_type variant");
    return type == SD_BUS_TYPE_VARIANT ? contents : std::string_view{};
}

void skip_variant(sd_bus_message* source)
{
    check(sd_bus_message_skip(source, "v"), "sd_bus_message_skip variant");
}

void append_number(sd_bus_message* target, char type, const void* value)
{
    check(sd_bus_message_append_basic(target, type, value),
          "sd_bus_message_append_basic fundamental");
}

void append_bool(sd_bus_message* target, bool value)
{
    const int number = value;
    check(sd_bus_message_append_basic(target, SD_BUS_TYPE_BOOLEAN, &number),
          "sd_bus_message_append_basic bool");
}

void append_text(sd_bus_message* target, char type, const char* text)
{
    check(sd_bus_message_append_basic(target, type, text), "sd_bus_message_append_basic string");
}

void append_integers(sd_bus_message* target, char type, const void* first, std::size_t bytes)
{
    check(sd_bus_message_append_array(target, type, first, bytes), "sd_bus_message_append_array");
}

void open_container(sd_bus_message* target, char type, const char* contents,
                    const AppendSteps& steps)
{
    check(sd_bus_message_open_container(target, type, contents), steps.open);
}

void close_container(sd_bus_message* target, const AppendSteps& steps)
{
    check(sd_bus_message_close_container(target), steps.close);
}

} // namespace sdbusplus::detail
