#pragma once

#include "report/writers/junit_suites.hpp"
#include "report/writers/output_file.hpp"

#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace report
{

/// What `JunitDocument::add` takes, of a run or of an input in which there is none.
std::string pack_junit(std::string_view controller, bool is_run,
                       const std::vector<JunitSuite>& suites);

/// One document. Holds at most about `most_junit_bytes`: leaves out first what passed or was skipped, in
/// all suites, then what failed last.
class JunitDocument
{
  public:
    void add(std::string_view packed_run);

    /// Raises `OutputError`.
    void write(OutputFile& file) const;

  private:
    void add(JunitSuite&& suite);
    void keep_problems(JunitSuite&& suite);

    std::unordered_map<std::string, std::uint64_t> runs; ///< By controller.
    std::vector<JunitSuite> suites;
    std::size_t bytes = 0;
    bool problems_only = false;
    Counts counts;
    std::uint64_t microseconds = 0;
    Counts rest; ///< Of suites of which nothing is kept.
    std::uint64_t rest_microseconds = 0;
};

} // namespace report
