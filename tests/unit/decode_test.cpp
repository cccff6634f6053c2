#include "report/measurement/decode.hpp"

#include <gtest/gtest.h>

#include <ostream>
#include <random>
#include <string>

namespace
{

using report::Decoded;
using report::Measurement;

/// The bytes of hexadecimal digits and blanks.
std::string bytes(std::string_view digits)
{
    std::string text;
    std::string pair;
    for (const char digit : digits)
    {
        pair += digit == ' ' ? "" : std::string(1, digit);
        if (pair.size() == 2)
        {
            text += static_cast<char>(std::stoi(pair, nullptr, 16));
            pair.clear();
        }
    }
    return text;
}

/// So many bytes that are no text.
std::string any(std::size_t size)
{
    return std::string(size, '\xa5');
}

struct DecodeCase
{
    std::string name;
    std::uint32_t index;
    std::uint32_t algorithm;
    std::uint32_t type;
    std::string value;
    std::string expected; ///< Layout | type | digest | hash algorithm | decoded
};

std::ostream& operator<<(std::ostream& out, const DecodeCase& decode)
{
    return out << decode.name;
}

std::string text_of(const Decoded& decoded)
{
    const std::string digest = !decoded.digest ? "-" : *decoded.digest ? "digest" : "raw";
    return std::string(decoded.layout) + " | " + std::string(decoded.value_type.value_or("-")) +
           " | " + digest + " | " + std::string(decoded.hash_algorithm.value_or("-")) + " | " +
           decoded.decoded.value_or("-");
}

Decoded decode(std::uint32_t index, std::uint32_t algorithm, std::uint32_t type,
               const std::string& value)
{
    Measurement measurement;
    measurement.index = index;
    measurement.algorithm = algorithm;
    measurement.type = type;
    measurement.size = value.size();
    measurement.value = value;
    return report::decode(measurement);
}

class Decoding : public testing::TestWithParam<DecodeCase>
{
};

TEST_P(Decoding, NamesWhatFits)
{
    const auto& row = GetParam();
    EXPECT_EQ(text_of(decode(row.index, row.algorithm, row.type, row.value)), row.expected);
}

std::string name_of_case(const testing::TestParamInfo<DecodeCase>& info)
{
    return info.param.name;
}

const std::string unrecognised = "not recognised | - | - | - | -";

INSTANTIATE_TEST_SUITE_P(
    Digests, Decoding,
    testing::Values(
        DecodeCase{
            "Sha256", 1, 0x02, 0, any(32),
            "type and algorithm | immutable ROM | digest | SHA-256 | SHA-256 digest of immutable ROM"},
        DecodeCase{
            "Sha384", 2, 0x04, 1, any(48),
            "type and algorithm | mutable firmware | digest | SHA-384 | SHA-384 digest of mutable firmware"},
        DecodeCase{
            "Sha512", 3, 0x08, 2, any(64),
            "type and algorithm | hardware configuration | digest | SHA-512 | SHA-512 digest of hardware configuration"},
        DecodeCase{
            "Sha3With256", 4, 0x10, 3, any(32),
            "type and algorithm | firmware configuration | digest | SHA3-256 | SHA3-256 digest of firmware configuration"},
        DecodeCase{
            "Sha3With384", 0xFD, 0x20, 4, any(48),
            "type and algorithm | measurement manifest | digest | SHA3-384 | SHA3-384 digest of measurement manifest"},
        DecodeCase{
            "Sha3With512", 0xFE, 0x40, 5, any(64),
            "type and algorithm | device mode | digest | SHA3-512 | SHA3-512 digest of device mode"},
        DecodeCase{
            "Sm3", 7, 0x80, 6, any(32),
            "type and algorithm | firmware version | digest | SM3 | SM3 digest of firmware version"},
        DecodeCase{
            "SecurityVersion", 8, 0x02, 7, any(32),
            "type and algorithm | security version | digest | SHA-256 | SHA-256 digest of security version"},
        DecodeCase{
            "HashExtended", 9, 0x04, 8, any(48),
            "type and algorithm | hash-extended measurement | digest | SHA-384 | SHA-384 digest of hash-extended measurement"},
        DecodeCase{
            "Informational", 10, 0x02, 9, any(32),
            "type and algorithm | informational | digest | SHA-256 | SHA-256 digest of informational"},
        DecodeCase{
            "StructuredManifest", 0xFD, 0x02, 10, any(32),
            "type and algorithm | structured measurement manifest | digest | SHA-256 | SHA-256 digest of structured measurement manifest"},
        DecodeCase{"ReservedType", 1, 0x02, 11, any(32), unrecognised},
        DecodeCase{"LargeType", 1, 0x02, 0x100, any(32), unrecognised},
        DecodeCase{"TypeBeyondAByte", 1, 0x02, 0x184, any(32), unrecognised},
        DecodeCase{"TooShort", 1, 0x04, 1, any(47), unrecognised},
        DecodeCase{"TooLong", 1, 0x02, 1, any(33), unrecognised},
        DecodeCase{"OfAnotherAlgorithm", 1, 0x04, 1, any(32), unrecognised},
        DecodeCase{"OfRawAlgorithm", 1, 0x01, 1, any(32), unrecognised},
        DecodeCase{"OfTwoAlgorithms", 1, 0x06, 1, any(32), unrecognised},
        DecodeCase{"OfNoAlgorithm", 1, 0, 1, any(32), unrecognised},
        DecodeCase{"OfUnknownAlgorithm", 1, 0x100, 1, any(32), unrecognised},
        DecodeCase{"OfLargeAlgorithm", 1, 0x10004, 1, any(48), unrecognised},
        DecodeCase{"Empty", 1, 0x02, 0, "", unrecognised}),
    name_of_case);

INSTANTIATE_TEST_SUITE_P(
    RawValues, Decoding,
    testing::Values(
        DecodeCase{"Rom", 1, 0x01, 0x80, any(3),
                   "type and algorithm | immutable ROM | raw | - | raw immutable ROM of 3 bytes"},
        DecodeCase{
            "BesideDigests", 1, 0x04, 0x81, any(48),
            "type and algorithm | mutable firmware | raw | - | raw mutable firmware of 48 bytes"},
        DecodeCase{
            "Manifest", 5, 0x01, 0x84, any(72),
            "type and algorithm | measurement manifest | raw | - | raw measurement manifest of 72 bytes"},
        DecodeCase{
            "OfUnknownAlgorithm", 1, 0x100, 0x81, any(2),
            "type and algorithm | mutable firmware | raw | - | raw mutable firmware of 2 bytes"},
        DecodeCase{"Version", 1, 0x01, 0x86, "1.2.3 ~rc",
                   "type and algorithm | firmware version | raw | - | firmware version 1.2.3 ~rc"},
        DecodeCase{"VersionFilledUp", 1, 0x01, 0x86, std::string("1.2\0\0", 5),
                   "type and algorithm | firmware version | raw | - | firmware version 1.2"},
        DecodeCase{"VersionWithinZeros", 1, 0x01, 0x86, bytes("31 00 32"),
                   "type and algorithm | firmware version | raw | - | firmware version 0x310032"},
        DecodeCase{"VersionOfNumbers", 1, 0x01, 0x86, bytes("01 0a ff 7f"),
                   "type and algorithm | firmware version | raw | - | firmware version 0x010aff7f"},
        DecodeCase{"VersionOfDelete", 1, 0x01, 0x86, bytes("31 7f"),
                   "type and algorithm | firmware version | raw | - | firmware version 0x317f"},
        DecodeCase{"VersionOfControl", 1, 0x01, 0x86, bytes("31 1f"),
                   "type and algorithm | firmware version | raw | - | firmware version 0x311f"},
        DecodeCase{"VersionOfZeros", 1, 0x01, 0x86, bytes("00 00"),
                   "type and algorithm | firmware version | raw | - | firmware version 0x0000"},
        DecodeCase{"VersionLong", 1, 0x01, 0x86, std::string(64, 'v'),
                   "type and algorithm | firmware version | raw | - | firmware version " +
                       std::string(64, 'v')},
        DecodeCase{"VersionTooLong", 1, 0x01, 0x86, std::string(65, 'v'),
                   "type and algorithm | firmware version | raw | - | firmware version " +
                       std::string(64, 'v') + "..."},
        DecodeCase{
            "VersionEmpty", 1, 0x01, 0x86, "",
            "type and algorithm | firmware version | raw | - | raw firmware version of 0 bytes"},
        DecodeCase{"SecurityVersion", 1, 0x01, 0x87, bytes("07 00 00 00 00 00 00 00"),
                   "type and algorithm | security version | raw | - | security version 7"},
        DecodeCase{
            "SecurityVersionLargest", 1, 0x01, 0x87, bytes("fe ff ff ff ff ff ff ff"),
            "type and algorithm | security version | raw | - | security version 18446744073709551614"},
        DecodeCase{"SecurityVersionShort", 1, 0x01, 0x87, any(4), unrecognised},
        DecodeCase{"SecurityVersionLong", 1, 0x01, 0x87, any(9), unrecognised},
        DecodeCase{
            "DeviceMode", 0xFE, 0x01, 0x85,
            bytes("05 00 00 00  04 00 00 00  1f 00 00 00  00 00 00 00"),
            "type and algorithm | device mode | raw | - | operational mode 0x4 (normal), capabilities 0x5 (manufacturing, normal); device mode 0x0, capabilities 0x1f "
            "(non-invasive debug active, invasive debug active, non-invasive debug active since reset, invasive debug active since reset, invasive debug active since manufacturing)"},
        DecodeCase{
            "DeviceModeAll", 0xFE, 0x01, 0x85,
            bytes("3f 00 00 00  2a 00 00 00  20 00 00 00  ff 00 00 80"),
            "type and algorithm | device mode | raw | - | operational mode 0x2a (validation, recovery, decommissioned), capabilities 0x3f (manufacturing, validation, normal, recovery, RMA, decommissioned); "
            "device mode 0x800000ff (non-invasive debug active, invasive debug active, non-invasive debug active since reset, invasive debug active since reset, invasive debug active since manufacturing), capabilities 0x20"},
        DecodeCase{"DeviceModeShort", 0xFE, 0x01, 0x85, any(15), unrecognised},
        DecodeCase{"DeviceModeLong", 0xFE, 0x01, 0x85, any(17), unrecognised},
        DecodeCase{
            "StructuredManifest", 0xFD, 0x01, 0x8a, any(1),
            "type and algorithm | structured measurement manifest | raw | - | raw structured measurement manifest of 1 byte"},
        DecodeCase{"ReservedType", 1, 0x01, 0x8b, any(8), unrecognised}),
    name_of_case);

INSTANTIATE_TEST_SUITE_P(
    Indices, Decoding,
    testing::Values(
        DecodeCase{
            "NoManifest", 0xFD, 0x02, 1, any(32),
            "type and algorithm | mutable firmware | digest | SHA-256 | SHA-256 digest of mutable firmware; index 0xFD is the measurement manifest's"},
        DecodeCase{
            "NoDeviceMode", 0xFE, 0x01, 0x84, any(3),
            "type and algorithm | measurement manifest | raw | - | raw measurement manifest of 3 bytes; index 0xFE is the device mode's"},
        DecodeCase{
            "Large", 0x100FD, 0x02, 1, any(32),
            "type and algorithm | mutable firmware | digest | SHA-256 | SHA-256 digest of mutable firmware"},
        DecodeCase{"TellNothingAlone", 0xFE, 0x01, 0xff, any(16), unrecognised}),
    name_of_case);

// The type and the algorithm beside the value fit nothing: what is recognised is in the value.
INSTANTIATE_TEST_SUITE_P(
    DmtfMeasurements, Decoding,
    testing::Values(
        DecodeCase{
            "Digest", 1, 0x04, 0xff, bytes("01 30 00") + any(48),
            "DMTF measurement | mutable firmware | digest | SHA-384 | SHA-384 digest of mutable firmware"},
        DecodeCase{
            "DigestOfUnknownAlgorithm", 1, 0, 0xff, bytes("00 20 00") + any(32),
            "DMTF measurement | immutable ROM | digest | - | 32-byte digest of immutable ROM"},
        DecodeCase{
            "LongDigestOfUnknownAlgorithm", 1, 0x01, 0xff, bytes("00 40 00") + any(64),
            "DMTF measurement | immutable ROM | digest | - | 64-byte digest of immutable ROM"},
        DecodeCase{"DigestOfAnotherAlgorithm", 1, 0x02, 0xff, bytes("01 30 00") + any(48),
                   unrecognised},
        DecodeCase{"DigestOfNoAlgorithmsLength", 1, 0, 0xff, bytes("01 10 00") + any(16),
                   unrecognised},
        DecodeCase{"Raw", 1, 0x01, 0xff, bytes("87 08 00  00 01 00 00 00 00 00 00"),
                   "DMTF measurement | security version | raw | - | security version 256"},
        DecodeCase{
            "RawEmpty", 1, 0x01, 0xff, bytes("83 00 00"),
            "DMTF measurement | firmware configuration | raw | - | raw firmware configuration of 0 bytes"},
        DecodeCase{
            "RawLong", 1, 0x01, 0xff, bytes("84 02 01") + any(258),
            "DMTF measurement | measurement manifest | raw | - | raw measurement manifest of 258 bytes"},
        DecodeCase{"RawOfOtherLength", 1, 0x01, 0xff, bytes("87 04 00") + any(4), unrecognised},
        DecodeCase{"OneByteLess", 1, 0x01, 0xff, bytes("86 03 00 31 32"), unrecognised},
        DecodeCase{"OneByteMore", 1, 0x01, 0xff, bytes("86 01 00 31 32"), unrecognised},
        DecodeCase{"BigEndian", 1, 0x01, 0xff, bytes("86 00 02 31 32"), unrecognised},
        DecodeCase{"CutHeader", 1, 0x01, 0xff, bytes("86 00"), unrecognised},
        DecodeCase{"Reserved", 1, 0x01, 0xff, bytes("8b 00 00"), unrecognised},
        DecodeCase{"BeforeTypeAndAlgorithm", 1, 0x01, 0x84, bytes("86 01 00 35"),
                   "DMTF measurement | firmware version | raw | - | firmware version 5"},
        DecodeCase{
            "ElseTypeAndAlgorithm", 1, 0x01, 0x84, bytes("86 01 00 35 36"),
            "type and algorithm | measurement manifest | raw | - | raw measurement manifest of 5 bytes"}),
    name_of_case);

INSTANTIATE_TEST_SUITE_P(
    MeasurementBlocks, Decoding,
    testing::Values(
        DecodeCase{
            "Digest", 1, 0x02, 0xff, bytes("01 01 23 00  01 20 00") + any(32),
            "measurement block | mutable firmware | digest | SHA-256 | SHA-256 digest of mutable firmware"},
        DecodeCase{
            "Raw", 0xFE, 0x02, 0xff,
            bytes("fe 01 13 00  85 10 00  04 00 00 00 04 00 00 00 00 00 00 00 02 00 00 00"),
            "measurement block | device mode | raw | - | operational mode 0x4 (normal), capabilities 0x4 (normal); device mode 0x2 (invasive debug active), capabilities 0x0"},
        DecodeCase{
            "Long", 1, 0x01, 0xff, bytes("01 01 04 01  84 01 01") + any(257),
            "measurement block | measurement manifest | raw | - | raw measurement manifest of 257 bytes"},
        DecodeCase{"OtherSpecification", 1, 0x01, 0xff, bytes("01 02 04 00  86 01 00 35"),
                   unrecognised},
        DecodeCase{"OuterSizeOff", 1, 0x01, 0xff, bytes("01 01 05 00  86 01 00 35"), unrecognised},
        DecodeCase{"InnerSizeOff", 1, 0x01, 0xff, bytes("01 01 04 00  86 02 00 35"), unrecognised},
        DecodeCase{"NoMeasurement", 1, 0x01, 0xff, bytes("01 01 00 00"), unrecognised},
        DecodeCase{"CutHeader", 1, 0x01, 0xff, bytes("01 01 00"), unrecognised},
        DecodeCase{"Reserved", 1, 0x01, 0xff, bytes("01 01 04 00  0b 01 00 35"), unrecognised},
        DecodeCase{"DigestOfAnotherAlgorithm", 1, 0x04, 0xff,
                   bytes("01 01 23 00  01 20 00") + any(32), unrecognised},
        DecodeCase{"OnlyItsSecondByte", 1, 0x01, 0x84, bytes("80 01 00 00"),
                   "DMTF measurement | immutable ROM | raw | - | raw immutable ROM of 1 byte"}),
    name_of_case);

TEST(Decoding, TakesAnyBytes)
{
    std::mt19937 random(7);
    for (int round = 0; round < 20000; ++round)
    {
        std::string value(random() % 40, '\0');
        for (auto& byte : value)
        {
            byte = static_cast<char>(random() % 3 == 0 ? random() : random() % 32);
        }
        const auto decoded =
            decode(0xFC + random() % 4, 1U << random() % 9, random() % 0x100, value);
        EXPECT_EQ(decoded.layout == "not recognised", !decoded.value_type);
        EXPECT_EQ(decoded.digest.has_value(), decoded.value_type.has_value());
        EXPECT_EQ(decoded.decoded.has_value(), decoded.value_type.has_value());
    }
}

} // namespace
