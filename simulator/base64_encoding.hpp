#pragma once

#include "simulator/value.hpp"

#include <string>

namespace simulator
{

/// Standard Base64 with padding, without line breaks.
std::string encode_base64(const Bytes& bytes);

} // namespace simulator
