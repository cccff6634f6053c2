#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace runner
{

/// The devices that the client offers: the list of their paths and the table after it. The table shows
/// texts of the devices, which may hold line ends and what looks like rows. So a row counts only with
/// the path that the list has at its place.
class DeviceList
{
  public:
    /// Forgets everything: another list is going to come.
    void clear();

    /// Takes a line without its end.
    void line(std::string_view text);

    /// Whether the client said that there are no devices.
    bool none() const
    {
        return stage == Stage::none;
    }

    /// Whether the whole table has come.
    bool complete() const
    {
        return stage == Stage::complete;
    }

    /// The number in the row for all devices, where the table is complete.
    std::size_t all_row() const
    {
        return paths.size();
    }

    /// The number of the device's row. The EID is the path's, by which the client knows it.
    std::optional<std::size_t> row_of(std::uint16_t eid) const;

    /// Whether both list the same paths in the same order.
    bool lists_the_same(const DeviceList& other) const
    {
        return paths == other.paths;
    }

    /// The EIDs, in order, as in "10, 11, 12"; the first 20 of more.
    std::string eids() const;

  private:
    enum class Stage : std::uint8_t
    {
        before,
        list,
        before_table,
        row_start,
        row_end,
        complete,
        none
    };

    void list_line(std::string_view text);
    void row_start(std::string_view text);

    Stage stage = Stage::before;
    std::vector<std::string> paths;
    std::size_t rows = 0; ///< Complete ones.
};

} // namespace runner
