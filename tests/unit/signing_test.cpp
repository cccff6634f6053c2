#include "simulator/signing.hpp"

#include <gtest/gtest.h>

#include <ostream>
#include <string>

namespace
{

using namespace simulator;

/// The DER form of the sequence of two integers with these contents.
Bytes der(const Bytes& r, const Bytes& s)
{
    Bytes inner{0x02, static_cast<std::uint8_t>(r.size())};
    inner.insert(inner.end(), r.begin(), r.end());
    inner.insert(inner.end(), {0x02, static_cast<std::uint8_t>(s.size())});
    inner.insert(inner.end(), s.begin(), s.end());
    Bytes all{0x30};
    if (inner.size() >= 0x80)
    {
        all.push_back(0x81);
    }
    all.push_back(static_cast<std::uint8_t>(inner.size()));
    all.insert(all.end(), inner.begin(), inner.end());
    return all;
}

TEST(RawFromDer, FillsUpShortNumbers)
{
    EXPECT_EQ(raw_from_der(der({0x01}, {0x02, 0x03}), 4), (Bytes{0, 0, 0, 0x01, 0, 0, 0x02, 0x03}));
}

TEST(RawFromDer, DropsTheZeroBeforeAHighBit)
{
    EXPECT_EQ(raw_from_der(der({0x00, 0xff, 0x01}, {0x00, 0x80, 0x00}), 2),
              (Bytes{0xff, 0x01, 0x80, 0x00}));
}

TEST(RawFromDer, ReadsALengthOfTwoBytes)
{
    const Bytes r(66, 0x11);
    const Bytes s(66, 0x22);
    Bytes expected = r;
    expected.insert(expected.end(), s.begin(), s.end());
    EXPECT_EQ(der(r, s)[1], 0x81);
    EXPECT_EQ(raw_from_der(der(r, s), 66), expected);
}

TEST(RawFromDer, RefusesWhatIsNoSignature)
{
    const Bytes good = der({0x01}, {0x02});
    EXPECT_TRUE(raw_from_der(good, 4).has_value());
    for (std::size_t size = 0; size < good.size(); ++size)
    {
        EXPECT_FALSE(raw_from_der(Bytes(good.begin(), good.begin() + static_cast<long>(size)), 4))
            << size;
    }
    Bytes longer = good;
    longer.push_back(0);
    EXPECT_FALSE(raw_from_der(longer, 4));
    EXPECT_FALSE(raw_from_der(der({0x01, 0x02, 0x03}, {0x02}), 2));
    EXPECT_FALSE(raw_from_der(der({}, {0x02}), 2));
    EXPECT_FALSE(raw_from_der({0x30, 0x80, 0x02, 0x01, 0x01, 0x02, 0x01, 0x02}, 4));
    EXPECT_FALSE(raw_from_der({0x30, 0x82, 0x00, 0x06, 0x02, 0x01, 0x01, 0x02, 0x01, 0x02}, 4));
}

TEST(Signing, KnowsDigests)
{
    EXPECT_EQ(digest_name("TPM_ALG_SHA_384"), "sha384");
    EXPECT_EQ(digest_name("SHA-256"), "sha256");
    EXPECT_EQ(digest_name("MD5"), "");
    EXPECT_EQ(digest_name(""), "");
}

TEST(Signing, DoesNotKnowOtherAlgorithms)
{
    EXPECT_EQ(find_signing_algorithm(""), nullptr);
    EXPECT_EQ(find_signing_algorithm("ecdsa-p384"), nullptr);
}

struct AlgorithmCase
{
    std::string name;
    std::string algorithm;
    std::size_t bytes;
};

std::ostream& operator<<(std::ostream& out, const AlgorithmCase& algorithm)
{
    return out << algorithm.algorithm;
}

class SigningWith : public testing::TestWithParam<AlgorithmCase>
{
};

TEST_P(SigningWith, GivesASignatureOfTheRightSize)
{
    const SigningAlgorithm* algorithm = find_signing_algorithm(GetParam().algorithm);
    ASSERT_NE(algorithm, nullptr);
    EXPECT_EQ(algorithm->bytes, GetParam().bytes);
    const Signing signing{algorithm, "TPM_ALG_SHA_384", "1.2", {}};
    const auto signature = sign(signing, Bytes(100, 0x5a));
    ASSERT_TRUE(signature.has_value());
    EXPECT_EQ(signature->size(), GetParam().bytes);
}

INSTANTIATE_TEST_SUITE_P(Made, SigningWith,
                         testing::Values(AlgorithmCase{"P256", "ECDSA-P256", 64},
                                         AlgorithmCase{"P384", "TPM_ALG_ECDSA_ECC_NIST_P384", 96},
                                         AlgorithmCase{"P521", "ECDSA-P521", 132},
                                         AlgorithmCase{"RSA2048", "RSA-2048", 256},
                                         AlgorithmCase{"PSS2048", "TPM_ALG_RSAPSS_2048", 256},
                                         AlgorithmCase{"ED25519", "ED25519", 64},
                                         AlgorithmCase{"ED448", "ED448", 114}),
                         [](const auto& info) { return info.param.name; });

TEST(Signing, FailsWithAKeyThatIsNone)
{
    const Signing signing{find_signing_algorithm("ED25519"), "TPM_ALG_SHA_384", "1.2", "no key"};
    testing::internal::CaptureStderr();
    EXPECT_FALSE(sign(signing, Bytes(100, 0x5a)).has_value());
    const std::string complaint = testing::internal::GetCapturedStderr();
    EXPECT_NE(complaint.find("openssl pkeyutl: failed with status 1"), std::string::npos)
        << complaint;
    EXPECT_NE(complaint.find("no ED25519 signature"), std::string::npos) << complaint;
}

} // namespace
