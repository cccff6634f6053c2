#include "report/writers/json.hpp"
#include "report_run.hpp"
#include "temporary_folder.hpp"

#include <gtest/gtest.h>

namespace
{

using namespace report;

/// What the output writes to its file.
template <typename Use>
std::string written(Use&& use)
{
    const TemporaryFolder folder;
    JsonOutput output{folder.path() + "/out"};
    use(output);
    return folder.read("out");
}

TEST(JsonOutput, WritesOneDocument)
{
    Totals totals{.inputs = 3,
                  .runs = 2,
                  .lines = 40,
                  .bytes = 500,
                  .notes = 6,
                  .nothing_to_judge = 1,
                  .unreadable = 7,
                  .counts = {}};
    totals.counts.of = {10, 11, 12, 13};
    const auto text = written([&](Output& output) {
        output.append(output.prepare_without_runs("bench-6", "empty.txt"));
        output.append(output.prepare(empty_run(), {}));
        output.append(output.prepare_without_runs("bench-8", "empty.txt"));
        output.append("{}");
        output.finish(totals);
    });
    EXPECT_EQ(
        text,
        R"({"schema":"spdm-report/1","runs":[)"
        "\n"
        R"({"controller":"bench-7","run":"night.txt","line":1,"started":null,"ended":null,)"
        R"("end":null,"client_status":null,"lines":9,"bytes":300,"verdict":"passed",)"
        R"("passed":0,"failed":0,"errors":0,"skipped":0,"devices":[],"calls":[],)"
        R"("measurements":[],"signed":[],"properties":[],"availability":[],"tests":[],)"
        R"("categories":[],"signals":[],"notes":[]},)"
        "\n{}\n"
        R"(],"totals":{"inputs":3,"runs":2,"lines":40,"bytes":500,"notes":6,)"
        R"("nothing_to_judge":1,"unreadable":7,"passed":10,"failed":11,"errors":12,"skipped":13}})"
        "\n");
}

TEST(JsonOutput, OfNoRunsHasAnEmptyArray)
{
    EXPECT_EQ(
        written([](Output& output) { output.finish({}); }),
        "{\"schema\":\"spdm-report/1\",\"runs\":[\n],\"totals\":{\"inputs\":0,\"runs\":0,"
        "\"lines\":0,\"bytes\":0,\"notes\":0,\"nothing_to_judge\":0,\"unreadable\":0,\"passed\":0,\"failed\":"
        "0,\"errors\":0,\"skipped\":0}}\n");
}

} // namespace
