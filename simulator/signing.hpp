#pragma once

#include "simulator/value.hpp"

#include <optional>
#include <string>
#include <string_view>

namespace simulator
{

/// How a device signs its measurements.
struct SigningAlgorithm
{
    enum class Scheme
    {
        ecdsa,
        rsa_pkcs1,
        rsa_pss,
        eddsa,
    };

    /// The name under which the service reports it.
    std::string_view name;
    Scheme scheme;
    /// The size of a signature.
    std::size_t bytes;
    /// The names of the key type and of the curve, if any, as libcrypto spells them.
    std::string_view key_type;
    std::string_view curve;
};

/// The algorithm of this name, null when the simulator cannot sign with it.
const SigningAlgorithm* find_signing_algorithm(std::string_view name);

/// The names that `find_signing_algorithm` knows, separated by ", ".
std::string signing_algorithm_names();

/// The digest's name as libcrypto spells it; empty for a hashing algorithm that the simulator does not
/// know.
std::string_view digest_name(std::string_view hashing_algorithm);

/// What a device signs with, and what it says about that.
struct Signing
{
    const SigningAlgorithm* algorithm = nullptr;
    std::string hashing;
    std::string version;
    /// The private key as PEM text. Without one a key is made when it is needed, one for each
    /// algorithm, and lasts as long as the program.
    std::string key;
};

/// A signature over `data`. When it cannot be made, says why on standard error and returns nothing.
std::optional<Bytes> sign(const Signing& signing, const Bytes& data);

} // namespace simulator
