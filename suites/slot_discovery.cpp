#include "suites/slot_discovery.hpp"

#include "operations/device_operation.hpp"
#include "operations/properties.hpp"

#include <iostream>
#include <string>
#include <variant>

namespace
{

bool is_supported(const PropertyMap& properties, std::uint16_t slot)
{
    const auto* supported =
        std::get_if<bool>(find_property(properties, "CertificateSlot" + std::to_string(slot)));
    return supported != nullptr && *supported;
}

void print_summary(const SlotList& slots)
{
    if (slots.empty())
    {
        std::cout << "⚠ WARNING: No certificate slots found to be supported" << std::endl;
        return;
    }
    std::cout << "ℹ INFO: Supported slots: ";
    const char* separator = "";
    for (const auto slot : slots)
    {
        std::cout << separator << slot;
        separator = ", ";
    }
    std::cout << std::endl;
}

} // namespace

SlotList get_supported_slots(Eid eid)
{
    constexpr auto complaint = "ERROR: Failed to get supported slots. Check device connectivity.";
    SlotList slots;
    run_device_operation(eid, complaint, [&slots](const std::string& path) {
        PropertyMap properties;
        read_properties(path, properties);
        for (std::uint16_t slot = 0; slot < slot_count; ++slot)
        {
            if (is_supported(properties, slot))
            {
                slots.push_back(slot);
                std::cout << "ℹ INFO: Slot " << slot << " is supported" << std::endl;
            }
        }
        print_summary(slots);
        return success;
    });
    return slots;
}
