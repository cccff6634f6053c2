#include "report/model/words.hpp"

#include <array>

namespace report
{

namespace
{

template <typename Value, std::size_t size>
std::string_view pick(const std::array<std::string_view, size>& words, Value value)
{
    return words[static_cast<std::size_t>(value)];
}

} // namespace

std::string_view word(Operation operation)
{
    static constexpr std::array<std::string_view, 7> words{
        "ReAuthenticate",
        "GetCertificate",
        "GetCertificateProperties",
        "GetAll",
        "GetMeasurement",
        "GetSignedMeasurement",
        "",
    };
    return pick(words, operation);
}

std::string_view word(Activity activity)
{
    static constexpr std::array<std::string_view, 4> words{
        "regression",
        "operations",
        "all-devices",
        "suite",
    };
    return pick(words, activity);
}

std::string_view word(Outcome outcome)
{
    static constexpr std::array<std::string_view, 5> words{
        "answered", "bus-error", "error", "unknown-device", "cut",
    };
    return pick(words, outcome);
}

std::string_view word(Structure structure)
{
    static constexpr std::array<std::string_view, 3> words{"valid", "invalid", "unchecked"};
    return pick(words, structure);
}

std::string_view word(CategoryName category)
{
    static constexpr std::array<std::string_view, category_count> words{
        "Normal Measurements",
        "Signed Measurements",
        "Failure Tests (Expected)",
        "Stress Tests",
    };
    return pick(words, category);
}

std::string_view word(Availability::Answer answer)
{
    static constexpr std::array<std::string_view, 5> words{
        "responsive", "not-found", "bus-error", "error", "error",
    };
    return pick(words, answer);
}

std::string_view word(Availability::Service service)
{
    static constexpr std::array<std::string_view, 3> words{"running", "absent", "unknown"};
    return pick(words, service);
}

std::string_view word(Verdict verdict)
{
    static constexpr std::array<std::string_view, verdict_count> words{
        "passed",
        "failed",
        "error",
        "skipped",
    };
    return pick(words, verdict);
}

} // namespace report
