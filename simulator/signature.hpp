#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace simulator
{

/// Splits a D-Bus signature into its complete types: "qqa(qayuq)" gives q, q and a(qayuq).
/// Throws std::invalid_argument, which says what is wrong, for anything that is no valid signature
/// and for the type h: file descriptors cannot be written in a file.
std::vector<std::string> complete_types(std::string_view signature);

} // namespace simulator
