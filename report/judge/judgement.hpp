#pragma once

#include "report/model/run.hpp"
#include "report/model/verdict.hpp"

#include <array>
#include <cstdint>
#include <numeric>
#include <string>
#include <vector>

namespace report
{

/// What a check judges; `Check::index` is an index into the vector of that kind.
enum class Subject : std::uint8_t
{
    transcript,
    discovery,
    call,
    silent_call,
    test,
    availability,
    category, ///< A category that did not run; the index is that of the suite.
    suite,
    monitor
};

/// One thing judged.
struct Check
{
    Line line = 0; ///< Where the evidence is.
    Index device = none;
    Subject subject = Subject::transcript;
    Index index = none;
    CategoryName category{}; ///< Of a category that did not run.
    Verdict verdict = Verdict::passed;
    bool incomplete = false; ///< An error because the transcript stops.
    std::string what;        ///< As `describe` says; empty where it passed.
    std::string reason;      ///< Empty where it passed.
};

/// Checks by verdict.
struct Counts
{
    std::array<std::uint64_t, verdict_count> of{};

    std::uint64_t& operator[](Verdict verdict)
    {
        return of[static_cast<std::size_t>(verdict)];
    }
    std::uint64_t operator[](Verdict verdict) const
    {
        return of[static_cast<std::size_t>(verdict)];
    }
    Counts& operator+=(const Counts& more)
    {
        for (std::size_t i = 0; i < verdict_count; ++i)
        {
            of[i] += more.of[i];
        }
        return *this;
    }
    std::uint64_t all() const
    {
        return std::accumulate(of.begin(), of.end(), std::uint64_t{0});
    }
};

/// A device's checks together. Its entries in `Run::devices` share one.
struct DeviceVerdict
{
    Index device = none; ///< Its last entry in `Run::devices`.
    Verdict verdict = Verdict::passed;
    Counts counts;
    Index worst = none; ///< The first check of that verdict; none where it passed.
};

/// A run judged.
struct Judgement
{
    std::vector<Check> checks;          ///< By line.
    std::vector<Index> check_of_test;   ///< For each of `Run::tests` its check.
    std::vector<DeviceVerdict> devices; ///< Devices with checks, in the order of their first entry.
    Counts counts;
    bool nothing = false;              ///< Nothing but the discovery was judged.
    Verdict verdict = Verdict::passed; ///< The worst of the checks; means nothing where `nothing`.
};

} // namespace report
