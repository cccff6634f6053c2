// Input: signing algorithm, hashing algorithm and version, a line each, then the Base64 text.

#include "fuzz/support/expected_dump.hpp"
#include "fuzz/support/require.hpp"
#include "fuzz/support/stream_format.hpp"
#include "operations/base64.hpp"
#include "operations/signed_measurements.hpp"
#include "tests/unit/analysis_parts.hpp"

#include <cstring>
#include <map>
#include <sstream>
#include <string>
#include <vector>

namespace
{

using Bytes = std::vector<std::uint8_t>;

const std::string title_rule = std::string(60, '=') + "\n";
const std::string section_rule = std::string(40, '-') + "\n";

/// Bit by bit.
Bytes expected_bytes(std::string_view text)
{
    const std::string alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    const auto length = std::min(text.find_first_not_of(alphabet), text.size());
    Bytes bytes(length / 4 * 3 + (length % 4 == 0 ? 0 : length % 4 - 1));
    for (std::size_t bit = 0; bit < 8 * bytes.size(); ++bit)
    {
        const auto sextet = alphabet.find(text[bit / 6]);
        const auto set = sextet >> (5 - bit % 6) & 1;
        bytes[bit / 8] = static_cast<std::uint8_t>(bytes[bit / 8] | set << (7 - bit % 8));
    }
    return bytes;
}

std::size_t expected_size(const std::string& algorithm)
{
    static const std::map<std::string, std::size_t> sizes{
        {"TPM_ALG_RSASSA_3072", 384},
        {"TPM_ALG_RSAPSS_3072", 384},
        {"TPM_ALG_RSASSA_4096", 512},
        {"TPM_ALG_RSAPSS_4096", 512},
        {"RSA-3072", 384},
        {"RSA-4096", 512},
        {"TPM_ALG_ECDSA_ECC_NIST_P256", 64},
        {"ECDSA-P256", 64},
        {"TPM_ALG_ECDSA_ECC_NIST_P384", 96},
        {"ECDSA-P384", 96},
        {"RSA-2048", 256},
        {"ECDSA-P521", 132},
        {"ED25519", 64},
        {"ED448", 114},
    };
    const auto size = sizes.find(algorithm);
    return size == sizes.end() ? 0 : size->second;
}

/// Empty when nothing is wrong.
std::string expected_finding(const SignedMeasurement& measurement, std::size_t total)
{
    const auto size = expected_size(measurement.signing_algorithm);
    const auto data_size = "⚠️  VALIDATION: Data size (" + std::to_string(total) + " bytes) ";
    if (measurement.data.empty())
    {
        return "⚠️  VALIDATION: Empty signed measurement data\n";
    }
    if (size == 0)
    {
        return "⚠️  VALIDATION: Unknown signing algorithm: " + measurement.signing_algorithm +
               "\n";
    }
    if (total < size)
    {
        return data_size + "smaller than expected signature size (" + std::to_string(size) +
               " bytes)\n";
    }
    return total < size + 16 ? data_size + "too small for measurement + signature\n" : "";
}

std::string expected_validation(const SignedMeasurement& measurement, std::size_t total)
{
    const std::string head = "\n🔍 VALIDATING SIGNED MEASUREMENT STRUCTURE...\n";
    const auto finding = expected_finding(measurement, total);
    if (!finding.empty())
    {
        return head + finding +
               validation_failure(measurement.data.substr(0, 80) +
                                  (measurement.data.size() > 80 ? "..." : ""));
    }
    const auto size = expected_size(measurement.signing_algorithm);
    return head + "✅ VALIDATION: Signed measurement structure appears valid\n" +
           "   • Total size: " + std::to_string(total) + " bytes\n" +
           "   • Expected signature size: " + std::to_string(size) + " bytes\n" +
           "   • Estimated measurement data: " + std::to_string(total - size) + " bytes\n";
}

std::string expected_split(const std::string& algorithm, const Bytes& bytes)
{
    const auto size = expected_size(algorithm);
    const auto complete = section_rule + expected_dump(bytes);
    if (size == 0)
    {
        return "\n⚠️  WARNING: Unknown signing algorithm: " + algorithm +
               "\nCannot separate measurement from signature. Showing complete data:\n" + complete;
    }
    if (bytes.size() < size)
    {
        return "\n⚠️  WARNING: Data size (" + std::to_string(bytes.size()) +
               " bytes) is smaller than expected signature size (" + std::to_string(size) +
               " bytes) for " + algorithm + "\nShowing complete data:\n" + complete;
    }
    const auto rest = bytes.size() - size;
    const std::span whole{bytes};
    return "\nACTUAL MEASUREMENT DATA SECTION:\n" + section_rule +
           "Measurement Size: " + std::to_string(rest) + " bytes\n" +
           expected_dump(whole.first(rest)) + "\n🔐 SIGNATURE DATA SECTION:\n" + section_rule +
           "Signature Size: " + std::to_string(size) + " bytes\nSignature (Hex):\n" +
           expected_dump(whole.last(size), rest) + "\n";
}

std::string expected_analysis(const SignedMeasurement& measurement, const Bytes& bytes)
{
    const auto head = "\n🔐 DETAILED SIGNED MEASUREMENT DATA ANALYSIS\n" + title_rule;
    if (measurement.data.empty())
    {
        return head + "ℹ INFO: No signed measurement data to display\n";
    }
    const auto or_none = [](const std::string& name) { return name.empty() ? "N/A" : name; };
    return head + "Hashing Algorithm: " + or_none(measurement.hashing_algorithm) +
           "\nSigning Algorithm: " + or_none(measurement.signing_algorithm) +
           "\nTotal Data Size:   " + std::to_string(measurement.data.size()) +
           " bytes\nSigned Data (Base64 - Received):\n  " + measurement.data +
           "\nDecoded Size: " + std::to_string(bytes.size()) + " bytes\n" +
           "\n📄 COMPLETE DECODED OUTPUT:\n" + section_rule + expected_dump(bytes) +
           expected_split(measurement.signing_algorithm, bytes);
}

SignedMeasurement parse(std::string_view input)
{
    const auto line = [&input] {
        const auto length = std::min(input.find('\n'), input.size());
        const std::string text{input.substr(0, length)};
        input.remove_prefix(std::min(length + 1, input.size()));
        return text;
    };
    SignedMeasurement measurement;
    measurement.signing_algorithm = line();
    measurement.hashing_algorithm = line();
    measurement.version = line();
    measurement.data = input;
    return measurement;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const auto measurement = parse({reinterpret_cast<const char*>(data), size});
    const auto bytes = decode_base64(measurement.data);
    require(bytes == expected_bytes(measurement.data), "the text decodes as it should");

    std::ostringstream validation;
    const bool valid = validate_signed_measurement(validation, measurement, bytes);
    require_equal(validation.str(), expected_validation(measurement, bytes.size()), "validation");
    require(valid == expected_finding(measurement, bytes.size()).empty(),
            "the verdict is the printed one");
    require_plain_format(validation);

    std::ostringstream analysis;
    print_signed_measurement_analysis(analysis, measurement, bytes);
    require_equal(analysis.str(), expected_analysis(measurement, bytes), "analysis");
    require_plain_format(analysis);
    require(analysis.str().size() <= 4096 + 8 * size, "the output is linear in the input");
    return 0;
}
