#include "mistake.hpp"
#include "simulator/command_line.hpp"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

namespace
{

using namespace simulator;

Command parse_line(const std::string& line)
{
    return parse_command(line, ".");
}

template <typename Kind>
Kind happening(const std::string& line)
{
    return std::get<Kind>(std::get<Happening>(parse_line(line)));
}

/// The signal that a command sends, in one line.
std::string signal_of(const std::string& line)
{
    const auto signal = happening<Signal>(line);
    return signal.path + " " + signal.interface + "." + signal.member + " " +
           body_signature(signal.arguments);
}

TEST(CommandLine, AddsDevices)
{
    const std::string nic = "/com/varn/bmc/spdm/spdm/nicController/nic_7";
    EXPECT_EQ(happening<AddDevice>("add " + nic).device.properties.at("XMID"), text_value("NIC-7"));
    EXPECT_EQ(happening<AddDevice>("add " + nic + " halc").device.properties.at("XMID"),
              text_value("HALC-7"));
    const Device device =
        happening<AddDevice>(R"(add {"path": "/a/b1", "properties": {"XMID": ["s", "two words"]}})")
            .device;
    EXPECT_EQ(device.path, "/a/b1");
    EXPECT_EQ(device.properties.at("XMID"), text_value("two words"));
}

TEST(CommandLine, RemovesAndSets)
{
    EXPECT_EQ(happening<RemoveDevice>("  remove   /a/b1 ").path, "/a/b1");
    const auto set = happening<SetProperty>(R"(set /a/b1 XMID a{sv} {"k": ["q", 1]})");
    EXPECT_EQ(set.path, "/a/b1");
    EXPECT_EQ(set.property, "XMID");
    EXPECT_EQ(set.value, properties_value({{"k", number_value('q', 1)}}));
}

TEST(CommandLine, SendsSignals)
{
    EXPECT_EQ(signal_of("signal /a b.c D"), "/a b.c.D ");
    EXPECT_EQ(signal_of(R"(signal /a b.c D sqas "x y" 5 ["a", "b c"])"), "/a b.c.D sqas");
    EXPECT_EQ(happening<Signal>(R"(signal /a b.c D sq "x y" 5)").arguments,
              (Body{text_value("x y"), number_value('q', 5)}));
    EXPECT_EQ(signal_of("error /a 65535"), "/a com.varn.bmc.spdm.spdm.DeviceError q");
    EXPECT_EQ(happening<Signal>("error /a 65535").arguments, Body{number_value('q', 65535)});
    EXPECT_EQ(signal_of("progress /a 100"), "/a com.varn.bmc.spdm.spdm.CertificateProgress y");
    EXPECT_EQ(signal_of("info 3"),
              "/com/varn/bmc/spdm/spdm/info com.varn.bmc.spdm.spdmInfo.Info q");
}

TEST(CommandLine, KnowsTheRest)
{
    EXPECT_EQ(std::get<Flood>(parse_line("flood /a 70000")).count, 70000U);
    EXPECT_TRUE(std::holds_alternative<Play>(parse_line("play")));
    EXPECT_TRUE(std::holds_alternative<ReleaseName>(parse_line("drop")));
    EXPECT_TRUE(std::holds_alternative<OwnName>(parse_line("own")));
    EXPECT_TRUE(std::holds_alternative<LeaveNow>(parse_line("disconnect")));
    EXPECT_TRUE(std::holds_alternative<Help>(parse_line("help")));
    EXPECT_TRUE(std::holds_alternative<Quit>(parse_line("quit")));
}

class CommandMistake : public testing::TestWithParam<Mistake>
{
};

TEST_P(CommandMistake, IsNamed)
{
    EXPECT_EQ(complaint_of<std::runtime_error>([] { parse_line(GetParam().written); }),
              GetParam().complaint);
}

TEST(CommandLine, IsText)
{
    const auto complaint = [](const std::string& line) {
        return complaint_of<std::runtime_error>([&] { parse_line(line); });
    };
    EXPECT_EQ(complaint("set /a P s \"\xff\""), "a command is UTF-8 text");
    EXPECT_EQ(complaint(std::string("remove /a\0b", 11)),
              "a command cannot hold the character U+0000");
}

INSTANTIATE_TEST_SUITE_P(
    CommandLine, CommandMistake,
    testing::Values(
        Mistake{"Empty", "  ", "the command is missing"},
        Mistake{"Unknown", "reset /a", "unknown command reset; help lists the commands"},
        Mistake{"NoPath", "remove", "PATH is missing"},
        Mistake{"BadPath", "remove a", "\"a\" is no valid object path"},
        Mistake{"More", "remove /a /b", "there is more than the command takes: /b"},
        Mistake{"Preset", "add /a gpu", "\"gpu\" is no preset: cpu, nic, halc or bare"},
        Mistake{"DeviceJson", "add {", "DEVICE is no JSON value"},
        Mistake{"DeviceMember", R"(add {"path": "/a", "foo": 1})",
                "the member \"foo\" is not known here"},
        Mistake{"NoProperty", "set /a", "PROPERTY is missing"},
        Mistake{"NoSignature", "set /a P", "SIGNATURE is missing"},
        Mistake{"NoValue", "set /a P q", R"(VALUE is missing; for a text, type: set /a P s "q")"},
        Mistake{"BareText", "set /a  P CPU-NEW",
                R"("CPU-NEW" is no valid signature: 'C' is no type here; )"
                R"(for a text, type: set /a  P s "CPU-NEW")"},
        Mistake{"BareWords", R"(set /a P my "own" text)",
                R"("my" is no valid signature: 'm' is no type here; )"
                R"(for a text, type: set /a P s "my \"own\" text")"},
        Mistake{"TwoValues", "set /a P qq 1 2", "a property has one value, not 2"},
        Mistake{"ValueRange", "set /a P q -1", "VALUE: -1 is out of range for type q (0 to 65535)"},
        Mistake{"ValueJson", "set /a P s two words",
                R"(VALUE is no JSON value; for a text, type: set /a P s "two words")"},
        Mistake{"SignalInterface", "signal /a b D", "\"b\" is no valid interface name"},
        Mistake{"SignalInterfaceDigit", "signal /a b.9c D", "\"b.9c\" is no valid interface name"},
        Mistake{"SignalMember", "signal /a a.b 9x q 1", "\"9x\" is no valid member name"},
        Mistake{"SignalReserved", "signal /a org.freedesktop.DBus.Local D",
                "\"org.freedesktop.DBus.Local\" is reserved by the bus"},
        Mistake{"PathReserved", "error /org/freedesktop/DBus/Local 1",
                "\"/org/freedesktop/DBus/Local\" is reserved by the bus"},
        Mistake{"SignalCount", "signal /a b.c D qq 1", "VALUE 2 is missing"},
        Mistake{"SignalRange", "signal /a b.c D qq 1 -1",
                "VALUE 2: -1 is out of range for type q (0 to 65535)"},
        Mistake{"SignalMore", "signal /a b.c D q 1 2", "there is more than the command takes: 2"},
        Mistake{"NoCode", "error /a", "N is missing"},
        Mistake{"CodeRange", "error /a 65536", "N: 65536 is out of range (0 to 65535)"},
        Mistake{"ProgressRange", "progress /a 256", "N: 256 is out of range (0 to 255)"},
        Mistake{"InfoText", "info \"3\"", "N: a whole number is expected, not a text"},
        Mistake{"PlayMore", "play 3", "there is more than the command takes: 3"}),
    name_of);

} // namespace
