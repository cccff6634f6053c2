#include "runner/device_list.hpp"

#include "report/reader/devices.hpp"

#include <algorithm>

namespace runner
{

namespace
{

constexpr std::size_t most_shown = 20;

/// A row's beginning: its number, right-aligned.
std::string row_head(std::size_t row)
{
    constexpr std::size_t width = 5;
    const auto number = std::to_string(row);
    return std::string(width - std::min(width, number.size()), ' ') + number + " | ";
}

} // namespace

void DeviceList::clear()
{
    *this = DeviceList();
}

void DeviceList::line(std::string_view text)
{
    switch (stage)
    {
        case Stage::before: stage = text == "Available SPDM objects:" ? Stage::list : stage; break;
        case Stage::list: list_line(text); break;
        case Stage::before_table:
            stage = text == "Discovered SPDM Devices:" ? Stage::row_start : stage;
            break;
        case Stage::row_start: row_start(text); break;
        case Stage::row_end:
        case Stage::complete:
        case Stage::none: break;
    }
    if (stage == Stage::row_end && text.ends_with(" | " + paths[rows]))
    {
        ++rows;
        stage = Stage::row_start;
    }
}

void DeviceList::list_line(std::string_view text)
{
    const auto head = std::to_string(paths.size() + 1) + ": ";
    if (text.starts_with(head))
    {
        paths.emplace_back(text.substr(head.size()));
    }
    else if (text.empty())
    {
        stage = Stage::before_table;
    }
    else if (text == "No objects found" && paths.empty())
    {
        stage = Stage::none;
    }
}

void DeviceList::row_start(std::string_view text)
{
    if (rows == paths.size())
    {
        stage = text == row_head(rows) + " ALL | Run on all objects" ? Stage::complete : stage;
    }
    else if (text.starts_with(row_head(rows)))
    {
        stage = Stage::row_end;
    }
}

std::optional<std::size_t> DeviceList::row_of(std::uint16_t eid) const
{
    const auto found = std::find_if(paths.begin(), paths.end(), [&](const std::string& path) {
        return report::eid_of_path(path) == eid;
    });
    return found == paths.end() ? std::nullopt
                                : std::optional(static_cast<std::size_t>(found - paths.begin()));
}

std::string DeviceList::eids() const
{
    std::string text;
    for (std::size_t row = 0; row < std::min(paths.size(), most_shown); ++row)
    {
        const auto eid = report::eid_of_path(paths[row]);
        text += (row == 0 ? "" : ", ") + (eid ? std::to_string(*eid) : "?");
    }
    return text + (paths.size() > most_shown ? ", ..." : "");
}

} // namespace runner
