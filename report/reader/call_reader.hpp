#pragma once

#include "report/reader/context.hpp"
#include "report/reader/line_shapes.hpp"

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace report
{

/// Reads the lines of ReAuthenticate, GetCertificate, GetCertificateProperties and the property
/// report, and follows the sequence of a regression.
class CallReader
{
  public:
    explicit CallReader(Context& context) : context(context) {}

    /// Whether the line was one of these.
    bool line(Shape shape, std::string_view text, std::string_view rest);

    /// "Object name not found." outside a test; `asked` is the item of the operations menu, if known.
    void object_not_found(std::optional<Operation> asked);

    /// A call whose head was printed without a result has printed nothing.
    void close();

    /// A call has been made, of this part or another: in a regression the operations before it have
    /// printed nothing.
    void made(Operation operation);

    /// Leaves the regression, if one is read: its end is missing.
    void end_regression();

    bool in_regression() const
    {
        return step.has_value();
    }
    bool awaits_rest_of_line() const
    {
        return !broken.empty();
    }
    bool awaits_authentication() const
    {
        return authentication != none;
    }

  private:
    void due(Operation operation);
    void end_report(Outcome outcome);
    void close_report();
    void break_off();
    void answer_authentication(Outcome outcome, std::string_view rest);
    bool certificate_result(std::string_view rest);
    bool property(std::string_view text);
    void arguments_of_step();

    Context& context;
    Index authentication = none;     ///< Its head has been printed, its result not yet.
    Index report = none;             ///< The property report whose lines follow.
    bool report_awaited = false;     ///< Its head has been printed, its time not yet.
    std::optional<std::size_t> step; ///< The regression's next operation.
    std::size_t next_property = 0;   ///< The report's next line.
    std::string broken;              ///< A certificate line that the path's line ends have broken.
};

} // namespace report
