#pragma once

#include "simulator/answer.hpp"
#include "simulator/line_output.hpp"

#include <optional>
#include <string>

namespace simulator
{

/// "MEMBER INTERFACE PATH SIGNATURE VALUES": the values in JSON notation, separated by blanks; "-" for
/// an interface or a signature that is empty.
std::string call_line(const Call& call);

/// Appends a line for each call to a file.
class CallLog
{
  public:
    /// Logs nothing when `file` is empty. Throws std::system_error when it cannot be opened.
    explicit CallLog(const std::string& file);
    ~CallLog();
    CallLog(const CallLog&) = delete;
    CallLog& operator=(const CallLog&) = delete;

    void write(const Call& call);

  private:
    int descriptor = -1;
    std::optional<LineOutput> output;
};

} // namespace simulator
