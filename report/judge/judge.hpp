#pragma once

#include "report/judge/judgement.hpp"
#include "report/model/run.hpp"

namespace report
{

/// Judges all that the run tells.
Judgement judge(const Run& run);

} // namespace report
