#pragma once

#include <cstdint>

/// What a test category counted.
struct CategoryResult
{
    /// Tests that came out as expected.
    std::uint32_t passed = 0;
    /// Tests that ran.
    std::uint32_t total = 0;

    void count(bool as_expected)
    {
        ++total;
        passed += as_expected ? 1 : 0;
    }

    /// Whole percents, truncated; 0 when nothing ran.
    std::uint32_t rate() const
    {
        return total == 0 ? 0 : passed * 100 / total;
    }
};
