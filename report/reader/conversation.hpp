#pragma once

#include "report/model/run.hpp"
#include "report/reader/call_reader.hpp"
#include "report/reader/context.hpp"
#include "report/reader/line_shapes.hpp"
#include "report/reader/measurement_reader.hpp"
#include "report/reader/monitor_reader.hpp"
#include "report/reader/suite_reader.hpp"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace report
{

/// Follows one conversation and fills its run: the menus and tables itself, the rest by its parts.
class Conversation
{
  public:
    explicit Conversation(Line first_line);

    /// The next line, of which prompts have been stripped.
    void line(Line number, std::string_view text, const Recognised& recognised, bool asked_slot);

    /// The conversation ends after `last_line`, having taken `bytes`.
    Run finish(Line last_line, std::uint64_t bytes);

    /// Whether any line was one of the client's.
    bool is_transcript() const
    {
        return recognised_any;
    }

  private:
    bool start_line(Shape shape);
    bool menu_line(Shape shape);
    bool device_line(Shape shape, std::string_view text, std::string_view rest);
    bool device_row(std::string_view text);
    bool object_not_found();
    void device_section(std::string_view rest);
    void end_operation();
    void end_activity();
    void echoed(std::string_view number);
    void forget_echoes();
    std::string_view where() const;

    Context context;
    CallReader calls{context};
    MeasurementReader measurements{context};
    SuiteReader suite{context};
    MonitorReader monitor{context};

    bool recognised_any = false;
    bool top_menu = false;         ///< The last menu was the top-level one.
    bool in_menu = false;          ///< Its choice has been asked for.
    bool awaits_operation = false; ///< Nothing has been printed since the operations menu.
    bool slot_given = false;       ///< A slot has been asked for since.
    Index operation_calls = none;  ///< The first call since the last menu.
    bool keys_in_table = false;    ///< The device table shows the client's keys.
    std::uint32_t table_rows = 0;
    std::uint64_t sections = 0; ///< "DEVICE 2/7": 7
    std::uint64_t section = 0;  ///< "DEVICE 2/7": 2
    std::string broken_row;     ///< A row that the XMID's line ends have broken.

    // Answers that a terminal has echoed.
    enum class Asked : std::uint8_t
    {
        nothing,
        choice,
        slot,
        indices
    };
    Asked asked = Asked::nothing;
    std::optional<Operation> chosen;
    std::vector<std::uint16_t> indices;
};

} // namespace report
