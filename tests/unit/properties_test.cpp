#include "operations/properties.hpp"
#include "recorded_console.hpp"

#include <gtest/gtest.h>

#include <sstream>
#include <variant>

namespace
{

PropertyMap all_properties()
{
    return {
        {"ChallengeStatus", std::uint32_t{1}},
        {"Version", std::string{"1.2"}},
        {"Certificate", true},
        {"ChallengeAuthRespSupport", false},
        {"Measurement", true},
        {"Encryption", false},
        {"SignedMeasurement", true},
        {"DeviceEID", std::uint16_t{12}},
        {"DeviceChallengeStatus", true},
        {"DeviceCertStatus", false},
        {"CertificateSlot0", true},
        {"CertificateSlot1", false},
        {"CertificateSlot2", true},
        {"CertificateSlot3", false},
        {"CertificateSlot4", true},
        {"CertificateSlot5", false},
        {"CertificateSlot6", true},
        {"CertificateSlot7", false},
        {"DeviceAllowed", true},
        {"XMID", std::string{"CPU 12"}},
        {"PhyBinding", std::uint16_t{65535}},
        {"Preferred", false},
        {"MeasurementSpecification", std::string{"DMTF"}},
        {"MeasurementSummary", std::string{"abcd"}},
        {"MeasurementSummaryHashAlgorithm", std::string{"SHA-384"}},
        {"MeasurementSummaryType", std::string{"TCB"}},
        {"NumMeasurements", std::uint16_t{5}},
    };
}

const std::string report_from_version = "Version                             : 1.2\n"
                                        "Certificate                         : true\n"
                                        "ChallengeAuthRespSupport            : false\n"
                                        "Measurement                         : true\n"
                                        "Encryption                          : false\n"
                                        "SignedMeasurement                   : true\n"
                                        "DeviceEID                           : 12\n"
                                        "DeviceChallengeStatus               : true\n"
                                        "DeviceCertStatus                    : false\n"
                                        "CertificateSlot0                    : true\n"
                                        "CertificateSlot1                    : false\n"
                                        "CertificateSlot2                    : true\n"
                                        "CertificateSlot3                    : false\n"
                                        "CertificateSlot4                    : true\n"
                                        "CertificateSlot5                    : false\n"
                                        "CertificateSlot6                    : true\n"
                                        "CertificateSlot7                    : false\n"
                                        "DeviceAllowed                       : true\n"
                                        "XMID                                : CPU 12\n"
                                        "PhyBinding                          : 65535\n"
                                        "Preferred                           : false\n"
                                        "MeasurementSpecification            : DMTF\n"
                                        "MeasurementSummary                  : abcd\n"
                                        "MeasurementSummaryHashAlgorithm     : SHA-384\n"
                                        "MeasurementSummaryType              : TCB\n"
                                        "NumMeasurements                     : 5\n";

std::string report(PropertyMap properties)
{
    std::ostringstream out;
    print_properties(out, properties);
    return out.str();
}

/// The text printed before the required exception.
std::string broken_report(PropertyMap properties)
{
    std::ostringstream out;
    EXPECT_THROW(print_properties(out, properties), std::bad_variant_access);
    return out.str();
}

std::string report_before(const std::string& label)
{
    return "ChallengeStatus                     : Passed\n" +
           report_from_version.substr(0, report_from_version.find(label));
}

TEST(PropertyReport, PrintsTheTwentySevenLines)
{
    EXPECT_EQ(report(all_properties()),
              "ChallengeStatus                     : Passed\n" + report_from_version);
}

TEST(PropertyReport, LeavesOutAChallengeStatusWithoutAText)
{
    auto properties = all_properties();
    properties["ChallengeStatus"] = std::uint32_t{7};
    EXPECT_EQ(report(properties), report_from_version);
}

TEST(PropertyReport, EndsBeforeItsFirstLabelWithoutAChallengeStatus)
{
    auto properties = all_properties();
    properties.erase("ChallengeStatus");
    EXPECT_EQ(broken_report(properties), "");
    properties["ChallengeStatus"] = std::uint16_t{1};
    EXPECT_EQ(broken_report(properties), "");
}

TEST(PropertyReport, TakesAnAbsentTextForAnEmptyOneAndEntersIt)
{
    auto properties = all_properties();
    properties.erase("MeasurementSummary");
    std::ostringstream out;
    print_properties(out, properties);
    EXPECT_NE(out.str().find("\nMeasurementSummary                  : \n"
                             "MeasurementSummaryHashAlgorithm     : SHA-384\n"),
              std::string::npos);
    EXPECT_EQ(std::get<std::string>(properties.at("MeasurementSummary")), "");
}

TEST(PropertyReport, EndsAfterTheLabelOfAnAbsentNumber)
{
    auto properties = all_properties();
    properties.erase("PhyBinding");
    EXPECT_EQ(broken_report(properties),
              report_before("PhyBinding") + "PhyBinding                          : ");
}

TEST(PropertyReport, EndsAfterTheLabelOfAnAbsentBool)
{
    auto properties = all_properties();
    properties.erase("Certificate");
    EXPECT_EQ(broken_report(properties),
              report_before("Certificate ") + "Certificate                         : ");
}

TEST(PropertyReport, SwitchesToWordsBeforeABoolThatIsAbsent)
{
    auto properties = all_properties();
    properties.erase("Certificate");
    std::ostringstream out;
    EXPECT_THROW(print_properties(out, properties), std::bad_variant_access);
    EXPECT_TRUE(out.flags() & std::ios_base::boolalpha);
}

TEST(PropertyReport, EndsAfterTheLabelOfAPropertyOfAnotherType)
{
    for (const auto& [name, value] : all_properties())
    {
        if (name == "ChallengeStatus")
        {
            continue;
        }
        auto properties = all_properties();
        properties[name] = std::uint32_t{1};
        auto label = name;
        label.resize(36, ' ');
        EXPECT_EQ(broken_report(properties), report_before(label + ": ") + label + ": ") << name;
    }
}

TEST(PropertyReport, LeavesBoolsPrintedAsWords)
{
    std::ostringstream out;
    out << true;
    auto properties = all_properties();
    print_properties(out, properties);
    out << true;
    EXPECT_EQ(out.str().substr(0, 1), "1");
    EXPECT_EQ(out.str().substr(out.str().rfind('\n')), "\ntrue");
}

TEST(PropertyReport, OfAnUnknownDeviceIsAFailure)
{
    const RecordedConsole console;
    EXPECT_EQ(show_properties(5), 1);
    EXPECT_EQ(console.lines(), "Object name not found.\n");
}

} // namespace
