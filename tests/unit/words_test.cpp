#include "report/model/words.hpp"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace
{

using namespace report;

/// The words of the first `count` values.
template <typename Value>
std::vector<std::string> words(int count)
{
    std::vector<std::string> all;
    for (int value = 0; value < count; ++value)
    {
        all.emplace_back(word(static_cast<Value>(value)));
    }
    return all;
}

using Words = std::vector<std::string>;

TEST(Words, OfEachValue)
{
    EXPECT_EQ(words<Operation>(7),
              (Words{"ReAuthenticate", "GetCertificate", "GetCertificateProperties", "GetAll",
                     "GetMeasurement", "GetSignedMeasurement", ""}));
    EXPECT_EQ(words<Activity>(4), (Words{"regression", "operations", "all-devices", "suite"}));
    EXPECT_EQ(words<Outcome>(5),
              (Words{"answered", "bus-error", "error", "unknown-device", "cut"}));
    EXPECT_EQ(words<Structure>(3), (Words{"valid", "invalid", "unchecked"}));
    EXPECT_EQ(words<CategoryName>(4), (Words{"Normal Measurements", "Signed Measurements",
                                             "Failure Tests (Expected)", "Stress Tests"}));
    EXPECT_EQ(words<Availability::Answer>(5),
              (Words{"responsive", "not-found", "bus-error", "error", "error"}));
    EXPECT_EQ(words<Availability::Service>(3), (Words{"running", "absent", "unknown"}));
    EXPECT_EQ(words<Verdict>(4), (Words{"passed", "failed", "error", "skipped"}));
}

} // namespace
