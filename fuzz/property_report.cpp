// Input: properties, a line each: the D-Bus type's letter, a blank, the name, "=", the value.

#include "fuzz/support/require.hpp"
#include "fuzz/support/stream_format.hpp"
#include "operations/properties.hpp"

#include <cstdlib>
#include <map>
#include <sstream>
#include <string>
#include <variant>

namespace
{

PropertyValue parse_value(char type, const std::string& text)
{
    const auto number = std::strtoul(text.c_str(), nullptr, 10);
    switch (type)
    {
        case 'u': return static_cast<std::uint32_t>(number);
        case 'q': return static_cast<std::uint16_t>(number);
        case 'b': return text == "true";
        default: return text;
    }
}

PropertyMap parse(std::string_view input)
{
    std::istringstream lines{std::string{input}};
    PropertyMap properties;
    for (std::string line; std::getline(lines, line);)
    {
        const auto equals = std::min(line.find('='), line.size());
        if (equals >= 2)
        {
            const auto value = line.substr(std::min(equals + 1, line.size()));
            properties.emplace(line.substr(2, equals - 2), parse_value(line[0], value));
        }
    }
    return properties;
}

/// In the order of the report, each behind its type's letter.
constexpr const char* report[] = {
    "s Version",
    "b Certificate",
    "b ChallengeAuthRespSupport",
    "b Measurement",
    "b Encryption",
    "b SignedMeasurement",
    "q DeviceEID",
    "b DeviceChallengeStatus",
    "b DeviceCertStatus",
    "b CertificateSlot0",
    "b CertificateSlot1",
    "b CertificateSlot2",
    "b CertificateSlot3",
    "b CertificateSlot4",
    "b CertificateSlot5",
    "b CertificateSlot6",
    "b CertificateSlot7",
    "b DeviceAllowed",
    "s XMID",
    "q PhyBinding",
    "b Preferred",
    "s MeasurementSpecification",
    "s MeasurementSummary",
    "s MeasurementSummaryHashAlgorithm",
    "s MeasurementSummaryType",
    "q NumMeasurements",
};

char type_of(const PropertyValue& value)
{
    return "suqb"[value.index()];
}

std::string text_of(const PropertyValue& value)
{
    switch (type_of(value))
    {
        case 'u': return std::to_string(std::get<std::uint32_t>(value));
        case 'q': return std::to_string(std::get<std::uint16_t>(value));
        case 'b': return std::get<bool>(value) ? "true" : "false";
        default: return std::get<std::string>(value);
    }
}

/// What the report prints, and whether it comes to its end.
struct Report
{
    std::string text;
    bool complete = false;
    bool has_bool = false;
};

Report expected_report(const PropertyMap& properties)
{
    constexpr const char* challenge_texts[] = {"Not Ready", "Passed", "In Progress", "Failed",
                                               "Not Supported"};
    Report report_text;
    auto& text = report_text.text;
    const auto challenge = properties.find("ChallengeStatus");
    if (challenge == properties.end() || type_of(challenge->second) != 'u')
    {
        return report_text;
    }
    if (const auto code = std::get<std::uint32_t>(challenge->second); code <= 4)
    {
        text +=
            std::string{"ChallengeStatus                     : "} + challenge_texts[code] + "\n";
    }
    for (const std::string row : report)
    {
        const auto name = row.substr(2);
        text += name + std::string(36 - name.size(), ' ') + ": ";
        report_text.has_bool = report_text.has_bool || row[0] == 'b';
        const auto property = properties.find(name);
        const auto value = property == properties.end() ? PropertyValue{} : property->second;
        if (type_of(value) != row[0])
        {
            return report_text;
        }
        text += text_of(value) + "\n";
    }
    report_text.complete = true;
    return report_text;
}

bool print(std::ostream& out, PropertyMap& properties)
try
{
    print_properties(out, properties);
    return true;
}
catch (const std::bad_variant_access&)
{
    return false;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    auto properties = parse({reinterpret_cast<const char*>(data), size});
    const auto received = properties;
    const auto expected = expected_report(received);

    std::ostringstream out;
    const bool complete = print(out, properties);
    require_equal(out.str(), expected.text, "report");
    require(complete == expected.complete, "a property of another type ends the report");
    require_plain_format(out, std::ios_base::boolalpha);
    require((out.flags() & std::ios_base::boolalpha) != 0 == expected.has_bool,
            "bools are words from the first bool on");
    for (const auto& [name, value] : properties)
    {
        const auto before = received.find(name);
        require((before == received.end() ? PropertyValue{} : before->second) == value,
                "only absent properties are entered, as empty texts");
    }
    require(out.str().size() <= 27 * 64 + size, "the output is linear in the input");
    return 0;
}
