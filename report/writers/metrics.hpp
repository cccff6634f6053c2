#pragma once

#include "report/writers/output.hpp"

#include <memory>
#include <string>
#include <string_view>

namespace report
{

/// Prometheus' text format. Of several runs of a controller the last counts.
class MetricsOutput : public Output
{
  public:
    /// Raises `OutputError`.
    explicit MetricsOutput(const std::string& path);
    ~MetricsOutput() override;

    std::string prepare(const Run& run, const Judgement& judgement) const override;
    std::string prepare_without_runs(std::string_view controller,
                                     std::string_view file) const override;
    void append(std::string_view prepared) override;
    void finish(const Totals& totals) override;

  private:
    struct State;
    const std::unique_ptr<State> state;
};

/// Seconds since 1970 of a time as in RFC 3339: "2026-11-21T22:35:00.5+01:00". 0 of an empty text.
std::int64_t unix_seconds(std::string_view time);

} // namespace report
