#include "simulator/presets.hpp"

#include "shell/service_contract.hpp"

#include <algorithm>
#include <charconv>

namespace simulator
{

namespace
{

// Measurement value types: 0x80 marks a raw value, the rest says what was measured.
constexpr std::uint16_t immutable_rom = 0;
constexpr std::uint16_t mutable_firmware = 1;
constexpr std::uint16_t hardware_configuration = 2;
constexpr std::uint16_t firmware_configuration = 3;
constexpr std::uint16_t raw_manifest = 0x84;

// Measurement hash algorithms.
constexpr std::uint32_t raw_bits = 1;
constexpr std::uint32_t sha_256 = 2;
constexpr std::uint32_t sha_384 = 4;

struct BlockShape
{
    std::uint32_t algorithm;
    std::uint16_t type;
    std::size_t size;
};

struct Preset
{
    std::string_view name;
    std::string_view container;
    std::string_view xmid;
    std::string_view description;
    std::string_view signing_algorithm;
    std::string_view hashing_algorithm;
    std::vector<unsigned> slots;
    std::vector<BlockShape> blocks;
};

const std::vector<Preset>& presets()
{
    static const std::vector<Preset> all{
        {"cpu",
         ServiceContract::CPU_PATH,
         "CPU-",
         "Server CPU, socket ",
         "TPM_ALG_ECDSA_ECC_NIST_P384",
         "TPM_ALG_SHA_384",
         {0, 1},
         {{sha_384, immutable_rom, 48},
          {sha_384, mutable_firmware, 48},
          {sha_384, hardware_configuration, 48},
          {sha_384, firmware_configuration, 48},
          {raw_bits, raw_manifest, 72}}},
        {"nic",
         ServiceContract::NIC_CONTROLLER_PATH,
         "NIC-",
         "Network interface controller ",
         "TPM_ALG_ECDSA_ECC_NIST_P256",
         "TPM_ALG_SHA_256",
         {0},
         {{sha_256, immutable_rom, 32},
          {sha_256, mutable_firmware, 32},
          {sha_256, hardware_configuration, 32},
          {sha_256, firmware_configuration, 32}}},
        {"halc",
         ServiceContract::HALC_CONTROLLER_PATH,
         "HALC-",
         "HALC controller ",
         "TPM_ALG_RSASSA_3072",
         "TPM_ALG_SHA_384",
         {0, 2},
         {{sha_384, immutable_rom, 48},
          {sha_384, mutable_firmware, 48},
          {sha_384, mutable_firmware, 48},
          {sha_384, hardware_configuration, 48},
          {sha_384, firmware_configuration, 48},
          {raw_bits, raw_manifest, 40}}},
    };
    return all;
}

/// The number in the last element of a path, 0 when there is none.
std::uint64_t number_in_tail(std::string_view path)
{
    const std::string_view tail = path.substr(path.rfind('/') + 1);
    const auto* digit =
        std::find_if(tail.begin(), tail.end(), [](char c) { return c >= '0' && c <= '9'; });
    std::uint64_t number = 0;
    std::from_chars(digit, tail.end(), number);
    return number;
}

/// Bytes that look random and are always the same for the same seed.
Bytes made_up_bytes(std::string_view seed, std::size_t size)
{
    // FNV-1a over the seed starts an xorshift generator.
    std::uint64_t state = 14695981039346656037ULL;
    for (const char c : seed)
    {
        state = (state ^ static_cast<unsigned char>(c)) * 1099511628211ULL;
    }
    Bytes bytes;
    for (std::size_t i = 0; i < size; ++i)
    {
        state ^= state << 13;
        state ^= state >> 7;
        state ^= state << 17;
        bytes.push_back(static_cast<std::uint8_t>(state >> 32));
    }
    return bytes;
}

std::string hex_text(const Bytes& bytes)
{
    constexpr std::string_view digits = "0123456789abcdef";
    std::string text;
    for (const std::uint8_t byte : bytes)
    {
        text += digits[byte / 16U];
        text += digits[byte % 16U];
    }
    return text;
}

Properties made_up_properties(const Preset& preset, const std::string& path)
{
    const std::uint64_t number = number_in_tail(path);
    const std::size_t digest_size = preset.blocks.front().size;
    Properties properties{
        {"ChallengeStatus", number_value('u', authentication_passed)},
        {"Version", text_value("1.2.1")},
        {"Certificate", bool_value(true)},
        {"ChallengeAuthRespSupport", bool_value(true)},
        {"Measurement", bool_value(true)},
        {"Encryption", bool_value(true)},
        {"SignedMeasurement", bool_value(true)},
        {"DeviceEID", number_value('q', number & 0xFFFF)},
        {"DeviceChallengeStatus", bool_value(true)},
        {"DeviceCertStatus", bool_value(true)},
        {"DeviceAllowed", bool_value(true)},
        {"XMID", text_value(std::string(preset.xmid) + std::to_string(number))},
        {"PhyBinding", number_value('q', 5)},
        {"Preferred", bool_value(true)},
        {"MeasurementSpecification", text_value("DMTF")},
        {"MeasurementSummary", text_value(hex_text(made_up_bytes(path, digest_size)))},
        {"MeasurementSummaryHashAlgorithm", text_value(std::string(preset.hashing_algorithm))},
        {"MeasurementSummaryType", text_value("All")},
        {"NumMeasurements", number_value('q', preset.blocks.size())},
        {"DeviceDescription", text_value(std::string(preset.description) + std::to_string(number))},
    };
    for (unsigned slot = 0; slot < 8; ++slot)
    {
        const bool supported =
            std::find(preset.slots.begin(), preset.slots.end(), slot) != preset.slots.end();
        properties.emplace("CertificateSlot" + std::to_string(slot), bool_value(supported));
    }
    return properties;
}

std::vector<MeasurementBlock> made_up_measurements(const Preset& preset, const std::string& path)
{
    std::vector<MeasurementBlock> blocks;
    for (const BlockShape& shape : preset.blocks)
    {
        const auto index = static_cast<std::uint16_t>(blocks.size() + 1);
        const std::string seed = path + "#" + std::to_string(index);
        blocks.push_back({index, made_up_bytes(seed, shape.size), shape.algorithm, shape.type});
    }
    return blocks;
}

Device bare_device(const std::string& path)
{
    Device device;
    device.path = path;
    device.has_methods = false;
    return device;
}

Device full_device(const Preset& preset, const std::string& path)
{
    Device device;
    device.path = path;
    device.properties = made_up_properties(preset, path);
    device.measurements = made_up_measurements(preset, path);
    device.signing = {find_signing_algorithm(preset.signing_algorithm),
                      std::string(preset.hashing_algorithm),
                      "1.2.1",
                      {}};
    return device;
}

} // namespace

std::string_view default_preset(std::string_view path)
{
    for (const Preset& preset : presets())
    {
        if (path.starts_with(std::string(preset.container) + "/"))
        {
            return preset.name;
        }
    }
    return "cpu";
}

std::optional<Device> preset_device(std::string_view preset, const std::string& path)
{
    if (preset == "bare")
    {
        return bare_device(path);
    }
    const auto found = std::find_if(presets().begin(), presets().end(),
                                    [&](const Preset& row) { return row.name == preset; });
    if (found == presets().end())
    {
        return std::nullopt;
    }
    return full_device(*found, path);
}

} // namespace simulator
