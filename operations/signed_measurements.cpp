#include "operations/signed_measurements.hpp"

#include "operations/base64.hpp"
#include "operations/hex_dump.hpp"
#include "operations/measurement_operation.hpp"
#include "shell/method_call.hpp"
#include "shell/service_contract.hpp"
#include "shell/status.hpp"

#include <iostream>

namespace
{

constexpr MeasurementComplaints signed_measurement_complaints{
    "D-BUS ERROR: Signed measurement operation failed. Check service availability.",
    "  4. Device does not support signed measurement operations",
    "GENERIC ERROR: Signed measurement operation failed. Check device configuration.",
};

/// Shortest measurement part, in bytes.
constexpr std::size_t least_measurement_size = 16;

/// Characters of the received text that are shown when its structure is invalid.
constexpr std::size_t raw_data_shown = 80;

struct SignatureSize
{
    std::string_view signing_algorithm;
    std::size_t bytes;
};

/// RSA: the length of the modulus. ECDSA: twice that of the field. EdDSA: see RFC 8032.
constexpr SignatureSize signature_sizes[] = {
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

bool is_structure_valid(std::ostream& out, const SignedMeasurement& measurement, std::size_t size,
                        std::size_t signature_size)
{
    if (measurement.data.empty())
    {
        out << "⚠️  VALIDATION: Empty signed measurement data" << std::endl;
        return false;
    }
    if (signature_size == 0)
    {
        out << "⚠️  VALIDATION: Unknown signing algorithm: " << measurement.signing_algorithm
            << std::endl;
        return false;
    }
    if (signature_size > size)
    {
        out << "⚠️  VALIDATION: Data size (" << size
            << " bytes) smaller than expected signature size (" << signature_size << " bytes)"
            << std::endl;
        return false;
    }
    if (size < signature_size + least_measurement_size)
    {
        out << "⚠️  VALIDATION: Data size (" << size
            << " bytes) too small for measurement + signature" << std::endl;
        return false;
    }
    return true;
}

void print_validation_failure(std::ostream& out, const std::string& data)
{
    out << "❌ VALIDATION FAILED: Signed measurement structure is invalid" << std::endl;
    out << "⚠️  WARNING: This may indicate:" << std::endl;
    out << "   • Device did not include signature in last measurement" << std::endl;
    out << "   • Signature algorithm mismatch" << std::endl;
    out << "   • Data corruption or truncation" << std::endl;
    out << "   • Device firmware issue" << std::endl;
    out << "\nRaw data (first 80 chars): " << std::string_view{data}.substr(0, raw_data_shown)
        << (data.size() > raw_data_shown ? "..." : "") << std::endl;
}

const std::string& name_or_not_available(const std::string& name)
{
    static const std::string not_available = "N/A";
    return name.empty() ? not_available : name;
}

void print_complete_data(std::ostream& out, std::span<const std::uint8_t> bytes)
{
    print_section_rule(out);
    print_hex_dump(out, bytes);
}

/// The signature is the last `signature_size` bytes. Its dump breaks lines where the dump of all
/// `bytes` does.
void print_split(std::ostream& out, std::span<const std::uint8_t> bytes, std::size_t signature_size)
{
    const auto measurement_size = bytes.size() - signature_size;
    out << "\nACTUAL MEASUREMENT DATA SECTION:" << std::endl;
    print_section_rule(out);
    out << "Measurement Size: " << measurement_size << " bytes" << std::endl;
    print_hex_dump(out, bytes.first(measurement_size));
    out << "\n🔐 SIGNATURE DATA SECTION:" << std::endl;
    print_section_rule(out);
    out << "Signature Size: " << signature_size << " bytes" << std::endl;
    out << "Signature (Hex):" << std::endl;
    print_hex_dump(out, bytes.last(signature_size), measurement_size);
    out << std::endl;
}

/// Prints what follows the result line; it does not affect the operation's verdict.
void print_details(std::uint32_t status, bool succeeded, const SignedMeasurement& measurement)
{
    if (status == operation_status::measurement_not_supported)
    {
        std::cout << "ℹ INFO: Device does not support signed measurements" << std::endl;
        return;
    }
    if (status == operation_status::authentication_failed)
    {
        std::cout << "ℹ INFO: Authentication may be required for signed measurements" << std::endl;
        return;
    }
    if (!succeeded)
    {
        return;
    }
    if (measurement.data.empty())
    {
        std::cout << "ℹ INFO: No signed measurement data returned" << std::endl;
        return;
    }
    const auto bytes = decode_base64(measurement.data);
    if (validate_signed_measurement(std::cout, measurement, bytes))
    {
        print_signed_measurement_analysis(std::cout, measurement, bytes);
    }
}

/// The time taken includes printing the progress lines.
int fetch_and_print(const std::string& path, const MeasurementIndices& indices, std::uint16_t slot,
                    const std::string& nonce)
{
    MethodCall call{path, ServiceContract::DEVICE_INTERFACE,
                    ServiceContract::GET_SIGNED_MEASUREMENT};
    call.append(indices, slot, nonce);
    call.start_clock();
    std::cout << "DEBUG: Calling D-Bus signed measurement method on object: " << path << std::endl;
    call.send();
    std::cout << "DEBUG: Reading D-Bus signed measurement reply..." << std::endl;
    std::uint32_t status = 255;
    call.read(status);
    std::cout << "DEBUG: Read status: " << status << std::endl;
    SignedMeasurement measurement;
    call.read(measurement.data, measurement.hashing_algorithm, measurement.signing_algorithm,
              measurement.version);
    std::cout << "DEBUG: Read signed measurement data, length: " << measurement.data.size()
              << std::endl;
    const auto elapsed = call.elapsed_microseconds();

    const bool succeeded = status_advice(status) != 0;
    std::cout << "Get Signed Measurement Status: " << status << " ("
              << status_text(static_cast<std::int32_t>(status)) << ") "
              << "Signed Measurements: " << measurement.data
              << " Hashing Algorithm: " << measurement.hashing_algorithm
              << " Signing Algorithm: " << measurement.signing_algorithm
              << " Version: " << measurement.version << time_taken_label << elapsed << std::endl;
    print_details(status, succeeded, measurement);
    return succeeded ? success : failure;
}

} // namespace

std::size_t expected_signature_size(std::string_view signing_algorithm)
{
    for (const auto& known : signature_sizes)
    {
        if (known.signing_algorithm == signing_algorithm)
        {
            return known.bytes;
        }
    }
    return 0;
}

bool validate_signed_measurement(std::ostream& out, const SignedMeasurement& measurement,
                                 std::span<const std::uint8_t> bytes)
{
    const auto signature_size = expected_signature_size(measurement.signing_algorithm);
    out << "\n🔍 VALIDATING SIGNED MEASUREMENT STRUCTURE..." << std::endl;
    if (!is_structure_valid(out, measurement, bytes.size(), signature_size))
    {
        print_validation_failure(out, measurement.data);
        return false;
    }
    out << "✅ VALIDATION: Signed measurement structure appears valid" << std::endl;
    out << "   • Total size: " << bytes.size() << " bytes" << std::endl;
    out << "   • Expected signature size: " << signature_size << " bytes" << std::endl;
    out << "   • Estimated measurement data: " << bytes.size() - signature_size << " bytes"
        << std::endl;
    return true;
}

void print_signed_measurement_analysis(std::ostream& out, const SignedMeasurement& measurement,
                                       std::span<const std::uint8_t> bytes)
{
    out << "\n🔐 DETAILED SIGNED MEASUREMENT DATA ANALYSIS" << std::endl;
    print_title_rule(out);
    if (measurement.data.empty())
    {
        out << "ℹ INFO: No signed measurement data to display" << std::endl;
        return;
    }
    const auto& name = measurement.signing_algorithm;
    out << "Hashing Algorithm: " << name_or_not_available(measurement.hashing_algorithm)
        << std::endl;
    out << "Signing Algorithm: " << name_or_not_available(name) << std::endl;
    out << "Total Data Size:   " << measurement.data.size() << " bytes" << std::endl;
    out << "Signed Data (Base64 - Received):" << std::endl;
    out << "  " << measurement.data << std::endl;
    out << "Decoded Size: " << bytes.size() << " bytes" << std::endl;
    out << "\n📄 COMPLETE DECODED OUTPUT:" << std::endl;
    print_complete_data(out, bytes);

    const auto signature_size = expected_signature_size(name);
    if (signature_size == 0)
    {
        out << "\n⚠️  WARNING: Unknown signing algorithm: " << name << std::endl;
        out << "Cannot separate measurement from signature. Showing complete data:" << std::endl;
        print_complete_data(out, bytes);
    }
    else if (bytes.size() < signature_size)
    {
        out << "\n⚠️  WARNING: Data size (" << bytes.size()
            << " bytes) is smaller than expected signature size (" << signature_size
            << " bytes) for " << name << std::endl;
        out << "Showing complete data:" << std::endl;
        print_complete_data(out, bytes);
    }
    else
    {
        print_split(out, bytes, signature_size);
    }
}

int get_signed_measurement(Eid eid, const MeasurementIndices& indices, std::uint16_t slot,
                           const std::string& nonce)
{
    return run_measurement_operation(
        eid, signed_measurement_complaints,
        [&](const std::string& path) { return fetch_and_print(path, indices, slot, nonce); });
}
