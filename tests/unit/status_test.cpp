#include "name_of.hpp"
#include "recorded_console.hpp"
#include "shell/status.hpp"

#include <gtest/gtest.h>

#include <limits>

namespace
{

TEST(OperationStatus, HasTheTwentyOneTexts)
{
    const std::map<std::int32_t, std::string> expected{
        {0, "Success"},
        {1, "EID Not Available"},
        {2, "EID Not Ready"},
        {3, "Queue Full"},
        {4, "Invalid Command"},
        {5, "Authentication Failed"},
        {6, "Invalid Request Data"},
        {7, "Allocation Failed"},
        {8, "Get Certificate Failed"},
        {9, "Get Measurement Failed"},
        {10, "Measurement Not Supported"},
        {11, "Measurement Summary Not Available"},
        {12, "Key Error"},
        {13, "Conversion Error"},
        {14, "Timeout"},
        {15, "Post Request Failed"},
        {16, "Lock Failed"},
        {17, "Set Preference Failed"},
        {18, "Partial Measurement Success"},
        {19, "Certificate Not Found"},
        {20, "Resynchronization Required"},
    };
    EXPECT_EQ(OperationStatus, expected);
}

TEST(ChallengeStatusText, HasTheFiveTexts)
{
    const std::map<std::int32_t, std::string> expected{
        {0, "Not Ready"}, {1, "Passed"}, {2, "In Progress"}, {3, "Failed"}, {4, "Not Supported"},
    };
    EXPECT_EQ(ChallengeStatusText, expected);
}

TEST(ResultText, HasTheTwoTexts)
{
    const std::map<std::uint16_t, std::string> expected{{0, "Success"}, {1, "Failed"}};
    EXPECT_EQ(ResultText, expected);
}

TEST(Base64Alphabet, IsTheStandardOne)
{
    EXPECT_EQ(base64_alphabet, "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/");
}

TEST(StatusText, KnowsItsCodesAndNoOther)
{
    EXPECT_EQ(status_text(0), "Success");
    EXPECT_EQ(status_text(20), "Resynchronization Required");
    EXPECT_EQ(status_text(21), "Unknown Status");
    EXPECT_EQ(status_text(-1), "Unknown Status");
    EXPECT_EQ(status_text(std::numeric_limits<std::int32_t>::min()), "Unknown Status");
    EXPECT_EQ(status_text(std::numeric_limits<std::int32_t>::max()), "Unknown Status");
}

TEST(FindText, OfEachVocabularyItsOwn)
{
    EXPECT_EQ(*find_text(ChallengeStatusText, 0), "Not Ready");
    EXPECT_EQ(*find_text(ResultText, 0), "Success");
    EXPECT_EQ(*find_text(OperationStatus, 0), "Success");
}

TEST(FindText, IsNullForACodeOfNoEntry)
{
    EXPECT_EQ(find_text(ChallengeStatusText, 5), nullptr);
    EXPECT_EQ(find_text(ChallengeStatusText, 0xFFFFFFFF), nullptr);
    EXPECT_EQ(find_text(ResultText, 2), nullptr);
}

TEST(FindText, TakesNoCodeForItsLowBits)
{
    EXPECT_EQ(find_text(ResultText, 0x10000), nullptr);
    EXPECT_EQ(find_text(ResultText, 0x10001), nullptr);
}

struct AdviceCase
{
    std::string name;
    std::uint32_t code;
    std::string printed;
    int verdict;
};

std::ostream& operator<<(std::ostream& out, const AdviceCase& advice)
{
    return out << advice.code;
}

class StatusAdvice : public testing::TestWithParam<AdviceCase>
{
};

TEST_P(StatusAdvice, PrintsAndJudges)
{
    const RecordedConsole console;
    const auto verdict = status_advice(GetParam().code);
    EXPECT_EQ(console.lines(), GetParam().printed);
    EXPECT_EQ(verdict, GetParam().verdict);
}

INSTANTIATE_TEST_SUITE_P(
    Codes, StatusAdvice,
    testing::Values(
        AdviceCase{"Success", 0, "", 1}, AdviceCase{"NotAvailable", 1, "", 0},
        AdviceCase{"NotReady", 2, "ℹ INFO: Device not ready for measurement operation\n", 0},
        AdviceCase{"Unauthenticated", 5, "✗ FAIL: Authentication required for measurements\n", 0},
        AdviceCase{"Failed", 9, "", 0},
        AdviceCase{"NotSupported", 10, "ℹ INFO: Device does not support measurements\n", 0},
        AdviceCase{"NoSummary", 11, "ℹ INFO: Measurement summary not available\n", 0},
        AdviceCase{"Partial", 18, "⚠ WARNING: Partial success - some measurements failed\n", 1},
        AdviceCase{"NoCertificate", 19, "", 0},
        AdviceCase{"Resynchronize", 20, "ℹ INFO: Resynchronization required\n", 0},
        AdviceCase{"Unknown", 21, "", 0}, AdviceCase{"Negative", 0xFFFFFFFF, "", 0}),
    name_of);

} // namespace
