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
    EXPECT_EQ(options.information, "");
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

TEST(Options, TheLastBusCounts)
{
    const auto kind = [](std::vector<std::string> words) {
        words.emplace_back("fleet.json");
        return parse_options(words).bus.kind;
    };
    EXPECT_EQ(kind({"--session", "--system"}), BusChoice::Kind::system);
    EXPECT_EQ(kind({"--system", "--session"}), BusChoice::Kind::session);
    EXPECT_EQ(kind({"--session", "--system", "--session"}), BusChoice::Kind::session);
    EXPECT_EQ(kind({"--address", "unix:path=/x", "--system"}), BusChoice::Kind::system);
    EXPECT_EQ(kind({"--system", "--address", "unix:path=/x"}), BusChoice::Kind::address);
    const Options twice =
        parse_options({"--address", "a:", "--log", "a", "--address", "b:", "--log", "b", "f"});
    EXPECT_EQ(twice.bus.address + twice.log_file, "b:b");
}

TEST(Options, HelpAndVersionNeedNoFleet)
{
    for (const char* option : {"-h", "--help"})
    {
        const std::string help = parse_options({option}).information;
        for (const char* part :
             {"Usage: spdm-simulator [OPTIONS] FLEET.json", "--system", "--session",
              "--address ADDRESS", "--log FILE", "-h,--help", "--version"})
        {
            EXPECT_NE(help.find(part), std::string::npos) << part << " in:\n" << help;
        }
    }
    EXPECT_EQ(parse_options({"--version"}).information, "spdm-simulator 1.0.0");
}

TEST(Options, MistakesAreNamed)
{
    EXPECT_EQ(option_complaint({}), "FLEET.json is required");
    EXPECT_EQ(option_complaint({"--fast", "fleet.json"}), "unknown option --fast");
    EXPECT_EQ(option_complaint({"--fast"}), "unknown option --fast");
    EXPECT_EQ(option_complaint({"-x"}), "unknown option -x");
    EXPECT_EQ(option_complaint({"fleet.json", "--log"}), "--log: 1 required FILE missing");
    EXPECT_EQ(option_complaint({"--address"}), "--address: 1 required ADDRESS missing");
    EXPECT_EQ(option_complaint({"a.json", "b.json"}),
              "more than one fleet file: a.json and b.json");
}

} // namespace
