#include "operations/certificates.hpp"
#include "recorded_console.hpp"

#include <gtest/gtest.h>

namespace
{

constexpr Eid unknown = 12;

template <typename Operation>
void expect_unknown_device(Operation operation)
{
    const RecordedConsole console;
    const int result = operation();
    EXPECT_EQ(console.lines(), "Object name not found.\n");
    EXPECT_EQ(result, 1);
}

TEST(ReAuthenticate, FailsOnAnUnknownDevice)
{
    expect_unknown_device([] { return ReAuthenticate(unknown); });
}

TEST(GetCertificate, FailsOnAnUnknownDevice)
{
    expect_unknown_device([] { return GetCertificate(unknown, 0); });
}

TEST(GetCertificateProperties, FailsOnAnUnknownDevice)
{
    expect_unknown_device([] { return GetCertificateProperties(unknown, 0); });
}

} // namespace
