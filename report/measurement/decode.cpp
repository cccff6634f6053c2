#include "report/measurement/decode.hpp"

#include <algorithm>
#include <array>
#include <charconv>

namespace report
{

namespace
{

constexpr std::array<std::string_view, 11> value_type_names{"immutable ROM",
                                                            "mutable firmware",
                                                            "hardware configuration",
                                                            "firmware configuration",
                                                            "measurement manifest",
                                                            "device mode",
                                                            "firmware version",
                                                            "security version",
                                                            "hash-extended measurement",
                                                            "informational",
                                                            "structured measurement manifest"};

// DMTFSpecMeasurementValueType
constexpr std::uint32_t raw_bit = 0x80;
constexpr std::uint32_t manifest_type = 4;
constexpr std::uint32_t device_mode_type = 5;
constexpr std::uint32_t firmware_version_type = 6;
constexpr std::uint32_t security_version_type = 7;
constexpr std::uint32_t structured_manifest_type = 10;

constexpr std::uint32_t manifest_index = 0xFD;
constexpr std::uint32_t device_mode_index = 0xFE;

struct Hash
{
    std::uint32_t algorithm; ///< The bit of MeasurementHashAlgo.
    std::string_view name;
    std::size_t size;
};

constexpr std::array hashes{
    Hash{0x02, "SHA-256", 32},  Hash{0x04, "SHA-384", 48},  Hash{0x08, "SHA-512", 64},
    Hash{0x10, "SHA3-256", 32}, Hash{0x20, "SHA3-384", 48}, Hash{0x40, "SHA3-512", 64},
    Hash{0x80, "SM3", 32},
};

/// The hash of the measurements; null where they are raw bit streams or the algorithm is unknown.
const Hash* find_hash(std::uint32_t algorithm)
{
    const auto* found = std::find_if(hashes.begin(), hashes.end(),
                                     [&](const Hash& hash) { return hash.algorithm == algorithm; });
    return found == hashes.end() ? nullptr : found;
}

/// The little-endian number of `size` bytes at `offset`, which `bytes` must have.
std::uint64_t number_at(std::string_view bytes, std::size_t offset, std::size_t size)
{
    std::uint64_t number = 0;
    for (auto i = offset + size; i > offset; --i)
    {
        number = number << 8U | static_cast<unsigned char>(bytes[i - 1]);
    }
    return number;
}

/// A value and what is said of it: a DMTF measurement.
struct Typed
{
    std::uint32_t type; ///< DMTFSpecMeasurementValueType, with the bit that marks a raw one.
    std::string_view value;

    bool is_raw() const
    {
        return (type & raw_bit) != 0;
    }
    std::uint32_t kind() const
    {
        return type & ~raw_bit;
    }
};

/// DMTFSpecMeasurementValueType, DMTFSpecMeasurementValueSize and the value.
std::optional<Typed> dmtf_measurement(std::string_view bytes)
{
    constexpr std::size_t header = 3;
    if (bytes.size() < header || number_at(bytes, 1, 2) != bytes.size() - header)
    {
        return std::nullopt;
    }
    return Typed{static_cast<unsigned char>(bytes[0]), bytes.substr(header)};
}

/// Index, MeasurementSpecification, MeasurementSize and the DMTF measurement.
std::optional<Typed> measurement_block(std::string_view bytes)
{
    constexpr std::size_t header = 4;
    constexpr std::uint64_t dmtf = 1;
    if (bytes.size() < header || number_at(bytes, 1, 1) != dmtf ||
        number_at(bytes, 2, 2) != bytes.size() - header)
    {
        return std::nullopt;
    }
    return dmtf_measurement(bytes.substr(header));
}

/// Whether the value can be of its type: a reserved type has none.
bool fits(const Typed& typed, const Hash* hash)
{
    const auto size = typed.value.size();
    if (typed.kind() >= value_type_names.size())
    {
        return false;
    }
    if (!typed.is_raw())
    {
        return hash != nullptr ? size == hash->size : size == 32 || size == 48 || size == 64;
    }
    switch (typed.kind())
    {
        case device_mode_type: return size == 16;
        case security_version_type: return size == 8;
        default: return true;
    }
}

std::string hexadecimal(std::uint64_t number)
{
    std::array<char, 16> digits{};
    const auto end = std::to_chars(digits.begin(), digits.end(), number, 16).ptr;
    return "0x" + std::string(digits.begin(), end);
}

using BitNames = std::array<std::string_view, 6>;

constexpr BitNames operational_modes{"manufacturing", "validation", "normal",
                                     "recovery",      "RMA",        "decommissioned"};
constexpr BitNames debug_modes{"non-invasive debug active",
                               "invasive debug active",
                               "non-invasive debug active since reset",
                               "invasive debug active since reset",
                               "invasive debug active since manufacturing",
                               ""};

/// "0x5 (manufacturing, normal)"
std::string bits(std::uint64_t word, const BitNames& names)
{
    std::string named;
    for (std::size_t bit = 0; bit < names.size(); ++bit)
    {
        if ((word >> bit & 1U) != 0 && !names[bit].empty())
        {
            named += (named.empty() ? " (" : ", ") + std::string(names[bit]);
        }
    }
    return hexadecimal(word) + named + (named.empty() ? "" : ")");
}

std::string describe_device_mode(std::string_view value)
{
    return "operational mode " + bits(number_at(value, 4, 4), operational_modes) +
           ", capabilities " + bits(number_at(value, 0, 4), operational_modes) + "; device mode " +
           bits(number_at(value, 12, 4), debug_modes) + ", capabilities " +
           bits(number_at(value, 8, 4), debug_modes);
}

/// As text, without the bytes 0 that fill it up; else in hexadecimal. Of a long one the beginning.
std::string describe_text(std::string_view value)
{
    constexpr std::size_t longest = 64;
    const auto shown = value.substr(0, longest);
    const auto text = shown.substr(0, shown.find_last_not_of('\0') + 1);
    const bool is_text = !text.empty() && std::all_of(text.begin(), text.end(),
                                                      [](char c) { return c >= ' ' && c <= '~'; });
    std::string described(is_text ? text : "0x");
    if (!is_text)
    {
        constexpr std::string_view digits = "0123456789abcdef";
        for (const char c : shown)
        {
            const auto byte = static_cast<unsigned char>(c);
            described += {digits[byte / 16U], digits[byte % 16U]};
        }
    }
    return described + (value.size() > longest ? "..." : "");
}

std::string describe_raw(const Typed& typed)
{
    switch (typed.kind())
    {
        case device_mode_type: return describe_device_mode(typed.value);
        case security_version_type:
            return "security version " + std::to_string(number_at(typed.value, 0, 8));
        case firmware_version_type:
            if (!typed.value.empty())
            {
                return "firmware version " + describe_text(typed.value);
            }
            break;
        default: break;
    }
    const auto size = typed.value.size();
    return "raw " + std::string(value_type_names[typed.kind()]) + " of " + std::to_string(size) +
           (size == 1 ? " byte" : " bytes");
}

std::string describe_digest(const Typed& typed, const Hash* hash)
{
    const auto algorithm =
        hash != nullptr ? std::string(hash->name) : std::to_string(typed.value.size()) + "-byte";
    return algorithm + " digest of " + std::string(value_type_names[typed.kind()]);
}

/// What an index that is reserved for another type adds.
std::string_view describe_index(std::uint32_t index, std::uint32_t kind)
{
    if (index == manifest_index && kind != manifest_type && kind != structured_manifest_type)
    {
        return "; index 0xFD is the measurement manifest's";
    }
    if (index == device_mode_index && kind != device_mode_type)
    {
        return "; index 0xFE is the device mode's";
    }
    return "";
}

Decoded describe(std::string_view layout, const Typed& typed, const Hash* hash, std::uint32_t index)
{
    Decoded decoded;
    decoded.layout = layout;
    decoded.value_type = value_type_names[typed.kind()];
    decoded.digest = !typed.is_raw();
    if (!typed.is_raw() && hash != nullptr)
    {
        decoded.hash_algorithm = hash->name;
    }
    decoded.decoded = typed.is_raw() ? describe_raw(typed) : describe_digest(typed, hash);
    *decoded.decoded += describe_index(index, typed.kind());
    return decoded;
}

} // namespace

Decoded decode(const Measurement& measurement)
{
    const auto* hash = find_hash(measurement.algorithm);
    if (const auto typed = measurement_block(measurement.value); typed && fits(*typed, hash))
    {
        return describe("measurement block", *typed, hash, measurement.index);
    }
    if (const auto typed = dmtf_measurement(measurement.value); typed && fits(*typed, hash))
    {
        return describe("DMTF measurement", *typed, hash, measurement.index);
    }
    const Typed typed{measurement.type, measurement.value};
    if (fits(typed, hash) && (typed.is_raw() || hash != nullptr))
    {
        return describe("type and algorithm", typed, hash, measurement.index);
    }
    return {"not recognised", {}, {}, {}, {}};
}

} // namespace report
