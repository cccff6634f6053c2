#include "report/judge/judge.hpp"
#include "report/writers/metrics.hpp"
#include "report_run.hpp"
#include "temporary_folder.hpp"

#include <gtest/gtest.h>

#include <sstream>

namespace
{

using namespace report;

report::Run timed_run(const std::vector<std::int64_t>& microseconds)
{
    auto run = empty_run();
    run.starts_with_banner = run.ends_at_menu = true;
    run.devices = {cpu_12(3)};
    for (const auto time : microseconds)
    {
        Call call;
        call.line = call.told_line = 4;
        call.device = 0;
        call.operation = Operation::get_measurement;
        call.outcome = Outcome::answered;
        call.status = 0;
        call.microseconds = time;
        run.calls.push_back(call);
    }
    return run;
}

template <typename... Runs>
std::string metrics_of_runs(const Runs&... runs)
{
    const TemporaryFolder folder;
    MetricsOutput output(folder.path() + "/spdm.prom");
    (output.append(output.prepare(runs, judge(runs))), ...);
    output.finish({});
    EXPECT_EQ(folder.names(), std::vector<std::string>{"spdm.prom"});
    return folder.read("spdm.prom");
}

/// The samples whose line begins so, a line each.
std::string samples(const std::string& text, const std::string& beginning)
{
    std::string found;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);)
    {
        found += line.starts_with(beginning) ? line + "\n" : "";
    }
    return found;
}

TEST(MetricsOutput, HasVerdictsCountsAndTimes)
{
    auto run = timed_run({3000, 1000, 2001, 2000});
    run.circumstances.emplace().ended = "2026-11-21T22:35:00.5Z";
    run.controller = "b\"\\\n\x01";
    EXPECT_EQ(
        metrics_of_runs(run),
        R"(# HELP spdm_controller_verdict 1 for the verdict on the controller's last run, 0 for the others.
# TYPE spdm_controller_verdict gauge
spdm_controller_verdict{controller="b\"\\\n�",verdict="passed"} 1
spdm_controller_verdict{controller="b\"\\\n�",verdict="failed"} 0
spdm_controller_verdict{controller="b\"\\\n�",verdict="error"} 0
spdm_controller_verdict{controller="b\"\\\n�",verdict="skipped"} 0
spdm_controller_verdict{controller="b\"\\\n�",verdict="nothing"} 0
# HELP spdm_controller_checks Checks in the controller's last run by verdict.
# TYPE spdm_controller_checks gauge
spdm_controller_checks{controller="b\"\\\n�",verdict="passed"} 4
spdm_controller_checks{controller="b\"\\\n�",verdict="failed"} 0
spdm_controller_checks{controller="b\"\\\n�",verdict="error"} 0
spdm_controller_checks{controller="b\"\\\n�",verdict="skipped"} 0
# HELP spdm_run_end_timestamp_seconds When the controller's last run ended.
# TYPE spdm_run_end_timestamp_seconds gauge
spdm_run_end_timestamp_seconds{controller="b\"\\\n�"} 1795300500
# HELP spdm_device_verdict 1 for the verdict on the device in its controller's last run, 0 for the others.
# TYPE spdm_device_verdict gauge
spdm_device_verdict{controller="b\"\\\n�",eid="12",path="/cpu/cpu_12",xmid="CPU-12",verdict="passed"} 1
spdm_device_verdict{controller="b\"\\\n�",eid="12",path="/cpu/cpu_12",xmid="CPU-12",verdict="failed"} 0
spdm_device_verdict{controller="b\"\\\n�",eid="12",path="/cpu/cpu_12",xmid="CPU-12",verdict="error"} 0
spdm_device_verdict{controller="b\"\\\n�",eid="12",path="/cpu/cpu_12",xmid="CPU-12",verdict="skipped"} 0
# HELP spdm_device_checks Checks of the device in its controller's last run by verdict.
# TYPE spdm_device_checks gauge
spdm_device_checks{controller="b\"\\\n�",eid="12",path="/cpu/cpu_12",xmid="CPU-12",verdict="passed"} 4
spdm_device_checks{controller="b\"\\\n�",eid="12",path="/cpu/cpu_12",xmid="CPU-12",verdict="failed"} 0
spdm_device_checks{controller="b\"\\\n�",eid="12",path="/cpu/cpu_12",xmid="CPU-12",verdict="error"} 0
spdm_device_checks{controller="b\"\\\n�",eid="12",path="/cpu/cpu_12",xmid="CPU-12",verdict="skipped"} 0
# HELP spdm_call_median_seconds Median of the answered calls' times in the last run.
# TYPE spdm_call_median_seconds gauge
spdm_call_median_seconds{controller="b\"\\\n�",eid="12",path="/cpu/cpu_12",xmid="CPU-12",operation="GetMeasurement"} 0.0020005
# HELP spdm_call_95th_percentile_seconds 95th percentile (nearest rank) of the answered calls' times in the last run.
# TYPE spdm_call_95th_percentile_seconds gauge
spdm_call_95th_percentile_seconds{controller="b\"\\\n�",eid="12",path="/cpu/cpu_12",xmid="CPU-12",operation="GetMeasurement"} 0.003
)");
}

TEST(MetricsOutput, TakesTheNearestRank)
{
    std::vector<std::int64_t> times;
    for (auto time = 21; time >= 1; --time)
    {
        times.push_back(time * 1'000'000);
    }
    const std::string name = "spdm_call_95th_percentile_seconds{";
    const std::string labels = R"(controller="bench-7",eid="12",path="/cpu/cpu_12",xmid="CPU-12",)"
                               R"(operation="GetMeasurement"} )";
    EXPECT_EQ(samples(metrics_of_runs(timed_run(times)), name), name + labels + "20\n");
    times.erase(times.begin());
    EXPECT_EQ(samples(metrics_of_runs(timed_run(times)), name), name + labels + "19\n");
    EXPECT_EQ(samples(metrics_of_runs(timed_run({7})), name), name + labels + "7e-06\n");
}

TEST(MetricsOutput, TheLastRunCounts)
{
    auto other = timed_run({1});
    other.controller = "bench-8";
    const auto text = metrics_of_runs(timed_run({1, 2, 3}), other, timed_run({4, 5}));
    EXPECT_EQ(samples(text, "spdm_controller_checks{controller=\"bench-7\",verdict=\"passed\"}"),
              "spdm_controller_checks{controller=\"bench-7\",verdict=\"passed\"} 2\n");
    EXPECT_EQ(samples(text, "spdm_controller_checks{controller=\"bench-8\",verdict=\"passed\"}"),
              "spdm_controller_checks{controller=\"bench-8\",verdict=\"passed\"} 1\n");
}

TEST(MetricsOutput, EntriesOfADeviceAreOne)
{
    auto run = timed_run({1, 2, 3});
    run.devices.push_back(cpu_12(5)); // The same EID, later with another name.
    run.devices.back().xmid = "CPU-X";
    run.calls.back().device = 1;
    Device nameless; // Two entries without an EID that look the same.
    nameless.path = "/x";
    run.devices.insert(run.devices.end(), 2, nameless);
    run.calls.resize(5, run.calls.back());
    run.calls[3].device = 2;
    run.calls[4].device = 3;
    run.calls[4].status = 3;
    const auto text = metrics_of_runs(run);
    const std::string cpu = R"(controller="bench-7",eid="12",path="/cpu/cpu_12",xmid="CPU-X",)";
    const std::string other = R"(controller="bench-7",eid="",path="/x",xmid="",)";
    EXPECT_EQ(samples(text, "spdm_call_median"),
              "spdm_call_median_seconds{" + other + "operation=\"GetMeasurement\"} 3e-06\n" +
                  "spdm_call_median_seconds{" + cpu + "operation=\"GetMeasurement\"} 2e-06\n");
    EXPECT_EQ(samples(text, "spdm_device_verdict{" + other),
              "spdm_device_verdict{" + other + "verdict=\"passed\"} 0\n" + "spdm_device_verdict{" +
                  other + "verdict=\"failed\"} 1\n" + "spdm_device_verdict{" + other +
                  "verdict=\"error\"} 0\n" + "spdm_device_verdict{" + other +
                  "verdict=\"skipped\"} 0\n");
}

TEST(MetricsOutput, AnInputWithoutRunsHasNothingJudged)
{
    const TemporaryFolder folder;
    MetricsOutput output(folder.path() + "/spdm.prom");
    output.append(output.prepare_without_runs("bench-7", "x"));
    output.finish({});
    EXPECT_EQ(samples(folder.read("spdm.prom"), "spdm_controller_verdict{controller=\"bench-7\","
                                                "verdict=\"nothing\"}"),
              "spdm_controller_verdict{controller=\"bench-7\",verdict=\"nothing\"} 1\n");
}

TEST(UnixSeconds, CountOffsets)
{
    EXPECT_EQ(unix_seconds("1970-01-01T00:00:00Z"), 0);
    EXPECT_EQ(unix_seconds("2026-11-21T22:35:00.5Z"), 1795300500);
    EXPECT_EQ(unix_seconds("2026-11-22T00:05:00+01:30"), 1795300500);
    EXPECT_EQ(unix_seconds("2026-11-21T21:35:00.123456789-01:00"), 1795300500);
    EXPECT_EQ(unix_seconds("1969-12-31T23:59:59Z"), -1);
    EXPECT_EQ(unix_seconds(""), 0);
}

} // namespace
