#include "operations/nonce.hpp"
#include "recorded_console.hpp"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <dlfcn.h>
#include <set>
#include <stdexcept>
#include <unistd.h>

namespace
{
/// What the next read of 4 bytes gives, if anything.
const std::uint32_t* random_number = nullptr;
} // namespace

/// Stands before the C library's function, by which the random device reads a file.
extern "C" ssize_t read(int file, void* bytes, std::size_t size)
{
    if (random_number != nullptr && size == sizeof *random_number)
    {
        std::memcpy(bytes, random_number, size);
        return static_cast<ssize_t>(size);
    }
    static const auto next = reinterpret_cast<decltype(&read)>(dlsym(RTLD_NEXT, "read"));
    return next(file, bytes, size);
}

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

TEST(Nonce, IsOfASeedOf32Bits)
{
    const RecordedConsole console;
    for (const std::uint32_t seed : {0xfedcba98U, 0x80000000U, 0x00010000U})
    {
        random_number = &seed;
        const auto nonce = generate_nonce(HexCase::upper, "/dev/urandom");
        random_number = nullptr;
        EXPECT_EQ(nonce, nonce_of_seed(seed, HexCase::upper)) << seed;
    }
}

TEST(Nonce, WithoutARandomSourcePrintsNothing)
{
    const RecordedConsole console;
    EXPECT_THROW(generate_nonce(HexCase::lower, "/no/such/device"), std::runtime_error);
    EXPECT_EQ(console.lines(), "");
}

} // namespace
