#pragma once

#include "report/writers/output.hpp"
#include "report/writers/output_file.hpp"

#include <string>

namespace report
{

/// A flat object a line, as soon as its run has been judged.
class NdjsonOutput : public Output
{
  public:
    /// Raises `OutputError`.
    explicit NdjsonOutput(const std::string& path);

    std::string prepare(const Run& run, const Judgement& judgement) const override;
    void append(std::string_view prepared) override;
    void finish(const Totals& totals) override;

  private:
    OutputFile file;
};

} // namespace report
