#include "report/writers/same_devices.hpp"

#include <unordered_map>

namespace report
{

std::vector<Index> last_entries(const Run& run)
{
    std::unordered_map<std::uint16_t, Index> last;
    std::vector<Index> entries(run.devices.size());
    for (auto i = run.devices.size(); i-- > 0;)
    {
        const auto index = static_cast<Index>(i);
        const auto& eid = run.devices[i].eid;
        entries[i] = eid ? last.try_emplace(*eid, index).first->second : index;
    }
    return entries;
}

} // namespace report
