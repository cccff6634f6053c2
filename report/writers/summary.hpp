#pragma once

#include "report/writers/display_text.hpp"
#include "report/writers/output.hpp"

#include <memory>
#include <string>
#include <string_view>

namespace report
{

/// The text for people: each failure as it comes; in the end what was skipped, a table, the totals and
/// the verdict.
class Summary : public Output
{
  public:
    /// With many controllers each gets one line, else a table of its devices. Raises `OutputError`.
    Summary(const std::string& path, Terminal terminal, std::size_t controllers);
    ~Summary() override;

    std::string prepare(const Run& run, const Judgement& judgement) const override;
    std::string prepare_without_runs(std::string_view controller,
                                     std::string_view file) const override;
    void append(std::string_view prepared) override;
    void finish(const Totals& totals) override;

  private:
    struct State;
    const Terminal terminal;
    const std::size_t controllers;
    const std::unique_ptr<State> state;
};

} // namespace report
