#pragma once

#include "report/model/run.hpp"

#include <optional>
#include <string>

namespace report
{

/// The circumstances that run.json has of the transcript beside it.
struct RunFile
{
    std::string controller; ///< Empty where it does not say.
    Circumstances circumstances;
};

/// Nothing where there is no such file. Takes little memory whatever its size. Raises `InputError`.
std::optional<RunFile> read_run_file(const std::string& path);

} // namespace report
