#pragma once

#include "report/judge/judgement.hpp"
#include "report/model/run.hpp"

#include <string>

namespace report
{

/// Judges all that the run tells.
Judgement judge(const Run& run);

/// What a check judges, in words: "ReAuthenticate", "Normal Measurements 3: Single Measurement Index
/// 1, slot 0".
std::string describe(const Run& run, const Check& check);

/// ", index 1", ", indices 1 2"; empty where the call shows none.
std::string describe_indices(const Call& call);

} // namespace report
