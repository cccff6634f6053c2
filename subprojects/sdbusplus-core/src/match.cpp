#include <sdbusplus/bus/match.hpp>
#include <sdbusplus/detail/check.hpp>

#include <utility>

namespace sdbusplus::bus
{

match_t::match_t(bus_t& bus, const std::string& rule, std::function<void(message_t&)> on_message)
    : callback(std::make_unique<Callback>(std::move(on_message)))
{
    sd_bus_slot* added = nullptr;
    detail::check(sd_bus_add_match(bus.handle.get(), &added, rule.c_str(), deliver, callback.get()),
                  "sd_bus_match");
    slot.reset(added);
}

int match_t::deliver(sd_bus_message* message, void* context, sd_bus_error*) noexcept
{
    message_t received{message};
    (*static_cast<Callback*>(context))(received);
    return 0;
}

} // namespace sdbusplus::bus
