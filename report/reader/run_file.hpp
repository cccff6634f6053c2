#pragma once

#include "report/model/run.hpp"

#include <optional>
#include <string>

namespace report
{

/// What run.json tells of the conversation in the transcript beside it.
struct RunFile
{
    std::string controller; ///< Empty where it does not say.
    Circumstances circumstances;
};

/// Nothing where there is no such file. Takes little memory whatever its size. Raises `InputError`.
std::optional<RunFile> read_run_file(const std::string& path);

} // namespace report
