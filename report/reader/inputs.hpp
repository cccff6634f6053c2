#pragma once

#include "report/model/run.hpp"

#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace report
{

/// An argument that cannot be found, opened or searched; the text says which and why.
class InputError : public std::runtime_error
{
  public:
    using std::runtime_error::runtime_error;
};

/// A transcript to read.
struct Input
{
    std::string path; ///< As given or found below a given folder; "-" is standard input.
    std::string
        controller; ///< run.json's name, else the part of the path that differs between inputs.
    std::optional<Circumstances> circumstances; ///< From run.json beside it.
    std::string problem = {};                   ///< Why that cannot be read; empty if it can.
};

/// The transcripts that the arguments name: files, "-", and folders, which are searched in the order
/// of the names. Raises `InputError`.
std::vector<Input> find_inputs(const std::vector<std::string>& arguments);

} // namespace report
