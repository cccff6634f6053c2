#include "mistake.hpp"
#include "simulator/bus_failure.hpp"
#include "simulator/json_value.hpp"
#include "simulator/message.hpp"

#include <gtest/gtest.h>

#include <ostream>
#include <string>
#include <sys/socket.h>
#include <unistd.h>

namespace
{

using namespace simulator;

/// An unconnected bus object: enough to build messages.
class Message : public testing::TestWithParam<std::string>
{
  protected:
    void SetUp() override
    {
        int ends[2] = {-1, -1};
        ASSERT_EQ(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0, ends), 0);
        other_end = ends[1];
        ASSERT_EQ(sd_bus_new(&bus), 0);
        ASSERT_GE(sd_bus_set_fd(bus, ends[0], ends[0]), 0);
        ASSERT_GE(sd_bus_start(bus), 0);
    }

    void TearDown() override
    {
        sd_bus_close(bus);
        sd_bus_unref(bus);
        ::close(other_end);
    }

    MessageHandle new_call(const char* interface) const
    {
        sd_bus_message* created = nullptr;
        EXPECT_GE(sd_bus_message_new_method_call(bus, &created, "a.b", "/a", interface, "Member"),
                  0);
        return MessageHandle(created);
    }

    sd_bus* bus = nullptr;
    int other_end = -1;
};

TEST_P(Message, ReadsWhatWasAppended)
{
    const auto json = parse_json(GetParam());
    const Body body = body_from_json(JsonPlace(*json));
    const MessageHandle message = new_call("i.f");
    append_values(message.get(), body);
    ASSERT_GE(sd_bus_message_seal(message.get(), 1, 0), 0);
    for (int reading = 0; reading < 2; ++reading)
    {
        const Call call = read_call(message.get());
        EXPECT_EQ(call.path, "/a");
        EXPECT_EQ(call.interface, "i.f");
        EXPECT_EQ(call.member, "Member");
        EXPECT_EQ(call.arguments, body) << "reading " << reading;
        EXPECT_EQ(body_signature(call.arguments), sd_bus_message_get_signature(message.get(), 1));
    }
}

INSTANTIATE_TEST_SUITE_P(
    Body, Message,
    testing::Values(
        R"json([""])json", R"json(["bb", true, false])json",
        R"json(["yqut", 255, 65535, 4294967295, 18446744073709551615])json",
        R"json(["nixd", -32768, -2147483648, -9223372036854775808, -2.5])json",
        R"json(["sog", "text ✓", "/a/b", "a{sv}"])json", R"json(["ayay", "00ff", ""])json",
        R"json(["aqas", [1, 2], []])json",
        R"json(["qqa(qayuq)", 0, 2, [[1, "00", 4, 1], [2, "", 4, 1]]])json",
        R"json(["a{sv}", [["k", ["q", 1]], ["k", ["(sv)", ["x", ["y", 2]]]]]])json",
        R"json(["a{oa{sa{sv}}}", {"/a": {"i.f": {}, "i.g": {"P": ["aay", ["00"]]}}}])json",
        R"json(["v", ["v", ["v", ["b", true]]]])json",
        R"json(["s", {"repeat": "0123456789", "times": 100000}])json"));

TEST_F(Message, OfNoInterfaceHasNone)
{
    const MessageHandle message = new_call(nullptr);
    ASSERT_GE(sd_bus_message_seal(message.get(), 1, 0), 0);
    EXPECT_EQ(read_call(message.get()).interface, "");
}

TEST_F(Message, ThatCannotBeBuiltNamesTheStep)
{
    const MessageHandle message = new_call("i.f");
    ASSERT_GE(sd_bus_message_seal(message.get(), 1, 0), 0);
    EXPECT_EQ(
        complaint_of<BusFailure>([&] { append_values(message.get(), Body{number_value('q', 1)}); }),
        "sd_bus_message_append_basic: Operation not permitted");
}

struct SizeCase
{
    std::string name;
    std::string body;
    std::size_t size;
};

std::ostream& operator<<(std::ostream& out, const SizeCase& size)
{
    return out << size.body;
}

class BodySize : public testing::TestWithParam<SizeCase>
{
};

TEST_P(BodySize, IsThatOfTheBusFormat)
{
    const auto json = parse_json(GetParam().body);
    EXPECT_EQ(body_size(body_from_json(JsonPlace(*json))), GetParam().size);
}

INSTANTIATE_TEST_SUITE_P(
    Message, BodySize,
    testing::Values(SizeCase{"Empty", R"json([""])json", 0},
                    SizeCase{"Byte", R"json(["y", 1])json", 1},
                    SizeCase{"AlignedWord", R"json(["yu", 1, 2])json", 8},
                    SizeCase{"ShortNumbers", R"json(["ynq", 1, 2, 3])json", 6},
                    SizeCase{"LongNumbers", R"json(["bxtd", true, 1, 2, 1.5])json", 32},
                    SizeCase{"Text", R"json(["ys", 1, "abc"])json", 12},
                    SizeCase{"Signature", R"json(["yg", 1, "ai"])json", 5},
                    SizeCase{"Bytes", R"json(["yay", 1, "0102"])json", 10},
                    SizeCase{"NoElements", R"json(["at", []])json", 8},
                    SizeCase{"Elements", R"json(["aq", [1, 2, 3]])json", 10},
                    SizeCase{"Variant", R"json(["v", ["s", "ab"]])json", 11},
                    SizeCase{"Structure", R"json(["y(yx)", 1, [2, 3]])json", 24},
                    SizeCase{"Structures", R"json(["a(qay)", [[1, "00"], [2, ""]]])json", 32},
                    SizeCase{"Dictionary", R"json(["a{sv}", {"k": ["q", 7]}])json", 20}),
    [](const auto& info) { return info.param.name; });

std::string size_complaint(Value value)
{
    Body body;
    body.push_back(std::move(value));
    return complaint_of<BusFailure>([&] { body_size(body); });
}

TEST(BodySizeLimit, IsThatOfTheBus)
{
    constexpr std::size_t mebibyte = 1024UL * 1024;
    Bytes bytes(64 * mebibyte);
    EXPECT_EQ(size_complaint(bytes_value(bytes)), "(no complaint)");
    bytes.push_back(0);
    EXPECT_EQ(size_complaint(bytes_value(std::move(bytes))),
              "an array is larger than the 64 MiB that a bus takes");
    EXPECT_EQ(size_complaint(text_value(std::string(128 * mebibyte, 'x'))),
              "the message is larger than the 128 MiB that a bus takes");
}

} // namespace
