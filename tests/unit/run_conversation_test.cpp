#include "name_of.hpp"
#include "runner/conversation.hpp"

#include <gtest/gtest.h>

#include <ostream>
#include <string>
#include <string_view>
#include <vector>

namespace
{

using namespace runner;
using Answers = std::vector<std::string>;

const std::string banner =
    "SPDM Client Start\nInitialization successful\nAvailable SPDM Supported Devices.\n";
const std::string main_menu = "1: Regression Test\n2: Normal Test\n3: Measurement Test Suite\n"
                              "4: Exit \nPlease Choose the option:\n";
const std::string operations_menu =
    "1: ReAuthenticate\n2: GetCertficate\n3: GetCertificateProperties\n4: GetAll Properties\n"
    "5: Recurring ReAuthenticate\n6: GetMeasurement \n7: GetSignedMeasurement \n"
    "8: Monitor Signals\n9: Go Back \nPlease Choose the option:\n";
const std::string suite_menu = "\nDevice Selection Options:\n1. Run on current device (EID 5)\n"
                               "2. Select device by index from discovered devices\n"
                               "3. Run on all discovered SPDM devices\nEnter choice (1-3): ";

/// The device table with these texts as XMIDs; the EIDs are 10, 11 and so on.
std::string table(const std::vector<std::string>& xmids)
{
    std::string list = "Available SPDM objects:\n";
    std::string rows = "\nDiscovered SPDM Devices:\nIndex | EID  | XMID            | D-Bus Path\n"
                       "------|------|-----------------|----------------------------------\n";
    const auto field = [](std::size_t number, std::size_t width) {
        const auto text = std::to_string(number);
        return std::string(width - text.size(), ' ') + text;
    };
    for (std::size_t i = 0; i < xmids.size(); ++i)
    {
        const auto path = "/com/varn/bmc/spdm/spdm/cpu/cpu_" + std::to_string(10 + i);
        list += std::to_string(i + 1) + ": " + path + "\n";
        rows += field(i, 5) + " | " + field(99, 4) + " | " + xmids[i] + " | " + path + "\n";
    }
    const auto count = xmids.size();
    return list + "\n" + rows + field(count, 5) + " |  ALL | Run on all objects\n" +
           "\nChoose the device index (0-" + std::to_string(count) + "): \n";
}

/// What a client prints up to each answer, and the answer that it must get.
struct Exchange
{
    std::string output;
    std::string answer;
};

struct Talk
{
    std::string name;
    Task task;
    std::vector<Exchange> exchanges;
};

std::ostream& operator<<(std::ostream& out, const Talk& talk)
{
    return out << talk.name;
}

const std::string devices = table({"A", "B", "C"});

const std::vector<Talk> talks{
    {"Regression",
     {Activity::regression, {}},
     {{banner + main_menu, "1\n"}, {"Starting Regression\n\n" + main_menu, "4\n"}}},
    {"SuiteOnAll",
     {Activity::suite, {}},
     {{banner + main_menu, "3\n"}, {devices, "3\n"}, {"\nDEVICE\n" + main_menu, "4\n"}}},
    {"SuiteOnTwo",
     {Activity::suite, {12, 10}},
     {{banner + main_menu, "3\n"},
      {devices, "2\n"},
      {suite_menu, "1\n"},
      {"\n=== Checking\n" + main_menu, "3\n"},
      {devices, "0\n"},
      {suite_menu, "1\n"},
      {"\n=== Checking\n" + main_menu, "4\n"}}},
    {"PropertiesOfAll",
     {Activity::properties, {}},
     {{banner + main_menu, "2\n"}, {devices, "3\n"}, {"\n" + main_menu, "4\n"}}},
    {"PropertiesOfOne",
     {Activity::properties, {11}},
     {{banner + main_menu, "2\n"},
      {devices, "1\n"},
      {operations_menu, "1\n"},
      {"ReAuth Status: Passed\n" + operations_menu, "4\n"},
      {"XMID : B\n" + operations_menu, "9\n"},
      {main_menu, "4\n"}}},
    {"NoDevices",
     {Activity::suite, {}},
     {{banner + main_menu, "3\n"},
      {"Available SPDM objects:\nNo objects found\n" + main_menu, "4\n"}}},
    {"LoginTextAndCarriageReturns",
     {Activity::regression, {}},
     {{"Welcome\r\n1: Regression Test\r\n1: Regression Test\r\n2: Normal Test\r\n"
       "3: Measurement Test Suite\r\n4: Exit \r\nPlease Choose the option:\r\n",
       "1\n"},
      {"1\r\n" + main_menu, "4\n"}}},
};

class Conversations : public testing::TestWithParam<Talk>
{
};

TEST_P(Conversations, GoToTheirEnd)
{
    Conversation conversation(GetParam().task);
    for (const auto& [output, answer] : GetParam().exchanges)
    {
        EXPECT_FALSE(conversation.complete());
        EXPECT_EQ(conversation.take(output), Answers{answer}) << output;
    }
    EXPECT_TRUE(conversation.complete());
    EXPECT_EQ(conversation.problem(), "");
}

/// Wherever the output is cut, an answer comes with its prompt: not before its last byte, or the blank
/// and line end after it, has come, and then at once.
TEST_P(Conversations, AnswerWhereverOutputIsCut)
{
    std::string whole;
    std::vector<std::size_t> ends;
    Answers expected;
    for (const auto& [output, answer] : GetParam().exchanges)
    {
        whole += output;
        ends.push_back(whole.size());
        expected.push_back(answer);
    }
    for (std::size_t cut = 0; cut <= whole.size(); ++cut)
    {
        Conversation conversation(GetParam().task);
        Answers answers = conversation.take(std::string_view(whole).substr(0, cut));
        for (std::size_t i = answers.size(); i < ends.size(); ++i)
        {
            EXPECT_LE(cut, ends[i]) << "answer " << i;
        }
        for (std::size_t i = 0; i < answers.size(); ++i)
        {
            EXPECT_GE(cut + std::string_view(" \r\n").size(), ends[i]) << "answer " << i;
        }
        for (auto& answer : conversation.take(std::string_view(whole).substr(cut)))
        {
            answers.push_back(answer);
        }
        EXPECT_EQ(answers, expected) << "cut at " << cut;
    }
}

TEST_P(Conversations, AnswerByteAfterByte)
{
    Conversation conversation(GetParam().task);
    for (const auto& [output, answer] : GetParam().exchanges)
    {
        Answers answers;
        for (const char byte : output)
        {
            for (auto& text : conversation.take({&byte, 1}))
            {
                answers.push_back(text);
            }
        }
        EXPECT_EQ(answers, Answers{answer}) << output;
    }
    EXPECT_TRUE(conversation.complete());
}

/// The prompts in the output have no line ends; the next text follows at once.
TEST_P(Conversations, NeedNoLineEndsAfterPrompts)
{
    Conversation conversation(GetParam().task);
    for (const auto& [output, answer] : GetParam().exchanges)
    {
        const auto end = output.find_last_not_of(" \r\n") + 1;
        const auto prompt = output.ends_with("(1-3): ") ? output : output.substr(0, end);
        EXPECT_EQ(conversation.take(prompt), Answers{answer}) << output;
    }
    EXPECT_TRUE(conversation.complete());
}

INSTANTIATE_TEST_SUITE_P(All, Conversations, testing::ValuesIn(talks), name_of);

/// The answer to the table, with these XMIDs in it, of a suite on the device 11.
Answers answers_to_table(const std::vector<std::string>& xmids)
{
    Conversation conversation({Activity::suite, {11}});
    conversation.take(main_menu);
    return conversation.take(table(xmids));
}

TEST(RunConversation, FindsDevicesWhateverTheirTexts)
{
    const Answers second{"1\n"};
    EXPECT_EQ(answers_to_table({"", ""}), second);
    EXPECT_EQ(answers_to_table({"N/A", "N/A"}), second);
    EXPECT_EQ(answers_to_table({"a | b", "a | /com/varn/cpu_10"}), second);
    EXPECT_EQ(answers_to_table({"a\nb\n", "\n\n"}), second);
    EXPECT_EQ(answers_to_table({std::string(1'000'000, 'x'), "\xff\xfe"}), second);
    EXPECT_EQ(answers_to_table({"x\n    1 |   11 | A | /com/varn/bmc/spdm/spdm/cpu/cpu_10", "B"}),
              second);
    EXPECT_EQ(answers_to_table({"x\n    0 |   11 | A | /com/cpu_11\n    1 |  ALL | Run on all "
                                "objects\n\nChoose the device index (0-1): ",
                                "B"}),
              second);
}

TEST(RunConversation, FindsDevicesByTheirPathsEid)
{
    Conversation conversation({Activity::suite, {99}}); // The table shows it as the device's own.
    conversation.take(main_menu);
    EXPECT_EQ(conversation.take(devices), Answers{});
    EXPECT_EQ(conversation.problem(), "offers no device with EID 99, only 10, 11, 12");
}

TEST(RunConversation, AsksForAllDevicesBeforeTheFirst)
{
    Conversation conversation({Activity::suite, {10, 4, 5}});
    conversation.take(main_menu);
    EXPECT_EQ(conversation.take(devices), Answers{});
    EXPECT_EQ(conversation.problem(), "offers no device with EID 4, only 10, 11, 12");
}

TEST(RunConversation, ShowsTwentyOfManyEids)
{
    Conversation conversation({Activity::suite, {5}});
    conversation.take(main_menu);
    conversation.take(table(std::vector<std::string>(21, "A")));
    EXPECT_EQ(conversation.problem(),
              "offers no device with EID 5, only 10, 11, 12, 13, 14, 15, 16, 17, 18, 19, 20, 21, "
              "22, 23, 24, 25, 26, 27, 28, 29, ...");
}

TEST(RunConversation, NoDeviceHasTheEidWhereThereAreNone)
{
    Conversation conversation({Activity::suite, {5}});
    conversation.take(main_menu);
    EXPECT_EQ(conversation.take("Available SPDM objects:\nNo objects found\n" + main_menu),
              Answers{});
    EXPECT_EQ(conversation.problem(), "offers no device with EID 5, it found none");
}

TEST(RunConversation, MonitorsUntilItIsStopped)
{
    Conversation conversation({Activity::monitor, {12}});
    EXPECT_EQ(conversation.take(main_menu), Answers{"2\n"});
    EXPECT_EQ(conversation.take(devices), Answers{"2\n"});
    EXPECT_EQ(conversation.take("Selected device: EID=12\n" + operations_menu), Answers{"8\n"});
    EXPECT_FALSE(conversation.monitoring());
    EXPECT_EQ(conversation.take("Press -1 to stop monitoring\n"), Answers{});
    EXPECT_TRUE(conversation.monitoring());
    // Nothing is answered meanwhile.
    EXPECT_EQ(conversation.take("Info Signal: 7\n" + operations_menu + main_menu), Answers{});
    EXPECT_EQ(conversation.stop_monitoring(), "-1\n");
    EXPECT_FALSE(conversation.monitoring());
    EXPECT_EQ(conversation.take(operations_menu), Answers{"9\n"});
    EXPECT_EQ(conversation.take(main_menu), Answers{"4\n"});
    EXPECT_TRUE(conversation.complete());
    EXPECT_EQ(conversation.problem(), "");
}

TEST(RunConversation, MonitorsTheFirstDeviceByDefault)
{
    Conversation conversation({Activity::monitor, {}});
    conversation.take(main_menu);
    EXPECT_EQ(conversation.take(devices), Answers{"0\n"});
}

TEST(RunConversation, UnexpectedMenusAreProblems)
{
    Conversation at_start({Activity::suite, {}});
    EXPECT_EQ(at_start.take(operations_menu), Answers{});
    EXPECT_EQ(at_start.problem(), "shows its operations menu instead of its main menu");

    Conversation at_table({Activity::suite, {}});
    at_table.take(main_menu);
    EXPECT_EQ(at_table.take("Invalid device index selected.\n" + main_menu), Answers{});
    EXPECT_EQ(at_table.problem(),
              "shows its main menu instead of its question for the device index");
}

TEST(RunConversation, EndlessMenusAreNotAnswered)
{
    Conversation conversation({Activity::regression, {}});
    std::string menus;
    for (int i = 0; i < 1000; ++i)
    {
        menus += main_menu;
    }
    EXPECT_EQ(conversation.take(menus), (Answers{"1\n", "4\n"}));
    EXPECT_EQ(conversation.problem(), "asks again after its exit was chosen");
    EXPECT_EQ(conversation.take(menus), Answers{});
}

TEST(RunConversation, PartsOfMenusAreNoPrompts)
{
    Conversation conversation({Activity::regression, {}});
    EXPECT_EQ(conversation.take("Please Choose the option:\n"), Answers{});
    EXPECT_EQ(conversation.take("1: Regression Test\n2: Normal Test\nPlease Choose the option:\n"),
              Answers{});
    EXPECT_EQ(conversation.take("1: Regression Test\n2: Normal Test\n3: Measurement Test Suite\n"
                                "4: Exit \nother\nPlease Choose the option:\n"),
              Answers{});
    EXPECT_EQ(conversation.take("Choose the device index (0-3): \nEnter choice (1-3): "),
              Answers{});
    EXPECT_EQ(conversation.problem(), "");
    EXPECT_EQ(conversation.expected(), "main menu");
}

TEST(RunConversation, TheDeviceListStaysTheFirst)
{
    Conversation conversation({Activity::suite, {10, 11}});
    conversation.take(main_menu);
    EXPECT_EQ(conversation.take(devices), Answers{"0\n"});
    conversation.take(suite_menu);
    EXPECT_EQ(conversation.take(main_menu), Answers{"3\n"});
    EXPECT_EQ(conversation.take(table({"A", "B", "C", "D"})), Answers{});
    EXPECT_EQ(conversation.problem(), "lists other devices than before");
}

/// The answer to a table in which `from`, where it comes last, is replaced.
Answers answers_to_changed_table(const std::string& from, const std::string& to)
{
    auto other = devices;
    other.replace(other.rfind(from), from.size(), to);
    Conversation conversation({Activity::suite, {}});
    conversation.take(main_menu);
    auto answers = conversation.take(other);
    EXPECT_EQ(conversation.problem(), "");
    EXPECT_EQ(conversation.complete(), false);
    return answers;
}

TEST(RunConversation, TheTableIsNeededWhole)
{
    EXPECT_EQ(answers_to_changed_table("    1 |", "    1 |"), Answers{"3\n"});
    EXPECT_EQ(answers_to_changed_table("    1 |", "    9 |"), Answers{});
    EXPECT_EQ(answers_to_changed_table("cpu_11", "cpu_12"), Answers{});
    EXPECT_EQ(answers_to_changed_table("    3 |  ALL", "    4 |  ALL"), Answers{});
    EXPECT_EQ(answers_to_changed_table("(0-3)", "(0-4)"), Answers{});
}

} // namespace
