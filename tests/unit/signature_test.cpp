#include "mistake.hpp"
#include "simulator/signature.hpp"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <vector>

namespace
{

using namespace simulator;
using Types = std::vector<std::string>;

TEST(Signature, IsSplitIntoCompleteTypes)
{
    EXPECT_EQ(complete_types(""), Types{});
    EXPECT_EQ(complete_types("ybnqiuxtdsog"),
              (Types{"y", "b", "n", "q", "i", "u", "x", "t", "d", "s", "o", "g"}));
    EXPECT_EQ(complete_types("qqa(qayuq)"), (Types{"q", "q", "a(qayuq)"}));
    EXPECT_EQ(complete_types("sa{sv}as"), (Types{"s", "a{sv}", "as"}));
    EXPECT_EQ(complete_types("a{oa{sa{sv}}}v"), (Types{"a{oa{sa{sv}}}", "v"}));
    EXPECT_EQ(complete_types("aay((q)v)"), (Types{"aay", "((q)v)"}));
}

TEST(Signature, MayNestUpToTheLimits)
{
    EXPECT_EQ(complete_types(std::string(32, 'a') + "y").size(), 1U);
    EXPECT_EQ(complete_types(std::string(32, '(') + "y" + std::string(32, ')')).size(), 1U);
    EXPECT_EQ(complete_types(std::string(255, 'y')).size(), 255U);
}

class SignatureMistake : public testing::TestWithParam<Mistake>
{
};

TEST_P(SignatureMistake, IsNamed)
{
    EXPECT_EQ(complaint_of<std::invalid_argument>([] { complete_types(GetParam().written); }),
              "\"" + GetParam().written + "\" is no valid signature: " + GetParam().complaint);
}

INSTANTIATE_TEST_SUITE_P(
    Signature, SignatureMistake,
    testing::Values(Mistake{"UnknownType", "qz", "'z' is no type here"},
                    Mistake{"FileDescriptor", "h", "'h' is no type here"},
                    Mistake{"ArrayOfNothing", "a", "a type is missing at its end"},
                    Mistake{"OpenStructure", "(q", "a type is missing at its end"},
                    Mistake{"EmptyStructure", "()", "')' is no type here"},
                    Mistake{"ClosedTwice", "(q))", "')' is no type here"},
                    Mistake{"EntryOutsideOfArray", "{sv}", "'{' is no type here"},
                    Mistake{"EntryWithoutKey", "a{", "a dictionary's key type is missing"},
                    Mistake{"EntryKeyContainer", "a{vs}", "a dictionary's key has a basic type"},
                    Mistake{"EntryOfOne", "a{s}", "'}' is no type here"},
                    Mistake{"EntryOfThree", "a{sss}",
                            "a dictionary entry holds two types and ends with '}'"},
                    Mistake{"ManyArrays", std::string(33, 'a') + "y", "it nests too deeply"},
                    Mistake{"ManyStructures", std::string(33, '(') + "y" + std::string(33, ')'),
                            "it nests too deeply"},
                    Mistake{"Long", std::string(256, 'y'), "it is longer than 255 characters"}),
    name_of);

} // namespace
