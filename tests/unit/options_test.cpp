#include "mistake.hpp"
#include "simulator/options.hpp"

#include <gtest/gtest.h>

#include <string>

namespace
{

using namespace simulator;

std::string option_complaint(const std::vector<std::string>& words)
{
    return complaint_of<OptionError>([&] { parse_options(words); });
}

TEST(Options, AreForTheSystemBusByDefault)
{
    const Options options = parse_options({"fleet.json"});
    EXPECT_EQ(options.bus.kind, BusChoice::Kind::system);
    EXPECT_EQ(options.fleet_file, "fleet.json");
    EXPECT_EQ(options.log_file, "");
    EXPECT_FALSE(options.help);
}

TEST(Options, NameBusAndLog)
{
    const Options options =
        parse_options({"--address", "unix:path=/x", "--log", "calls", "fleet.json"});
    EXPECT_EQ(options.bus.kind, BusChoice::Kind::address);
    EXPECT_EQ(options.bus.address, "unix:path=/x");
    EXPECT_EQ(options.log_file, "calls");
    EXPECT_EQ(parse_options({"fleet.json", "--session"}).bus.kind, BusChoice::Kind::session);
    EXPECT_EQ(parse_options({"--session", "--system", "fleet.json"}).bus.kind,
              BusChoice::Kind::system);
}

TEST(Options, HelpNeedsNoFleet)
{
    EXPECT_TRUE(parse_options({"--help"}).help);
}

TEST(Options, MistakesAreNamed)
{
    EXPECT_EQ(option_complaint({}), "no fleet file is named");
    EXPECT_EQ(option_complaint({"--fast", "fleet.json"}), "unknown option --fast");
    EXPECT_EQ(option_complaint({"fleet.json", "--log"}), "--log needs a value");
    EXPECT_EQ(option_complaint({"--address"}), "--address needs a value");
    EXPECT_EQ(option_complaint({"a.json", "b.json"}),
              "more than one fleet file: a.json and b.json");
}

} // namespace
