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

    /// Nothing of a signal follows.
    void close();

  private:
    using Value = decltype(Signal::value);

    bool changed_property(std::string_view text);
    void begin();
    void add(std::string_view member, Index device, Value value,
             std::optional<std::string_view> name = std::nullopt);
    void device_of_eid(std::string_view rest);
    Value number_or_text(std::string_view rest);

    Context& context;
    Line begun = 0;      ///< Where the signal's lines begin.
    Index device = none; ///< The first that the signal names.
    bool in_properties = false;
    bool any_property = false;
};

} // namespace report
