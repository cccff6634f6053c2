#pragma once

#include "report/reader/line_shapes.hpp"
#include "report/reader/line_splitter.hpp"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace runner
{

/// How far the client is. Numbers are those that it printed: texts of devices may imitate them, but
/// none is shown.
struct Position
{
    std::size_t device = 0;                ///< From 1; 0 before the first.
    std::size_t devices = 0;               ///< 0 where it is not known.
    std::optional<std::uint16_t> eid = {}; ///< Of the current device.
    std::string_view category = {};        ///< Of the tests that run; empty outside.
    std::size_t tests = 0;                 ///< Of the device, so far.
    std::size_t expected = 0;              ///< Its tests, as far as its slots are known; else 0.
    bool monitoring = false;
    std::size_t signals = 0;
};

/// Follows what the client prints.
class PositionReader
{
  public:
    /// `devices` is the number that was asked for; 0 for all.
    explicit PositionReader(std::size_t devices);

    void take(std::string_view output);

    const Position& position() const
    {
        return now;
    }

  private:
    void line(std::string_view text);
    void begin_device(std::optional<std::uint16_t> eid);
    void device_section(std::string_view text);

    report::LineSplitter splitter;
    Position now;
};

/// "device 3 of 7 (EID 12), Stress Tests, 45 of 71 tests, 1:05, about 2:10 left"
std::string progress_text(const Position& position, std::chrono::seconds elapsed);

/// Shows progress on standard error: on a terminal one line that is redrawn, else a line a device.
class Progress
{
  public:
    Progress(std::size_t devices, bool quiet);

    void take(std::string_view output, std::chrono::milliseconds elapsed);

    /// Redraws, for the time.
    void tick(std::chrono::milliseconds elapsed);

    /// Removes the line.
    void finish();

  private:
    void draw(std::chrono::milliseconds elapsed);

    PositionReader reader;
    bool quiet;
    std::size_t last_device = 0;
    std::chrono::milliseconds last_drawn{-1000};
    bool drawn = false;
};

} // namespace runner
