#include "private_bus.hpp"
#include "raw_service.hpp"

#include <gtest/gtest.h>
#include <sdbusplus/bus.hpp>
#include <sdbusplus/bus/match.hpp>
#include <sdbusplus/exception.hpp>
#include <sdbusplus/message.hpp>
#include <systemd/sd-bus.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <functional>
#include <limits>
#include <map>
#include <memory>
#include <mutex>
#include <numeric>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <string>
#include <sys/resource.h>
#include <thread>
#include <tuple>
#include <type_traits>
#include <utility>
#include <variant>
#include <vector>

using sdbusplus::bus_t;
using sdbusplus::message_t;
using sdbusplus::bus::match_t;
using sdbusplus::bus::new_default_system;
using sdbusplus::exception::SdBusError;
using sdbusplus::message::object_path;

static_assert(!std::is_copy_constructible_v<bus_t> && std::is_nothrow_move_constructible_v<bus_t>);
static_assert(!std::is_copy_constructible_v<match_t> && std::is_move_constructible_v<match_t>);
static_assert(!std::is_copy_constructible_v<SdBusError> &&
              std::is_nothrow_move_constructible_v<SdBusError>);
static_assert(std::is_copy_constructible_v<message_t> && std::is_move_constructible_v<message_t>);
static_assert(std::is_base_of_v<sdbusplus::exception::exception, SdBusError>);
static_assert(std::is_base_of_v<std::exception, sdbusplus::exception::exception>);

namespace
{

constexpr auto peer_name = "test.Peer";
constexpr auto peer_path = "/test/peer";
constexpr auto peer_interface = "test.Interface";
constexpr auto end_of_message = "System.Error.ENXIO: No such device or address";
constexpr auto denied = "org.freedesktop.DBus.Error.AccessDenied: Operation not permitted";
constexpr std::chrono::seconds deadline{20};

/// The default connection's sd-bus object, to check what the binding does; the caller must not close it.
sd_bus* borrow_default_bus()
{
    sd_bus* connection = nullptr;
    require(sd_bus_default_system(&connection));
    sd_bus_unref(connection);
    return connection;
}

std::string describe_basic(sd_bus_message* message, char type)
{
    union
    {
        uint8_t y;
        int16_t n;
        uint16_t q;
        int32_t i;
        uint32_t u;
        int64_t x;
        uint64_t t;
        double d;
        const char* s;
    } value{};
    require(sd_bus_message_read_basic(message, type, &value));
    std::ostringstream out;
    out << type << ':';
    switch (type)
    {
        case 'y': out << unsigned{value.y}; break;
        case 'b': out << (value.i != 0 ? "true" : "false"); break;
        case 'n': out << value.n; break;
        case 'q': out << value.q; break;
        case 'i': out << value.i; break;
        case 'u': out << value.u; break;
        case 'x': out << value.x; break;
        case 't': out << value.t; break;
        case 'd': out << value.d; break;
        default: out << value.s; break;
    }
    return out.str();
}

/// The rest of the message or container as raw sd-bus reads it, such as "y:7 a[e[s:one v[u:1]]]".
std::string describe(sd_bus_message* message)
{
    std::string text;
    char type = 0;
    const char* contents = nullptr;
    while (require(sd_bus_message_peek_type(message, &type, &contents)) > 0)
    {
        text += text.empty() ? "" : " ";
        if (contents == nullptr)
        {
            text += describe_basic(message, type);
            continue;
        }
        require(sd_bus_message_enter_container(message, type, contents));
        text += type + ("[" + describe(message)) + "]";
        require(sd_bus_message_exit_container(message));
    }
    return text;
}

/// The peer that the binding talks to, by member of the call:
///   Echo    replies with what it received, and keeps a description of it
///   Return  replies with what it received
///   Answer  replies with the body that the test gave
///   Emit    sends the signal test.Interface.Signal from the path of the call, then replies
///   Refuse  replies with an error; Grunt with one that has no message; Ignore does not reply
class Peer
{
  public:
    explicit Peer(Body answer = {}) : answer(std::move(answer)) {}

    std::string last_signature()
    {
        const std::lock_guard lock{mutex};
        return signature;
    }

    std::string last_content()
    {
        const std::lock_guard lock{mutex};
        return content;
    }

  private:
    int reply_to(sd_bus_message* call)
    {
        const std::string member = sd_bus_message_get_member(call);
        if (member == "Ignore")
        {
            return 1;
        }
        if (member == "Refuse")
        {
            return sd_bus_reply_method_errorf(call, "test.Error.Refused", "not %s", "today");
        }
        sd_bus_message* created = nullptr;
        if (member == "Grunt")
        {
            const sd_bus_error error{"test.Error.Mute", nullptr, 0};
            require(sd_bus_message_new_method_error(call, &created, &error));
            return sd_bus_send(nullptr, RawMessage{created}.get(), nullptr);
        }
        require(sd_bus_message_new_method_return(call, &created));
        const RawMessage reply{created};
        fill(member, call, reply.get());
        return sd_bus_send(nullptr, reply.get(), nullptr);
    }

    void fill(const std::string& member, sd_bus_message* call, sd_bus_message* reply)
    {
        if (member == "Echo")
        {
            const std::lock_guard lock{mutex};
            signature = sd_bus_message_get_signature(call, true);
            content = describe(call);
            require(sd_bus_message_rewind(call, true));
        }
        if (member == "Echo" || member == "Return")
        {
            require(sd_bus_message_copy(reply, call, true));
        }
        if (member == "Answer")
        {
            answer(reply);
        }
        if (member == "Emit")
        {
            require(sd_bus_emit_signal(sd_bus_message_get_bus(call), sd_bus_message_get_path(call),
                                       peer_interface, "Signal", "s", "hello"));
        }
    }

    Body answer;
    std::mutex mutex;
    std::string signature;
    std::string content;
    RawService service{peer_name, [this](sd_bus_message* call) { return reply_to(call); }};
};

/// what() of the failure that the action ends with.
template <typename Action>
std::string failure_of(Action&& action)
{
    try
    {
        action();
    }
    catch (const sdbusplus::exception::exception& error)
    {
        return error.what();
    }
    return "no failure";
}

message_t new_peer_call(bus_t& bus, const char* member, const char* path = peer_path)
{
    return bus.new_method_call(peer_name, path, peer_interface, member);
}

message_t call_peer(bus_t& bus, const char* member, const char* path = peer_path)
{
    auto call = new_peer_call(bus, member, path);
    return bus.call(call, 0);
}

message_t call_daemon(bus_t& bus)
{
    auto call = bus.new_method_call("org.freedesktop.DBus", "/org/freedesktop/DBus",
                                    "org.freedesktop.DBus", "GetId");
    return bus.call(call, 0);
}

class Binding : public testing::Test
{
  protected:
    PrivateBus daemon;
};

//
// Appending and reading
//

class BindingValues : public Binding
{
  protected:
    /// Sends the value to the peer and back; checks what raw sd-bus reads there, and what returns.
    template <typename T>
    void expect_round_trip(const T& value, const std::string& signature, const std::string& content)
    {
        SCOPED_TRACE(signature + " " + content.substr(0, 100));
        auto reply = echo(value);
        EXPECT_EQ(peer.last_signature(), signature);
        EXPECT_EQ(peer.last_content(), content);
        T read_back{};
        reply.read(read_back);
        EXPECT_TRUE(read_back == value);
    }

    template <typename... Args>
    message_t echo(const Args&... args)
    {
        auto call = new_peer_call(bus, "Echo");
        call.append(args...);
        return bus.call(call, 0);
    }

    Peer peer;
    bus_t bus = new_default_system();
};

template <typename T>
constexpr T least = std::numeric_limits<T>::min();
template <typename T>
constexpr T most = std::numeric_limits<T>::max();

TEST_F(BindingValues, Numbers)
{
    expect_round_trip<uint8_t>(most<uint8_t>, "y", "y:255");
    expect_round_trip<int16_t>(least<int16_t>, "n", "n:-32768");
    expect_round_trip<uint16_t>(most<uint16_t>, "q", "q:65535");
    expect_round_trip<int32_t>(least<int32_t>, "i", "i:-2147483648");
    expect_round_trip<uint32_t>(most<uint32_t>, "u", "u:4294967295");
    expect_round_trip<int64_t>(least<int64_t>, "x", "x:-9223372036854775808");
    expect_round_trip<uint64_t>(most<uint64_t>, "t", "t:18446744073709551615");
    expect_round_trip<double>(-0.125, "d", "d:-0.125");
}

TEST_F(BindingValues, Bools)
{
    expect_round_trip(true, "b", "b:true");
    auto reply = echo(false);
    bool value = true;
    reply.read(value);
    EXPECT_FALSE(value);
}

TEST_F(BindingValues, Texts)
{
    expect_round_trip<std::string>("grüße", "s", "s:grüße");
    expect_round_trip<std::string>("", "s", "s:");
    expect_round_trip(object_path{"/test/a_1"}, "o", "o:/test/a_1");
}

TEST_F(BindingValues, CharacterPointersAndLiteralsAreText)
{
    const char* pointer = "pointer";
    char buffer[] = "buffer";
    auto reply = echo(pointer, "literal", buffer);
    EXPECT_EQ(peer.last_signature(), "sss");
    EXPECT_EQ(peer.last_content(), "s:pointer s:literal s:buffer");
    const char* read_back = nullptr;
    reply.read(read_back);
    EXPECT_STREQ(read_back, "pointer");
}

TEST_F(BindingValues, IntegerVectors)
{
    expect_round_trip<std::vector<uint8_t>>({0, 128, 255}, "ay", "a[y:0 y:128 y:255]");
    expect_round_trip<std::vector<int16_t>>({-1, 2}, "an", "a[n:-1 n:2]");
    expect_round_trip<std::vector<uint16_t>>({1, 65535}, "aq", "a[q:1 q:65535]");
    expect_round_trip<std::vector<int32_t>>({-1, 2}, "ai", "a[i:-1 i:2]");
    expect_round_trip<std::vector<uint32_t>>({1, 2, 3}, "au", "a[u:1 u:2 u:3]");
    expect_round_trip<std::vector<int64_t>>({-1, 2}, "ax", "a[x:-1 x:2]");
    expect_round_trip<std::vector<uint64_t>>({1, 2}, "at", "a[t:1 t:2]");
}

TEST_F(BindingValues, OtherVectors)
{
    expect_round_trip<std::vector<bool>>({true, false, true}, "ab", "a[b:true b:false b:true]");
    expect_round_trip<std::vector<double>>({0.5, -2}, "ad", "a[d:0.5 d:-2]");
    expect_round_trip<std::vector<std::string>>({"a", "b"}, "as", "a[s:a s:b]");
    expect_round_trip<std::vector<object_path>>({object_path{"/"}}, "ao", "a[o:/]");
    expect_round_trip<std::vector<std::vector<uint16_t>>>({{1}, {}, {2, 3}}, "aaq",
                                                          "a[a[q:1] a[] a[q:2 q:3]]");
}

TEST_F(BindingValues, Maps)
{
    expect_round_trip<std::map<std::string, uint32_t>>({{"a", 1}, {"b", 2}}, "a{su}",
                                                       "a[e[s:a u:1] e[s:b u:2]]");
    expect_round_trip<std::map<object_path, std::map<std::string, bool>>>(
        {{object_path{"/a"}, {{"x", true}}}, {object_path{"/b"}, {}}}, "a{oa{sb}}",
        "a[e[o:/a a[e[s:x b:true]]] e[o:/b a[]]]");
    expect_round_trip<std::vector<std::pair<uint8_t, std::string>>>({{2, "b"}, {1, "a"}}, "a{ys}",
                                                                    "a[e[y:2 s:b] e[y:1 s:a]]");
}

TEST_F(BindingValues, Structures)
{
    expect_round_trip(std::tuple<uint16_t, std::string, bool>{7, "x", true}, "(qsb)",
                      "r[q:7 s:x b:true]");
    expect_round_trip(
        std::vector<std::tuple<uint8_t, std::tuple<std::vector<uint8_t>>>>{{1, {{2}}}}, "a(y(ay))",
        "a[r[y:1 r[a[y:2]]]]");
}

TEST_F(BindingValues, Variants)
{
    using Value = std::variant<std::string, uint32_t, uint16_t, bool, std::vector<uint8_t>>;
    expect_round_trip<Value>(std::string{"x"}, "v", "v[s:x]");
    expect_round_trip<Value>(uint32_t{1}, "v", "v[u:1]");
    expect_round_trip<Value>(uint16_t{1}, "v", "v[q:1]");
    expect_round_trip<Value>(true, "v", "v[b:true]");
    expect_round_trip<Value>(std::vector<uint8_t>{1, 2}, "v", "v[a[y:1 y:2]]");
    expect_round_trip<std::map<std::string, Value>>({{"a", true}, {"b", uint16_t{2}}}, "a{sv}",
                                                    "a[e[s:a v[b:true]] e[s:b v[q:2]]]");
}

TEST_F(BindingValues, EmptyContainers)
{
    expect_round_trip(std::vector<uint8_t>{}, "ay", "a[]");
    expect_round_trip(std::vector<uint64_t>{}, "at", "a[]");
    expect_round_trip(std::vector<bool>{}, "ab", "a[]");
    expect_round_trip(std::vector<std::string>{}, "as", "a[]");
    expect_round_trip(std::map<std::string, std::variant<bool>>{}, "a{sv}", "a[]");
    expect_round_trip(std::vector<std::tuple<uint8_t>>{}, "a(y)", "a[]");
}

TEST_F(BindingValues, SeveralAtOnce)
{
    auto reply = echo(uint16_t{1}, std::vector<uint16_t>{2, 3}, "four",
                      std::map<std::string, bool>{}, std::tuple<uint8_t>{5}, object_path{"/six"});
    EXPECT_EQ(peer.last_signature(), "qaqsa{sb}(y)o");
    EXPECT_EQ(peer.last_content(), "q:1 a[q:2 q:3] s:four a[] r[y:5] o:/six");
    uint16_t number = 0;
    std::vector<uint16_t> vector;
    std::string text;
    std::map<std::string, bool> map{{"kept", true}};
    reply.read(number, vector);
    reply.read(text, map);
    EXPECT_EQ(number, 1);
    EXPECT_EQ(vector, (std::vector<uint16_t>{2, 3}));
    EXPECT_EQ(text, "four");
    std::tuple<uint8_t> structure;
    object_path path;
    reply.read(structure, path);
    EXPECT_EQ(std::get<0>(structure), 5);
    EXPECT_EQ(path.str, "/six");
}

TEST_F(BindingValues, NothingAtAll)
{
    auto reply = echo();
    EXPECT_EQ(peer.last_signature(), "");
    reply.read();
}

TEST_F(BindingValues, MebibyteOfBytes)
{
    std::vector<uint8_t> bytes(1024 * 1024);
    std::iota(bytes.begin(), bytes.end(), uint8_t{});
    auto call = new_peer_call(bus, "Return");
    call.append(bytes, uint16_t{77});
    auto reply = bus.call(call, 0);
    std::vector<uint8_t> read_back;
    uint16_t after = 0;
    reply.read(read_back, after);
    EXPECT_TRUE(read_back == bytes);
    EXPECT_EQ(after, 77);
}

TEST_F(BindingValues, MessageSharesItsContentWithCopies)
{
    std::optional<message_t> copy;
    {
        auto reply = echo("kept");
        copy = reply;
        auto moved = std::move(reply);
        copy = moved;
    }
    std::string text;
    copy->read(text);
    EXPECT_EQ(text, "kept");
    EXPECT_EQ(copy->get_path(), nullptr);
    EXPECT_EQ(copy->get_bus().get_unique_name(), bus.get_unique_name());
}

TEST_F(BindingValues, BusMoves)
{
    const auto name = bus.get_unique_name();
    auto moved = std::move(bus);
    EXPECT_EQ(moved.get_unique_name(), name);
    bus = std::move(moved);
    EXPECT_EQ(bus.get_unique_name(), name);
}

//
// Replies that raw sd-bus built
//

class BindingReplies : public Binding
{
  protected:
    static message_t receive(Body body)
    {
        const Peer peer{std::move(body)};
        auto bus = new_default_system();
        return call_peer(bus, "Answer");
    }
};

TEST_F(BindingReplies, MapKeepsTheFirstOfTwoEqualKeys)
{
    auto reply = receive([](sd_bus_message* body) {
        require(sd_bus_message_append(body, "a{su}", 3, "a", 1U, "b", 2U, "a", 3U));
    });
    std::map<std::string, uint32_t> map;
    reply.read(map);
    EXPECT_EQ(map, (std::map<std::string, uint32_t>{{"a", 1}, {"b", 2}}));
}

TEST_F(BindingReplies, VariantTakesTheAlternativeOfItsType)
{
    auto reply = receive([](sd_bus_message* body) {
        require(sd_bus_message_append(body, "vvv", "q", 7, "u", 7U, "b", 1));
    });
    using Value = std::variant<uint32_t, uint16_t, bool>;
    Value first;
    Value second;
    Value third;
    reply.read(first, second, third);
    EXPECT_EQ(first, Value{uint16_t{7}});
    EXPECT_EQ(second, Value{uint32_t{7}});
    EXPECT_EQ(third, Value{true});
}

TEST_F(BindingReplies, VariantOfNoAlternativeIsSkipped)
{
    auto reply = receive([](sd_bus_message* body) {
        require(
            sd_bus_message_append(body, "vvs", "d", 1.5, "a{sv}", 1, "x", "ay", 2, 1, 2, "after"));
    });
    using Value = std::variant<std::string, uint32_t>;
    Value number{uint32_t{9}};
    Value map{uint32_t{9}};
    std::string after;
    reply.read(number, map, after);
    EXPECT_EQ(number, Value{std::string{}});
    EXPECT_EQ(map, Value{std::string{}});
    EXPECT_EQ(after, "after");
}

TEST_F(BindingReplies, SkippedVariantInAMapKeepsItsNeighbours)
{
    auto reply = receive([](sd_bus_message* body) {
        require(sd_bus_message_append(body, "a{sv}q", 3, "a", "q", 1, "b", "(ss)", "x", "y", "c",
                                      "b", 1, 8));
    });
    using Value = std::variant<std::string, uint16_t, bool>;
    std::map<std::string, Value> map;
    uint16_t after = 0;
    reply.read(map, after);
    EXPECT_EQ(
        map, (std::map<std::string, Value>{{"a", uint16_t{1}}, {"b", std::string{}}, {"c", true}}));
    EXPECT_EQ(after, 8);
}

TEST_F(BindingReplies, ManagedObjectsAreMapsByPath)
{
    auto reply = receive([](sd_bus_message* body) {
        require(sd_bus_message_append(body, "a{oa{sa{sv}}}u", 3, "/b", 2, "i.One", 1, "eid", "q", 1,
                                      "i.Two", 0, "/a", 0, "/b", 1, "i.One", 1, "x", "s", "y", 9U));
    });
    using Interfaces = std::map<std::string, std::map<std::string, std::variant<bool, uint16_t>>>;
    std::map<object_path, Interfaces> objects;
    uint32_t after = 0;
    reply.read(objects, after);
    const Interfaces first{{"i.One", {{"eid", uint16_t{1}}}}, {"i.Two", {}}};
    EXPECT_EQ(objects, (std::map<object_path, Interfaces>{{object_path{"/a"}, {}},
                                                          {object_path{"/b"}, first}}));
    EXPECT_EQ(after, 9U);
}

TEST_F(BindingReplies, WrappedRawMessageHasItsOwnReference)
{
    std::optional<message_t> kept;
    {
        const auto raw = open_raw_bus();
        sd_bus_message* created = nullptr;
        require(sd_bus_message_new_signal(raw.get(), &created, "/a/b", "a.b", "C"));
        const RawMessage signal{created};
        require(sd_bus_message_append(signal.get(), "q", 3));
        require(sd_bus_message_seal(signal.get(), 1, 0));
        kept.emplace(signal.get());
    }
    uint16_t number = 0;
    kept->read(number);
    EXPECT_EQ(number, 3);
    EXPECT_STREQ(kept->get_path(), "/a/b");
}

//
// Failures of reading
//

struct ReadFailure
{
    std::string name;
    std::string step;
    const char* wrong_type; ///< what the reply has in place of what is read
    void (*read)(message_t&);
};

std::ostream& operator<<(std::ostream& out, const ReadFailure& row)
{
    return out << row.name;
}

template <typename T>
void read_one(message_t& message)
{
    T value{};
    message.read(value);
}

class BindingReadFailure : public BindingReplies, public testing::WithParamInterface<ReadFailure>
{
};

/// One value of any type, not empty where it is an array.
void append_sample(sd_bus_message* body, const std::string& type)
{
    if (type == "s" || type == "v")
    {
        require(sd_bus_message_append(body, type.c_str(), "s", "text"));
        return;
    }
    if (type == "as" || type == "aq" || type == "a{ss}")
    {
        require(type == "as"   ? sd_bus_message_append(body, "as", 1, "text")
                : type == "aq" ? sd_bus_message_append(body, "aq", 1, 7)
                               : sd_bus_message_append(body, "a{ss}", 1, "key", "value"));
        return;
    }
    require(sd_bus_message_append(body, type.c_str(), 1, 1));
}

TEST_P(BindingReadFailure, ReplyEndsEarly)
{
    auto reply = receive([](sd_bus_message*) {});
    EXPECT_EQ(failure_of([&] { GetParam().read(reply); }), GetParam().step + ": " + end_of_message);
}

TEST_P(BindingReadFailure, ReplyEndsAfterWhatWasRead)
{
    auto reply = receive([](sd_bus_message* body) { append_sample(body, "q"); });
    read_one<uint16_t>(reply);
    EXPECT_EQ(failure_of([&] { GetParam().read(reply); }), GetParam().step + ": " + end_of_message);
}

TEST_P(BindingReadFailure, NextElementHasAnotherType)
{
    auto reply = receive([](sd_bus_message* body) { append_sample(body, GetParam().wrong_type); });
    EXPECT_EQ(failure_of([&] { GetParam().read(reply); }), GetParam().step + ": " + end_of_message);
}

const ReadFailure read_failures[] = {
    {"Byte", "sd_bus_message_read_basic fundamental", "q", read_one<uint8_t>},
    {"Int16", "sd_bus_message_read_basic fundamental", "q", read_one<int16_t>},
    {"Uint16", "sd_bus_message_read_basic fundamental", "s", read_one<uint16_t>},
    {"Int32", "sd_bus_message_read_basic fundamental", "u", read_one<int32_t>},
    {"Uint32", "sd_bus_message_read_basic fundamental", "q", read_one<uint32_t>},
    {"Int64", "sd_bus_message_read_basic fundamental", "aq", read_one<int64_t>},
    {"Uint64", "sd_bus_message_read_basic fundamental", "v", read_one<uint64_t>},
    {"Double", "sd_bus_message_read_basic fundamental", "q", read_one<double>},
    {"String", "sd_bus_message_read_basic string", "q", read_one<std::string>},
    {"CharacterPointer", "sd_bus_message_read_basic string", "v", read_one<const char*>},
    {"Path", "sd_bus_message_read_basic string", "s", read_one<object_path>},
    {"Bool", "sd_bus_message_read_basic bool", "i", read_one<bool>},
    {"IntegerVector", "sd_bus_message_read_array", "as", read_one<std::vector<uint16_t>>},
    {"ByteVectorOnText", "sd_bus_message_read_array", "s", read_one<std::vector<uint8_t>>},
    {"BoolVector", "sd_bus_message_enter_container emplace_back_container", "aq",
     read_one<std::vector<bool>>},
    {"DoubleVector", "sd_bus_message_enter_container emplace_back_container", "q",
     read_one<std::vector<double>>},
    {"StringVector", "sd_bus_message_enter_container emplace_back_container", "aq",
     read_one<std::vector<std::string>>},
    {"Map", "sd_bus_message_enter_container emplace_container", "a{ss}",
     read_one<std::map<std::string, uint32_t>>},
    {"MapOnNumber", "sd_bus_message_enter_container emplace_container", "q",
     read_one<std::map<std::string, std::variant<bool>>>},
    {"Structure", "sd_bus_message_enter_container tuple", "q",
     read_one<std::tuple<uint16_t, std::string>>},
    {"DictEntry", "sd_bus_message_enter_container tuple", "s",
     read_one<std::pair<std::string, std::string>>},
};

INSTANTIATE_TEST_SUITE_P(Rows, BindingReadFailure, testing::ValuesIn(read_failures),
                         [](const auto& row) { return row.param.name; });

TEST_F(BindingReplies, SomethingElseWhereAVariantIsReadFails)
{
    auto reply = receive([](sd_bus_message* body) { append_sample(body, "q"); });
    EXPECT_EQ(failure_of([&] { read_one<std::variant<uint16_t, std::string>>(reply); }),
              "sd_bus_message_skip variant: System.Error.ENXIO: No such device or address");
}

/// At the end of a message sd_bus_message_skip succeeds, so the variant counts as skipped.
TEST_F(BindingReplies, EndOfTheReplyReadAsAVariantIsTheFirstAlternative)
{
    auto reply = receive([](sd_bus_message*) {});
    std::variant<std::string, uint32_t> value{uint32_t{9}};
    reply.read(value);
    EXPECT_EQ(value, (std::variant<std::string, uint32_t>{std::string{}}));
}

/// The message whose array LeavingAllocator leaves when the first element is stored; then the binding fails to
/// leave the container around it.
sd_bus_message* message_to_leave = nullptr;

template <typename T>
struct LeavingAllocator : std::allocator<T>
{
    using value_type = T;

    LeavingAllocator() = default;
    template <typename U>
    LeavingAllocator(const LeavingAllocator<U>&)
    {}

    T* allocate(std::size_t count)
    {
        require(sd_bus_message_exit_container(message_to_leave));
        return std::allocator<T>::allocate(count);
    }
};

using LeavingStrings = std::vector<std::string, LeavingAllocator<std::string>>;
using LeavingMap = std::map<std::string, std::string, std::less<>,
                            LeavingAllocator<std::pair<const std::string, std::string>>>;

/// Reads a Target, which leaves early, from a signal with the body.
template <typename Target>
std::string failure_of_leaving(const Body& body)
{
    const auto raw = open_raw_bus();
    sd_bus_message* created = nullptr;
    require(sd_bus_message_new_signal(raw.get(), &created, "/a", "a.b", "C"));
    const RawMessage signal{created};
    body(signal.get());
    require(sd_bus_message_seal(signal.get(), 1, 0));
    message_to_leave = signal.get();
    message_t message{signal.get()};
    return failure_of([&] { read_one<Target>(message); });
}

TEST_F(Binding, LeavingAContainerFails)
{
    const Body strings = [](sd_bus_message* body) { append_sample(body, "as"); };
    EXPECT_EQ(
        (failure_of_leaving<LeavingStrings>(strings)),
        "sd_bus_message_exit_container emplace_back_container: System.Error.ENXIO: No such device or address");
    const Body map = [](sd_bus_message* body) { append_sample(body, "a{ss}"); };
    EXPECT_EQ(
        (failure_of_leaving<LeavingMap>(map)),
        "sd_bus_message_exit_container emplace_container: System.Error.ENXIO: No such device or address");
    const Body structure = [](sd_bus_message* body) {
        require(sd_bus_message_append(body, "(as)", 1, "x"));
    };
    EXPECT_EQ((failure_of_leaving<std::tuple<LeavingStrings>>(structure)),
              "sd_bus_message_exit_container tuple: System.Error.ENXIO: No such device or address");
    const Body variant = [](sd_bus_message* body) {
        require(sd_bus_message_append(body, "v", "as", 1, "x"));
    };
    EXPECT_EQ(
        (failure_of_leaving<std::variant<LeavingStrings>>(variant)),
        "sd_bus_message_exit_container variant: System.Error.ENXIO: No such device or address");
}

//
// Messages that are in the wrong state
//

TEST_F(Binding, UnsentMessageCannotBeRead)
{
    auto bus = new_default_system();
    auto call = new_peer_call(bus, "Echo");
    EXPECT_EQ(failure_of([&] { read_one<std::variant<bool>>(call); }),
              std::string{"sd_bus_message_verify_type variant: "} + denied);
    EXPECT_EQ(failure_of([&] { read_one<uint16_t>(call); }),
              std::string{"sd_bus_message_read_basic fundamental: "} + denied);
}

template <typename T>
std::string failure_to_append(message_t& message, const T& value)
{
    return failure_of([&] { message.append(value); });
}

TEST_F(BindingReplies, ReceivedMessageCannotBeAppendedTo)
{
    auto reply = receive([](sd_bus_message*) {});
    const std::string reason = std::string{": "} + denied;
    EXPECT_EQ(failure_to_append(reply, uint16_t{1}),
              "sd_bus_message_append_basic fundamental" + reason);
    EXPECT_EQ(failure_to_append(reply, true), "sd_bus_message_append_basic bool" + reason);
    EXPECT_EQ(failure_to_append(reply, std::string{}),
              "sd_bus_message_append_basic string" + reason);
    EXPECT_EQ(failure_to_append(reply, "x"), "sd_bus_message_append_basic string" + reason);
    EXPECT_EQ(failure_to_append(reply, object_path{"/"}),
              "sd_bus_message_append_basic string" + reason);
    EXPECT_EQ(failure_to_append(reply, std::vector<uint16_t>{1}),
              "sd_bus_message_append_array" + reason);
    EXPECT_EQ(failure_to_append(reply, std::vector<bool>{true}),
              "sd_bus_message_open_container emplace_back_container" + reason);
    EXPECT_EQ(failure_to_append(reply, std::map<std::string, bool>{}),
              "sd_bus_message_open_container emplace_container" + reason);
    EXPECT_EQ(failure_to_append(reply, std::tuple<bool>{}),
              "sd_bus_message_open_container tuple" + reason);
    EXPECT_EQ(failure_to_append(reply, std::variant<bool>{}),
              "sd_bus_message_open_container variant" + reason);
}

TEST_F(Binding, TextsThatDBusForbidsCannotBeAppended)
{
    auto bus = new_default_system();
    const std::string invalid_argument =
        "sd_bus_message_append_basic string: org.freedesktop.DBus.Error.InvalidArgs: Invalid argument";
    auto with_path = new_peer_call(bus, "Echo");
    EXPECT_EQ(failure_to_append(with_path, object_path{"no/path"}), invalid_argument);
    auto with_text = new_peer_call(bus, "Echo");
    EXPECT_EQ(failure_to_append(with_text, std::string{"\xff"}), invalid_argument);
}

//
// Calls
//

TEST_F(Binding, CallToABadPathIsNotCreated)
{
    auto bus = new_default_system();
    EXPECT_EQ(
        failure_of([&] { bus.new_method_call(peer_name, "no/path", peer_interface, "Echo"); }),
        "sd_bus_message_new_method_call: org.freedesktop.DBus.Error.InvalidArgs: Invalid argument");
}

TEST_F(Binding, CallToAnUnknownService)
{
    auto bus = new_default_system();
    auto call = bus.new_method_call("test.Nobody", "/", "test.Interface", "Echo");
    try
    {
        bus.call(call, 0);
        FAIL() << "no failure";
    }
    catch (const SdBusError& error)
    {
        EXPECT_STREQ(error.what(), "sd_bus_call: org.freedesktop.DBus.Error.ServiceUnknown: "
                                   "The name test.Nobody was not provided by any .service files");
        EXPECT_STREQ(error.name(), "org.freedesktop.DBus.Error.ServiceUnknown");
        EXPECT_STREQ(error.description(),
                     "The name test.Nobody was not provided by any .service files");
        EXPECT_EQ(error.get_errno(), EHOSTUNREACH);
    }
}

TEST_F(Binding, ErrorReplies)
{
    const Peer peer;
    auto bus = new_default_system();
    EXPECT_EQ(failure_of([&] { call_peer(bus, "Refuse"); }),
              "sd_bus_call: test.Error.Refused: not today");
    EXPECT_EQ(failure_of([&] { call_peer(bus, "Grunt"); }), "sd_bus_call: test.Error.Mute");
}

TEST_F(Binding, CallWithoutReplyTimesOut)
{
    const Peer peer;
    auto bus = new_default_system();
    auto call = new_peer_call(bus, "Ignore");
    EXPECT_EQ(failure_of([&] { bus.call(call, 20'000); }),
              "sd_bus_call: org.freedesktop.DBus.Error.Timeout: Connection timed out");
}

TEST_F(Binding, CallOnALostConnection)
{
    auto bus = new_default_system();
    auto call = new_peer_call(bus, "Echo");
    daemon.stop();
    EXPECT_EQ(failure_of([&] { bus.call(call, 0); }),
              "sd_bus_call: org.freedesktop.DBus.Error.Disconnected: Connection reset by peer");
}

//
// Connections
//

TEST_F(Binding, NoDaemon)
{
    daemon.stop();
    try
    {
        new_default_system();
        FAIL() << "no failure";
    }
    catch (const SdBusError& error)
    {
        EXPECT_STREQ(error.what(),
                     "sd_bus_default_system: System.Error.ECONNREFUSED: Connection refused");
        EXPECT_EQ(error.get_errno(), ECONNREFUSED);
    }
}

/// Processes until it fails; empty if it has not by the deadline.
std::string failure_of_processing(bus_t& bus)
{
    const auto end = std::chrono::steady_clock::now() + deadline;
    std::string failure;
    while (failure.empty() && std::chrono::steady_clock::now() < end)
    {
        try
        {
            bus.process_discard();
        }
        catch (const SdBusError& error)
        {
            failure = error.what();
        }
    }
    return failure;
}

constexpr auto process_failure =
    "sd_bus_process discard: org.freedesktop.DBus.Error.Disconnected: Connection reset by peer";
constexpr auto wait_failure =
    "sd_bus_wait: System.Error.ENOTCONN: Transport endpoint is not connected";

TEST_F(Binding, ProcessAndWaitFailWithoutTheDaemon)
{
    auto bus = new_default_system();
    daemon.stop();
    EXPECT_EQ(failure_of_processing(bus), process_failure);
    EXPECT_EQ(failure_of([&] { bus.wait(1000); }), wait_failure);
}

TEST_F(Binding, ProcessAndWaitFailOnAClosedConnection)
{
    auto bus = new_default_system();
    bus.close();
    EXPECT_EQ(failure_of_processing(bus), process_failure);
    EXPECT_EQ(failure_of([&] { bus.wait(1000); }), wait_failure);
}

/// Processes all that has arrived.
void process_all(bus_t& bus)
{
    while (bus.process_discard())
    {}
}

TEST_F(Binding, IdleConnectionHasNothingToProcess)
{
    auto bus = new_default_system();
    // The daemon greets a new connection with a signal; the reply to a call comes after it.
    call_daemon(bus);
    process_all(bus);
    EXPECT_EQ(bus.wait(1000), 0);
}

TEST_F(Binding, ThreadKeepsItsConnectionWhileItIsHeld)
{
    auto first = new_default_system();
    auto second = new_default_system();
    const auto name = first.get_unique_name();
    EXPECT_EQ(name.front(), ':');
    EXPECT_EQ(second.get_unique_name(), name);
    {
        auto dropped = std::move(first);
    }
    EXPECT_EQ(second.get_unique_name(), name);
    EXPECT_EQ(new_default_system().get_unique_name(), name);
}

TEST_F(Binding, EveryThreadHasAConnectionOfItsOwn)
{
    auto bus = new_default_system();
    std::string other;
    std::thread{[&other] { other = new_default_system().get_unique_name(); }}.join();
    EXPECT_EQ(other.front(), ':');
    EXPECT_NE(other, bus.get_unique_name());
}

/// Whether the daemon forgets the name before the deadline.
bool daemon_forgets(const std::string& name)
{
    const auto raw = open_raw_bus();
    const auto end = std::chrono::steady_clock::now() + deadline;
    int known = 1;
    while (known != 0 && std::chrono::steady_clock::now() < end)
    {
        sd_bus_message* reply = nullptr;
        require(sd_bus_call_method(raw.get(), "org.freedesktop.DBus", "/org/freedesktop/DBus",
                                   "org.freedesktop.DBus", "NameHasOwner", nullptr, &reply, "s",
                                   name.c_str()));
        require(sd_bus_message_read(RawMessage{reply}.get(), "b", &known));
    }
    return known == 0;
}

TEST_F(Binding, ConnectionClosesWithItsLastReference)
{
    std::string name;
    {
        auto bus = new_default_system();
        name = bus.get_unique_name();
        call_daemon(bus);
    }
    EXPECT_TRUE(daemon_forgets(name));
    EXPECT_NE(new_default_system().get_unique_name(), name);
}

TEST_F(Binding, CloseEndsTheConnectionForAllItsHolders)
{
    auto bus = new_default_system();
    const match_t match{bus, "type='signal'", [](message_t&) {}};
    auto other = new_default_system();
    const auto name = bus.get_unique_name();
    bus.close();
    EXPECT_TRUE(daemon_forgets(name));
    EXPECT_EQ(failure_of([&] { call_daemon(other); }),
              "sd_bus_call: System.Error.ENOTCONN: Transport endpoint is not connected");
}

TEST_F(Binding, ConstructionCompletesTheHello)
{
    auto bus = new_default_system();
    const auto raw = open_raw_bus();
    const char* name = nullptr;
    require(sd_bus_get_unique_name(borrow_default_bus(), &name));
    sd_bus_creds* owner = nullptr;
    require(sd_bus_get_name_creds(raw.get(), name, 0, &owner));
    sd_bus_creds_unref(owner);
    EXPECT_EQ(sd_bus_is_ready(borrow_default_bus()), 1);
}

TEST_F(Binding, BusTakesAReferenceOfItsOwn)
{
    auto raw = open_raw_bus();
    bus_t bus{raw.get()};
    const auto name = bus.get_unique_name();
    sd_bus_unref(raw.release());
    EXPECT_EQ(bus.get_unique_name(), name);
}

//
// Matches
//

const std::string signal_rule = "type='signal',interface='test.Interface',member='Signal'";

class BindingMatch : public Binding
{
  protected:
    /// A subscription that records the label, path and argument of every signal.
    match_t subscribe(const std::string& label, const std::string& rule = signal_rule)
    {
        return {bus, rule, [this, label](message_t& signal) {
                    std::string argument;
                    signal.read(argument);
                    delivered.push_back(label + signal.get_path() + " " + argument);
                }};
    }

    /// Lets the peer send a signal from the path, and processes what arrives up to its reply.
    void emit(const char* path)
    {
        call_peer(bus, "Emit", path);
        process_all(bus);
    }

    using Lines = std::vector<std::string>;

    Peer peer;
    bus_t bus = new_default_system();
    Lines delivered;
};

TEST_F(BindingMatch, DeliversWhatTheRuleNames)
{
    const auto match = subscribe("", signal_rule + ",path='/a'");
    emit("/a");
    emit("/b");
    emit("/a");
    EXPECT_EQ(delivered, (Lines{"/a hello", "/a hello"}));
}

TEST_F(BindingMatch, BadRuleIsRefused)
{
    EXPECT_EQ(failure_of([&] { subscribe("", "this is no rule"); }),
              "sd_bus_match: org.freedesktop.DBus.Error.InvalidArgs: Invalid argument");
}

int count_signal(sd_bus_message* message, void* count, sd_bus_error*)
{
    *static_cast<int*>(count) +=
        sd_bus_message_is_signal(message, peer_interface, "Signal") > 0 ? 1 : 0;
    return 0;
}

TEST_F(BindingMatch, EndsWithItsObject)
{
    int arrived = 0;
    sd_bus_slot* added = nullptr;
    require(sd_bus_add_filter(borrow_default_bus(), &added, count_signal, &arrived));
    const RawSlot filter{added};
    {
        const auto match = subscribe("");
        emit("/a");
    }
    EXPECT_EQ(delivered, (Lines{"/a hello"}));
    EXPECT_EQ(arrived, 1);
    emit("/b");
    EXPECT_EQ(delivered, (Lines{"/a hello"}));
    EXPECT_EQ(arrived, 1) << "the daemon still has the rule";
}

TEST_F(BindingMatch, EndsWhatHasArrivedAlready)
{
    {
        const auto match = subscribe("");
        call_peer(bus, "Emit");
    }
    process_all(bus);
    EXPECT_EQ(delivered, Lines{});
}

TEST_F(BindingMatch, LivesOnWhenMoved)
{
    auto first = subscribe("first ");
    auto moved = std::move(first);
    emit("/a");
    EXPECT_EQ(delivered, (Lines{"first /a hello"}));
    std::vector<match_t> several;
    several.push_back(std::move(moved));
    several.push_back(subscribe("second ", signal_rule + ",path='/c'"));
    emit("/b");
    EXPECT_EQ(delivered, (Lines{"first /a hello", "first /b hello"}));
    emit("/c");
    EXPECT_EQ(delivered.size(), 4U);
}

TEST_F(BindingMatch, EndsWhenAnotherIsAssigned)
{
    auto match = subscribe("first ");
    match = subscribe("second ");
    emit("/a");
    EXPECT_EQ(delivered, (Lines{"second /a hello"}));
}

TEST_F(BindingMatch, CallbackMayAddAndEndOthers)
{
    std::optional<match_t> other;
    const match_t toggling{bus, signal_rule, [&](message_t& signal) {
                               auto bus_of_signal = signal.get_bus();
                               if (other)
                               {
                                   other.reset();
                                   return;
                               }
                               other.emplace(
                                   bus_of_signal, signal_rule + ",path='/b'",
                                   [this](message_t&) { delivered.emplace_back("other"); });
                           }};
    emit("/a");
    EXPECT_TRUE(other.has_value());
    emit("/a");
    EXPECT_FALSE(other.has_value());
    emit("/b");
    EXPECT_TRUE(other.has_value());
    EXPECT_EQ(delivered, Lines{});
}

TEST_F(BindingMatch, MessageMayBeKept)
{
    std::optional<message_t> kept;
    const match_t match{bus, signal_rule, [&](message_t& signal) { kept = signal; }};
    emit("/a");
    ASSERT_TRUE(kept.has_value());
    std::string argument;
    kept->read(argument);
    EXPECT_EQ(argument, "hello");
}

TEST_F(BindingMatch, HoldsItsConnection)
{
    const auto match = subscribe("");
    const auto name = bus.get_unique_name();
    {
        auto dropped = std::move(bus);
    }
    bus = new_default_system();
    EXPECT_EQ(bus.get_unique_name(), name);
    emit("/a");
    EXPECT_EQ(delivered, (Lines{"/a hello"}));
}

/// Sends itself a signal whose handler throws.
void throw_in_a_callback()
{
    const rlimit no_core{0, 0};
    setrlimit(RLIMIT_CORE, &no_core);
    auto bus = new_default_system();
    const match_t match{bus, signal_rule, [](message_t&) { throw std::runtime_error("escapes"); }};
    require(sd_bus_emit_signal(borrow_default_bus(), "/a", "test.Interface", "Signal", nullptr));
    const auto end = std::chrono::steady_clock::now() + deadline;
    while (std::chrono::steady_clock::now() < end)
    {
        try
        {
            process_all(bus);
            bus.wait(1000);
        }
        catch (const std::exception&)
        {
            return;
        }
    }
}

TEST_F(Binding, ExceptionOutOfACallbackEndsTheProcess)
{
    EXPECT_EXIT(throw_in_a_callback(), testing::KilledBySignal(SIGABRT), "");
}

//
// The exception by itself
//

TEST(BindingError, OfAnErrorNumber)
{
    const SdBusError error{ENXIO, "some step"};
    EXPECT_STREQ(error.what(), "some step: System.Error.ENXIO: No such device or address");
    EXPECT_STREQ(error.name(), "System.Error.ENXIO");
    EXPECT_STREQ(error.description(), "No such device or address");
    EXPECT_EQ(error.get_errno(), ENXIO);
}

TEST(BindingError, OfAnErrorNumberWithAStandardName)
{
    EXPECT_STREQ(SdBusError(ECONNRESET, "sd_bus_wait").what(),
                 "sd_bus_wait: org.freedesktop.DBus.Error.Disconnected: Connection reset by peer");
    EXPECT_STREQ(SdBusError(EINVAL, "x").what(),
                 "x: org.freedesktop.DBus.Error.InvalidArgs: Invalid argument");
}

TEST(BindingError, KeepsTheErrorNumberThatSharesItsName)
{
    const SdBusError error{EPERM, "x"};
    EXPECT_STREQ(error.name(), "org.freedesktop.DBus.Error.AccessDenied");
    EXPECT_EQ(error.get_errno(), EPERM);
}

TEST(BindingError, TakesTheErrorOver)
{
    sd_bus_error raw{};
    sd_bus_error_setf(&raw, "test.Error.Some", "%d apples", 3);
    const SdBusError error{&raw, "sd_bus_call"};
    EXPECT_FALSE(sd_bus_error_is_set(&raw));
    EXPECT_STREQ(error.what(), "sd_bus_call: test.Error.Some: 3 apples");
    EXPECT_EQ(error.get_errno(), EIO);
}

TEST(BindingError, Moves)
{
    SdBusError first{ENXIO, "first"};
    SdBusError moved{std::move(first)};
    EXPECT_STREQ(moved.what(), "first: System.Error.ENXIO: No such device or address");
    EXPECT_STREQ(moved.description(), "No such device or address");
    EXPECT_EQ(moved.get_errno(), ENXIO);
    moved = SdBusError{ESTALE, "second"};
    EXPECT_STREQ(moved.what(), "second: System.Error.ESTALE: Stale file handle");
    EXPECT_STREQ(moved.name(), "System.Error.ESTALE");
    EXPECT_EQ(moved.get_errno(), ESTALE);
}

} // namespace
