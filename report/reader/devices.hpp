#pragma once

#include "report/model/run.hpp"

#include <cstdint>
#include <optional>
#include <string_view>
#include <unordered_map>

namespace report
{

/// The EID by which the client knows a path: the number that its last element holds, if it holds one.
std::optional<std::uint16_t> eid_of_path(std::string_view path);

/// The devices of one run, found by path or EID: of several entries the last.
class Devices
{
  public:
    explicit Devices(Run& run) : run(run) {}

    Index of_path(std::string_view path, Line line);
    Index of_eid(std::uint16_t eid, Line line);

    /// Enters a row of the device table, unless the last entry says the same.
    /// `device_eid` is empty where the table shows the client's key.
    Index table_row(std::uint32_t index, std::optional<std::uint16_t> device_eid,
                    std::string_view xmid, std::string_view path, Line line);

    /// The device with its new XMID: a new entry, unless none was known.
    Index renamed(Index device, std::string_view xmid, Line line);

    /// Sets what is not known yet.
    void learn_xmid(Index device, std::string_view xmid);

  private:
    Index enter(Device device);

    Run& run;
    std::unordered_map<std::string_view, Index> by_path;
    std::unordered_map<std::uint16_t, Index> by_eid;
};

} // namespace report
