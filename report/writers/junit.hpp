#pragma once

#include "report/writers/output.hpp"

#include <memory>
#include <string>
#include <string_view>

namespace report
{

/// A JUnit document a controller in a folder, or one of all in a file. Each is smaller than 10 MB; what
/// leaves something out says so.
class JunitOutput : public Output
{
  public:
    /// A path that ends in .xml or is "-" is a file. Raises `OutputError`.
    explicit JunitOutput(const std::string& path);
    ~JunitOutput() override;

    std::string prepare(const Run& run, const Judgement& judgement) const override;
    std::string prepare_without_runs(std::string_view controller,
                                     std::string_view file) const override;
    void append(std::string_view prepared) override;
    void finish(const Totals& totals) override;

  private:
    class Form;
    class OneFile;
    class Folder;
    const std::unique_ptr<Form> form;

    static std::unique_ptr<Form> form_of(const std::string& path);
};

} // namespace report
