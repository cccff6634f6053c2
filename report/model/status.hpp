#pragma once

#include <cstdint>
#include <optional>

namespace report
{

/// Success, and Partial Measurement Success.
constexpr bool counts_as_success(std::optional<std::uint64_t> status)
{
    const auto code = status.value_or(1);
    return code == 0 || code == 18;
}

} // namespace report
