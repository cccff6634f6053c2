#pragma once

#include "simulator/value.hpp"

#include <optional>
#include <string>
#include <vector>

namespace simulator
{

/// The path under which the tool finds the key that `run_openssl` hands to it.
inline constexpr const char* openssl_key_path = "/dev/fd/3";

/// The path under which the tool finds its input, for the commands that want a file.
inline constexpr const char* openssl_input_path = "/dev/fd/0";

/// Runs `openssl ARGUMENTS...` with `input` as its standard input and returns its standard output.
/// Input, key and output live in anonymous memory; no file is made. When the tool cannot be run or
/// fails, says why on standard error and returns nothing.
std::optional<Bytes> run_openssl(const std::vector<std::string>& arguments, const Bytes& input,
                                 const std::string& key);

} // namespace simulator
