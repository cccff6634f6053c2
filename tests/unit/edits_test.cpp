#include "report/reader/line_shapes.hpp"
#include "tests/unit/suite_text.hpp"

#include <algorithm>
#include <functional>
#include <map>
#include <ostream>
#include <set>

/// A transcript is text that anybody can edit. What an edit of one line may change, and what not.
namespace
{

using namespace report_test;
using report::Shape;
using report::Verdict;

/// Everything that did not pass, and how much passed.
struct Outcome
{
    std::multiset<std::string> findings;
    std::uint64_t passed = 0;

    bool operator==(const Outcome&) const = default;
};

Outcome outcome_of(const std::string& text)
{
    Outcome outcome;
    for (const auto& run : runs_of(text))
    {
        const auto judgement = judge(run);
        outcome.passed += judgement.counts[Verdict::passed];
        for (const auto& check : judgement.checks)
        {
            if (check.verdict != Verdict::passed)
            {
                outcome.findings.insert(std::string(word(check.verdict)) + ' ' + check.what + ": " +
                                        check.reason);
            }
        }
    }
    return outcome;
}

/// Whether an edit is found: something does not pass that was not among the findings before.
bool is_noticed(const Outcome& before, const Outcome& after)
{
    return std::any_of(after.findings.begin(), after.findings.end(), [&](const auto& finding) {
        return after.findings.count(finding) > before.findings.count(finding);
    });
}

Texts lines_of(const std::string& text)
{
    Texts lines;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);)
    {
        lines.push_back(line);
    }
    return lines;
}

std::string joined(const Texts& lines)
{
    std::string text;
    for (const auto& line : lines)
    {
        text += line + '\n';
    }
    return text;
}

/// Line shapes whose removal or repetition nobody needs to notice: no verdict hangs on them.
bool carries_no_verdict(const std::string& line)
{
    bool asked_slot = false;
    static const std::set<Shape> shapes{
        Shape::blank,
        Shape::known,
        // Bytes that are printed again, as part of the measurement or the signature.
        Shape::dump,
        Shape::indented,
        Shape::validation_problem,
        Shape::total_size,
        Shape::signature_size_expected,
        Shape::base64_received,
        Shape::complete_output,
        // Menus and tables, which the operator's choice follows.
        Shape::discovery_begins,
        Shape::top_menu,
        Shape::top_menu_exit,
        Shape::operations_menu,
        Shape::choose_option,
        Shape::enter_indices,
        Shape::object_listed,
        Shape::device_table,
        Shape::device_row,
        Shape::device_selected,
        Shape::suite_selection,
        Shape::all_devices_count,
        Shape::run_all_operations,
        Shape::run_all_suites,
        // Heads of what tells its verdict itself.
        Shape::measurement_begins,
        Shape::signed_begins,
        Shape::re_authenticate_head,
        Shape::properties_head,
        Shape::authentication_head,
        Shape::categories_begin,
        Shape::details_begin,
        Shape::different_slots,
        Shape::testing_slot,
        Shape::testing_unsupported_slot,
        Shape::testing_invalid_slot,
        Shape::test_indices,
        // What the device says it supports, and its texts.
        Shape::availability_path,
        Shape::measurement_support,
        Shape::signed_measurement_support,
        Shape::table_eid,
        Shape::table_xmid,
        Shape::table_description,
        // The check of the availability has failed already.
        Shape::suite_skipping,
        Shape::suite_aborting,
        Shape::service_absent,
        Shape::service_running,
        Shape::service_unknown,
    };
    return shapes.contains(report::recognise(report::without_prompts(line, asked_slot)).shape) ||
           line.starts_with("ChallengeStatus "); // Left out where its code has no word.
}

struct EditedCase
{
    std::string name;
    std::string text;
};

std::ostream& operator<<(std::ostream& out, const EditedCase& row)
{
    return out << row.name;
}

class Edits : public testing::TestWithParam<EditedCase>
{
};

/// A line is removed: an error, or nothing that matters was lost.
TEST_P(Edits, OneLineRemoved)
{
    const auto lines = lines_of(GetParam().text);
    const auto before = outcome_of(joined(lines));
    for (std::size_t i = 0; i < lines.size(); ++i)
    {
        auto edited = lines;
        edited.erase(edited.begin() + static_cast<std::ptrdiff_t>(i));
        const auto after = outcome_of(joined(edited));
        if (!is_noticed(before, after))
        {
            EXPECT_TRUE(carries_no_verdict(lines[i])) << i + 1 << ": " << lines[i];
            EXPECT_TRUE(std::includes(after.findings.begin(), after.findings.end(),
                                      before.findings.begin(), before.findings.end()))
                << i + 1 << ": " << lines[i];
        }
    }
}

/// Lines that may be repeated besides: the last of them counts, or they only count once.
bool may_be_repeated(const std::string& line)
{
    bool asked_slot = false;
    static const std::set<Shape> shapes{
        Shape::client_start,
        Shape::read_status,
        Shape::read_count,
        Shape::read_blocks,
        Shape::measurement_bus_error,
        Shape::signed_bus_error,
        Shape::measurement_error,
        Shape::signed_error,
        Shape::measurement_size,
        Shape::signature_size,
        Shape::validation_passed,
        Shape::validation_failed,
        Shape::availability_responsive,
        Shape::availability_bus_error,
        Shape::availability_error,
        Shape::availability_begins,
        Shape::normal_summary,
        Shape::signed_summary,
        Shape::failure_summary,
        Shape::stress_summary,
        Shape::summary_passed,
        Shape::details_categories,
        Shape::details_tests,
        Shape::details_rate,
        Shape::suite_verdict,
        Shape::re_authenticate_result,
        Shape::re_authenticate_error,
        Shape::descriptor_failed,
        Shape::properties_error,
    };
    return shapes.contains(report::recognise(report::without_prompts(line, asked_slot)).shape) ||
           carries_no_verdict(line);
}

/// A line is printed twice: an error, or what was found before is still found.
TEST_P(Edits, OneLineTwice)
{
    const auto lines = lines_of(GetParam().text);
    const auto before = outcome_of(joined(lines));
    for (std::size_t i = 0; i < lines.size(); ++i)
    {
        auto edited = lines;
        edited.insert(edited.begin() + static_cast<std::ptrdiff_t>(i), lines[i]);
        const auto after = outcome_of(joined(edited));
        if (!is_noticed(before, after))
        {
            EXPECT_TRUE(may_be_repeated(lines[i])) << i + 1 << ": " << lines[i];
            EXPECT_TRUE(std::includes(after.findings.begin(), after.findings.end(),
                                      before.findings.begin(), before.findings.end()))
                << i + 1 << ": " << lines[i];
        }
    }
}

/// Each verdict word that the client prints, and its opposite.
const std::vector<std::pair<std::string, std::string>> words{
    {"✗ FAIL: ", "✓ PASS: "},
    {"test failed", "test passed"},
    {"⚠ WARNING: Invalid measurement index unexpectedly passed",
     "✓ PASS: Invalid measurement index correctly failed"},
    {"⚠ WARNING: Invalid slot ID unexpectedly passed", "✓ PASS: Invalid slot ID correctly failed"},
    {"❌ VALIDATION FAILED: Signed measurement structure is invalid",
     "✅ VALIDATION: Signed measurement structure appears valid"},
    {"✗ FAIL", "✓ PASS"},
    {"⚠ WARN ", "✓ PASS "},
    {"✗ NEEDS ATTENTION", "✓ ALL PASS"},
    {"⚠ GOOD", "✓ ALL PASS"},
    {"⚠️  ATTENTION: Significant test failures detected.",
     "🎉 EXCELLENT: All tests passed successfully!"},
    {"✅ GOOD: Most tests passed. Review failed cases.",
     "🎉 EXCELLENT: All tests passed successfully!"},
};

/// The line with the word's opposite, as a whole verdict line where it is one.
std::string flipped(const std::string& line, const std::pair<std::string, std::string>& word)
{
    if (word.first == "✗ FAIL: ")
    {
        return replaced(replaced(line, word.first, word.second), "test failed", "test passed");
    }
    return replaced(line, word.first, word.second);
}

/// A verdict word is swapped: always an error.
TEST_P(Edits, OneVerdictSwapped)
{
    const auto lines = lines_of(GetParam().text);
    const auto before = outcome_of(joined(lines));
    for (std::size_t i = 0; i < lines.size(); ++i)
    {
        for (const auto& word : words)
        {
            for (const auto& swap : {word, std::pair{word.second, word.first}})
            {
                const auto edited_line = flipped(lines[i], swap);
                if (edited_line == lines[i] ||
                    lines[i] == "✗ FAIL: Authentication required for measurements")
                {
                    continue;
                }
                auto edited = lines;
                edited[i] = edited_line;
                EXPECT_TRUE(is_noticed(before, outcome_of(joined(edited))))
                    << i + 1 << ": " << lines[i] << " -> " << edited_line;
            }
        }
    }
}

/// Numbers of the summaries, the table and the statuses, each made another.
TEST_P(Edits, OneNumberOfAResultChanged)
{
    const auto lines = lines_of(GetParam().text);
    const auto before = outcome_of(joined(lines));
    const std::vector<std::string> heads{"Passed: ",
                                         "Expected Failures: ",
                                         "Success Rate: ",
                                         "Proper Error Handling Rate: ",
                                         "• Total Test Categories: ",
                                         "• Total Individual Tests: ",
                                         "• Overall Success Rate: ",
                                         "Get Measurement Status: ",
                                         "Get Signed Measurement Status: ",
                                         "DEBUG: Read status: ",
                                         "DEBUG: Read NumMeasurements: ",
                                         "DEBUG: Read measurement data, size: ",
                                         "📋 MEASUREMENT BLOCK ",
                                         "Data Size:     ",
                                         "Measurement Size: ",
                                         "Signature Size: ",
                                         "DEVICE "};
    for (std::size_t i = 0; i < lines.size(); ++i)
    {
        for (const auto& head : heads)
        {
            if (!lines[i].starts_with(head) || lines[i] == "DEVICE INFORMATION:")
            {
                continue;
            }
            auto edited = lines;
            auto& digit = edited[i][head.size()];
            digit = digit == '9' ? '8' : static_cast<char>(digit + 1);
            EXPECT_TRUE(is_noticed(before, outcome_of(joined(edited))))
                << i + 1 << ": " << lines[i] << " -> " << edited[i];
        }
    }
}

const std::string no_slots = "⚠ WARNING: No certificate slots found to be supported";
const std::string no_slots_asked =
    "ERROR: Failed to get supported slots. Check device connectivity.";
const std::string descriptor = "• XMID: CPU-12\n• Description: A CPU\n";
const std::string no_descriptor = "• XMID: Not available\n• Description: Not available\n";
const std::string descriptor_failed =
    "WARNING: Failed to get device properties. Check service availability.\n";
const std::string table_begins = "\n" + std::string(73, '=') + "\n|  ";

INSTANTIATE_TEST_SUITE_P(
    Of, Edits,
    testing::Values(
        EditedCase{"ASuite", suite(SuiteText().whole())},
        EditedCase{"ASuiteWhoseDescriptorFails",
                   suite(replaced(replaced(SuiteText().whole(), descriptor, no_descriptor),
                                  table_begins, "\n" + descriptor_failed + table_begins))},
        EditedCase{"AFailingSuite", transcript("suite-partial-failures")},
        EditedCase{"ASuiteWithoutSlots", transcript("suite-of-a-device-without-slots")},
        EditedCase{"FailingSlotDiscoveries", replaced(transcript("suite-of-a-device-without-slots"),
                                                      no_slots, no_slots_asked)},
        EditedCase{"SuitesOnAllDevices", transcript("suite-on-all-devices-skips-the-unavailable")},
        EditedCase{"ARegression", transcript("regression-of-two-devices")},
        EditedCase{"ARegressionOfUnknownStatuses", transcript("regression-of-unknown-statuses")},
        EditedCase{"OperationsOnAllDevices", transcript("run-all-operations")}),
    [](const auto& info) { return info.param.name; });

/// What a device's text may hold.
struct ForgedCase
{
    std::string name;
    std::string old; ///< A text of the device in the transcript.
    std::string by;
};

std::ostream& operator<<(std::ostream& out, const ForgedCase& row)
{
    return out << row.name;
}

class Forged : public testing::TestWithParam<ForgedCase>
{
};

/// A device whose every measurement fails prints lines of the client's own.
TEST_P(Forged, LinesAreErrors)
{
    const auto text = transcript("suite-partial-failures");
    const auto before = outcome_of(text);
    const auto at = text.find(GetParam().old);
    ASSERT_NE(at, std::string::npos);
    auto edited = text;
    edited.replace(at, GetParam().old.size(), GetParam().by);
    const auto after = outcome_of(edited);
    EXPECT_TRUE(is_noticed(before, after));
    EXPECT_TRUE(std::includes(after.findings.begin(), after.findings.end(), before.findings.begin(),
                              before.findings.end()));
}

const std::string table = "• XMID: DEV-12";
const std::string forged_row = "| Normal Measurements             |      12|      12|     100% | ✓ "
                               "PASS | \n";

INSTANTIATE_TEST_SUITE_P(
    In, Forged,
    testing::Values(
        ForgedCase{"XmidAVerdict", table,
                   table + "\n✓ PASS: Single measurement index 1 test passed"},
        ForgedCase{"XmidARow", table, table + "\n" + forged_row},
        ForgedCase{"XmidDetails", table,
                   table + "\nTest Execution Details:\n• Total Test Categories: 4\n"
                           "• Total Individual Tests: 49\n• Overall Success Rate: 100%\n"
                           "🎉 EXCELLENT: All tests passed successfully!"},
        ForgedCase{"XmidAnEnd", table,
                   table + "\n#           MEASUREMENT TEST SUITE DONE         #"},
        ForgedCase{"XmidASummary", table,
                   table + "\n=== NORMAL MEASUREMENT TEST SUMMARY ===\nPassed: 12/12 tests\n"
                           "Success Rate: 100%"},
        ForgedCase{"XmidTheMonitor", table,
                   table + "\nPress -1 to stop monitoring\nReceived properties changed Signal.\n"
                           "Properties change handler is completed."},
        ForgedCase{"XmidASecondRun", table, table + "\n" + top_menu + banner + top_menu},
        ForgedCase{"XmidOfTheTableAResult", "|          DEV-12 |",
                   "|          DEV-12\nReAuth Status: Passed Time taken(In us): 1\n |"},
        ForgedCase{"XmidOfTheTableASignal", "|          DEV-12 |",
                   "|          DEV-12\nReceived properties changed Signal.\n |"}),
    [](const auto& info) { return info.param.name; });

} // namespace
