#pragma once

#include "report/reader/context.hpp"
#include "report/reader/line_shapes.hpp"

#include <string_view>
#include <variant>

namespace report
{

/// Reads what the monitor prints: its signals, and its failure.
class MonitorReader
{
  public:
    explicit MonitorReader(Context& context) : context(context) {}

    /// Whether the line was one of these.
    bool line(Shape shape, std::string_view text, std::string_view rest);

    /// The monitor has been stopped: nothing of it follows.
    void close();

    /// Whether the monitor runs. Its lines are read only then.
    bool is_running() const
    {
        return running;
    }

  private:
    using Value = decltype(Signal::value);

    bool changed_property(std::string_view text);
    void begin(std::string_view member);
    void end_signal();
    void add(std::string_view member, Index device, Value value,
             std::optional<std::string_view> name = std::nullopt);
    void device_of_eid(std::string_view rest);
    bool add_number(std::string_view member, std::string_view text);

    Context& context;
    bool running = false;
    Line begun = 0;                ///< Where the signal's lines begin.
    std::string_view begun_member; ///< Of a signal whose head has come, but not its value.
    Index device = none;           ///< The first that the signal names.
    bool in_properties = false;
    bool any_property = false;
};

} // namespace report
