#include "simulator/signing.hpp"

#include "simulator/openssl_tool.hpp"

#include <algorithm>
#include <iostream>
#include <map>
#include <span>

namespace simulator
{

namespace
{

using Scheme = SigningAlgorithm::Scheme;

constexpr SigningAlgorithm algorithms[] = {
    {"TPM_ALG_ECDSA_ECC_NIST_P256", Scheme::ecdsa, 64, "EC", "ec_paramgen_curve:P-256"},
    {"TPM_ALG_ECDSA_ECC_NIST_P384", Scheme::ecdsa, 96, "EC", "ec_paramgen_curve:P-384"},
    {"TPM_ALG_ECDSA_ECC_NIST_P521", Scheme::ecdsa, 132, "EC", "ec_paramgen_curve:P-521"},
    {"ECDSA-P256", Scheme::ecdsa, 64, "EC", "ec_paramgen_curve:P-256"},
    {"ECDSA-P384", Scheme::ecdsa, 96, "EC", "ec_paramgen_curve:P-384"},
    {"ECDSA-P521", Scheme::ecdsa, 132, "EC", "ec_paramgen_curve:P-521"},
    {"TPM_ALG_RSASSA_2048", Scheme::rsa_pkcs1, 256, "RSA", "rsa_keygen_bits:2048"},
    {"TPM_ALG_RSASSA_3072", Scheme::rsa_pkcs1, 384, "RSA", "rsa_keygen_bits:3072"},
    {"TPM_ALG_RSASSA_4096", Scheme::rsa_pkcs1, 512, "RSA", "rsa_keygen_bits:4096"},
    {"RSA-2048", Scheme::rsa_pkcs1, 256, "RSA", "rsa_keygen_bits:2048"},
    {"RSA-3072", Scheme::rsa_pkcs1, 384, "RSA", "rsa_keygen_bits:3072"},
    {"RSA-4096", Scheme::rsa_pkcs1, 512, "RSA", "rsa_keygen_bits:4096"},
    {"TPM_ALG_RSAPSS_2048", Scheme::rsa_pss, 256, "RSA", "rsa_keygen_bits:2048"},
    {"TPM_ALG_RSAPSS_3072", Scheme::rsa_pss, 384, "RSA", "rsa_keygen_bits:3072"},
    {"TPM_ALG_RSAPSS_4096", Scheme::rsa_pss, 512, "RSA", "rsa_keygen_bits:4096"},
    {"ED25519", Scheme::eddsa, 64, "ED25519", ""},
    {"ED448", Scheme::eddsa, 114, "ED448", ""},
};

struct Digest
{
    std::string_view hashing_algorithm;
    std::string_view digest;
};

constexpr Digest digests[] = {
    {"TPM_ALG_SHA_256", "sha256"},
    {"TPM_ALG_SHA_384", "sha384"},
    {"TPM_ALG_SHA_512", "sha512"},
    {"TPM_ALG_SHA3_256", "sha3-256"},
    {"TPM_ALG_SHA3_384", "sha3-384"},
    {"TPM_ALG_SHA3_512", "sha3-512"},
    {"SHA-256", "sha256"},
    {"SHA-384", "sha384"},
    {"SHA-512", "sha512"},
};

std::string generated_key(const SigningAlgorithm& algorithm)
{
    std::vector<std::string> command{"genpkey", "-algorithm", std::string(algorithm.key_type)};
    if (!algorithm.key_option.empty())
    {
        command.insert(command.end(), {"-pkeyopt", std::string(algorithm.key_option)});
    }
    const Bytes pem = run_openssl(command, {}, {}).value_or(Bytes{});
    return {pem.begin(), pem.end()};
}

const std::string& key_of(const Signing& signing)
{
    static std::map<std::string_view, std::string> made;
    if (!signing.key.empty())
    {
        return signing.key;
    }
    std::string& key = made[signing.algorithm->name];
    if (key.empty())
    {
        key = generated_key(*signing.algorithm);
    }
    return key;
}

std::vector<std::string> sign_command(const Signing& signing)
{
    if (signing.algorithm->scheme == Scheme::eddsa)
    {
        return {"pkeyutl",        "-sign", "-rawin",          "-inkey",
                openssl_key_path, "-in",   openssl_input_path};
    }
    std::vector<std::string> command{"dgst", std::string("-").append(digest_name(signing.hashing)),
                                     "-sign", openssl_key_path};
    if (signing.algorithm->scheme == Scheme::rsa_pss)
    {
        command.insert(command.end(),
                       {"-sigopt", "rsa_padding_mode:pss", "-sigopt", "rsa_pss_saltlen:digest"});
    }
    return command;
}

/// Reads DER elements one after the other.
class DerReader
{
  public:
    explicit DerReader(std::span<const std::uint8_t> rest) : rest(rest) {}

    bool at_end() const
    {
        return rest.empty();
    }

    /// The content of the next element if it has this tag.
    std::optional<std::span<const std::uint8_t>> take(std::uint8_t tag)
    {
        if (rest.size() < 2 || rest[0] != tag)
        {
            return std::nullopt;
        }
        std::size_t length = rest[1];
        std::size_t header = 2;
        if (length == one_length_byte_follows && rest.size() > 2)
        {
            length = rest[2];
            header = 3;
        }
        else if (length >= one_length_byte_follows - 1)
        {
            return std::nullopt;
        }
        if (rest.size() - header < length)
        {
            return std::nullopt;
        }
        const auto content = rest.subspan(header, length);
        rest = rest.subspan(header + length);
        return content;
    }

  private:
    static constexpr std::size_t one_length_byte_follows = 0x81;

    std::span<const std::uint8_t> rest;
};

bool append_integer(Bytes& raw, std::span<const std::uint8_t> integer, std::size_t width)
{
    const auto first =
        std::find_if(integer.begin(), integer.end(), [](std::uint8_t byte) { return byte != 0; });
    const auto digits = static_cast<std::size_t>(integer.end() - first);
    if (integer.empty() || digits > width)
    {
        return false;
    }
    raw.insert(raw.end(), width - digits, 0);
    raw.insert(raw.end(), first, integer.end());
    return true;
}

} // namespace

const SigningAlgorithm* find_signing_algorithm(std::string_view name)
{
    const auto found = std::find_if(std::begin(algorithms), std::end(algorithms),
                                    [&](const auto& row) { return row.name == name; });
    return found == std::end(algorithms) ? nullptr : found;
}

std::string signing_algorithm_names()
{
    std::string names;
    for (const SigningAlgorithm& algorithm : algorithms)
    {
        names += (names.empty() ? "" : ", ") + std::string(algorithm.name);
    }
    return names;
}

std::string_view digest_name(std::string_view hashing_algorithm)
{
    const auto found = std::find_if(std::begin(digests), std::end(digests), [&](const Digest& row) {
        return row.hashing_algorithm == hashing_algorithm;
    });
    return found == std::end(digests) ? std::string_view{} : found->digest;
}

std::optional<Bytes> sign(const Signing& signing, const Bytes& data)
{
    const SigningAlgorithm& algorithm = *signing.algorithm;
    auto signature = run_openssl(sign_command(signing), data, key_of(signing));
    if (signature && algorithm.scheme == Scheme::ecdsa)
    {
        signature = raw_from_der(*signature, algorithm.bytes / 2);
    }
    if (!signature || signature->size() != algorithm.bytes)
    {
        std::cerr << "spdm-simulator: no " << algorithm.name
                  << " signature: the tool failed or the key is for another algorithm" << std::endl;
        return std::nullopt;
    }
    return signature;
}

std::optional<Bytes> raw_from_der(const Bytes& der, std::size_t width)
{
    constexpr std::uint8_t sequence_tag = 0x30;
    constexpr std::uint8_t integer_tag = 0x02;
    DerReader outer(der);
    const auto sequence = outer.take(sequence_tag);
    if (!sequence || !outer.at_end())
    {
        return std::nullopt;
    }
    DerReader inner(*sequence);
    const auto r = inner.take(integer_tag);
    const auto s = inner.take(integer_tag);
    Bytes raw;
    if (!r || !s || !inner.at_end() || !append_integer(raw, *r, width) ||
        !append_integer(raw, *s, width))
    {
        return std::nullopt;
    }
    return raw;
}

} // namespace simulator
