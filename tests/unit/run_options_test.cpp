#include "mistake.hpp"
#include "runner/options.hpp"

#include <gtest/gtest.h>

#include <array>
#include <string>
#include <unistd.h>
#include <vector>

namespace
{

using namespace runner;
using std::chrono::seconds;

std::string option_complaint(const std::vector<std::string>& words)
{
    return complaint_of<OptionError>([&] { parse_options(words); });
}

TEST(RunOptions, HaveDefaults)
{
    const auto options = parse_options({"regression"});
    EXPECT_EQ(options.task.activity, Activity::regression);
    EXPECT_TRUE(options.task.eids.empty());
    EXPECT_FALSE(options.monitored);
    EXPECT_EQ(options.client, "spdm-client");
    std::array<char, 256> host{};
    ASSERT_EQ(gethostname(host.data(), host.size() - 1), 0);
    EXPECT_EQ(options.controller, host.data());
    EXPECT_EQ(options.output, "");
    EXPECT_EQ(options.timeout, seconds(120));
    EXPECT_EQ(options.max_output, 256'000'000U);
    EXPECT_FALSE(options.quiet);
    EXPECT_FALSE(options.force);
}

TEST(RunOptions, AreRead)
{
    const auto options =
        parse_options({"--device", "12", "suite", "--device=0", "--client", "ssh x", "--controller",
                       "bmc7", "--timeout", "5", "--output", "out", "--quiet", "--force",
                       "--max-output", "1000", "--device", "65535"});
    EXPECT_EQ(options.task.activity, Activity::suite);
    EXPECT_EQ(options.task.eids, (std::vector<std::uint16_t>{12, 0, 65535}));
    EXPECT_EQ(options.client, "ssh x");
    EXPECT_EQ(options.controller, "bmc7");
    EXPECT_EQ(options.timeout, seconds(5));
    EXPECT_EQ(options.output, "out");
    EXPECT_EQ(options.max_output, 1000U);
    EXPECT_TRUE(options.quiet);
    EXPECT_TRUE(options.force);
    EXPECT_EQ(parse_options({"properties"}).task.activity, Activity::properties);
    const auto monitor = parse_options({"monitor", "--for", "60"});
    EXPECT_EQ(monitor.task.activity, Activity::monitor);
    EXPECT_EQ(monitor.monitored, seconds(60));
}

TEST(RunOptions, QuestionsNeedNoActivity)
{
    EXPECT_EQ(parse_options({"--version"}).answer, "spdm-run " PROJECT_VERSION "\n");
    EXPECT_TRUE(parse_options({"--help"}).answer.starts_with("Usage: spdm-run "));
    EXPECT_EQ(parse_options({"-h"}).answer, parse_options({"--help"}).answer);
}

TEST(RunOptions, MistakesAreNamed)
{
    EXPECT_EQ(option_complaint({}), "ACTIVITY is required");
    EXPECT_EQ(option_complaint({"test"}),
              "\"test\" is none of regression, suite, properties, monitor");
    EXPECT_EQ(option_complaint({"suite", "more"}), "The following argument was not expected: more");
    EXPECT_EQ(option_complaint({"suite", "--for", "5"}), "--for is for monitor alone");
    EXPECT_EQ(option_complaint({"regression", "--device", "5"}),
              "--device: the regression test is for all devices");
    EXPECT_EQ(option_complaint({"monitor", "--device", "5", "--device", "6"}),
              "--device: monitor takes one");
    EXPECT_EQ(option_complaint({"suite", "--device", "65536"}),
              "--device: Value 65536 not in range 0 to 65535");
    EXPECT_EQ(option_complaint({"suite", "--device", "-1"}),
              "--device: Value -1 not in range 0 to 65535");
    EXPECT_EQ(option_complaint({"suite", "--device", "cpu"}),
              "--device: Value cpu not in range 0 to 65535");
    EXPECT_EQ(option_complaint({"monitor", "--for", "0"}),
              "--for: Value 0 not in range 1 to 31622400");
    EXPECT_EQ(option_complaint({"suite", "--timeout", "0"}),
              "--timeout: Value 0 not in range 1 to 31622400");
    EXPECT_EQ(option_complaint({"suite", "--output", ""}), "--output: must not be empty");
    EXPECT_EQ(option_complaint({"suite", "--client", ""}), "--client: must not be empty");
    EXPECT_EQ(option_complaint({"suite", "--controller", std::string(256, 'n')}),
              "--controller: the name is longer than 255 bytes");
}

} // namespace
