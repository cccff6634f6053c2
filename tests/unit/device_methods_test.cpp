#include "simulator/device_methods.hpp"
#include "simulator/presets.hpp"

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

namespace
{

using namespace simulator;

const std::string path = "/com/varn/bmc/spdm/spdm/cpu/cpu_12";

/// A device with slot 1 only and the blocks 1 (3 bytes) and 300 (none).
Device small_device()
{
    Device device = *preset_device("cpu", path);
    device.properties["CertificateSlot0"] = bool_value(false);
    device.measurements = {{1, {0xaa, 0xbb, 0xcc}, 4, 0x84}, {300, {}, 1, 2}};
    return device;
}

Value indices(const std::vector<std::uint64_t>& numbers)
{
    Body elements;
    for (const std::uint64_t number : numbers)
    {
        elements.push_back(number_value('q', number));
    }
    return array_value("q", elements);
}

Body call(Device& device, const std::string& method, const Body& arguments)
{
    return std::get<Body>(answer_device_method(device, method, arguments).reply);
}

Value block_1()
{
    return struct_value({number_value('q', 1), bytes_value({0xaa, 0xbb, 0xcc}),
                         number_value('u', 4), number_value('q', 0x84)});
}

Value block_300()
{
    return struct_value(
        {number_value('q', 300), bytes_value({}), number_value('u', 1), number_value('q', 2)});
}

Body measured(std::uint64_t status, const Body& blocks)
{
    return {number_value('q', status), number_value('q', blocks.size()),
            array_value("(qayuq)", blocks)};
}

Body measure(Device& device, std::uint64_t slot, const std::vector<std::uint64_t>& numbers)
{
    return call(device, "GetMeasurement", {number_value('q', slot), indices(numbers)});
}

Body measure_signed(Device& device, const std::vector<std::uint64_t>& numbers, std::uint64_t slot,
                    const std::string& nonce)
{
    return call(device, "GetSignedMeasurement",
                {indices(numbers), number_value('q', slot), text_value(nonce)});
}

Body refused(std::uint64_t status)
{
    return {number_value('u', status), text_value(""), text_value(""), text_value(""),
            text_value("")};
}

Bytes decoded(const std::string& text)
{
    const std::string alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    Bytes bytes;
    std::uint32_t bits = 0;
    int count = 0;
    for (const char c : text.substr(0, text.find('=')))
    {
        bits = bits << 6 | static_cast<std::uint32_t>(alphabet.find(c));
        count += 6;
        if (count >= 8)
        {
            count -= 8;
            bytes.push_back(static_cast<std::uint8_t>(bits >> count & 0xFF));
        }
    }
    return bytes;
}

TEST(ReAuthenticate, PassesAndLeavesAPassedDeviceAlone)
{
    Device device = small_device();
    const Answer answer = answer_device_method(device, "ReAuthenticate", {});
    EXPECT_EQ(std::get<Body>(answer.reply), Body{number_value('u', 1)});
    EXPECT_TRUE(answer.signals.empty());
}

TEST(ReAuthenticate, ChangesTheStatusAndSignalsIt)
{
    Device device = small_device();
    device.authentication = 3;
    const Answer answer = answer_device_method(device, "ReAuthenticate", {});
    EXPECT_EQ(std::get<Body>(answer.reply), Body{number_value('u', 3)});
    EXPECT_EQ(device.properties.at("ChallengeStatus"), number_value('u', 3));
    ASSERT_EQ(answer.signals.size(), 1U);
    EXPECT_EQ(answer.signals[0].path, path);
    EXPECT_EQ(answer.signals[0].interface, "org.freedesktop.DBus.Properties");
    EXPECT_EQ(answer.signals[0].member, "PropertiesChanged");
    EXPECT_EQ(answer.signals[0].arguments,
              (Body{text_value("com.varn.bmc.spdm.spdm"),
                    properties_value({{"ChallengeStatus", number_value('u', 3)}}),
                    array_value("s", {})}));
}

TEST(ReAuthenticate, KeepsAStatusOfAnotherType)
{
    Device device = small_device();
    device.properties["ChallengeStatus"] = text_value("odd");
    EXPECT_TRUE(answer_device_method(device, "ReAuthenticate", {}).signals.empty());
    EXPECT_EQ(device.properties.at("ChallengeStatus"), text_value("odd"));
}

TEST(GetCertificate, DependsOnTheSlot)
{
    Device device = small_device();
    EXPECT_EQ(
        call(device, "GetCertificate", {number_value('q', 1)}),
        (Body{number_value('q', 0), text_value("/var/lib/spdm/certificates/cpu_12/slot1.pem")}));
    EXPECT_EQ(call(device, "GetCertificate", {number_value('q', 0)}),
              (Body{number_value('q', 1), text_value("")}));
    EXPECT_EQ(call(device, "GetCertificate", {number_value('q', 255)}),
              (Body{number_value('q', 1), text_value("")}));
}

TEST(GetCertificateProperties, DependsOnTheSlot)
{
    Device device = small_device();
    EXPECT_EQ(call(device, "GetCertificateProperties", {number_value('u', 1)}),
              Body{number_value('u', 0)});
    EXPECT_EQ(call(device, "GetCertificateProperties", {number_value('u', 70000)}),
              Body{number_value('u', 1)});
}

TEST(GetMeasurement, GivesTheBlocksThatAreAskedFor)
{
    Device device = small_device();
    EXPECT_EQ(measure(device, 1, {1}), measured(0, {block_1()}));
    EXPECT_EQ(measure(device, 1, {300, 1}), measured(0, {block_300(), block_1()}));
    EXPECT_EQ(measure(device, 1, {255}), measured(0, {block_1(), block_300()}));
}

TEST(GetMeasurement, OfUnknownBlocksIsPartialOrFails)
{
    Device device = small_device();
    EXPECT_EQ(measure(device, 1, {7, 1}), measured(18, {block_1()}));
    EXPECT_EQ(measure(device, 1, {1, 255}), measured(18, {block_1()}));
    EXPECT_EQ(measure(device, 1, {7}), measured(9, {}));
    EXPECT_EQ(measure(device, 1, {}), measured(9, {}));
}

TEST(GetMeasurement, OfAllOfNoBlocksSucceeds)
{
    Device device = small_device();
    device.measurements.clear();
    EXPECT_EQ(measure(device, 1, {255}), measured(0, {}));
}

TEST(GetMeasurement, IsRefusedForOtherSlotsAndDevicesWithoutIt)
{
    Device device = small_device();
    EXPECT_EQ(measure(device, 0, {1}), measured(6, {}));
    device.properties["Measurement"] = bool_value(false);
    EXPECT_EQ(measure(device, 1, {1}), measured(10, {}));
    EXPECT_EQ(measure(device, 0, {1}), measured(10, {}));
}

TEST(GetSignedMeasurement, SignsBlocksAndNonce)
{
    Device device = small_device();
    device.signing = {find_signing_algorithm("ED25519"), "TPM_ALG_SHA_384", "1.3", {}};
    const Bytes block{0x01, 0x00, 0x84, 0x00, 0x03, 0x00, 0x00, 0x00, 0xaa, 0xbb, 0xcc};
    std::string nonce;
    Bytes expected = block;
    for (int i = 0; i < 16; ++i)
    {
        nonce += "0aF9";
        expected.insert(expected.end(), {0x0a, 0xf9});
    }
    const Body reply = measure_signed(device, {1}, 1, nonce);
    EXPECT_EQ(body_signature(reply), "ussss");
    EXPECT_EQ(reply[0], number_value('u', 0));
    EXPECT_EQ(reply[2], text_value("TPM_ALG_SHA_384"));
    EXPECT_EQ(reply[3], text_value("ED25519"));
    EXPECT_EQ(reply[4], text_value("1.3"));

    const Bytes data = decoded(text_in(reply[1]));
    ASSERT_EQ(data.size(), expected.size() + 64);
    EXPECT_EQ(Bytes(data.begin(), data.end() - 64), expected);
    EXPECT_EQ(Bytes(data.end() - 64, data.end()), sign(device.signing, expected));
}

TEST(GetSignedMeasurement, WithoutNonceHoldsTheBlocksAlone)
{
    Device device = small_device();
    device.signing.algorithm = find_signing_algorithm("ED448");
    const Body reply = measure_signed(device, {7, 1}, 1, "");
    EXPECT_EQ(reply[0], number_value('u', 18));
    EXPECT_EQ(decoded(text_in(reply[1])).size(), 11U + 114U);
}

TEST(GetSignedMeasurement, IsRefused)
{
    Device device = small_device();
    EXPECT_EQ(measure_signed(device, {7}, 1, ""), refused(9));
    EXPECT_EQ(measure_signed(device, {1}, 0, ""), refused(6));
    EXPECT_EQ(measure_signed(device, {1}, 1, "00"), refused(6));
    EXPECT_EQ(measure_signed(device, {1}, 1, std::string(63, '0').append("x")), refused(6));
    EXPECT_EQ(measure_signed(device, {1}, 1, std::string(65, '0')), refused(6));
    device.properties["SignedMeasurement"] = bool_value(false);
    EXPECT_EQ(measure_signed(device, {1}, 1, ""), refused(10));
}

TEST(GetSignedMeasurement, FailsWhenItCannotBeSigned)
{
    Device device = small_device();
    device.signing.key = "no key";
    testing::internal::CaptureStderr();
    EXPECT_EQ(measure_signed(device, {1}, 1, ""), refused(9));
    EXPECT_NE(testing::internal::GetCapturedStderr(), "");
}

TEST(DeviceWithoutMethods, AnswersNone)
{
    Device device = *preset_device("bare", path);
    const Answer answer = answer_device_method(device, "ReAuthenticate", {});
    EXPECT_EQ(std::get<ErrorReply>(answer.reply).name, "org.freedesktop.DBus.Error.UnknownMethod");
}

} // namespace
