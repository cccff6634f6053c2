#include "report/writers/summary.hpp"

#include "report/model/words.hpp"
#include "report/writers/output_file.hpp"
#include "report/writers/parcel.hpp"
#include "report/writers/summary_lines.hpp"

#include <algorithm>
#include <fmt/format.h>
#include <iterator>
#include <unordered_map>
#include <utility>

namespace report
{

namespace
{

constexpr std::size_t most_tables = 5;     // More controllers get a line each.
constexpr std::size_t most_devices = 1000; // Rows of a controller's table.
constexpr std::size_t most_skips = 200;    // Lines about what was skipped.

Row counted_cells(const Look& look, std::string_view verdict, const Counts& counts)
{
    Row cells{{fmt::format("{} {}", look.mark, verdict), look.style}};
    for (const auto counted : {Verdict::passed, Verdict::failed, Verdict::error, Verdict::skipped})
    {
        const auto number = counts[counted];
        const bool plain = counted == Verdict::passed || counted == Verdict::skipped;
        cells.push_back({grouped(number), number == 0 ? Style::faint
                                          : plain     ? Style::plain
                                                      : look_of(counted).style});
    }
    return cells;
}

const std::vector<Column> counted_columns{
    {"Verdict"}, {"Passed", true}, {"Failed", true}, {"Errors", true}, {"Skipped", true}};

Row operator+(Row row, Row more)
{
    row.insert(row.end(), std::make_move_iterator(more.begin()),
               std::make_move_iterator(more.end()));
    return row;
}

std::vector<Column> with_counts(std::vector<Column> columns)
{
    columns.insert(columns.end(), counted_columns.begin(), counted_columns.end());
    return columns;
}

} // namespace

struct Summary::State
{
    struct Controller
    {
        std::string name;
        std::uint64_t runs = 0;
        bool nothing = false;
        Counts counts;
        std::vector<DeviceRow> devices;
        std::uint64_t more_devices = 0;
    };

    explicit State(const std::string& path) : file(path) {}

    Controller& controller(std::string_view name)
    {
        const auto [place, is_new] = places.try_emplace(std::string(name), controllers.size());
        if (is_new)
        {
            controllers.emplace_back().name = name;
        }
        return controllers[place->second];
    }

    static void merge(Controller& controller, DeviceRow&& row)
    {
        const auto same = [&row](const DeviceRow& known) {
            return known.eid == row.eid && known.xmid == row.xmid && known.path == row.path;
        };
        auto& devices = controller.devices;
        if (const auto known = std::find_if(devices.begin(), devices.end(), same);
            known != devices.end())
        {
            known->counts += row.counts;
            known->verdict = verdict_of(known->counts);
        }
        else if (devices.size() < most_devices)
        {
            devices.push_back(std::move(row));
        }
        else
        {
            ++controller.more_devices;
        }
    }

    void merge(Skip&& skip)
    {
        const auto same = [&skip](const Skip& known) {
            return known.subject == skip.subject && known.reason == skip.reason;
        };
        if (const auto known = std::find_if(skips.begin(), skips.end(), same); known != skips.end())
        {
            known->checks += skip.checks;
        }
        else if (skips.size() < most_skips)
        {
            skips.push_back(std::move(skip));
        }
        else
        {
            ++more_skips;
        }
    }

    static std::string device_table(const Controller& controller, const Terminal& terminal)
    {
        const auto name = printable(controller.name, longest_name);
        std::string text =
            styled(Style::strong, name == "-" ? "standard input" : name, terminal) + "\n";
        std::vector<Row> rows;
        for (const DeviceRow& device : controller.devices)
        {
            rows.push_back(
                Row{{device.eid}, {device.xmid}, {device.path}} +
                counted_cells(look_of(device.verdict), word(device.verdict), device.counts));
        }
        text += table(with_counts({{"EID", true}, {"XMID", false, true}, {"Path", false, true}}),
                      rows, terminal);
        if (controller.more_devices != 0)
        {
            text += fmt::format("  … and {} more\n", count_of(controller.more_devices, "device"));
        }
        return text;
    }

    std::string controller_table(const Terminal& terminal) const
    {
        std::vector<Row> rows;
        for (const Controller& controller : controllers)
        {
            const Verdict verdict = verdict_of(controller.counts);
            const bool nothing = controller.nothing && verdict == Verdict::passed;
            rows.push_back(
                Row{{printable(controller.name, longest_name)}, {grouped(controller.runs)}} +
                counted_cells(nothing ? nothing_look : look_of(verdict),
                              nothing ? "nothing" : word(verdict), controller.counts));
        }
        return table(with_counts({{"Controller", false, true}, {"Runs", true}}), rows, terminal);
    }

    /// An empty line between what was written and what follows.
    void separate()
    {
        if (written)
        {
            file.append("\n");
        }
        written = true;
    }

    OutputFile file;
    bool written = false;
    bool any_judged = false;
    bool signed_data = false;
    std::vector<Controller> controllers;
    std::unordered_map<std::string, std::size_t> places;
    std::vector<Skip> skips;
    std::uint64_t more_skips = 0;
};

Summary::Summary(const std::string& path, Terminal terminal, std::size_t controllers)
    : terminal(terminal), controllers(controllers), state(std::make_unique<State>(path))
{}

Summary::~Summary() = default;

std::string Summary::prepare(const Run& run, const Judgement& judgement) const
{
    const bool several = controllers > 1;
    Packer packer;
    packer << failure_lines(run, judgement, several, terminal) << std::string_view(run.controller)
           << std::uint64_t{1} << std::uint64_t{!run.signed_measurements.empty()}
           << std::uint64_t{judgement.nothing} << judgement.counts;
    if (controllers <= most_tables)
    {
        const auto rows = device_rows(run, judgement);
        packer << rows.size();
        for (const DeviceRow& row : rows)
        {
            packer << row.eid << row.xmid << row.path << static_cast<std::uint64_t>(row.verdict)
                   << row.counts;
        }
        for (const Skip& skip : skips_of(run, judgement, several))
        {
            packer << skip.subject << skip.reason << skip.what << skip.place << skip.checks;
        }
    }
    return std::move(packer.packed);
}

std::string Summary::prepare_without_runs(std::string_view controller, std::string_view file) const
{
    Packer packer;
    packer << nothing_line(file, "no conversation", terminal) << controller << std::uint64_t{0};
    return std::move(packer.packed);
}

void Summary::append(std::string_view prepared)
{
    Unpacker packed(prepared);
    if (const auto lines = packed.text(); !lines.empty())
    {
        state->written = true;
        state->file.append(lines);
    }
    auto& controller = state->controller(packed.text());
    const auto runs = packed.number();
    controller.runs += runs;
    if (runs == 0)
    {
        controller.nothing = true;
        return;
    }
    state->signed_data |= packed.number() != 0;
    const bool nothing = packed.number() != 0;
    controller.nothing |= nothing;
    state->any_judged |= !nothing;
    controller.counts += packed.counts();
    for (auto rows = packed.at_end() ? 0 : packed.number(); rows > 0; --rows)
    {
        DeviceRow row;
        row.eid = packed.text();
        row.xmid = packed.text();
        row.path = packed.text();
        row.verdict = static_cast<Verdict>(packed.number());
        row.counts = packed.counts();
        State::merge(controller, std::move(row));
    }
    while (!packed.at_end())
    {
        Skip skip;
        skip.subject = packed.text();
        skip.reason = packed.text();
        skip.what = packed.text();
        skip.place = packed.text();
        skip.checks = packed.number();
        state->merge(std::move(skip));
    }
}

void Summary::finish(const Totals& totals)
{
    if (!state->skips.empty())
    {
        state->separate();
        for (const Skip& skip : state->skips)
        {
            state->file.append(skip_line(skip, terminal));
        }
        if (state->more_skips != 0)
        {
            state->file.append(fmt::format("{:{}}… and {} more like these\n", "", verdict_indent,
                                           grouped(state->more_skips)));
        }
    }
    if (controllers > most_tables)
    {
        state->separate();
        state->file.append(state->controller_table(terminal));
    }
    else
    {
        for (const auto& controller : state->controllers)
        {
            if (!controller.devices.empty())
            {
                state->separate();
                state->file.append(State::device_table(controller, terminal));
            }
        }
    }
    state->separate();
    state->file.append(closing_lines(totals, state->any_judged, state->signed_data, terminal));
    state->file.finish();
}

} // namespace report
