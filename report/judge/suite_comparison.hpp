#pragma once

#include "report/model/run.hpp"

#include <string>
#include <vector>

namespace report
{

/// A difference between what a suite's lines add up to and what the client printed of them.
struct Difference
{
    Line line = 0;
    std::string text;
};

/// Compares the client's summaries, table and details with its own verdict lines. `stopped`: the
/// transcript stops in this suite, so that nothing is missing but what follows.
std::vector<Difference> compare_suite(const Run& run, const Suite& suite, bool stopped);

} // namespace report
