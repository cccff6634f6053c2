#pragma once

#include "report/model/run.hpp"

#include <optional>
#include <string>
#include <string_view>

namespace report
{

/// What a measurement block's bytes mean by DSP0274's DMTF layouts.
struct Decoded
{
    std::string_view layout;                        ///< Which layout matched, or "not recognised".
    std::optional<std::string_view> value_type;     ///< "mutable firmware", ...
    std::optional<bool> digest;                     ///< Digest or raw bit stream.
    std::optional<std::string_view> hash_algorithm; ///< "SHA-384", ...
    std::optional<std::string> decoded;             ///< In words, for example "security version 7".
};

/// Never fails: what fits no layout is "not recognised".
Decoded decode(const Measurement& measurement);

} // namespace report
