#include "operations/certificates.hpp"

#include "operations/device_operation.hpp"
#include "shell/method_call.hpp"
#include "shell/service_contract.hpp"
#include "shell/status.hpp"

#include <iostream>
#include <string>

namespace
{

/// The challenge status that means "Passed".
constexpr std::uint32_t challenge_passed = 1;

/// The value of a certificate status before the reply is read.
constexpr std::uint16_t status_unread = 255;

} // namespace

int ReAuthenticate(Eid eid)
{
    constexpr auto complaint =
        "ERROR: Re-authentication operation failed. Check device authentication status.";
    return run_device_operation(eid, complaint, [](const std::string& path) {
        MethodCall call{path, ServiceContract::DEVICE_INTERFACE, ServiceContract::RE_AUTHENTICATE};
        std::uint32_t status = 0;
        const auto elapsed = call.exchange(status);
        if (const auto* text = find_text(ChallengeStatusText, status))
        {
            std::cout << "ReAuth Status: " << *text << time_taken_label << elapsed << std::endl;
        }
        return status == challenge_passed ? success : failure;
    });
}

int GetCertificate(Eid eid, std::uint16_t slot)
{
    constexpr auto complaint =
        "ERROR: Certificate operation failed. Check device connectivity and slot availability.";
    return run_device_operation(eid, complaint, [slot](const std::string& path) {
        MethodCall call{path, ServiceContract::DEVICE_INTERFACE, ServiceContract::GET_CERTIFICATE};
        call.append(slot);
        std::uint16_t status = status_unread;
        std::string certificate_path;
        const auto elapsed = call.exchange(status, certificate_path);
        if (const auto* text = find_text(ResultText, status))
        {
            std::cout << "Certificate Status: " << *text
                      << " Certificate Path: " << certificate_path << time_taken_label << elapsed
                      << std::endl;
        }
        return success;
    });
}

int GetCertificateProperties(Eid eid, std::uint32_t slot)
{
    constexpr auto complaint =
        "ERROR: Certificate properties operation failed. Check slot availability.";
    return run_device_operation(eid, complaint, [slot](const std::string& path) {
        MethodCall call{path, ServiceContract::DEVICE_INTERFACE,
                        ServiceContract::GET_CERTIFICATE_PROPERTIES};
        call.append(slot);
        std::uint32_t status = status_unread;
        const auto elapsed = call.exchange(status);
        if (const auto* text = find_text(ResultText, status))
        {
            std::cout << "Certificate Status: " << *text << time_taken_label << elapsed
                      << std::endl;
        }
        return success;
    });
}
