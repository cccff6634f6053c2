#include "report/writers/metrics.hpp"

#include "report/model/words.hpp"
#include "report/writers/output_file.hpp"
#include "report/writers/parcel.hpp"
#include "report/writers/plain_text.hpp"
#include "report/writers/same_devices.hpp"
#include "report/writers/spool.hpp"

#include <algorithm>
#include <bit>
#include <charconv>
#include <chrono>
#include <filesystem>
#include <fmt/format.h>
#include <map>
#include <optional>
#include <unordered_map>
#include <utility>
#include <vector>

namespace report
{

namespace
{

/// How a device or a run was judged; `nothing` beyond the verdicts.
constexpr std::uint64_t nothing_judged = verdict_count;

struct CallTimes
{
    Operation operation = Operation::unknown;
    double median = 0; ///< Seconds.
    double percentile_95 = 0;
};

struct DeviceMetrics
{
    std::string labels;
    std::optional<Verdict> verdict; ///< Absent where nothing of it was judged.
    Counts counts;
    std::vector<CallTimes> times;
};

struct ControllerMetrics
{
    std::string label;
    std::uint64_t verdict = nothing_judged;
    Counts counts;
    std::optional<std::int64_t> ended;
    std::vector<DeviceMetrics> devices;
};

std::string label(std::string_view name, std::string_view value)
{
    std::string text = fmt::format("{}=\"", name);
    for (const char character : plain_text(value))
    {
        switch (character)
        {
            case '\\': text += "\\\\"; break;
            case '"': text += "\\\""; break;
            case '\n': text += "\\n"; break;
            default: text += character; break;
        }
    }
    return text + '"';
}

std::string device_labels(const Run& run, Index device)
{
    static const Device unknown;
    const auto& known = device == none ? unknown : run.devices[device];
    return label("eid", known.eid ? fmt::to_string(*known.eid) : "") + ',' +
           label("path", known.path) + ',' + label("xmid", known.xmid.value_or(""));
}

/// `samples` are microseconds, sorted, not none.
CallTimes times_of(Operation operation, const std::vector<std::int64_t>& samples)
{
    constexpr double microseconds = 1e6;
    const auto size = samples.size();
    const auto low = static_cast<double>(samples[(size - 1) / 2]);
    const auto high = static_cast<double>(samples[size / 2]);
    const auto rank = (size * 95 + 99) / 100; // From 1, rounded up.
    return {operation, (low + high) / 2 / microseconds,
            static_cast<double>(samples[rank - 1]) / microseconds};
}

/// Failed, error, passed, skipped: of entries with the same labels the first counts.
bool is_worse(Verdict verdict, Verdict than)
{
    constexpr std::array<int, verdict_count> ranks{2, 0, 1, 3};
    return ranks[static_cast<std::size_t>(verdict)] < ranks[static_cast<std::size_t>(than)];
}

/// What is gathered of devices with the same labels.
struct GatheredDevice
{
    std::optional<Verdict> verdict;
    Counts counts;
    std::map<Operation, std::vector<std::int64_t>> samples;
};

std::map<std::string, GatheredDevice> gather(const Run& run, const Judgement& judgement)
{
    std::map<std::string, GatheredDevice> devices;
    for (const DeviceVerdict& judged : judgement.devices)
    {
        auto& device = devices[device_labels(run, judged.device)];
        device.counts += judged.counts;
        if (!device.verdict || is_worse(judged.verdict, *device.verdict))
        {
            device.verdict = judged.verdict;
        }
    }
    const auto same = last_entries(run);
    std::unordered_map<Index, GatheredDevice*> known;
    for (const Call& call : run.calls)
    {
        if (call.microseconds && call.operation != Operation::unknown)
        {
            const auto index = call.device == none ? none : same[call.device];
            auto*& device = known[index];
            if (device == nullptr)
            {
                device = &devices[device_labels(run, index)];
            }
            device->samples[call.operation].push_back(*call.microseconds);
        }
    }
    return devices;
}

ControllerMetrics metrics_of(const Run& run, const Judgement& judgement)
{
    ControllerMetrics metrics;
    metrics.label = label("controller", run.controller);
    metrics.counts = judgement.counts;
    if (!judgement.nothing)
    {
        metrics.verdict = static_cast<std::uint64_t>(judgement.verdict);
    }
    if (run.circumstances && !run.circumstances->ended.empty())
    {
        metrics.ended = unix_seconds(run.circumstances->ended);
    }
    for (auto& [labels, gathered] : gather(run, judgement))
    {
        DeviceMetrics device{labels, gathered.verdict, gathered.counts, {}};
        for (auto& [operation, samples] : gathered.samples)
        {
            std::sort(samples.begin(), samples.end());
            device.times.push_back(times_of(operation, samples));
        }
        metrics.devices.push_back(std::move(device));
    }
    return metrics;
}

std::string pack_metrics(const ControllerMetrics& metrics)
{
    Packer packer;
    packer << metrics.label << metrics.verdict << metrics.counts
           << std::uint64_t{metrics.ended.has_value()}
           << std::bit_cast<std::uint64_t>(metrics.ended.value_or(0)) << metrics.devices.size();
    for (const DeviceMetrics& device : metrics.devices)
    {
        packer << device.labels
               << (device.verdict ? static_cast<std::uint64_t>(*device.verdict) : nothing_judged)
               << device.counts << device.times.size();
        for (const CallTimes& times : device.times)
        {
            packer << static_cast<std::uint64_t>(times.operation)
                   << std::bit_cast<std::uint64_t>(times.median)
                   << std::bit_cast<std::uint64_t>(times.percentile_95);
        }
    }
    return std::move(packer.packed);
}

ControllerMetrics unpack_metrics(std::string_view text)
{
    Unpacker packed(text);
    ControllerMetrics metrics;
    metrics.label = packed.text();
    metrics.verdict = packed.number();
    metrics.counts = packed.counts();
    const bool has_ended = packed.number() != 0;
    const auto ended = std::bit_cast<std::int64_t>(packed.number());
    metrics.ended = has_ended ? std::optional{ended} : std::nullopt;
    metrics.devices.resize(packed.number());
    for (DeviceMetrics& device : metrics.devices)
    {
        device.labels = packed.text();
        const auto verdict = packed.number();
        device.verdict =
            verdict == nothing_judged ? std::nullopt : std::optional{static_cast<Verdict>(verdict)};
        device.counts = packed.counts();
        device.times.resize(packed.number());
        for (CallTimes& times : device.times)
        {
            times.operation = static_cast<Operation>(packed.number());
            times.median = std::bit_cast<double>(packed.number());
            times.percentile_95 = std::bit_cast<double>(packed.number());
        }
    }
    return metrics;
}

/// The samples of a controller for one metric.
using WriteSamples = std::string (*)(std::string_view name, const ControllerMetrics& controller);

std::string verdict_samples(std::string_view name, std::string_view labels, std::uint64_t verdict,
                            std::uint64_t values)
{
    std::string text;
    for (std::uint64_t i = 0; i < values; ++i)
    {
        text += fmt::format("{}{{{},verdict=\"{}\"}} {}\n", name, labels,
                            i == nothing_judged ? "nothing" : word(static_cast<Verdict>(i)),
                            i == verdict ? 1 : 0);
    }
    return text;
}

std::string count_samples(std::string_view name, std::string_view labels, const Counts& counts)
{
    std::string text;
    for (std::size_t i = 0; i < verdict_count; ++i)
    {
        text += fmt::format("{}{{{},verdict=\"{}\"}} {}\n", name, labels,
                            word(static_cast<Verdict>(i)), counts.of[i]);
    }
    return text;
}

template <typename Samples>
std::string device_samples(const ControllerMetrics& controller, Samples&& samples)
{
    std::string text;
    for (const DeviceMetrics& device : controller.devices)
    {
        text += samples(device, controller.label + ',' + device.labels);
    }
    return text;
}

std::string time_samples(std::string_view name, const ControllerMetrics& controller,
                         double CallTimes::*time)
{
    return device_samples(controller, [&](const DeviceMetrics& device, const std::string& labels) {
        std::string text;
        for (const CallTimes& times : device.times)
        {
            text += fmt::format("{}{{{},operation=\"{}\"}} {}\n", name, labels,
                                word(times.operation), times.*time);
        }
        return text;
    });
}

struct Metric
{
    std::string_view name;
    std::string_view help;
    WriteSamples samples;
};

constexpr std::array metrics{
    Metric{"spdm_controller_verdict",
           "1 for the verdict on the controller's last run, 0 for the others.",
           [](std::string_view name, const ControllerMetrics& controller) {
               return verdict_samples(name, controller.label, controller.verdict,
                                      nothing_judged + 1);
           }},
    Metric{"spdm_controller_checks", "Checks in the controller's last run by verdict.",
           [](std::string_view name, const ControllerMetrics& controller) {
               return count_samples(name, controller.label, controller.counts);
           }},
    Metric{"spdm_run_end_timestamp_seconds", "When the controller's last run ended.",
           [](std::string_view name, const ControllerMetrics& controller) {
               return controller.ended
                          ? fmt::format("{}{{{}}} {}\n", name, controller.label, *controller.ended)
                          : std::string();
           }},
    Metric{"spdm_device_verdict",
           "1 for the verdict on the device in its controller's last run, 0 for the others.",
           [](std::string_view name, const ControllerMetrics& controller) {
               return device_samples(
                   controller, [name](const DeviceMetrics& device, const std::string& labels) {
                       return device.verdict
                                  ? verdict_samples(name, labels,
                                                    static_cast<std::uint64_t>(*device.verdict),
                                                    verdict_count)
                                  : std::string();
                   });
           }},
    Metric{"spdm_device_checks", "Checks of the device in its controller's last run by verdict.",
           [](std::string_view name, const ControllerMetrics& controller) {
               return device_samples(
                   controller, [name](const DeviceMetrics& device, const std::string& labels) {
                       return device.verdict ? count_samples(name, labels, device.counts)
                                             : std::string();
                   });
           }},
    Metric{"spdm_call_median_seconds", "Median of the answered calls' times in the last run.",
           [](std::string_view name, const ControllerMetrics& controller) {
               return time_samples(name, controller, &CallTimes::median);
           }},
    Metric{"spdm_call_95th_percentile_seconds",
           "95th percentile (nearest rank) of the answered calls' times in the last run.",
           [](std::string_view name, const ControllerMetrics& controller) {
               return time_samples(name, controller, &CallTimes::percentile_95);
           }},
};

/// The folder of a file; of what is written as it comes, that for temporary files.
std::string spool_folder(const std::string& path)
{
    std::error_code problem;
    if (path == "-" || (std::filesystem::exists(path, problem) &&
                        !std::filesystem::is_regular_file(path, problem)))
    {
        return std::filesystem::temp_directory_path(problem).string();
    }
    const auto folder = std::filesystem::path(path).parent_path().string();
    return folder.empty() ? "." : folder;
}

int number_in(std::string_view text, std::size_t place, std::size_t digits)
{
    int number = 0;
    std::from_chars(text.data() + place, text.data() + place + digits, number);
    return number;
}

} // namespace

std::int64_t unix_seconds(std::string_view time)
{
    using namespace std::chrono;
    constexpr std::size_t least = sizeof "2026-11-21T22:35:00Z" - 1;
    if (time.size() < least)
    {
        return 0;
    }
    const sys_days day = year(number_in(time, 0, 4)) /
                         month(static_cast<unsigned>(number_in(time, 5, 2))) /
                         std::chrono::day(static_cast<unsigned>(number_in(time, 8, 2)));
    auto moment = sys_seconds(day) + hours(number_in(time, 11, 2)) +
                  minutes(number_in(time, 14, 2)) + seconds(number_in(time, 17, 2));
    if (!time.ends_with('Z'))
    {
        const auto offset = time.substr(time.size() - 6); // "+01:00"
        const auto ahead = hours(number_in(offset, 1, 2)) + minutes(number_in(offset, 4, 2));
        moment += offset.front() == '-' ? ahead : -ahead;
    }
    return moment.time_since_epoch().count();
}

struct MetricsOutput::State
{
    explicit State(const std::string& path) : file(path), spool(spool_folder(path)) {}

    OutputFile file;
    Spool spool;
    std::vector<Spool::Place> last_runs; ///< Of each controller, in the order of the first ones.
    std::unordered_map<std::string, std::size_t> places; ///< By the controller's label.
};

MetricsOutput::MetricsOutput(const std::string& path) : state(std::make_unique<State>(path)) {}

MetricsOutput::~MetricsOutput() = default;

std::string MetricsOutput::prepare(const Run& run, const Judgement& judgement) const
{
    return pack_metrics(metrics_of(run, judgement));
}

std::string MetricsOutput::prepare_without_runs(std::string_view controller, std::string_view) const
{
    ControllerMetrics metrics;
    metrics.label = label("controller", controller);
    return pack_metrics(metrics);
}

void MetricsOutput::append(std::string_view prepared)
{
    const auto place = state->spool.append(prepared);
    const auto [known, is_new] =
        state->places.try_emplace(std::string(Unpacker(prepared).text()), state->last_runs.size());
    if (is_new)
    {
        state->last_runs.push_back(place);
    }
    else
    {
        state->last_runs[known->second] = place;
    }
}

void MetricsOutput::finish(const Totals&)
{
    for (const Metric& metric : metrics)
    {
        state->file.append(
            fmt::format("# HELP {} {}\n# TYPE {} gauge\n", metric.name, metric.help, metric.name));
        for (const Spool::Place& place : state->last_runs)
        {
            state->file.append(
                metric.samples(metric.name, unpack_metrics(state->spool.read(place))));
        }
    }
    state->file.finish();
}

} // namespace report
