#include "simulator/device_methods.hpp"

#include "shell/service_contract.hpp"
#include "simulator/signals.hpp"

#include <algorithm>
#include <openssl/evp.h>
#include <optional>
#include <string_view>

namespace simulator
{

namespace
{

enum Status : std::uint16_t
{
    success = 0,
    invalid_request_data = 6,
    get_measurement_failed = 9,
    measurement_not_supported = 10,
    partial_measurement_success = 18,
};

constexpr std::uint64_t certificate_found = 0;
constexpr std::uint64_t certificate_missing = 1;
constexpr std::uint64_t all_measurements = 255;

bool is_true(const Device& device, const std::string& property)
{
    const auto found = device.properties.find(property);
    return found != device.properties.end() && found->second == bool_value(true);
}

bool has_slot(const Device& device, std::uint64_t slot)
{
    return is_true(device, "CertificateSlot" + std::to_string(slot));
}

std::string last_element(const std::string& path)
{
    return path.substr(path.rfind('/') + 1);
}

Answer reauthenticate(Device& device, const Body&)
{
    const Value status = number_value('u', device.authentication);
    Answer answer{Body{status}};
    const auto property = device.properties.find("ChallengeStatus");
    const bool known = property != device.properties.end() && property->second.signature == "u";
    if (known && property->second != status)
    {
        property->second = status;
        answer.signals.push_back(properties_changed(device.path, "ChallengeStatus", status));
    }
    return answer;
}

Answer get_certificate(Device& device, const Body& arguments)
{
    const std::uint64_t slot = number_in(arguments[0]);
    if (!has_slot(device, slot))
    {
        return {Body{number_value('q', certificate_missing), text_value("")}};
    }
    const std::string file = "/var/lib/spdm/certificates/" + last_element(device.path) + "/slot" +
                             std::to_string(slot) + ".pem";
    return {Body{number_value('q', certificate_found), text_value(file)}};
}

Answer get_certificate_properties(Device& device, const Body& arguments)
{
    const bool found = has_slot(device, number_in(arguments[0]));
    return {Body{number_value('u', found ? certificate_found : certificate_missing)}};
}

struct Selection
{
    Status status = success;
    std::vector<const MeasurementBlock*> blocks = {};
};

Selection select_blocks(const Device& device, const Body& indices)
{
    Selection selection;
    if (indices.size() == 1 && number_in(indices[0]) == all_measurements)
    {
        for (const MeasurementBlock& block : device.measurements)
        {
            selection.blocks.push_back(&block);
        }
        return selection;
    }
    for (const Value& index : indices)
    {
        const auto found =
            std::find_if(device.measurements.begin(), device.measurements.end(),
                         [&](const auto& block) { return block.index == number_in(index); });
        if (found == device.measurements.end())
        {
            selection.status = partial_measurement_success;
            continue;
        }
        selection.blocks.push_back(&*found);
    }
    if (selection.blocks.empty())
    {
        selection.status = get_measurement_failed;
    }
    return selection;
}

/// The blocks that a request is answered with; none when it is refused.
Selection measure(const Device& device, const std::string& capability, const Value& slot,
                  const Value& indices)
{
    if (!is_true(device, capability))
    {
        return {measurement_not_supported};
    }
    if (!has_slot(device, number_in(slot)))
    {
        return {invalid_request_data};
    }
    return select_blocks(device, elements_in(indices));
}

Value block_value(const MeasurementBlock& block)
{
    return struct_value({number_value('q', block.index), bytes_value(block.data),
                         number_value('u', block.algorithm), number_value('q', block.type)});
}

Answer get_measurement(Device& device, const Body& arguments)
{
    const Selection selection = measure(device, "Measurement", arguments[0], arguments[1]);
    Body blocks;
    for (const MeasurementBlock* block : selection.blocks)
    {
        blocks.push_back(block_value(*block));
    }
    return {Body{number_value('q', selection.status), number_value('q', blocks.size() & 0xFFFF),
                 array_value("(qayuq)", std::move(blocks))}};
}

void append_little_endian(Bytes& bytes, std::uint64_t number, std::size_t width)
{
    for (std::size_t i = 0; i < width; ++i)
    {
        bytes.push_back(static_cast<std::uint8_t>(number >> (8 * i) & 0xFF));
    }
}

/// Each block as index (2 bytes), type (2 bytes), size (4 bytes) and its data.
Bytes measurement_part(const std::vector<const MeasurementBlock*>& blocks)
{
    Bytes bytes;
    for (const MeasurementBlock* block : blocks)
    {
        append_little_endian(bytes, block->index, 2);
        append_little_endian(bytes, block->type, 2);
        append_little_endian(bytes, block->data.size(), 4);
        bytes.insert(bytes.end(), block->data.begin(), block->data.end());
    }
    return bytes;
}

/// The bytes of a nonce of 64 hex digits; none for an empty one; nothing for any other text.
std::optional<Bytes> nonce_bytes(const std::string& nonce)
{
    constexpr std::size_t digits = 64;
    if (nonce.empty())
    {
        return Bytes{};
    }
    if (nonce.size() != digits ||
        nonce.find_first_not_of("0123456789abcdefABCDEF") != std::string::npos)
    {
        return std::nullopt;
    }
    Bytes bytes;
    for (std::size_t i = 0; i < digits; i += 2)
    {
        bytes.push_back(static_cast<std::uint8_t>(std::stoi(nonce.substr(i, 2), nullptr, 16)));
    }
    return bytes;
}

std::string encode_base64(const Bytes& bytes)
{
    std::string text((bytes.size() + 2) / 3 * 4, '\0');
    EVP_EncodeBlock(reinterpret_cast<unsigned char*>(text.data()), bytes.data(),
                    static_cast<int>(bytes.size()));
    return text;
}

Answer refuse_signed(Status status)
{
    return {Body{number_value('u', status), text_value(""), text_value(""), text_value(""),
                 text_value("")}};
}

Answer get_signed_measurement(Device& device, const Body& arguments)
{
    const Selection selection = measure(device, "SignedMeasurement", arguments[1], arguments[0]);
    const auto nonce = nonce_bytes(text_in(arguments[2]));
    if (selection.status != success && selection.status != partial_measurement_success)
    {
        return refuse_signed(selection.status);
    }
    if (!nonce)
    {
        return refuse_signed(invalid_request_data);
    }
    Bytes data = measurement_part(selection.blocks);
    data.insert(data.end(), nonce->begin(), nonce->end());
    const auto signature = sign(device.signing, data);
    if (!signature)
    {
        return refuse_signed(get_measurement_failed);
    }
    data.insert(data.end(), signature->begin(), signature->end());
    return {Body{number_value('u', selection.status), text_value(encode_base64(data)),
                 text_value(device.signing.hashing),
                 text_value(std::string(device.signing.algorithm->name)),
                 text_value(device.signing.version)}};
}

struct BuiltInMethod
{
    std::string_view method;
    Answer (*answer)(Device&, const Body&);
};

constexpr BuiltInMethod built_in_methods[] = {
    {ServiceContract::RE_AUTHENTICATE, reauthenticate},
    {ServiceContract::GET_CERTIFICATE, get_certificate},
    {ServiceContract::GET_CERTIFICATE_PROPERTIES, get_certificate_properties},
    {ServiceContract::GET_MEASUREMENT, get_measurement},
    {ServiceContract::GET_SIGNED_MEASUREMENT, get_signed_measurement},
};

} // namespace

Answer answer_device_method(Device& device, const std::string& method, const Body& arguments)
{
    const auto built_in =
        std::find_if(std::begin(built_in_methods), std::end(built_in_methods),
                     [&](const BuiltInMethod& candidate) { return candidate.method == method; });
    if (built_in == std::end(built_in_methods) || !device.has_methods)
    {
        return {ErrorReply{"org.freedesktop.DBus.Error.UnknownMethod",
                           "The device does not answer " + method + "."}};
    }
    return built_in->answer(device, arguments);
}

} // namespace simulator
