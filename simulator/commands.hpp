#pragma once

#include "simulator/line_output.hpp"
#include "simulator/service.hpp"

#include <filesystem>
#include <functional>
#include <string>
#include <string_view>

namespace simulator
{

/// The commands on standard input, one a line, each answered by one line.
class Commands
{
  public:
    /// Key files of devices are looked for relative to `folder`; `quit` is called for the command of
    /// that name.
    Commands(Service& service, std::filesystem::path folder, LineOutput& output,
             std::function<void()> quit);

    /// Takes the next piece of the input, an empty one at its end, and runs all complete lines.
    void take(std::string_view input);

  private:
    void answer(const std::string& line);
    std::string run(const std::string& line);

    Service& service;
    std::filesystem::path folder;
    LineOutput& output;
    std::function<void()> quit;
    std::string pending;
};

} // namespace simulator
