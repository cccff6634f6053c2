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

} // namespace
