// Input: an object path.

#include "fuzz/support/expected_eid.hpp"
#include "fuzz/support/require.hpp"
#include "shell/discovery.hpp"

#include <stdexcept>
#include <string>

namespace
{

struct Outcome
{
    std::optional<Eid> eid;
    bool out_of_range = false;

    bool operator==(const Outcome&) const = default;
};

template <typename Rule>
Outcome outcome_of(Rule rule, const std::string& path)
try
{
    return {rule(path)};
}
catch (const std::out_of_range&)
{
    return {std::nullopt, true};
}

/// What is entered is found and erased again.
void require_consistent_table(Eid eid, const std::string& path)
{
    enter_device(eid, path);
    const auto* entered = find_object_path(eid);
    require(entered != nullptr && *entered == path, "an entered device is found");
    require(find_eid(path) == eid, "its path leads to it");
    erase_device(eid);
    require(discovered_objects.empty(), "an erased device is gone, and nothing else was entered");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string path{reinterpret_cast<const char*>(data), size};
    const auto seen = outcome_of(eid_from_path, path);
    require(seen == outcome_of(expected_eid, path), "the EID is the one that the path implies");
    if (seen.eid)
    {
        require_consistent_table(*seen.eid, path);
    }
    return 0;
}
