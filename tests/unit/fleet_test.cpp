#include "mistake.hpp"
#include "simulator/fleet.hpp"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <unistd.h>

namespace
{

using namespace simulator;

const std::string cpu_path = "/com/varn/bmc/spdm/spdm/cpu/cpu_12";
const std::string nic_path = "/com/varn/bmc/spdm/spdm/nicController/nic_7";
const std::string halc_path = "/com/varn/bmc/spdm/spdm/halcController/halc_9";

Fleet parse_fleet(const std::string& text)
{
    return fleet_from_json(text, ".");
}

/// A fleet of one device with these further members.
std::string device_with(const std::string& members)
{
    return R"({"devices": [{"path": ")" + cpu_path + R"(", )" + members + "}]}";
}

Device parse_device(const std::string& members)
{
    return parse_fleet(device_with(members)).devices.at(0);
}

/// A temporary folder, removed with the object.
class Folder
{
  public:
    Folder()
    {
        std::string name = (std::filesystem::temp_directory_path() / "fleet-XXXXXX").string();
        path = ::mkdtemp(name.data());
    }

    ~Folder()
    {
        std::filesystem::remove_all(path);
    }

    std::filesystem::path write(const std::string& name, const std::string& content) const
    {
        std::ofstream(path / name) << content;
        return path / name;
    }

    std::filesystem::path path;
};

std::string file_complaint(const std::filesystem::path& file)
{
    return complaint_of<PlaceError>([&] { read_fleet(file); });
}

TEST(Fleet, OfAnEmptyObjectIsPresentAndEmpty)
{
    const Fleet fleet = parse_fleet("{}");
    EXPECT_TRUE(fleet.present);
    EXPECT_TRUE(fleet.devices.empty());
    EXPECT_TRUE(fleet.managed_objects_rules.empty());
    EXPECT_TRUE(fleet.events.empty());
}

TEST(Fleet, MayBeAbsent)
{
    EXPECT_FALSE(parse_fleet(R"({"service": "absent"})").present);
    EXPECT_TRUE(parse_fleet(R"({"service": "present"})").present);
}

TEST(Fleet, DeviceGetsThePresetOfItsContainer)
{
    const Fleet fleet =
        parse_fleet(R"({"devices": [{"path": ")" + cpu_path + R"("}, {"path": ")" + nic_path +
                    R"("}, {"path": ")" + halc_path + R"("}, {"path": "/elsewhere/thing5"}]})");
    EXPECT_EQ(fleet.devices[0].properties.at("XMID"), text_value("CPU-12"));
    EXPECT_EQ(fleet.devices[1].properties.at("XMID"), text_value("NIC-7"));
    EXPECT_EQ(fleet.devices[2].properties.at("XMID"), text_value("HALC-9"));
    EXPECT_EQ(fleet.devices[3].properties.at("XMID"), text_value("CPU-5"));
}

TEST(Fleet, PresetHasEveryPropertyWithItsType)
{
    const Device device = parse_device(R"("preset": "nic")");
    std::string types;
    for (const auto& [name, value] : device.properties)
    {
        types += name + " " + value.signature + "\n";
    }
    EXPECT_EQ(types, "Certificate b\n"
                     "CertificateSlot0 b\n"
                     "CertificateSlot1 b\n"
                     "CertificateSlot2 b\n"
                     "CertificateSlot3 b\n"
                     "CertificateSlot4 b\n"
                     "CertificateSlot5 b\n"
                     "CertificateSlot6 b\n"
                     "CertificateSlot7 b\n"
                     "ChallengeAuthRespSupport b\n"
                     "ChallengeStatus u\n"
                     "DeviceAllowed b\n"
                     "DeviceCertStatus b\n"
                     "DeviceChallengeStatus b\n"
                     "DeviceDescription s\n"
                     "DeviceEID q\n"
                     "Encryption b\n"
                     "Measurement b\n"
                     "MeasurementSpecification s\n"
                     "MeasurementSummary s\n"
                     "MeasurementSummaryHashAlgorithm s\n"
                     "MeasurementSummaryType s\n"
                     "NumMeasurements q\n"
                     "PhyBinding q\n"
                     "Preferred b\n"
                     "SignedMeasurement b\n"
                     "Version s\n"
                     "XMID s\n");
    EXPECT_EQ(device.properties.at("DeviceEID"), number_value('q', 12));
    EXPECT_EQ(device.properties.at("NumMeasurements"),
              number_value('q', device.measurements.size()));
}

TEST(Fleet, BareDeviceHasOnlyWhatIsWritten)
{
    const Device device = parse_device(R"("preset": "bare", "properties": {"XMID": ["s", "x"]})");
    EXPECT_FALSE(device.has_methods);
    EXPECT_EQ(device.properties, (Properties{{"XMID", text_value("x")}}));
    EXPECT_TRUE(device.measurements.empty());
}

TEST(Fleet, PropertiesAreReplacedAddedAndRemoved)
{
    const Device device = parse_device(
        R"("properties": {"XMID": ["q", 5], "PhyBinding": null, "Extra": ["as", ["a", "b"]]})");
    EXPECT_EQ(device.properties.at("XMID"), number_value('q', 5));
    EXPECT_FALSE(device.properties.contains("PhyBinding"));
    EXPECT_EQ(device.properties.at("Extra"), array_value("s", {text_value("a"), text_value("b")}));
    EXPECT_EQ(device.properties.at("Version"), text_value("1.2.1"));
}

TEST(Fleet, FurtherInterfacesAreRead)
{
    const Device device = parse_device(R"("interfaces": {"a.b": {"P": ["y", 1]}, "c.d": {}})");
    EXPECT_EQ(device.interfaces.at("a.b"), (Properties{{"P", number_value('y', 1)}}));
    EXPECT_TRUE(device.interfaces.at("c.d").empty());
}

TEST(Fleet, MeasurementsReplaceThoseOfThePresetAndAreCounted)
{
    const Device device = parse_device(
        R"("measurements": [{"index": 300, "data": "00fF", "algorithm": 4294967295, "type": 2}])");
    ASSERT_EQ(device.measurements.size(), 1U);
    EXPECT_EQ(device.measurements[0].index, 300);
    EXPECT_EQ(device.measurements[0].data, (Bytes{0x00, 0xff}));
    EXPECT_EQ(device.measurements[0].algorithm, 4294967295U);
    EXPECT_EQ(device.measurements[0].type, 2);
    EXPECT_EQ(device.properties.at("NumMeasurements"), number_value('q', 1));
}

TEST(Fleet, WrittenNumMeasurementsIsKept)
{
    const Device device =
        parse_device(R"("measurements": [], "properties": {"NumMeasurements": ["q", 9]})");
    EXPECT_EQ(device.properties.at("NumMeasurements"), number_value('q', 9));
}

TEST(Fleet, SigningIsReadWithItsKey)
{
    const Folder folder;
    folder.write("key.pem", "the key");
    const Fleet fleet = fleet_from_json(
        device_with(R"("signing": {"algorithm": "ECDSA-P521", "hashing": "TPM_ALG_SHA_512",)"
                    R"( "version": "1.1", "key": "key.pem"})"),
        folder.path);
    const Signing& signing = fleet.devices[0].signing;
    EXPECT_EQ(signing.algorithm->name, "ECDSA-P521");
    EXPECT_EQ(signing.hashing, "TPM_ALG_SHA_512");
    EXPECT_EQ(signing.version, "1.1");
    EXPECT_EQ(signing.key, "the key");
}

TEST(Fleet, AuthenticationIsRead)
{
    EXPECT_EQ(parse_device(R"("preset": "cpu")").authentication, 1U);
    EXPECT_EQ(parse_device(R"("authentication": 3)").authentication, 3U);
}

TEST(Fleet, RulesAreReadForEachMethod)
{
    const Device device = parse_device(R"("methods": {
        "GetMeasurement": {"slot": 1, "no_reply": true},
        "Get": [{"property": "XMID", "cut": 0}, {"delay_ms": 5}]})");
    EXPECT_EQ(device.rules.at("GetMeasurement").size(), 1U);
    EXPECT_EQ(device.rules.at("Get").size(), 2U);
    EXPECT_EQ(parse_fleet(R"({"methods": {"GetManagedObjects": {"no_reply": true}}})")
                  .managed_objects_rules.size(),
              1U);
}

TEST(Fleet, EventsAreRead)
{
    const Fleet fleet = parse_fleet(R"({"signals": [
        {"at_ms": 5, "add": {"path": "/a/b1"}, "times": 3},
        {"remove": "/a/b1"},
        {"set": ["/a/b1", "P", ["q", 1]]},
        {"signal": ["/a", "b.c", "D", ["su", "x", 1]]}]})");
    ASSERT_EQ(fleet.events.size(), 4U);
    EXPECT_EQ(fleet.events[0].at, std::chrono::milliseconds(5));
    EXPECT_EQ(fleet.events[0].times, 3U);
    EXPECT_EQ(std::get<AddDevice>(fleet.events[0].what).device.path, "/a/b1");
    EXPECT_EQ(fleet.events[1].at, std::nullopt);
    EXPECT_EQ(fleet.events[1].times, 1U);
    EXPECT_EQ(std::get<RemoveDevice>(fleet.events[1].what).path, "/a/b1");
    EXPECT_EQ(std::get<SetProperty>(fleet.events[2].what).property, "P");
    EXPECT_EQ(std::get<SetProperty>(fleet.events[2].what).value, number_value('q', 1));
    const auto& signal = std::get<Signal>(fleet.events[3].what);
    EXPECT_EQ(signal.path + " " + signal.interface + " " + signal.member, "/a b.c D");
    EXPECT_EQ(signal.arguments, (Body{text_value("x"), number_value('u', 1)}));
}

TEST(FleetFile, IsNamedInItsComplaints)
{
    const Folder folder;
    const auto file = folder.write("bad.json", R"({"devices": [{}]})");
    EXPECT_EQ(file_complaint(file), file.string() + ": devices[0]: the member \"path\" is missing");
}

TEST(FleetFile, SyntaxErrorsHaveLineAndColumn)
{
    const Folder folder;
    const auto file = folder.write("bad.json", "{\n  \"devices\": [,]\n}\n");
    const std::string expected = file.string() + ": line 2, column 15: syntax error";
    EXPECT_EQ(file_complaint(file).substr(0, expected.size()), expected);
}

TEST(FleetFile, EmptyIsASyntaxError)
{
    const Folder folder;
    const auto file = folder.write("empty.json", "");
    const std::string expected = file.string() + ": line 1, column 1: syntax error";
    EXPECT_EQ(file_complaint(file).substr(0, expected.size()), expected);
}

TEST(FleetFile, ThatCannotBeReadIsNamed)
{
    const Folder folder;
    const auto missing = folder.path / "missing.json";
    EXPECT_EQ(file_complaint(missing),
              missing.string() + ": cannot be read: No such file or directory");
    EXPECT_EQ(file_complaint(folder.path),
              folder.path.string() + ": cannot be read: Is a directory");
}

TEST(FleetFile, FindsKeysBesideItself)
{
    const Folder folder;
    folder.write("key.pem", "the key");
    const auto file = folder.write("fleet.json", device_with(R"("signing": {"key": "key.pem"})"));
    EXPECT_EQ(read_fleet(file).devices[0].signing.key, "the key");
}

class FleetMistake : public testing::TestWithParam<Mistake>
{
};

TEST_P(FleetMistake, IsNamedWithItsPlace)
{
    EXPECT_EQ(complaint_of<PlaceError>([] { parse_fleet(GetParam().written); }),
              GetParam().complaint);
}

INSTANTIATE_TEST_SUITE_P(
    Top, FleetMistake,
    testing::Values(
        Mistake{"NoObject", "[]", "an object is expected, not an array"},
        Mistake{"NumberTooLarge", R"({"devices": 1e999})", "number overflow parsing '1e999'"},
        Mistake{"UnknownMember", R"({"device": []})", "the member \"device\" is not known here"},
        Mistake{"ServiceWord", R"({"service": "gone"})",
                "service: \"present\" or \"absent\" is expected, not \"gone\""},
        Mistake{"ServiceNumber", R"({"service": 1})",
                "service: a text is expected, not a whole number"},
        Mistake{"DevicesObject", R"({"devices": {}})",
                "devices: an array is expected, not an object"},
        Mistake{"SamePath", R"({"devices": [{"path": "/a/b1"}, {"path": "/a/b1"}]})",
                "devices[1]: its path /a/b1 is already that of devices[0]"},
        Mistake{"MethodName", R"({"methods": {"Get": []}})",
                "methods: the member \"Get\" is not known here"}),
    name_of);

INSTANTIATE_TEST_SUITE_P(
    OfDevice, FleetMistake,
    testing::Values(
        Mistake{"NoPath", R"({"devices": [{}]})", "devices[0]: the member \"path\" is missing"},
        Mistake{"BadPath", R"({"devices": [{"path": "a/b"}]})",
                "devices[0].path: \"a/b\" is no valid object path"},
        Mistake{"PathNumber", R"({"devices": [{"path": 5}]})",
                "devices[0].path: a text is expected, not a whole number"},
        Mistake{"UnknownMember", device_with(R"("propertys": {})"),
                "devices[0]: the member \"propertys\" is not known here"},
        Mistake{"Preset", device_with(R"("preset": "gpu")"),
                "devices[0].preset: \"gpu\" is no preset: cpu, nic, halc or bare"},
        Mistake{"PropertyUntyped", device_with(R"("properties": {"XMID": "x"})"),
                "devices[0].properties.XMID: an array is expected, not a text"},
        Mistake{"PropertyParts", device_with(R"("properties": {"XMID": ["s"]})"),
                "devices[0].properties.XMID: [SIGNATURE, VALUE] is expected"},
        Mistake{"PropertyTypes", device_with(R"("properties": {"XMID": ["ss", "x"]})"),
                "devices[0].properties.XMID[0]: the signature of one complete type is expected, "
                "not \"ss\""},
        Mistake{"PropertyRange", device_with(R"("properties": {"XMID": ["q", 65536]})"),
                "devices[0].properties.XMID[1]: 65536 is out of range for type q (0 to 65535)"},
        Mistake{"InterfaceName", device_with(R"("interfaces": {"x": {}})"),
                "devices[0].interfaces.x: the name of the interface is not valid"},
        Mistake{"InterfaceZero", device_with(R"("interfaces": {"a.b\u0000c": {}})"),
                R"(devices[0].interfaces.a.b\u0000c: the name of the interface is not valid)"},
        Mistake{"PropertyZero", device_with(R"("properties": {"P\u0000": ["q", 1]})"),
                R"(devices[0].properties.P\u0000: a D-Bus text cannot hold the character U+0000)"},
        Mistake{"DeviceInterface", device_with(R"("interfaces": {"com.varn.bmc.spdm.spdm": {}})"),
                "devices[0].interfaces.com.varn.bmc.spdm.spdm: the properties of this interface "
                "belong under \"properties\""},
        Mistake{"MeasurementMember",
                device_with(R"("measurements": [{"index": 1, "algorithm": 1, "type": 1}])"),
                "devices[0].measurements[0]: the member \"data\" is missing"},
        Mistake{"MeasurementIndex",
                device_with(
                    R"("measurements": [{"index": 70000, "data": "", "algorithm": 1, "type": 1}])"),
                "devices[0].measurements[0].index: 70000 is out of range (0 to 65535)"},
        Mistake{"MeasurementData",
                device_with(
                    R"("measurements": [{"index": 1, "data": "00f", "algorithm": 1, "type": 1}])"),
                "devices[0].measurements[0].data: an even number of hex digits is expected, not 3"},
        Mistake{"Authentication", device_with(R"("authentication": -1)"),
                "devices[0].authentication: -1 is out of range (0 to 4294967295)"},
        Mistake{"Hashing", device_with(R"("signing": {"hashing": "MD5"})"),
                "devices[0].signing.hashing: \"MD5\" is no hashing algorithm that is known here"},
        Mistake{"Key", device_with(R"("signing": {"key": "no-such-key.pem"})"),
                "devices[0].signing.key: the key file ./no-such-key.pem cannot be read: No such "
                "file or directory"},
        Mistake{"Algorithm", device_with(R"("signing": {"algorithm": "RSA-1"})"),
                "devices[0].signing.algorithm: \"RSA-1\" is none of the signing algorithms " +
                    signing_algorithm_names()},
        Mistake{"MethodName", device_with(R"("methods": {"Reset": []})"),
                "devices[0].methods.Reset: a device has no such method, or none that rules can be "
                "written for"},
        Mistake{"MethodSet", device_with(R"("methods": {"Set": []})"),
                "devices[0].methods.Set: a device has no such method, or none that rules can be "
                "written for"},
        Mistake{"Rule", device_with(R"("methods": {"GetMeasurement": [{"cut": 0}, {}]})"),
                "devices[0].methods.GetMeasurement[1]: the rule has no action: reply, error, cut, "
                "no_reply, disconnect or delay_ms"}),
    name_of);

INSTANTIATE_TEST_SUITE_P(
    OfEvent, FleetMistake,
    testing::Values(
        Mistake{"Nothing", R"({"signals": [{"at_ms": 5}]})",
                "signals[0]: an event is one of add, remove, set and signal"},
        Mistake{"Several", R"({"signals": [{"remove": "/a", "add": {"path": "/a"}}]})",
                "signals[0]: an event is one of add, remove, set and signal, not several"},
        Mistake{"UnknownMember", R"({"signals": [{"after_ms": 5}]})",
                "signals[0]: the member \"after_ms\" is not known here"},
        Mistake{"At", R"({"signals": [{"remove": "/a", "at_ms": -5}]})",
                "signals[0].at_ms: -5 is out of range (0 to 86400000)"},
        Mistake{"Times", R"({"signals": [{"remove": "/a", "times": "x"}]})",
                "signals[0].times: a whole number is expected, not a text"},
        Mistake{"AddDevice", R"({"signals": [{"add": {"path": "/a", "preset": 5}}]})",
                "signals[0].add.preset: a text is expected, not a whole number"},
        Mistake{"RemovePath", R"({"signals": [{"remove": "a"}]})",
                "signals[0].remove: \"a\" is no valid object path"},
        Mistake{"SetParts", R"({"signals": [{"set": ["/a", "P"]}]})",
                "signals[0].set: [PATH, PROPERTY, [SIGNATURE, VALUE]] is expected"},
        Mistake{"SetValue", R"({"signals": [{"set": ["/a", "P", ["b", 1]]}]})",
                "signals[0].set[2][1]: true or false is expected, not a whole number"},
        Mistake{"SignalParts", R"({"signals": [{"signal": ["/a", "b.c", "D"]}]})",
                "signals[0].signal: [PATH, INTERFACE, MEMBER, [SIGNATURE, VALUE...]] is expected"},
        Mistake{"SignalInterface", R"({"signals": [{"signal": ["/a", "b", "D", [""]]}]})",
                "signals[0].signal[1]: \"b\" is no valid interface name"},
        Mistake{"SignalMember", R"({"signals": [{"signal": ["/a", "b.c", "D.E", [""]]}]})",
                "signals[0].signal[2]: \"D.E\" is no valid member name"},
        Mistake{"SignalMemberDigit", R"({"signals": [{"signal": ["/a", "b.c", "9x", ["q", 1]]}]})",
                "signals[0].signal[2]: \"9x\" is no valid member name"},
        Mistake{"SignalInterfaceReserved",
                R"({"signals": [{"signal": ["/a", "org.freedesktop.DBus.Local", "D", [""]]}]})",
                "signals[0].signal[1]: \"org.freedesktop.DBus.Local\" is reserved by the bus"},
        Mistake{"PathReserved", R"({"signals": [{"remove": "/org/freedesktop/DBus/Local"}]})",
                "signals[0].remove: \"/org/freedesktop/DBus/Local\" is reserved by the bus"},
        Mistake{"SetProperty", R"({"signals": [{"set": ["/a", "P\u0000", ["b", true]]}]})",
                "signals[0].set[1]: a D-Bus text cannot hold the character U+0000"},
        Mistake{"SignalBody", R"({"signals": [{"signal": ["/a", "b.c", "D", ["q"]]}]})",
                "signals[0].signal[3]: the signature \"q\" asks for 1 values, not 0"}),
    name_of);

} // namespace
