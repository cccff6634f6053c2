#pragma once

#include <array>
#include <string_view>

/// The client's words for statuses that it prints without their codes: a word's place is its code.
namespace report
{

/// Of a device's challenge: ReAuthenticate, and the property ChallengeStatus.
constexpr std::array<std::string_view, 5> challenge_statuses{"Not Ready", "Passed", "In Progress",
                                                             "Failed", "Not Supported"};

/// Of GetCertificate and GetCertificateProperties.
constexpr std::array<std::string_view, 2> certificate_results{"Success", "Failed"};

} // namespace report
