#include "report/writers/summary_lines.hpp"

#include "report/model/words.hpp"
#include "report/writers/same_devices.hpp"

#include <algorithm>
#include <array>
#include <fmt/format.h>
#include <map>
#include <tuple>
#include <utility>

namespace report
{

namespace
{

constexpr std::size_t many_failures = 50; // Lines of one device; of more only some are shown.
constexpr std::size_t shown_of_many = 20;

/// The mark and the word, as wide as the widest of them.
std::string marked(const Look& look, std::string_view what)
{
    return fmt::format("{} {:<{}}", look.mark, what, verdict_indent - 2);
}

std::string device_name(const Device& device)
{
    const std::string name =
        printable(device.xmid.value_or(last_element(device.path)), longest_name);
    return device.eid ? fmt::format("{} (EID {})", name, *device.eid) : name;
}

/// "bmc7: CPU-0 (EID 10)", as much of it as is known and tells something.
std::string subject_of(const Run& run, Index device, bool name_controller)
{
    std::string subject = name_controller ? printable(run.controller, longest_name) : "";
    if (device != none)
    {
        subject.append(subject.empty() ? "" : ": ").append(device_name(run.devices[device]));
    }
    return subject;
}

std::string place_of(const Run& run, Line line)
{
    return fmt::format("{}:{}", printable(run.file), line);
}

/// Equal checks of a device that went wrong.
struct Problem
{
    const Check* first;
    std::uint64_t times = 0;
};

/// Entries of the same device have the same path.
std::string_view device_of(const Run& run, const Check& check)
{
    return check.device == none ? std::string_view() : run.devices[check.device].path;
}

std::vector<Problem> problems_of(const Run& run, const Judgement& judgement)
{
    std::vector<Problem> problems;
    std::map<std::tuple<Verdict, std::string_view, std::string_view, std::string_view>, std::size_t>
        known;
    for (const Check& check : judgement.checks)
    {
        if (check.verdict != Verdict::failed && check.verdict != Verdict::error)
        {
            continue;
        }
        const auto [place, is_new] = known.try_emplace(
            {check.verdict, device_of(run, check), check.what, check.reason}, problems.size());
        if (is_new)
        {
            problems.push_back({&check});
        }
        ++problems[place->second].times;
    }
    return problems;
}

std::string problem_line(const Run& run, const Problem& problem, bool name_controller,
                         const Terminal& terminal)
{
    const Check& check = *problem.first;
    const Look look = look_of(check.verdict);
    Paragraph line;
    line.add(look.style, marked(look, word(check.verdict)));
    if (const auto subject = subject_of(run, check.device, name_controller); !subject.empty())
    {
        line.add(Style::strong, subject);
        line.add(Style::plain, "  ");
    }
    line.add(Style::plain, printable(check.what));
    line.add(Style::plain, check.reason.empty() ? "" : ": " + printable(check.reason));
    if (problem.times > 1)
    {
        line.add(Style::plain, fmt::format(" ({} times)", grouped(problem.times)));
    }
    line.add(Style::plain, "  ");
    line.add(Style::faint, place_of(run, check.line));
    return line.laid_out(terminal, verdict_indent);
}

std::string left_out_line(const Run& run, const Check& check, std::uint64_t left_out,
                          bool name_controller, const Terminal& terminal)
{
    Paragraph line;
    line.add(Style::faint,
             std::string(verdict_indent, ' ') + fmt::format("… and {} more", grouped(left_out)));
    if (const auto subject = subject_of(run, check.device, name_controller); !subject.empty())
    {
        line.add(Style::faint, " of " + subject);
    }
    line.add(Style::faint, "; all of them: spdm-report --ndjson - " + printable(run.file));
    return line.laid_out(terminal, verdict_indent);
}

/// What no device has to answer for: the discovery, the transcript itself.
DeviceRow row_without_device(const Judgement& judgement)
{
    DeviceRow row{"", "", "the run itself", Verdict::passed, {}};
    for (const Check& check : judgement.checks)
    {
        if (check.device == none)
        {
            ++row.counts[check.verdict];
        }
    }
    row.verdict = verdict_of(row.counts);
    return row;
}

struct Closing
{
    Look look;
    std::string words;
};

Closing closing_of(const Totals& totals, bool any_judged)
{
    if (totals.counts[Verdict::failed] != 0)
    {
        return {look_of(Verdict::failed), "FAILED"};
    }
    if (totals.counts[Verdict::error] != 0)
    {
        return {look_of(Verdict::error), "ERROR: not everything was proved"};
    }
    if (totals.unreadable != 0)
    {
        return {look_of(Verdict::error), "ERROR: not everything was read"};
    }
    if (totals.nothing_to_judge != 0)
    {
        return {nothing_look,
                any_judged ? "NOTHING TO JUDGE in a part of the input" : "NOTHING TO JUDGE"};
    }
    return {look_of(Verdict::passed), "PASSED"};
}

std::string totals_line(const Totals& totals)
{
    const auto& counts = totals.counts;
    return fmt::format("{}, {}, {}: {} passed, {} failed, {}, {} skipped",
                       count_of(totals.inputs, "input"), count_of(totals.runs, "run"),
                       count_of(counts.all(), "check"), grouped(counts[Verdict::passed]),
                       grouped(counts[Verdict::failed]), count_of(counts[Verdict::error], "error"),
                       grouped(counts[Verdict::skipped]));
}

/// What was not judged; empty if nothing.
std::string not_judged(const Totals& totals)
{
    std::string text;
    if (totals.notes != 0)
    {
        text = fmt::format("{} not known", count_of(totals.notes, "line"));
    }
    if (totals.unreadable != 0)
    {
        text += fmt::format("{}{} could not be read", text.empty() ? "" : "; ",
                            count_of(totals.unreadable, "input"));
    }
    return text;
}

} // namespace

Look look_of(Verdict verdict)
{
    constexpr std::array<Look, verdict_count> looks{{
        {"✓", Style::good},
        {"✗", Style::bad},
        {"!", Style::doubtful},
        {"-", Style::left_out},
    }};
    return looks[static_cast<std::size_t>(verdict)];
}

Verdict verdict_of(const Counts& counts)
{
    return counts[Verdict::failed] != 0    ? Verdict::failed
           : counts[Verdict::error] != 0   ? Verdict::error
           : counts[Verdict::skipped] == 0 ? Verdict::passed
           : counts[Verdict::passed] != 0  ? Verdict::passed
                                           : Verdict::skipped;
}

std::string grouped(std::uint64_t number)
{
    std::string digits = fmt::to_string(number);
    for (auto place = digits.size(); place > 3; place -= 3)
    {
        digits.insert(place - 3, 1, ',');
    }
    return digits;
}

std::string count_of(std::uint64_t number, std::string_view one)
{
    return fmt::format("{} {}{}", grouped(number), one, number == 1 ? "" : "s");
}

std::string failure_lines(const Run& run, const Judgement& judgement, bool name_controller,
                          const Terminal& terminal)
{
    struct OfDevice
    {
        std::uint64_t all = 0;
        std::uint64_t seen = 0;
    };
    const auto problems = problems_of(run, judgement);
    std::map<std::string_view, OfDevice> numbers;
    for (const Problem& problem : problems)
    {
        ++numbers[device_of(run, *problem.first)].all;
    }
    std::string lines;
    for (const Problem& problem : problems)
    {
        OfDevice& number = numbers[device_of(run, *problem.first)];
        const auto shown = number.all > many_failures ? shown_of_many : number.all;
        if (number.seen < shown)
        {
            lines += problem_line(run, problem, name_controller, terminal);
        }
        if (++number.seen == shown && shown < number.all)
        {
            lines +=
                left_out_line(run, *problem.first, number.all - shown, name_controller, terminal);
        }
    }
    if (judgement.nothing)
    {
        lines +=
            nothing_line(place_of(run, run.first_line), "no call and no test to judge", terminal);
    }
    return lines;
}

std::string nothing_line(std::string_view place, std::string_view why, const Terminal& terminal)
{
    Paragraph line;
    line.add(nothing_look.style, marked(nothing_look, "nothing"));
    line.add(Style::plain, std::string(why) + "  ");
    line.add(Style::faint, printable(place));
    return line.laid_out(terminal, verdict_indent);
}

std::vector<Skip> skips_of(const Run& run, const Judgement& judgement, bool name_controller)
{
    std::vector<Skip> skips;
    std::map<std::pair<Index, std::string_view>, std::size_t> known;
    for (const Check& check : judgement.checks)
    {
        if (check.verdict != Verdict::skipped)
        {
            continue;
        }
        const auto [place, is_new] = known.try_emplace({check.device, check.reason}, skips.size());
        if (is_new)
        {
            skips.push_back({subject_of(run, check.device, name_controller),
                             printable(check.reason), printable(check.what),
                             place_of(run, check.line)});
        }
        ++skips[place->second].checks;
    }
    return skips;
}

std::string skip_line(const Skip& skip, const Terminal& terminal)
{
    const Look look = look_of(Verdict::skipped);
    Paragraph line;
    line.add(look.style, marked(look, word(Verdict::skipped)));
    line.add(Style::strong, skip.subject);
    line.add(Style::plain, skip.subject.empty() ? "" : "  ");
    line.add(Style::plain, skip.checks == 1 ? skip.what : count_of(skip.checks, "check"));
    line.add(Style::plain, (skip.reason.empty() ? "" : ": " + skip.reason) + "  ");
    line.add(Style::faint, skip.place);
    return line.laid_out(terminal, verdict_indent);
}

std::vector<DeviceRow> device_rows(const Run& run, const Judgement& judgement)
{
    std::vector<DeviceRow> rows;
    for (const DeviceVerdict& judged : judgement.devices)
    {
        const Device& device = run.devices[judged.device];
        rows.push_back({device.eid ? fmt::to_string(*device.eid) : "",
                        printable(device.xmid.value_or(""), longest_name),
                        printable(last_element(device.path), longest_name), judged.verdict,
                        judged.counts});
    }
    if (DeviceRow row = row_without_device(judgement); row.verdict != Verdict::passed)
    {
        rows.push_back(std::move(row));
    }
    return rows;
}

std::string closing_lines(const Totals& totals, bool any_judged, bool signed_data,
                          const Terminal& terminal)
{
    const auto line = [&](Style style, const std::string& text) {
        Paragraph paragraph;
        paragraph.add(style, text);
        return text.empty() ? text : paragraph.laid_out(terminal, 0);
    };
    const Closing closing = closing_of(totals, any_judged);
    std::string text =
        line(Style::plain, totals_line(totals)) + line(Style::plain, not_judged(totals)) +
        line(closing.look.style, fmt::format("{} {}", closing.look.mark, closing.words));
    if (signed_data)
    {
        text += line(Style::faint,
                     "Signatures are not verified, only the structure of signed measurements.");
    }
    return text;
}

} // namespace report
