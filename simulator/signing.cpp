#include "simulator/signing.hpp"

#include <algorithm>
#include <iostream>
#include <map>
#include <memory>
#include <openssl/ecdsa.h>
#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/rsa.h>
#include <stdexcept>

namespace simulator
{

namespace
{

using Scheme = SigningAlgorithm::Scheme;

constexpr SigningAlgorithm algorithms[] = {
    {"TPM_ALG_ECDSA_ECC_NIST_P256", Scheme::ecdsa, 64, "EC", "P-256"},
    {"TPM_ALG_ECDSA_ECC_NIST_P384", Scheme::ecdsa, 96, "EC", "P-384"},
    {"TPM_ALG_ECDSA_ECC_NIST_P521", Scheme::ecdsa, 132, "EC", "P-521"},
    {"ECDSA-P256", Scheme::ecdsa, 64, "EC", "P-256"},
    {"ECDSA-P384", Scheme::ecdsa, 96, "EC", "P-384"},
    {"ECDSA-P521", Scheme::ecdsa, 132, "EC", "P-521"},
    {"TPM_ALG_RSASSA_2048", Scheme::rsa_pkcs1, 256, "RSA", ""},
    {"TPM_ALG_RSASSA_3072", Scheme::rsa_pkcs1, 384, "RSA", ""},
    {"TPM_ALG_RSASSA_4096", Scheme::rsa_pkcs1, 512, "RSA", ""},
    {"RSA-2048", Scheme::rsa_pkcs1, 256, "RSA", ""},
    {"RSA-3072", Scheme::rsa_pkcs1, 384, "RSA", ""},
    {"RSA-4096", Scheme::rsa_pkcs1, 512, "RSA", ""},
    {"TPM_ALG_RSAPSS_2048", Scheme::rsa_pss, 256, "RSA", ""},
    {"TPM_ALG_RSAPSS_3072", Scheme::rsa_pss, 384, "RSA", ""},
    {"TPM_ALG_RSAPSS_4096", Scheme::rsa_pss, 512, "RSA", ""},
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

/// Calls the library's function that releases an object.
template <auto release>
struct Releasing
{
    void operator()(auto* object) const
    {
        release(object);
    }
};

using Key = std::unique_ptr<EVP_PKEY, Releasing<EVP_PKEY_free>>;
using Context = std::unique_ptr<EVP_MD_CTX, Releasing<EVP_MD_CTX_free>>;
using NumberPair = std::unique_ptr<ECDSA_SIG, Releasing<ECDSA_SIG_free>>;
using Memory = std::unique_ptr<BIO, Releasing<BIO_free>>;

/// Throws what the library says of the step that failed.
[[noreturn]] void fail(const std::string& step)
{
    const char* reason = ERR_reason_error_string(ERR_peek_last_error());
    ERR_clear_error();
    throw std::runtime_error(step + (reason == nullptr ? "" : std::string(": ") + reason));
}

Key generated_key(const SigningAlgorithm& algorithm)
{
    const std::string type(algorithm.key_type);
    Key key;
    switch (algorithm.scheme)
    {
        case Scheme::ecdsa:
            key.reset(EVP_PKEY_Q_keygen(nullptr, nullptr, type.c_str(), algorithm.curve.data()));
            break;
        case Scheme::eddsa: key.reset(EVP_PKEY_Q_keygen(nullptr, nullptr, type.c_str())); break;
        default:
            key.reset(EVP_PKEY_Q_keygen(nullptr, nullptr, type.c_str(), 8 * algorithm.bytes));
            break;
    }
    if (!key)
    {
        fail("no key can be made");
    }
    return key;
}

/// The size of a signature with this key, the numbers of an ECDSA signature in full width.
std::size_t signature_size(EVP_PKEY* key, Scheme scheme)
{
    const int bytes =
        scheme == Scheme::ecdsa ? (EVP_PKEY_get_bits(key) + 7) / 8 * 2 : EVP_PKEY_get_size(key);
    return static_cast<std::size_t>(bytes);
}

Key key_from_pem(const std::string& pem, const SigningAlgorithm& algorithm)
{
    const Memory text(BIO_new_mem_buf(pem.data(), static_cast<int>(pem.size())));
    // A passphrase is not asked for.
    const auto no_passphrase = [](char*, int, int, void*) { return -1; };
    Key key(PEM_read_bio_PrivateKey(text.get(), nullptr, no_passphrase, nullptr));
    if (!key)
    {
        fail("the key cannot be read");
    }
    if (EVP_PKEY_is_a(key.get(), algorithm.key_type.data()) != 1 ||
        signature_size(key.get(), algorithm.scheme) != algorithm.bytes)
    {
        throw std::runtime_error("the key is for another algorithm");
    }
    return key;
}

/// Every key is kept until the program ends.
EVP_PKEY* key_of(const Signing& signing)
{
    static std::map<std::pair<std::string_view, std::string>, Key> keys;
    const SigningAlgorithm& algorithm = *signing.algorithm;
    Key& key = keys[{algorithm.name, signing.key}];
    if (!key)
    {
        key = signing.key.empty() ? generated_key(algorithm) : key_from_pem(signing.key, algorithm);
    }
    return key.get();
}

void start(EVP_MD_CTX* context, const Signing& signing)
{
    const Scheme scheme = signing.algorithm->scheme;
    const std::string digest(digest_name(signing.hashing));
    EVP_PKEY_CTX* settings = nullptr; // the context's
    bool started = EVP_DigestSignInit_ex(context, &settings,
                                         scheme == Scheme::eddsa ? nullptr : digest.c_str(),
                                         nullptr, nullptr, key_of(signing), nullptr) == 1;
    if (started && scheme == Scheme::rsa_pss)
    {
        started = EVP_PKEY_CTX_set_rsa_padding(settings, RSA_PKCS1_PSS_PADDING) == 1 &&
                  EVP_PKEY_CTX_set_rsa_pss_saltlen(settings, RSA_PSS_SALTLEN_DIGEST) == 1;
    }
    if (!started)
    {
        fail("signing cannot start");
    }
}

Bytes library_signature(const Signing& signing, const Bytes& data)
{
    const Context context(EVP_MD_CTX_new());
    start(context.get(), signing);
    std::size_t size = 0;
    Bytes signature;
    if (EVP_DigestSign(context.get(), nullptr, &size, data.data(), data.size()) == 1)
    {
        signature.resize(size);
    }
    if (signature.empty() ||
        EVP_DigestSign(context.get(), signature.data(), &size, data.data(), data.size()) != 1)
    {
        fail("signing failed");
    }
    signature.resize(size);
    return signature;
}

/// An ECDSA signature as its numbers r and s of `width` bytes each, most significant byte first.
Bytes raw_numbers(const Bytes& der, std::size_t width)
{
    const unsigned char* next = der.data();
    const NumberPair pair(d2i_ECDSA_SIG(nullptr, &next, static_cast<long>(der.size())));
    Bytes raw(2 * width);
    const int bytes = static_cast<int>(width);
    if (!pair || BN_bn2binpad(ECDSA_SIG_get0_r(pair.get()), raw.data(), bytes) != bytes ||
        BN_bn2binpad(ECDSA_SIG_get0_s(pair.get()), raw.data() + width, bytes) != bytes)
    {
        fail("the signature is no pair of numbers");
    }
    return raw;
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
try
{
    const SigningAlgorithm& algorithm = *signing.algorithm;
    const Bytes signature = library_signature(signing, data);
    return algorithm.scheme == Scheme::ecdsa ? raw_numbers(signature, algorithm.bytes / 2)
                                             : signature;
}
catch (const std::runtime_error& error)
{
    std::cerr << "spdm-simulator: no " << signing.algorithm->name << " signature: " << error.what()
              << std::endl;
    return std::nullopt;
}

} // namespace simulator
