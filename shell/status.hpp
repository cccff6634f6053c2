#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <utility>

// The service's status vocabularies. They never change after their initialisation, so any thread may
// read them.

/// State of a device's challenge and certificate (codes 0..4).
extern const std::map<std::int32_t, std::string> ChallengeStatusText;

/// Outcome of a certificate request (codes 0..1).
extern const std::map<std::uint16_t, std::string> ResultText;

/// Status codes of the service's methods (codes 0..20).
extern const std::map<std::int32_t, std::string> OperationStatus;

/// Codes of `OperationStatus` that call for advice.
namespace operation_status
{
constexpr std::uint32_t success = 0;
constexpr std::uint32_t eid_not_ready = 2;
constexpr std::uint32_t authentication_failed = 5;
constexpr std::uint32_t measurement_not_supported = 10;
constexpr std::uint32_t measurement_summary_not_available = 11;
constexpr std::uint32_t partial_measurement_success = 18;
constexpr std::uint32_t resynchronization_required = 20;
} // namespace operation_status

/// The Base64 alphabet.
extern const std::string base64_alphabet;

/// The `OperationStatus` text of `code`, or "Unknown Status".
std::string status_text(std::int32_t code);

/// The text of `code` in `vocabulary`, null when the vocabulary lacks it.
template <typename Key>
const std::string* find_text(const std::map<Key, std::string>& vocabulary, std::uint32_t code)
{
    if (!std::in_range<Key>(code))
    {
        return nullptr;
    }
    const auto entry = vocabulary.find(static_cast<Key>(code));
    return entry == vocabulary.end() ? nullptr : &entry->second;
}

/// Prints the advice that `code` calls for, if any. Returns 1 when the operation counts as
/// successful (success and partial success), 0 otherwise.
int status_advice(std::uint32_t code);
