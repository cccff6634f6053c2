#pragma once

#include <cstddef>
#include <cstdint>

namespace report
{

/// error: nothing was proved. skipped: the device does not support what was asked.
enum class Verdict : std::uint8_t
{
    passed,
    failed,
    error,
    skipped
};
constexpr std::size_t verdict_count = 4;

} // namespace report
