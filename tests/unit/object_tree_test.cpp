#include "simulator/object_tree.hpp"
#include "simulator/presets.hpp"

#include <gtest/gtest.h>

#include <optional>
#include <string>

namespace
{

using namespace simulator;

const std::string root = "/com/varn/bmc/spdm/spdm";
const std::string device_interface_name = "com.varn.bmc.spdm.spdm";
const std::string properties_name = "org.freedesktop.DBus.Properties";
const std::string introspectable_name = "org.freedesktop.DBus.Introspectable";
const std::string object_manager_name = "org.freedesktop.DBus.ObjectManager";

Device bare(const std::string& path)
{
    Device device = *preset_device("bare", path);
    device.properties = {{"XMID", text_value("x<y")}};
    device.interfaces = {{"a.b", {{"P", number_value('y', 1)}}}};
    return device;
}

ObjectTree small_tree()
{
    return ObjectTree(
        {bare(root + "/cpu/cpu_1"), bare(root + "/nicController/nic_2"), bare("/else/where3")});
}

/// The error's name, or "answered".
std::string outcome(ObjectTree& tree, const Call& call)
{
    const auto resolved = tree.resolve(call);
    if (const auto* error = std::get_if<ErrorReply>(&resolved))
    {
        return error->name;
    }
    const Answer answer = tree.answer(call);
    const auto* error = std::get_if<ErrorReply>(&answer.reply);
    return error == nullptr ? "answered" : error->name;
}

Body reply(ObjectTree& tree, const Call& call)
{
    EXPECT_TRUE(std::holds_alternative<const Method*>(tree.resolve(call)));
    return std::get<Body>(tree.answer(call).reply);
}

Call get(const std::string& path, const std::string& interface, const std::string& property)
{
    return {path, properties_name, "Get", {text_value(interface), text_value(property)}};
}

Call get_all(const std::string& path, const std::string& interface)
{
    return {path, properties_name, "GetAll", {text_value(interface)}};
}

Call introspect(const std::string& path)
{
    return {path, introspectable_name, "Introspect", {}};
}

/// The paths in the reply of GetManagedObjects.
std::string managed_by(ObjectTree& tree, const std::string& path)
{
    std::string paths;
    const Body body = reply(tree, {path, object_manager_name, "GetManagedObjects", {}});
    EXPECT_EQ(body_signature(body), "a{oa{sa{sv}}}");
    for (const Value& entry : elements_in(body[0]))
    {
        paths += text_in(elements_in(entry)[0]) + "\n";
    }
    return paths;
}

const std::string xml_head =
    "<!DOCTYPE node PUBLIC \"-//freedesktop//DTD D-BUS Object Introspection 1.0//EN\"\n"
    "\"http://www.freedesktop.org/standards/dbus/1.0/introspect.dtd\">\n";

TEST(ObjectTree, GivesProperties)
{
    ObjectTree tree = small_tree();
    const std::string path = root + "/cpu/cpu_1";
    EXPECT_EQ(reply(tree, get(path, device_interface_name, "XMID")),
              Body{variant_value(text_value("x<y"))});
    EXPECT_EQ(reply(tree, get(path, "a.b", "P")), Body{variant_value(number_value('y', 1))});
    EXPECT_EQ(reply(tree, get(path, "", "P")), Body{variant_value(number_value('y', 1))});
    EXPECT_EQ(reply(tree, get_all(path, device_interface_name)),
              Body{properties_value({{"XMID", text_value("x<y")}})});
    EXPECT_EQ(reply(tree, get_all(path, "")),
              Body{properties_value({{"P", number_value('y', 1)}, {"XMID", text_value("x<y")}})});
    EXPECT_EQ(reply(tree, get_all(path, properties_name)), Body{properties_value({})});
}

TEST(ObjectTree, RefusesWithTheStandardErrors)
{
    ObjectTree tree = small_tree();
    const std::string path = root + "/cpu/cpu_1";
    const std::string error = "org.freedesktop.DBus.Error.";
    const Call set{
        path,
        properties_name,
        "Set",
        {text_value(device_interface_name), text_value("XMID"), variant_value(text_value("z"))}};
    EXPECT_EQ(outcome(tree, {"/no", device_interface_name, "ReAuthenticate", {}}),
              error + "UnknownObject");
    EXPECT_EQ(outcome(tree, {path, "no.such", "ReAuthenticate", {}}), error + "UnknownInterface");
    EXPECT_EQ(outcome(tree, {path, device_interface_name, "Reset", {}}), error + "UnknownMethod");
    EXPECT_EQ(outcome(tree, {path, "a.b", "Reset", {}}), error + "UnknownMethod");
    EXPECT_EQ(outcome(tree, {path, "", "Reset", {}}), error + "UnknownMethod");
    EXPECT_EQ(outcome(tree, {path, device_interface_name, "GetCertificate", {}}),
              error + "InvalidArgs");
    EXPECT_EQ(outcome(tree, {root, device_interface_name, "ReAuthenticate", {}}),
              error + "UnknownInterface");
    EXPECT_EQ(outcome(tree, get(path, "no.such", "XMID")), error + "UnknownInterface");
    EXPECT_EQ(outcome(tree, get(path, device_interface_name, "P")), error + "UnknownProperty");
    EXPECT_EQ(outcome(tree, set), error + "PropertyReadOnly");
}

TEST(ObjectTree, FindsAMethodWithoutItsInterface)
{
    ObjectTree tree = small_tree();
    EXPECT_EQ(outcome(tree, {root, "", "Introspect", {}}), "answered");
}

TEST(ObjectTree, RefusesWhatHasGoneSinceItWasResolved)
{
    ObjectTree tree = small_tree();
    const std::string path = root + "/cpu/cpu_1";
    tree.remove(path);
    for (const Call& call :
         {Call{path, device_interface_name, "ReAuthenticate", {}}, get_all(path, "a.b")})
    {
        EXPECT_EQ(std::get<ErrorReply>(tree.answer(call).reply).name,
                  "org.freedesktop.DBus.Error.UnknownObject");
    }
}

TEST(ObjectTree, ManagersKnowWhatLiesBelowThem)
{
    ObjectTree tree = small_tree();
    EXPECT_EQ(managed_by(tree, root + "/devicemanager"),
              root + "/cpu/cpu_1\n" + root + "/nicController/nic_2\n/else/where3\n");
    EXPECT_EQ(managed_by(tree, root + "/cpu"), root + "/cpu/cpu_1\n");
    EXPECT_EQ(managed_by(tree, root + "/halcController"), "");
    tree.add(bare(root + "/halcController/halc_3"));
    tree.remove("/else/where3");
    EXPECT_EQ(managed_by(tree, root + "/halcController"), root + "/halcController/halc_3\n");
    EXPECT_EQ(managed_by(tree, root + "/devicemanager"), root + "/cpu/cpu_1\n" + root +
                                                             "/halcController/halc_3\n" + root +
                                                             "/nicController/nic_2\n");
}

TEST(ObjectTree, ManagedObjectsCarryTheirInterfaces)
{
    ObjectTree tree({bare("/else/where3")});
    const Value interfaces = array_value(
        "{sa{sv}}",
        {entry_value(text_value(device_interface_name),
                     properties_value({{"XMID", text_value("x<y")}})),
         entry_value(text_value("a.b"), properties_value({{"P", number_value('y', 1)}}))});
    EXPECT_EQ(
        reply(tree, {root + "/devicemanager", object_manager_name, "GetManagedObjects", {}}),
        Body{array_value("{oa{sa{sv}}}", {entry_value(path_value("/else/where3"), interfaces)})});
}

TEST(ObjectTree, IntrospectionShowsTheChildren)
{
    ObjectTree tree = small_tree();
    const std::string all = text_in(reply(tree, introspect("/"))[0]);
    EXPECT_EQ(all.substr(0, xml_head.size()), xml_head);
    EXPECT_EQ(all.substr(all.rfind("</interface>")),
              "</interface>\n <node name=\"com\"/>\n <node name=\"else\"/>\n</node>\n");
    const std::string below = text_in(reply(tree, introspect(root))[0]);
    EXPECT_EQ(below.substr(below.rfind("</interface>")),
              "</interface>\n <node name=\"cpu\"/>\n <node name=\"devicemanager\"/>\n"
              " <node name=\"halcController\"/>\n <node name=\"info\"/>\n"
              " <node name=\"nicController\"/>\n</node>\n");
}

TEST(ObjectTree, IntrospectionShowsADevice)
{
    ObjectTree tree = small_tree();
    const std::string xml = text_in(reply(tree, introspect("/else/where3"))[0]);
    const std::string device =
        "<node>\n"
        " <interface name=\"com.varn.bmc.spdm.spdm\">\n"
        "  <method name=\"ReAuthenticate\">\n"
        "   <arg type=\"u\" name=\"status\" direction=\"out\"/>\n"
        "  </method>\n"
        "  <method name=\"GetCertificate\">\n"
        "   <arg type=\"q\" name=\"slot\" direction=\"in\"/>\n"
        "   <arg type=\"q\" name=\"status\" direction=\"out\"/>\n"
        "   <arg type=\"s\" name=\"path\" direction=\"out\"/>\n"
        "  </method>\n"
        "  <method name=\"GetCertificateProperties\">\n"
        "   <arg type=\"u\" name=\"slot\" direction=\"in\"/>\n"
        "   <arg type=\"u\" name=\"status\" direction=\"out\"/>\n"
        "  </method>\n"
        "  <method name=\"GetMeasurement\">\n"
        "   <arg type=\"q\" name=\"slot\" direction=\"in\"/>\n"
        "   <arg type=\"aq\" name=\"indices\" direction=\"in\"/>\n"
        "   <arg type=\"q\" name=\"status\" direction=\"out\"/>\n"
        "   <arg type=\"q\" name=\"count\" direction=\"out\"/>\n"
        "   <arg type=\"a(qayuq)\" name=\"measurements\" direction=\"out\"/>\n"
        "  </method>\n"
        "  <method name=\"GetSignedMeasurement\">\n"
        "   <arg type=\"aq\" name=\"indices\" direction=\"in\"/>\n"
        "   <arg type=\"q\" name=\"slot\" direction=\"in\"/>\n"
        "   <arg type=\"s\" name=\"nonce\" direction=\"in\"/>\n"
        "   <arg type=\"u\" name=\"status\" direction=\"out\"/>\n"
        "   <arg type=\"s\" name=\"signed_measurements\" direction=\"out\"/>\n"
        "   <arg type=\"s\" name=\"hashing_algorithm\" direction=\"out\"/>\n"
        "   <arg type=\"s\" name=\"signing_algorithm\" direction=\"out\"/>\n"
        "   <arg type=\"s\" name=\"version\" direction=\"out\"/>\n"
        "  </method>\n"
        "  <signal name=\"DeviceError\">\n"
        "   <arg type=\"q\" name=\"code\"/>\n"
        "  </signal>\n"
        "  <signal name=\"CertificateProgress\">\n"
        "   <arg type=\"y\" name=\"progress\"/>\n"
        "  </signal>\n"
        "  <property name=\"XMID\" type=\"s\" access=\"read\"/>\n"
        " </interface>\n";
    EXPECT_EQ(xml.substr(xml_head.size(), device.size()), device);
    EXPECT_NE(xml.find(" <interface name=\"a.b\">\n"
                       "  <property name=\"P\" type=\"y\" access=\"read\"/>\n"
                       " </interface>\n"),
              std::string::npos);
}

TEST(ObjectTree, IntrospectionEscapesPropertyNames)
{
    Device device = bare("/d1");
    device.properties = {{"a<\"&>", text_value("")}};
    ObjectTree tree({device});
    EXPECT_NE(text_in(reply(tree, introspect("/d1"))[0]).find("name=\"a&lt;&quot;&amp;&gt;\""),
              std::string::npos);
}

} // namespace
