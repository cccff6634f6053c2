#include "report/reader/devices.hpp"

#include "report/reader/fields.hpp"

namespace report
{

std::optional<std::uint16_t> eid_of_path(std::string_view path)
{
    const auto slash = path.rfind('/');
    const auto digit =
        slash == std::string_view::npos ? slash : path.find_first_of("0123456789", slash);
    if (digit == std::string_view::npos)
    {
        return std::nullopt;
    }
    auto tail = path.substr(digit);
    const auto number = take_number<std::int32_t>(tail);
    return number ? std::optional{static_cast<std::uint16_t>(*number)} : std::nullopt;
}

Index Devices::of_path(std::string_view path, Line line)
{
    const auto found = by_path.find(path);
    if (found != by_path.end())
    {
        return found->second;
    }
    Device device;
    device.line = line;
    device.eid = eid_of_path(path);
    device.path = run.texts.keep(path);
    return enter(device);
}

Index Devices::of_eid(std::uint16_t eid, Line line)
{
    const auto found = by_eid.find(eid);
    if (found != by_eid.end())
    {
        return found->second;
    }
    Device device;
    device.line = line;
    device.eid = eid;
    return enter(device);
}

Index Devices::table_row(std::uint32_t index, std::optional<std::uint16_t> device_eid,
                         std::string_view xmid, std::string_view path, Line line)
{
    Device device;
    device.line = line;
    device.eid = eid_of_path(path);
    device.index = index;
    device.device_eid = device_eid;
    const auto known = by_path.find(path);
    const auto* last = known == by_path.end() ? nullptr : &run.devices[known->second];
    device.path = last != nullptr ? last->path : run.texts.keep(path);
    if (xmid != "N/A")
    {
        device.xmid = run.texts.keep(xmid);
    }
    else if (last != nullptr) // The identity could not be read this time.
    {
        device.xmid = last->xmid;
    }
    if (last != nullptr && !device_eid)
    {
        device.device_eid = last->device_eid;
    }
    if (last != nullptr && last->index == device.index && last->xmid == device.xmid &&
        last->device_eid == device.device_eid)
    {
        return known->second;
    }
    if (last != nullptr && !last->index) // Known by its path alone so far.
    {
        device.line = last->line;
        run.devices[known->second] = device;
        return known->second;
    }
    return enter(device);
}

Index Devices::renamed(Index device, std::string_view xmid, Line line)
{
    learn_xmid(device, xmid);
    if (device == none || run.devices[device].xmid == xmid)
    {
        return device;
    }
    auto changed = run.devices[device];
    changed.line = line;
    changed.xmid = run.texts.keep(xmid);
    return enter(changed);
}

void Devices::learn_xmid(Index device, std::string_view xmid)
{
    if (device != none && !run.devices[device].xmid)
    {
        run.devices[device].xmid = run.texts.keep(xmid);
    }
}

Index Devices::enter(Device device)
{
    const auto index = static_cast<Index>(run.devices.size());
    if (!device.path.empty())
    {
        by_path[device.path] = index;
    }
    if (device.eid)
    {
        by_eid[*device.eid] = index;
    }
    run.devices.push_back(device);
    return index;
}

} // namespace report
