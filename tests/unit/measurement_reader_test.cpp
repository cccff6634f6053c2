#include "tests/unit/report_transcripts.hpp"

#include <ostream>

namespace
{

using namespace report_test;

std::string block(const std::string& number, const std::string& size, const std::string& dump)
{
    return "\n📋 MEASUREMENT BLOCK " + number + "\n" + std::string(40, '-') +
           "\nIndex:         " + number +
           "\nAlgorithm:     2\nType:          1\nData Size:     " + size +
           " bytes\nData (Hex):\n" + dump + "\n";
}

const std::string calling = "DEBUG: Calling D-Bus method on object: " + cpu_path + "\n";
const std::string read_0_of_2 = "DEBUG: Reading D-Bus reply...\n"
                                "DEBUG: Read status: 0\n"
                                "DEBUG: Read NumMeasurements: 2\n"
                                "DEBUG: Read measurement data, size: 2\n";
const std::string result_0_of_2 =
    "Get Measurement Status: 0 (Success) NumMeasurements: 2 Time taken (in us): 99\n";
const std::string analysis =
    "\n📊 DETAILED MEASUREMENT DATA ANALYSIS\n" + std::string(60, '=') + "\n";
const std::string row_16 = "  0000: 00 01 02 03 04 05 06 07 08 09 0a 0b 0c 0d 0e 0f \n";
const std::string bytes_16 = "000102030405060708090a0b0c0d0e0f";

const std::string answered = "12 GetMeasurement answered status=0 us=99 count=2";
const std::string block_line_missing = "a line of a measurement block is missing";

/// One choice of the operations menu.
struct MeasurementCase
{
    std::string name;
    std::string printed;
    Texts calls;
    Texts measurements;
    Texts contradictions;
};

std::ostream& operator<<(std::ostream& out, const MeasurementCase& row)
{
    return out << row.name;
}

class OneMeasurement : public testing::TestWithParam<MeasurementCase>
{
};

TEST_P(OneMeasurement, IsRead)
{
    const auto& row = GetParam();
    const auto run = run_of(operation(row.printed));
    EXPECT_EQ(calls_of(run), row.calls);
    EXPECT_EQ(measurements_of(run), row.measurements);
    EXPECT_EQ(contradictions_of(run), row.contradictions);
}

const std::string head_of_2 = calling + read_0_of_2 + result_0_of_2 + analysis;
const std::string block_1 = block("1", "18", row_16 + "  0010: fe ff \n");
const std::string told_1 = "12 call 0 index 1 algorithm 2 type 1 size 18: " + bytes_16 + "feff";
const std::string block_2 = block("2", "0", "");
const std::string told_2 = "12 call 0 index 2 algorithm 2 type 1 size 0: ";

INSTANTIATE_TEST_SUITE_P(
    With, OneMeasurement,
    testing::Values(
        MeasurementCase{
            "TwoBlocks", head_of_2 + block_1 + block_2, {answered}, {told_1, told_2}, {}},
        MeasurementCase{
            "EchoedArguments",
            "6\nPlease Enter Slot Number: 3\nEnter the indices of measurement block to fetch:\n1\n"
            "Enter the next value (enter -1 to stop): 2\n"
            "Enter the next value (enter -1 to stop): -1\n" +
                head_of_2 + block_1 + block_2,
            {answered + " slot=3 indices=[1 2]"},
            {told_1, told_2},
            {}},
        MeasurementCase{
            "PromptsBeforeTheText",
            "Please Enter Slot Number: Enter the indices of measurement block to fetch:\n"
            "Enter the next value (enter -1 to stop): Enter the next value (enter -1 to stop): " +
                head_of_2 + block_1 + block_2,
            {answered},
            {told_1, told_2},
            {}},
        MeasurementCase{"CountOfTheServiceDiffers",
                        replaced(calling + read_0_of_2 + result_0_of_2, "NumMeasurements: 2",
                                 "NumMeasurements: 65535") +
                            analysis + block_1 + block_2,
                        {"12 GetMeasurement answered status=0 us=99 count=65535"},
                        {told_1, told_2},
                        {}},
        MeasurementCase{"TimeBelowZero",
                        replaced(head_of_2, "(in us): 99", "(in us): -7") + block_1 + block_2,
                        {"12 GetMeasurement answered status=0 us=-7 count=2"},
                        {told_1, told_2},
                        {}},
        MeasurementCase{"BlockMissing",
                        head_of_2 + block_1,
                        {answered},
                        {told_1},
                        {"a measurement block is missing"}},
        MeasurementCase{"FirstBlockMissing",
                        head_of_2 + block_2,
                        {answered},
                        {told_2},
                        {"a measurement block is missing", "a measurement block is missing"}},
        MeasurementCase{"BlockTooMany",
                        head_of_2 + block_1 + block_2 + block("3", "0", ""),
                        {answered},
                        {told_1, told_2, "12 call 0 index 3 algorithm 2 type 1 size 0: "},
                        {"a measurement block is missing"}},
        MeasurementCase{"DumpLineMissing",
                        head_of_2 + block("1", "18", row_16) + block_2,
                        {answered},
                        {"12 call 0 index 1 algorithm 2 type 1 size 18: " + bytes_16, told_2},
                        {"a dump does not hold the bytes that were announced"}},
        MeasurementCase{"DumpOfNoBytesMissing",
                        head_of_2 + block_2 + block_1,
                        {answered},
                        {told_2, told_1},
                        {"a measurement block is missing", "a measurement block is missing"}},
        MeasurementCase{
            "IndexLineMissing",
            head_of_2 + replaced(block_1, "Index:         1\n", "") + block_2,
            {answered},
            {"12 call 0 index 0 algorithm 2 type 1 size 18: " + bytes_16 + "feff", told_2},
            {block_line_missing}},
        MeasurementCase{"SizeLineMissing",
                        head_of_2 + block_1 + replaced(block_2, "Data Size:     0 bytes\n", ""),
                        {answered},
                        {told_1, told_2},
                        {block_line_missing}},
        MeasurementCase{
            "LineTwice",
            head_of_2 + block_1 +
                replaced(block_2, "Type:          1\n", "Type:          1\nType:          1\n"),
            {answered},
            {told_1, told_2},
            {block_line_missing}},
        MeasurementCase{"DataLineMissing",
                        head_of_2 + block_1 + replaced(block_2, "Data (Hex):\n", ""),
                        {answered},
                        {told_1, told_2},
                        {block_line_missing}},
        MeasurementCase{"DataLineOfTheFirstMissing",
                        head_of_2 + replaced(block_2, "Data (Hex):\n", "") + block_2,
                        {answered},
                        {told_2, told_2},
                        {"a measurement block is missing", block_line_missing}},
        MeasurementCase{
            "NumberTooLarge",
            head_of_2 + replaced(block_1, "Type:          1", "Type:          4294967296") +
                block_2,
            {answered},
            {"12 call 0 index 1 algorithm 2 type 0 size 18: " + bytes_16 + "feff", told_2},
            {"a line of a measurement block has no number"}}),
    [](const auto& info) { return info.param.name; });

const std::string contradicting = "the result of GetMeasurement is not what was read";

INSTANTIATE_TEST_SUITE_P(
    Failing, OneMeasurement,
    testing::Values(
        MeasurementCase{"BusErrorBeforeTheCall",
                        "D-BUS ERROR: Measurement operation failed. Check service availability.\n"
                        "ERROR DETAILS: This typically means:\n",
                        {"12 GetMeasurement bus-error"},
                        {},
                        {}},
        MeasurementCase{"BusError",
                        calling + "D-BUS ERROR: Measurement operation failed. Check service "
                                  "availability.\n",
                        {"12 GetMeasurement bus-error"},
                        {},
                        {}},
        MeasurementCase{"BusErrorWhileReading",
                        calling + read_0_of_2 +
                            "D-BUS ERROR: Measurement operation failed. Check service "
                            "availability.\n",
                        {"12 GetMeasurement bus-error"},
                        {},
                        {}},
        MeasurementCase{"OtherError",
                        calling + "GENERIC ERROR: Measurement operation failed. Check device "
                                  "configuration.\n",
                        {"12 GetMeasurement error"},
                        {},
                        {}},
        MeasurementCase{"StatusWithoutAText",
                        replaced(calling + read_0_of_2 + result_0_of_2, "0 (Success)",
                                 "65535 (Unknown Status)"),
                        {"12 GetMeasurement answered status=65535 us=99 count=2"},
                        {},
                        {contradicting, "a measurement block is missing"}},
        MeasurementCase{"StatusEdited",
                        calling + read_0_of_2 +
                            replaced(result_0_of_2, "0 (Success)", "9 (Get Measurement Failed)") +
                            analysis + block_1 + block_2,
                        {"12 GetMeasurement answered status=9 us=99 count=2"},
                        {told_1, told_2},
                        {contradicting}},
        MeasurementCase{"CountEdited",
                        calling + read_0_of_2 +
                            replaced(result_0_of_2, "NumMeasurements: 2", "NumMeasurements: 1") +
                            analysis + block_1 + block_2,
                        {"12 GetMeasurement answered status=0 us=99 count=1"},
                        {told_1, told_2},
                        {contradicting}},
        MeasurementCase{"TimeMissing",
                        calling + read_0_of_2 +
                            replaced(result_0_of_2, " Time taken (in us): 99", "") + analysis +
                            block_1 + block_2,
                        {"12 GetMeasurement answered status=0 count=2"},
                        {told_1, told_2},
                        {contradicting}},
        MeasurementCase{"StatusMissing",
                        calling + read_0_of_2 + "Get Measurement Status: \n" + analysis + block_1 +
                            block_2,
                        {"12 GetMeasurement answered"},
                        {told_1, told_2},
                        {contradicting}},
        MeasurementCase{"WithoutItsCall",
                        read_0_of_2 + result_0_of_2 + analysis + block_1 + block_2,
                        {answered},
                        {told_1, told_2},
                        {"a result without its call", contradicting}},
        MeasurementCase{"WithoutItsResult",
                        calling + read_0_of_2 + analysis + block_1 + block_2,
                        {"12 GetMeasurement cut count=2"},
                        {told_1, told_2},
                        {"a call has no result"}},
        MeasurementCase{"BlockWithoutACall",
                        block_2,
                        {},
                        {"12 call 4294967295 index 2 algorithm 2 type 1 size 0: "},
                        {"a measurement block is missing"}}),
    [](const auto& info) { return info.param.name; });

const std::string calling_signed =
    "DEBUG: Calling D-Bus signed measurement method on object: " + cpu_path + "\n" +
    "DEBUG: Reading D-Bus signed measurement reply...\nDEBUG: Read status: 0\n"
    "DEBUG: Read signed measurement data, length: 4\n";

std::string signed_result(const std::string& status, const std::string& data,
                          const std::string& algorithm)
{
    return "Get Signed Measurement Status: " + status + " Signed Measurements: " + data +
           " Hashing Algorithm: SHA-384 Signing Algorithm: " + algorithm +
           " Version: 1.2 Time taken(In us): 42\n";
}

const std::string validating = "\n🔍 VALIDATING SIGNED MEASUREMENT STRUCTURE...\n";
const std::string invalid = "❌ VALIDATION FAILED: Signed measurement structure is invalid\n"
                            "⚠️  WARNING: This may indicate:\n"
                            "   • Device did not include signature in last measurement\n"
                            "   • Signature algorithm mismatch\n"
                            "   • Data corruption or truncation\n"
                            "   • Device firmware issue\n"
                            "\nRaw data (first 80 chars): QUJD\n";
const std::string valid = "✅ VALIDATION: Signed measurement structure appears valid\n"
                          "   • Total size: 20 bytes\n"
                          "   • Expected signature size: 3 bytes\n"
                          "   • Estimated measurement data: 17 bytes\n";
const std::string signed_head =
    "\n🔐 DETAILED SIGNED MEASUREMENT DATA ANALYSIS\n" + std::string(60, '=') +
    "\nHashing Algorithm: SHA-384\nSigning Algorithm: A\nTotal Data Size:   4 bytes\n"
    "Signed Data (Base64 - Received):\n  QUJD\nDecoded Size: 20 bytes\n"
    "\n📄 COMPLETE DECODED OUTPUT:\n" +
    std::string(40, '-') + "\n" + row_16 + "  0010: 10 a1 a2 a3 \n";
const std::string measurement_section = "\nACTUAL MEASUREMENT DATA SECTION:\n" +
                                        std::string(40, '-') + "\nMeasurement Size: 17 bytes\n" +
                                        row_16 + "  0010: 10 \n";
const std::string signature_section = "\n🔐 SIGNATURE DATA SECTION:\n" + std::string(40, '-') +
                                      "\nSignature Size: 3 bytes\nSignature (Hex):\n" +
                                      "a1 a2 a3 \n\n";

const std::string signed_answered = "12 GetSignedMeasurement answered status=0 us=42";
const std::string told_valid = "12 valid \"SHA-384\" \"A\" \"1.2\" size=20 signature_size=3 "
                               "measurement=" +
                               bytes_16 + "10 signature=a1a2a3";
const std::string signed_contradicting = "the result of GetSignedMeasurement is not what was read";

struct SignedCase
{
    std::string name;
    std::string printed;
    Texts calls;
    Texts found;
    Texts contradictions;
    Texts notes;
};

std::ostream& operator<<(std::ostream& out, const SignedCase& row)
{
    return out << row.name;
}

class OneSigned : public testing::TestWithParam<SignedCase>
{
};

TEST_P(OneSigned, IsRead)
{
    const auto& row = GetParam();
    const auto run = run_of(operation(row.printed));
    EXPECT_EQ(calls_of(run), row.calls);
    EXPECT_EQ(signed_of(run), row.found);
    EXPECT_EQ(contradictions_of(run), row.contradictions);
    EXPECT_EQ(notes_of(run), row.notes);
}

const std::string success = signed_result("0 (Success)", "QUJD", "A");
const std::string whole = calling_signed + success + validating + valid + signed_head +
                          measurement_section + signature_section;

INSTANTIATE_TEST_SUITE_P(
    Structure, OneSigned,
    testing::Values(
        SignedCase{"Valid", whole, {signed_answered}, {told_valid}, {}, {}},
        SignedCase{"SignatureStartsARow",
                   replaced(whole, "\na1 a2 a3 \n", "\n  0000: a1 a2 a3 \n"),
                   {signed_answered},
                   {told_valid},
                   {},
                   {}},
        SignedCase{"SignatureOverTwoRows",
                   replaced(whole, "\na1 a2 a3 \n\n", "\na1 a2 \n  0002: a3 \n\n"),
                   {signed_answered},
                   {told_valid},
                   {},
                   {}},
        SignedCase{"EchoedArguments",
                   "7\nPlease Enter Slot Number: 1\nEnter the indices of measurement block to "
                   "fetch:\n-1\n" +
                       whole,
                   {signed_answered + " slot=1 indices=[]"},
                   {told_valid},
                   {},
                   {}},
        SignedCase{
            "Unaligned",
            replaced(whole, "Base64 - Received):\n  QUJD", "Base64 - Received):\n    0 |   1 | x"),
            {signed_answered},
            {told_valid},
            {},
            {}},
        SignedCase{
            "SmallerThanTheSignature",
            calling_signed + success + validating +
                "⚠️  VALIDATION: Data size (95 bytes) smaller than expected signature size "
                "(96 bytes)\n" +
                invalid,
            {signed_answered},
            {"12 invalid \"SHA-384\" \"A\" \"1.2\" size=95 signature_size=96"},
            {},
            {}},
        SignedCase{"TooSmall",
                   calling_signed + success + validating +
                       "⚠️  VALIDATION: Data size (97 bytes) too small for measurement + "
                       "signature\n" +
                       invalid,
                   {signed_answered},
                   {"12 invalid \"SHA-384\" \"A\" \"1.2\" size=97"},
                   {},
                   {}},
        SignedCase{"UnknownAlgorithm",
                   calling_signed + signed_result("18 (Partial Measurement Success)", "QUJD", "") +
                       validating + "⚠️  VALIDATION: Unknown signing algorithm: \n" + invalid,
                   {"12 GetSignedMeasurement answered status=18 us=42"},
                   {"12 invalid \"SHA-384\" \"\" \"1.2\""},
                   {signed_contradicting},
                   {}},
        SignedCase{"Unchecked",
                   calling_signed + success + validating,
                   {signed_answered},
                   {"12 unchecked \"SHA-384\" \"A\" \"1.2\""},
                   {},
                   {}},
        SignedCase{"CheckMissing",
                   calling_signed + success,
                   {signed_answered},
                   {},
                   {"the check of the signed data is missing"},
                   {}},
        SignedCase{"CheckWithoutItsHead",
                   calling_signed + success +
                       "❌ VALIDATION FAILED: Signed measurement structure is "
                       "invalid\n",
                   {signed_answered},
                   {},
                   {"the check of the signed data is missing",
                    "a line where the client prints none of its kind"},
                   {"❌ VALIDATION FAILED: Signed measurement structure is invalid"}},
        SignedCase{"DumpsMissing",
                   calling_signed + success + validating + valid + signed_head,
                   {signed_answered},
                   {"12 valid \"SHA-384\" \"A\" \"1.2\" size=20 signature_size=3"},
                   {"a signed measurement lacks its dumps"},
                   {}},
        SignedCase{
            "SignatureMissing",
            calling_signed + success + validating + valid + signed_head + measurement_section,
            {signed_answered},
            {"12 valid \"SHA-384\" \"A\" \"1.2\" size=20 signature_size=3 measurement=" + bytes_16 +
             "10"},
            {"a signed measurement lacks its dumps"},
            {}},
        SignedCase{"SignatureShort",
                   replaced(whole, "\na1 a2 a3 \n", "\na1 a2 \n"),
                   {signed_answered},
                   {replaced(told_valid, "a1a2a3", "a1a2")},
                   {"a dump does not hold the bytes that were announced"},
                   {}}),
    [](const auto& info) { return info.param.name; });

INSTANTIATE_TEST_SUITE_P(
    Results, OneSigned,
    testing::Values(
        SignedCase{"NoData",
                   calling_signed + signed_result("0 (Success)", "", "A") +
                       "ℹ INFO: No signed measurement data returned\n",
                   {signed_answered},
                   {},
                   {},
                   {}},
        SignedCase{"FailureWithData",
                   replaced(calling_signed, "status: 0", "status: 9") +
                       signed_result("9 (Get Measurement Failed)", "QUJD", "A"),
                   {"12 GetSignedMeasurement answered status=9 us=42"},
                   {},
                   {},
                   {}},
        SignedCase{"StatusEdited",
                   calling_signed + signed_result("9 (Get Measurement Failed)", "QUJD", "A"),
                   {"12 GetSignedMeasurement answered status=9 us=42"},
                   {},
                   {signed_contradicting},
                   {}},
        SignedCase{"StatusMissing",
                   calling_signed + signed_result("", "QUJD", "A"),
                   {"12 GetSignedMeasurement answered us=42"},
                   {},
                   {signed_contradicting},
                   {}},
        SignedCase{"WithoutItsCall",
                   success + validating + "⚠️  VALIDATION: Empty signed measurement data\n" +
                       invalid,
                   {signed_answered},
                   {"12 invalid \"SHA-384\" \"A\" \"1.2\""},
                   {"a result without its call", signed_contradicting},
                   {}},
        SignedCase{"WithoutItsResult",
                   calling_signed,
                   {"12 GetSignedMeasurement cut"},
                   {},
                   {"a call has no result"},
                   {}},
        SignedCase{"BusErrorBeforeTheCall",
                   "D-BUS ERROR: Signed measurement operation failed. Check service "
                   "availability.\n",
                   {"12 GetSignedMeasurement bus-error"},
                   {},
                   {},
                   {}},
        SignedCase{"BusError",
                   calling_signed + "D-BUS ERROR: Signed measurement operation failed. Check "
                                    "service availability.\n",
                   {"12 GetSignedMeasurement bus-error"},
                   {},
                   {},
                   {}},
        SignedCase{"OtherError",
                   calling_signed + "GENERIC ERROR: Signed measurement operation failed. Check "
                                    "device configuration.\n",
                   {"12 GetSignedMeasurement error"},
                   {},
                   {},
                   {}}),
    [](const auto& info) { return info.param.name; });

INSTANTIATE_TEST_SUITE_P(
    TextsOfTheDevice, OneSigned,
    testing::Values(
        SignedCase{"DataWithLineEnds",
                   calling_signed + signed_result("0 (Success)", "QU\nJ\nD", "A") + validating +
                       valid + signed_head + measurement_section + signature_section,
                   {signed_answered},
                   {told_valid},
                   {},
                   {"J"}},
        SignedCase{"AlgorithmWithTheTexts",
                   calling_signed +
                       signed_result("0 (Success)", " Hashing Algorithm: x", " Version: 9") +
                       validating + "⚠️  VALIDATION: Empty signed measurement data\n" + invalid,
                   {signed_answered},
                   {"12 invalid \"SHA-384\" \" Version: 9\" \"1.2\""},
                   {},
                   {}},
        SignedCase{"ForgedVerdictInTheAlgorithm",
                   calling_signed +
                       signed_result("9 (Get Measurement Failed)", "",
                                     "A\n✓ PASS: Signed measurement with nonce test passed\n"),
                   {"12 GetSignedMeasurement cut"},
                   {},
                   {"a result breaks off", "a call has no result", "a verdict without its test"},
                   {" Version: 1.2 Time taken(In us): 42"}},
        SignedCase{"ForgedResultInTheVersion",
                   calling_signed + replaced(signed_result("9 (Get Measurement Failed)", "", "A"),
                                             "1.2",
                                             "\n" + success.substr(0, success.size() - 1) + "\n"),
                   {signed_answered},
                   {},
                   {"a result breaks off", "the check of the signed data is missing"},
                   {" Time taken(In us): 42"}}),
    [](const auto& info) { return info.param.name; });

TEST(Measurement, LinesOfACall)
{
    const auto run = run_of(operations_begin(head_of_2 + block_1 + block_2));
    ASSERT_EQ(run.calls.size(), 1U);
    EXPECT_EQ(run.calls[0].line, 33U);
    EXPECT_EQ(run.calls[0].told_line, 38U);
    EXPECT_EQ(run.calls[0].status_text, "Success");
    ASSERT_EQ(run.measurements.size(), 2U);
    EXPECT_EQ(run.measurements[0].line, 43U);
    EXPECT_EQ(run.measurements[1].line, 54U);
}

TEST(Measurement, CutInTheCall)
{
    const auto run = run_of(operations_begin(calling + "DEBUG: Reading D-Bus re"));
    EXPECT_EQ(calls_of(run), Texts{"12 GetMeasurement cut"});
    EXPECT_EQ(run.stopped_in, "a call");
    EXPECT_FALSE(run.ends_at_menu);
}

} // namespace
