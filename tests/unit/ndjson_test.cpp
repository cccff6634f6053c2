#include "report/writers/ndjson.hpp"
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
    NdjsonOutput output{folder.path() + "/out"};
    use(output);
    return folder.read("out");
}

TEST(NdjsonOutput, WritesTheRowsOfEachRun)
{
    const auto run = empty_run();
    const auto text = written([&](Output& output) {
        output.append(output.prepare(run, {}));
        output.append("{}\n");
        output.finish({});
    });
    EXPECT_EQ(text,
              R"({"kind":"run","schema":"spdm-report/1","controller":"bench-7","run":"night.txt",)"
              R"("line":1,"started":null,"ended":null,"end":null,"client_status":null,"lines":9,)"
              R"("bytes":300,"verdict":"passed","passed":0,"failed":0,"errors":0,"skipped":0})"
              "\n{}\n");
}

TEST(NdjsonOutput, OfNoRunsIsEmpty)
{
    EXPECT_EQ(written([](Output& output) { output.finish({}); }), "");
}

} // namespace
