#include "simulator/introspection.hpp"

#include <algorithm>

namespace simulator
{

namespace
{

std::string escaped(const std::string& text)
{
    std::string result;
    for (const char c : text)
    {
        switch (c)
        {
            case '&': result += "&amp;"; break;
            case '<': result += "&lt;"; break;
            case '>': result += "&gt;"; break;
            case '"': result += "&quot;"; break;
            default: result += c;
        }
    }
    return result;
}

std::string arguments_xml(const std::vector<Argument>& arguments, const std::string& direction)
{
    std::string xml;
    for (const Argument& argument : arguments)
    {
        xml += "   <arg type=\"" + argument.type + "\" name=\"" + argument.name + "\"" + direction +
               "/>\n";
    }
    return xml;
}

std::string method_xml(const Method& method)
{
    return "  <method name=\"" + method.name + "\">\n" +
           arguments_xml(method.in, " direction=\"in\"") +
           arguments_xml(method.out, " direction=\"out\"") + "  </method>\n";
}

std::string signal_xml(const SignalMember& signal)
{
    return "  <signal name=\"" + signal.name + "\">\n" + arguments_xml(signal.arguments, "") +
           "  </signal>\n";
}

std::string properties_xml(const Properties& properties)
{
    std::string xml;
    for (const auto& [name, value] : properties)
    {
        xml += "  <property name=\"" + escaped(name) + "\" type=\"" + value.signature +
               "\" access=\"read\"/>\n";
    }
    return xml;
}

std::string interface_xml(const std::string& name, const std::string& members)
{
    return " <interface name=\"" + name + "\">\n" + members + " </interface>\n";
}

std::string members_xml(const Interface& interface)
{
    std::string xml;
    for (const Method& method : interface.methods)
    {
        xml += method_xml(method);
    }
    for (const SignalMember& signal : interface.signals)
    {
        xml += signal_xml(signal);
    }
    return xml;
}

} // namespace

std::string introspection_xml(const Node& node)
{
    std::string xml = "<!DOCTYPE node PUBLIC \"-//freedesktop//DTD D-BUS Object Introspection "
                      "1.0//EN\"\n"
                      "\"http://www.freedesktop.org/standards/dbus/1.0/introspect.dtd\">\n"
                      "<node>\n";
    auto properties = node.properties;
    for (const Interface* interface : node.interfaces)
    {
        const auto own = properties.extract(interface->name);
        xml +=
            interface_xml(interface->name, members_xml(*interface) +
                                               (own.empty() ? "" : properties_xml(*own.mapped())));
    }
    for (const auto& [name, rest] : properties)
    {
        xml += interface_xml(name, properties_xml(*rest));
    }
    for (const std::string& child : node.children)
    {
        xml += " <node name=\"" + child + "\"/>\n";
    }
    return xml + "</node>\n";
}

} // namespace simulator
