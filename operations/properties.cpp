#include "operations/properties.hpp"

#include "operations/device_operation.hpp"
#include "shell/method_call.hpp"
#include "shell/service_contract.hpp"
#include "shell/status.hpp"

#include <iostream>
#include <variant>

namespace
{

template <typename Value>
void print_value(std::ostream& out, const PropertyValue& value)
{
    if constexpr (std::is_same_v<Value, bool>)
    {
        // Stays on: later bools on the console are words, too.
        out << std::boolalpha;
    }
    out << std::get<Value>(value) << std::endl;
}

struct Row
{
    const char* name;
    const char* label;
    void (*print)(std::ostream&, const PropertyValue&);
};

// clang-format off
constexpr Row rows[] = {
    {"Version", "Version                             : ", print_value<std::string>},
    {"Certificate", "Certificate                         : ", print_value<bool>},
    {"ChallengeAuthRespSupport", "ChallengeAuthRespSupport            : ", print_value<bool>},
    {"Measurement", "Measurement                         : ", print_value<bool>},
    {"Encryption", "Encryption                          : ", print_value<bool>},
    {"SignedMeasurement", "SignedMeasurement                   : ", print_value<bool>},
    {"DeviceEID", "DeviceEID                           : ", print_value<std::uint16_t>},
    {"DeviceChallengeStatus", "DeviceChallengeStatus               : ", print_value<bool>},
    {"DeviceCertStatus", "DeviceCertStatus                    : ", print_value<bool>},
    {"CertificateSlot0", "CertificateSlot0                    : ", print_value<bool>},
    {"CertificateSlot1", "CertificateSlot1                    : ", print_value<bool>},
    {"CertificateSlot2", "CertificateSlot2                    : ", print_value<bool>},
    {"CertificateSlot3", "CertificateSlot3                    : ", print_value<bool>},
    {"CertificateSlot4", "CertificateSlot4                    : ", print_value<bool>},
    {"CertificateSlot5", "CertificateSlot5                    : ", print_value<bool>},
    {"CertificateSlot6", "CertificateSlot6                    : ", print_value<bool>},
    {"CertificateSlot7", "CertificateSlot7                    : ", print_value<bool>},
    {"DeviceAllowed", "DeviceAllowed                       : ", print_value<bool>},
    {"XMID", "XMID                                : ", print_value<std::string>},
    {"PhyBinding", "PhyBinding                          : ", print_value<std::uint16_t>},
    {"Preferred", "Preferred                           : ", print_value<bool>},
    {"MeasurementSpecification", "MeasurementSpecification            : ", print_value<std::string>},
    {"MeasurementSummary", "MeasurementSummary                  : ", print_value<std::string>},
    {"MeasurementSummaryHashAlgorithm", "MeasurementSummaryHashAlgorithm     : ", print_value<std::string>},
    {"MeasurementSummaryType", "MeasurementSummaryType              : ", print_value<std::string>},
    {"NumMeasurements", "NumMeasurements                     : ", print_value<std::uint16_t>},
};
// clang-format on

void print_challenge_status(std::ostream& out, const PropertyValue& value)
{
    if (const auto* text = find_text(ChallengeStatusText, std::get<std::uint32_t>(value)))
    {
        out << "ChallengeStatus                     : " << *text << std::endl;
    }
}

} // namespace

std::int64_t read_properties(const std::string& path, PropertyMap& properties)
{
    MethodCall call{path, ServiceContract::PROPERTIES_INTERFACE, ServiceContract::GET_ALL};
    call.append(ServiceContract::DEVICE_INTERFACE);
    return call.exchange(properties);
}

void print_properties(std::ostream& out, PropertyMap& properties)
{
    print_challenge_status(out, properties["ChallengeStatus"]);
    for (const auto& row : rows)
    {
        out << row.label;
        row.print(out, properties[row.name]);
    }
}

int show_properties(Eid eid)
{
    constexpr auto complaint =
        "ERROR: Failed to retrieve SPDM properties. Check device connectivity.";
    return run_device_operation(eid, complaint, [](const std::string& path) {
        PropertyMap properties;
        const auto elapsed = read_properties(path, properties);
        std::cout << "Time taken(In us): " << elapsed << std::endl;
        print_properties(std::cout, properties);
        return success;
    });
}
