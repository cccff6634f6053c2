#pragma once

#include "fuzz/support/require.hpp"

#include <ios>
#include <ostream>

/// Requires that a stream's lasting format is that of a new stream, but for the flags in `besides`.
inline void require_plain_format(const std::ostream& out, std::ios_base::fmtflags besides = {})
{
    const auto plain = std::ios_base::skipws | std::ios_base::dec;
    require((out.flags() & ~besides) == plain, "the stream's flags are restored");
    require(out.fill() == ' ' && out.width() == 0 && out.precision() == 6,
            "fill, width and precision are restored");
}
