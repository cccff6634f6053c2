#include "suites/service_availability.hpp"

#include "operations/bus_error_details.hpp"
#include "operations/properties.hpp"
#include "shell/discovery.hpp"
#include "shell/method_call.hpp"
#include "shell/service_contract.hpp"

#include <sdbusplus/exception.hpp>

#include <exception>
#include <iostream>
#include <string>
#include <variant>

namespace
{

bool read_name_has_owner()
{
    MethodCall call{ServiceContract::BUS_DAEMON_NAME, ServiceContract::BUS_DAEMON_PATH,
                    ServiceContract::BUS_DAEMON_NAME, ServiceContract::NAME_HAS_OWNER};
    call.append(ServiceContract::SERVICE_NAME);
    bool owned = false;
    call.exchange(owned);
    return owned;
}

/// Prints whether the device or the service is missing.
void print_name_owner()
try
{
    if (read_name_has_owner())
    {
        std::cout << "? WARNING: SPDM service is running but device is not accessible" << std::endl;
    }
    else
    {
        std::cout << "✗ CONFIRMED: SPDM service is not running on D-Bus" << std::endl;
    }
}
catch (const std::exception&)
{
    std::cout << "? WARNING: Could not check SPDM service status" << std::endl;
}

/// Raises `std::bad_variant_access`, with nothing printed, when the property is no bool.
void print_support(const PropertyMap& properties, const char* name, const char* label)
{
    if (const auto* property = find_property(properties, name))
    {
        const bool supported = std::get<bool>(*property);
        std::cout << label << (supported ? "YES" : "NO") << std::endl;
    }
}

/// Raises `std::bad_variant_access`, with nothing printed, when the property is no 32-bit number.
void print_challenge_status(const PropertyMap& properties)
{
    if (const auto* property = find_property(properties, "ChallengeStatus"))
    {
        const auto status = std::get<std::uint32_t>(*property);
        std::cout << "ℹ INFO: Device challenge status: " << status << std::endl;
    }
}

void ask_device(const std::string& path)
{
    std::cout << "ℹ INFO: Found device at path: " << path << std::endl;
    PropertyMap properties;
    read_properties(path, properties);
    std::cout << "✓ SUCCESS: SPDM service is running and device is responsive" << std::endl;
    print_support(properties, "Measurement", "ℹ INFO: Device measurement support: ");
    print_support(properties, "SignedMeasurement", "ℹ INFO: Device signed measurement support: ");
    print_challenge_status(properties);
}

} // namespace

int check_service_availability(Eid eid)
{
    std::cout << "\n=== Checking SPDM Service Availability ===" << std::endl;
    const auto* path = find_object_path(eid);
    if (path == nullptr)
    {
        std::cout << "✗ FAIL: Device EID " << eid << " not found in device list" << std::endl;
        return 0;
    }
    try
    {
        ask_device(*path);
        return 1;
    }
    catch (const sdbusplus::exception::exception&)
    {
        std::cout << "✗ FAIL: SPDM service communication failed. Check if service is running."
                  << std::endl;
        print_bus_error_details();
        print_name_owner();
    }
    catch (const std::exception&)
    {
        std::cout << "✗ FAIL: Unexpected error occurred during service availability check."
                  << std::endl;
    }
    return 0;
}
