#pragma once

#include "report/judge/judgement.hpp"
#include "report/model/run.hpp"
#include "report/writers/display_text.hpp"
#include "report/writers/output.hpp"
#include "report/writers/styled_text.hpp"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

/// What the summary says of a run, and in the end.
namespace report
{

struct Look
{
    std::string_view mark;
    Style style;
};

Look look_of(Verdict verdict);
constexpr Look nothing_look{"?", Style::doubtful};

constexpr std::size_t verdict_indent = 10; ///< Columns of mark and verdict before a line's text.
constexpr std::size_t longest_name = 200;  ///< Bytes of a device's or a controller's name.

/// What several runs amount to: skips say less than what passed.
Verdict verdict_of(const Counts& counts);

/// 12,345
std::string grouped(std::uint64_t number);

/// "1 check", "2 checks"
std::string count_of(std::uint64_t number, std::string_view one);

/// A line for each check that failed or was an error; equal ones of a device are one line. Of a
/// device with very many only the first are shown, and how many there are.
std::string failure_lines(const Run& run, const Judgement& judgement, bool name_controller,
                          const Terminal& terminal);

/// A line for a run or an input in which nothing was judged.
std::string nothing_line(std::string_view place, std::string_view why, const Terminal& terminal);

/// Skipped checks of one device for one reason.
struct Skip
{
    std::string subject; ///< The device.
    std::string reason;
    std::string what;  ///< Of the first.
    std::string place; ///< Of the first.
    std::uint64_t checks = 0;
};

std::vector<Skip> skips_of(const Run& run, const Judgement& judgement, bool name_controller);

std::string skip_line(const Skip& skip, const Terminal& terminal);

/// A row of a controller's table.
struct DeviceRow
{
    std::string eid;
    std::string xmid;
    std::string path;
    Verdict verdict = Verdict::passed;
    Counts counts;
};

/// The devices, and what no device has to answer for, if that went wrong.
std::vector<DeviceRow> device_rows(const Run& run, const Judgement& judgement);

/// How many of what there were, the verdict, and what it does not say.
std::string closing_lines(const Totals& totals, bool any_judged, bool signed_data,
                          const Terminal& terminal);

} // namespace report
