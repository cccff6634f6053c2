#include "mistake.hpp"
#include "report/options.hpp"

#include <gtest/gtest.h>

#include <string>

namespace
{

using namespace report;

std::string option_complaint(const std::vector<std::string>& words)
{
    return complaint_of<OptionError>([&] { parse_options(words); });
}

Request request_of(const std::vector<std::string>& words)
{
    return parse_options(words).request;
}

TEST(ReportOptions, AreASummaryOfEverythingByDefault)
{
    const Request request = request_of({"a.txt"});
    EXPECT_EQ(request.inputs, std::vector<std::string>{"a.txt"});
    EXPECT_EQ(request.json, "");
    EXPECT_EQ(request.ndjson, "");
    EXPECT_EQ(request.junit, "");
    EXPECT_EQ(request.metrics, "");
    EXPECT_EQ(request.jobs, 1U);
    EXPECT_TRUE(request.fail_on.failed);
    EXPECT_TRUE(request.fail_on.error);
    EXPECT_TRUE(request.fail_on.incomplete);
    EXPECT_TRUE(request.fail_on.deviation);
}

TEST(ReportOptions, NameOutputsAndJobs)
{
    const Request request = request_of({"--json", "-", "first", "--ndjson=rows", "--jobs", "4", "-",
                                        "--junit", "out", "--metrics", "spdm.prom", "last"});
    EXPECT_EQ(request.json, "-");
    EXPECT_EQ(request.ndjson, "rows");
    EXPECT_EQ(request.junit, "out");
    EXPECT_EQ(request.metrics, "spdm.prom");
    EXPECT_EQ(request.jobs, 4U);
    EXPECT_EQ(request.inputs, (std::vector<std::string>{"first", "-", "last"}));
    EXPECT_EQ(request_of({"--", "--json"}).inputs, std::vector<std::string>{"--json"});
}

TEST(ReportOptions, SayWhatFails)
{
    const FailOn one = request_of({"--fail-on", "incomplete", "a.txt"}).fail_on;
    EXPECT_FALSE(one.failed);
    EXPECT_FALSE(one.error);
    EXPECT_TRUE(one.incomplete);
    EXPECT_FALSE(one.deviation);
    const FailOn three = request_of({"--fail-on", "error,deviation,failed", "a.txt"}).fail_on;
    EXPECT_TRUE(three.failed);
    EXPECT_TRUE(three.error);
    EXPECT_FALSE(three.incomplete);
    EXPECT_TRUE(three.deviation);
}

TEST(ReportOptions, QuestionsNeedNoInput)
{
    EXPECT_EQ(parse_options({"--version"}).answer, "spdm-report " PROJECT_VERSION "\n");
    EXPECT_TRUE(parse_options({"--help"}).answer.starts_with("Usage: spdm-report "));
    EXPECT_EQ(parse_options({"-h"}).answer, parse_options({"--help"}).answer);
    EXPECT_EQ(parse_options({"a.txt"}).answer, "");
}

TEST(ReportOptions, MistakesAreNamed)
{
    EXPECT_EQ(option_complaint({}), "INPUT is required");
    EXPECT_EQ(option_complaint({"--fast", "a.txt"}),
              "The following argument was not expected: --fast");
    EXPECT_EQ(option_complaint({"a.txt", "--json"}), "--json: 1 required TEXT missing");
    EXPECT_EQ(option_complaint({"a.txt", "--json", ""}), "--json: needs a file's name");
    EXPECT_EQ(option_complaint({"a.txt", "--jobs", "0"}), "--jobs: Value 0 not in range 1 to 256");
    EXPECT_EQ(option_complaint({"a.txt", "--jobs", "many"}),
              "--jobs: Value many not in range 1 to 256");
    EXPECT_EQ(option_complaint({"a.txt", "--jobs", "257"}),
              "--jobs: Value 257 not in range 1 to 256");
    EXPECT_EQ(option_complaint({"a.txt", "--json", "x", "--json", "y"}),
              "--json: At Most 1 required but received 2");
    EXPECT_EQ(option_complaint({"a.txt", "--json", "-", "--ndjson", "-"}),
              "--json and --ndjson both write to standard output");
    EXPECT_EQ(option_complaint({"a.txt", "--json", "x", "--ndjson", "x"}),
              "--json and --ndjson both write to x");
    EXPECT_EQ(option_complaint({"a.txt", "--metrics", "x", "--json", "y", "--ndjson", "x"}),
              "--ndjson and --metrics both write to x");
    EXPECT_EQ(option_complaint({"a.txt", "--fail-on", "failed,broken"}),
              "--fail-on: \"broken\" is none of failed, error, incomplete, deviation");
    EXPECT_EQ(option_complaint({"a.txt", "--fail-on", "failed,"}),
              "--fail-on: \"\" is none of failed, error, incomplete, deviation");
    EXPECT_EQ(option_complaint({"a.txt", "--fail-on", ""}),
              "--fail-on: \"\" is none of failed, error, incomplete, deviation");
}

} // namespace
