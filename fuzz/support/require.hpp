#pragma once

#include <cstdio>
#include <cstdlib>
#include <string_view>

/// Ends the process, which the fuzzer reports together with the input, unless `holds`.
inline void require(bool holds, const char* invariant)
{
    if (!holds)
    {
        // Not through the C++ streams, which targets redirect.
        std::fprintf(stderr, "does not hold: %s\n", invariant);
        std::abort();
    }
}

/// For what a function of libsystemd returns.
inline void require_success(int result)
{
    require(result >= 0, "libsystemd does what the target itself asks for");
}

inline void require_equal(std::string_view seen, std::string_view expected, const char* what)
{
    if (seen != expected)
    {
        std::fprintf(stderr, "%s expected:\n%.*s\nseen:\n%.*s\n", what,
                     static_cast<int>(expected.size()), expected.data(),
                     static_cast<int>(seen.size()), seen.data());
        std::abort();
    }
}
