#pragma once

#include "report/judge/judgement.hpp"
#include "report/model/run.hpp"

#include <cstdint>
#include <string>
#include <string_view>

namespace report
{

/// All inputs together.
struct Totals
{
    std::uint64_t inputs = 0;
    std::uint64_t runs = 0;
    std::uint64_t lines = 0;
    std::uint64_t bytes = 0;
    std::uint64_t notes = 0;
    std::uint64_t nothing_to_judge = 0; ///< Inputs and runs in which nothing was judged.
    std::uint64_t unreadable = 0;       ///< Inputs that could not be read, or not to their end.
    Counts counts;
};

/// One form in which results are written.
class Output
{
  public:
    virtual ~Output() = default;

    /// The text for one judged run. Several threads may call it at once.
    virtual std::string prepare(const Run& run, const Judgement& judgement) const = 0;

    /// The text for an input in which there is no run.
    virtual std::string prepare_without_runs([[maybe_unused]] std::string_view controller,
                                             [[maybe_unused]] std::string_view file) const
    {
        return {};
    }

    /// Takes what those returned, in the order of the inputs. Raises `OutputError`.
    virtual void append(std::string_view prepared) = 0;

    /// After the last run. Raises `OutputError`.
    virtual void finish(const Totals& totals) = 0;
};

} // namespace report
