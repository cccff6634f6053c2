#pragma once

#include "report/model/run.hpp"

#include <string_view>
#include <vector>

namespace report
{

/// For each of `Run::devices` the last entry of the same device. Entries of an EID are the same.
std::vector<Index> last_entries(const Run& run);

/// "cpu_10" of "/com/varn/bmc/spdm/spdm/cpu/cpu_10".
inline std::string_view last_element(std::string_view path)
{
    return path.substr(path.rfind('/') + 1);
}

} // namespace report
