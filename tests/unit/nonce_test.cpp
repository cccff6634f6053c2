#include "operations/nonce.hpp"
#include "recorded_console.hpp"

#include <gtest/gtest.h>

#include <set>
#include <stdexcept>

namespace
{

std::string generate(HexCase hex_case, std::string& printed)
{
    const RecordedConsole console;
    auto nonce = generate_nonce(hex_case);
    printed = console.lines();
    return nonce;
}

TEST(HexDigits, KeepLeadingZeros)
{
    EXPECT_EQ(hex_digits(0x1A, HexCase::lower), "0000001a");
    EXPECT_EQ(hex_digits(0x1A, HexCase::upper), "0000001A");
    EXPECT_EQ(hex_digits(0, HexCase::lower), "00000000");
    EXPECT_EQ(hex_digits(0xFFFFFFFF, HexCase::upper), "FFFFFFFF");
}

/// The first values of MT19937 for its usual seed, as published with the generator.
TEST(Nonce, TakesTheGeneratorsValuesInTheirOrder)
{
    EXPECT_EQ(nonce_of_seed(5489, HexCase::upper),
              "D091BB5C22AE9EF6E7E1FAEED5C31F792082352CF807B7DFE9D300053895AFE1");
    EXPECT_EQ(nonce_of_seed(5489, HexCase::lower),
              "d091bb5c22ae9ef6e7e1faeed5c31f792082352cf807b7dfe9d300053895afe1");
}

TEST(Nonce, InLowerCase)
{
    std::string printed;
    const auto nonce = generate(HexCase::lower, printed);
    EXPECT_EQ(nonce.size(), 64U);
    EXPECT_EQ(nonce.find_first_not_of("0123456789abcdef"), std::string::npos) << nonce;
    EXPECT_EQ(printed, "ℹ INFO: Generated 32-byte nonce (lowercase): " + nonce + " (256 bits)\n");
}

TEST(Nonce, InUpperCase)
{
    std::string printed;
    const auto nonce = generate(HexCase::upper, printed);
    EXPECT_EQ(nonce.size(), 64U);
    EXPECT_EQ(nonce.find_first_not_of("0123456789ABCDEF"), std::string::npos) << nonce;
    EXPECT_EQ(printed, "ℹ INFO: Generated 32-byte nonce: " + nonce + " (256 bits)\n");
}

TEST(Nonce, IsNeverTheSame)
{
    std::set<std::string> nonces;
    std::string printed;
    for (int count = 0; count < 100; ++count)
    {
        nonces.insert(generate(HexCase::upper, printed));
    }
    EXPECT_EQ(nonces.size(), 100U);
}

TEST(Nonce, WithoutARandomSourcePrintsNothing)
{
    const RecordedConsole console;
    EXPECT_THROW(generate_nonce(HexCase::lower, "/no/such/device"), std::runtime_error);
    EXPECT_EQ(console.lines(), "");
}

} // namespace
