#pragma once

#include <string>

namespace simulator
{

/// Where lines go, each in one write. A failure ends nothing: the first one is said on standard error.
class LineOutput
{
  public:
    /// `name` is for the complaint. The descriptor remains the caller's.
    LineOutput(int descriptor, std::string name);

    void print(std::string line);

  private:
    int descriptor;
    std::string name;
    bool has_failed = false;
};

} // namespace simulator
