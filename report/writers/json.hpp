#pragma once

#include "report/writers/output.hpp"
#include "report/writers/output_file.hpp"

#include <string>

namespace report
{

/// One document: an object for each run, then the totals. A run is written as soon as it has been
/// judged.
class JsonOutput : public Output
{
  public:
    /// Raises `OutputError`.
    explicit JsonOutput(const std::string& path);

    std::string prepare(const Run& run, const Judgement& judgement) const override;
    void append(std::string_view prepared) override;
    void finish(const Totals& totals) override;

  private:
    OutputFile file;
    bool is_first = true;
};

} // namespace report
