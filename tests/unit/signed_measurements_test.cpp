#include "analysis_parts.hpp"
#include "name_of.hpp"
#include "operations/signed_measurements.hpp"
#include "recorded_console.hpp"

#include <gtest/gtest.h>

#include <cstdio>
#include <sstream>
#include <vector>

namespace
{

const std::string validating = "\n🔍 VALIDATING SIGNED MEASUREMENT STRUCTURE...\n";

struct SizeCase
{
    std::string name;
    std::string algorithm;
    std::size_t bytes;
};

std::ostream& operator<<(std::ostream& out, const SizeCase& size)
{
    return out << size.algorithm;
}

class SignatureSize : public testing::TestWithParam<SizeCase>
{
};

TEST_P(SignatureSize, OfAlgorithm)
{
    EXPECT_EQ(expected_signature_size(GetParam().algorithm), GetParam().bytes);
}

INSTANTIATE_TEST_SUITE_P(
    Known, SignatureSize,
    testing::Values(SizeCase{"TpmRsaSsa3072", "TPM_ALG_RSASSA_3072", 384},
                    SizeCase{"TpmRsaPss3072", "TPM_ALG_RSAPSS_3072", 384},
                    SizeCase{"TpmRsaSsa4096", "TPM_ALG_RSASSA_4096", 512},
                    SizeCase{"TpmRsaPss4096", "TPM_ALG_RSAPSS_4096", 512},
                    SizeCase{"Rsa3072", "RSA-3072", 384}, SizeCase{"Rsa4096", "RSA-4096", 512},
                    SizeCase{"TpmP256", "TPM_ALG_ECDSA_ECC_NIST_P256", 64},
                    SizeCase{"P256", "ECDSA-P256", 64},
                    SizeCase{"TpmP384", "TPM_ALG_ECDSA_ECC_NIST_P384", 96},
                    SizeCase{"P384", "ECDSA-P384", 96}, SizeCase{"Rsa2048", "RSA-2048", 256},
                    SizeCase{"P521", "ECDSA-P521", 132}, SizeCase{"Ed25519", "ED25519", 64},
                    SizeCase{"Ed448", "ED448", 114}),
    name_of);

INSTANTIATE_TEST_SUITE_P(Unknown, SignatureSize,
                         testing::Values(SizeCase{"Empty", "", 0},
                                         SizeCase{"OtherCurve", "ECDSA-P385", 0},
                                         SizeCase{"LowerCase", "ecdsa-p384", 0},
                                         SizeCase{"Prefix", "ECDSA-P38", 0},
                                         SizeCase{"Longer", "ECDSA-P384 ", 0},
                                         SizeCase{"TpmP521", "TPM_ALG_ECDSA_ECC_NIST_P521", 0},
                                         SizeCase{"TpmRsa2048", "TPM_ALG_RSASSA_2048", 0},
                                         SizeCase{"MixedCase", "Ed25519", 0}),
                         name_of);

SignedMeasurement measurement_of(const std::string& algorithm, const std::string& data = "data")
{
    return {data, "SHA-384", algorithm, "1.2"};
}

struct ValidationCase
{
    std::string name;
    std::string algorithm;
    std::size_t size;
    std::string finding;
};

std::ostream& operator<<(std::ostream& out, const ValidationCase& validation)
{
    return out << validation.algorithm << " with " << validation.size << " bytes";
}

class InvalidStructure : public testing::TestWithParam<ValidationCase>
{
};

TEST_P(InvalidStructure, IsReported)
{
    const RecordedConsole console;
    EXPECT_FALSE(validate_signed_measurement(std::cout, measurement_of(GetParam().algorithm),
                                             counting(GetParam().size)));
    EXPECT_EQ(console.lines(), validating + GetParam().finding + validation_failure("data"));
}

INSTANTIATE_TEST_SUITE_P(
    Sizes, InvalidStructure,
    testing::Values(
        ValidationCase{"UnknownAlgorithm", "ECDSA-P385", 500,
                       "⚠️  VALIDATION: Unknown signing algorithm: ECDSA-P385\n"},
        ValidationCase{"UnknownAlgorithmComesFirst", "ECDSA-P385", 0,
                       "⚠️  VALIDATION: Unknown signing algorithm: ECDSA-P385\n"},
        ValidationCase{"NoAlgorithm", "", 500, "⚠️  VALIDATION: Unknown signing algorithm: \n"},
        ValidationCase{
            "NothingDecoded", "ECDSA-P384", 0,
            "⚠️  VALIDATION: Data size (0 bytes) smaller than expected signature size "
            "(96 bytes)\n"},
        ValidationCase{
            "OneByteLessThanASignature", "ECDSA-P384", 95,
            "⚠️  VALIDATION: Data size (95 bytes) smaller than expected signature size "
            "(96 bytes)\n"},
        ValidationCase{"SignatureAlone", "ECDSA-P384", 96,
                       "⚠️  VALIDATION: Data size (96 bytes) too small for measurement + "
                       "signature\n"},
        ValidationCase{"OneByteTooFew", "ECDSA-P384", 111,
                       "⚠️  VALIDATION: Data size (111 bytes) too small for measurement + "
                       "signature\n"}),
    name_of);

TEST(Validation, OfAnEmptyTextSaysSo)
{
    const RecordedConsole console;
    EXPECT_FALSE(validate_signed_measurement(std::cout, measurement_of("ECDSA-P384", ""), {}));
    EXPECT_EQ(console.lines(), validating + "⚠️  VALIDATION: Empty signed measurement data\n" +
                                   validation_failure(""));
}

TEST(Validation, OfEnoughBytesGivesTheSizes)
{
    const RecordedConsole console;
    EXPECT_TRUE(
        validate_signed_measurement(std::cout, measurement_of("ECDSA-P384"), counting(112)));
    EXPECT_EQ(console.lines(), validating +
                                   "✅ VALIDATION: Signed measurement structure appears valid\n"
                                   "   • Total size: 112 bytes\n"
                                   "   • Expected signature size: 96 bytes\n"
                                   "   • Estimated measurement data: 16 bytes\n");
}

std::string raw_data_line(std::size_t length)
{
    std::ostringstream out;
    const std::string data(length, 'A');
    validate_signed_measurement(out, measurement_of("none", data), {});
    const auto text = out.str();
    return text.substr(text.find("Raw data"));
}

TEST(Validation, ShowsTheFirstEightyCharacters)
{
    EXPECT_EQ(raw_data_line(79), "Raw data (first 80 chars): " + std::string(79, 'A') + "\n");
    EXPECT_EQ(raw_data_line(80), "Raw data (first 80 chars): " + std::string(80, 'A') + "\n");
    EXPECT_EQ(raw_data_line(81), "Raw data (first 80 chars): " + std::string(80, 'A') + "...\n");
}

/// A dump of the bytes `first`, `first` + 1 and so on, the first of them at `position` of the whole.
std::string dump(std::size_t size, std::size_t first = 0, std::size_t position = 0)
{
    std::string text;
    char part[32];
    for (std::size_t offset = 0; offset < size; ++offset)
    {
        if ((position + offset) % 16 == 0)
        {
            std::snprintf(part, sizeof part, "  %04zx: ", offset);
            text += part;
        }
        std::snprintf(part, sizeof part, "%02zx ", (first + offset) % 256);
        text += part;
        if ((position + offset) % 16 == 15 || offset + 1 == size)
        {
            text += "\n";
        }
    }
    return text;
}

std::string analysis(const SignedMeasurement& measurement, std::size_t size)
{
    const RecordedConsole console;
    print_signed_measurement_analysis(std::cout, measurement, counting(size));
    return console.lines();
}

std::string analysis_head(const std::string& algorithm, std::size_t size)
{
    return "\n🔐 DETAILED SIGNED MEASUREMENT DATA ANALYSIS\n" + equals_60 +
           "Hashing Algorithm: SHA-384\n"
           "Signing Algorithm: " +
           algorithm +
           "\n"
           "Total Data Size:   4 bytes\n"
           "Signed Data (Base64 - Received):\n"
           "  data\n"
           "Decoded Size: " +
           std::to_string(size) +
           " bytes\n"
           "\n📄 COMPLETE DECODED OUTPUT:\n" +
           dashes_40 + dump(size);
}

TEST(Analysis, OfAnAlignedSignature)
{
    EXPECT_EQ(analysis(measurement_of("ED25519"), 80),
              analysis_head("ED25519", 80) + "\nACTUAL MEASUREMENT DATA SECTION:\n" + dashes_40 +
                  "Measurement Size: 16 bytes\n"
                  "  0000: 00 01 02 03 04 05 06 07 08 09 0a 0b 0c 0d 0e 0f \n"
                  "\n🔐 SIGNATURE DATA SECTION:\n" +
                  dashes_40 +
                  "Signature Size: 64 bytes\n"
                  "Signature (Hex):\n"
                  "  0000: 10 11 12 13 14 15 16 17 18 19 1a 1b 1c 1d 1e 1f \n"
                  "  0010: 20 21 22 23 24 25 26 27 28 29 2a 2b 2c 2d 2e 2f \n"
                  "  0020: 30 31 32 33 34 35 36 37 38 39 3a 3b 3c 3d 3e 3f \n"
                  "  0030: 40 41 42 43 44 45 46 47 48 49 4a 4b 4c 4d 4e 4f \n"
                  "\n");
}

TEST(Analysis, OfASignatureThatIsNotAligned)
{
    EXPECT_EQ(analysis(measurement_of("ED25519"), 86),
              analysis_head("ED25519", 86) + "\nACTUAL MEASUREMENT DATA SECTION:\n" + dashes_40 +
                  "Measurement Size: 22 bytes\n"
                  "  0000: 00 01 02 03 04 05 06 07 08 09 0a 0b 0c 0d 0e 0f \n"
                  "  0010: 10 11 12 13 14 15 \n"
                  "\n🔐 SIGNATURE DATA SECTION:\n" +
                  dashes_40 +
                  "Signature Size: 64 bytes\n"
                  "Signature (Hex):\n"
                  "16 17 18 19 1a 1b 1c 1d 1e 1f \n"
                  "  000a: 20 21 22 23 24 25 26 27 28 29 2a 2b 2c 2d 2e 2f \n"
                  "  001a: 30 31 32 33 34 35 36 37 38 39 3a 3b 3c 3d 3e 3f \n"
                  "  002a: 40 41 42 43 44 45 46 47 48 49 4a 4b 4c 4d 4e 4f \n"
                  "  003a: 50 51 52 53 54 55 \n"
                  "\n");
}

TEST(Analysis, OfEachAlignmentOfTheSignature)
{
    for (std::size_t measurement = 16; measurement < 32; ++measurement)
    {
        const auto text = analysis(measurement_of("ECDSA-P384"), measurement + 96);
        EXPECT_EQ(text.substr(text.find("Signature (Hex):\n")),
                  "Signature (Hex):\n" + dump(96, measurement, measurement) + "\n")
            << measurement;
    }
}

TEST(Analysis, ShowsEmptyNamesAsNotAvailable)
{
    const SignedMeasurement nameless{"data", "", "", ""};
    EXPECT_NE(analysis(nameless, 3).find("\nHashing Algorithm: N/A\nSigning Algorithm: N/A\n"),
              std::string::npos);
}

TEST(Analysis, OfAnUnknownAlgorithmShowsTheDataWhole)
{
    EXPECT_EQ(analysis(measurement_of("none"), 18),
              analysis_head("none", 18) +
                  "\n⚠️  WARNING: Unknown signing algorithm: none\n"
                  "Cannot separate measurement from signature. Showing complete data:\n" +
                  dashes_40 + dump(18));
}

TEST(Analysis, OfTooFewBytesShowsTheDataWhole)
{
    EXPECT_EQ(
        analysis(measurement_of("ED448"), 113),
        analysis_head("ED448", 113) +
            "\n⚠️  WARNING: Data size (113 bytes) is smaller than expected signature size "
            "(114 bytes) for ED448\n"
            "Showing complete data:\n" +
            dashes_40 + dump(113));
}

TEST(Analysis, OfAnEmptyTextSaysSo)
{
    EXPECT_EQ(analysis(measurement_of("ED448", ""), 0),
              "\n🔐 DETAILED SIGNED MEASUREMENT DATA ANALYSIS\n" + equals_60 +
                  "ℹ INFO: No signed measurement data to display\n");
}

TEST(Analysis, LeavesTheStreamsFormat)
{
    std::ostringstream out;
    const auto flags = out.flags();
    print_signed_measurement_analysis(out, measurement_of("ED25519"), counting(80));
    EXPECT_EQ(out.flags(), flags);
    EXPECT_EQ(out.fill(), ' ');
}

TEST(GetSignedMeasurement, OfAnUnknownDeviceIsAFailure)
{
    const RecordedConsole console;
    EXPECT_EQ(get_signed_measurement(5, {1}, 0, ""), 1);
    EXPECT_EQ(console.lines(), "Object name not found.\n");
}

} // namespace
