#include "fuzz/support/stubbed_service.hpp"

#include "fuzz/support/bus_pair.hpp"
#include "fuzz/support/require.hpp"

#include <algorithm>
#include <array>
#include <cerrno>
#include <condition_variable>
#include <ctime>
#include <dlfcn.h>
#include <mutex>
#include <set>
#include <string>
#include <string_view>
#include <thread>
#include <utility>

namespace
{

// The contract, spelled out once more, so that a slip in the client's own is found.
constexpr auto service_name = "com.varn.bmc.spdm.spdm";
constexpr auto properties_interface = "org.freedesktop.DBus.Properties";
constexpr auto object_manager_interface = "org.freedesktop.DBus.ObjectManager";
constexpr auto daemon_name = "org.freedesktop.DBus";
constexpr auto manager_path = "/com/varn/bmc/spdm/spdm/devicemanager";
constexpr auto cpu_path = "/com/varn/bmc/spdm/spdm/cpu";

struct Method
{
    std::string_view member;
    std::string_view interface;
    std::string_view arguments;
    std::string_view reply;
};

constexpr Method methods[] = {
    {"ReAuthenticate", service_name, "", "u"},
    {"GetCertificate", service_name, "q", "qs"},
    {"GetCertificateProperties", service_name, "u", "u"},
    {"GetMeasurement", service_name, "qaq", "qqa(qayuq)"},
    {"GetSignedMeasurement", service_name, "aqqs", "ussss"},
    {"GetAll", properties_interface, "s", "a{sv}"},
    {"Get", properties_interface, "ss", "v"},
    {"GetManagedObjects", object_manager_interface, "", "a{oa{sa{sv}}}"},
    {"NameHasOwner", daemon_name, "s", "b"},
};

struct Service
{
    ByteSource source{{}};
    std::set<std::string> known_paths;
    std::optional<DbusValue> object_tree;
    unsigned signals_left = 0;
    unsigned slept_milliseconds = 0;
};

Service service;

/// Says when the monitor thread has nothing more to do.
struct Quiet
{
    std::mutex mutex;
    std::condition_variable changed;
    bool reached = false;
};

Quiet quiet;

void set_quiet(bool reached)
{
    const std::lock_guard lock{quiet.mutex};
    quiet.reached = reached;
    quiet.changed.notify_all();
}

bool is_quiet()
{
    const std::lock_guard lock{quiet.mutex};
    return quiet.reached;
}

const std::thread::id main_thread = std::this_thread::get_id();

const BusPair& connections()
{
    static const BusPair pair;
    return pair;
}

// A sound service's values.

DbusValue text(std::string content)
{
    return {"s", 0, std::move(content), {}};
}

DbusValue number(const char* type, std::int64_t value)
{
    return {type, value, {}, {}};
}

DbusValue variant(DbusValue content)
{
    return {"v", 0, {}, {std::move(content)}};
}

DbusValue dictionary(const std::string& entry_type, const std::vector<DbusValues>& entries)
{
    DbusValue array{"a" + entry_type, 0, {}, {}};
    for (const auto& entry : entries)
    {
        array.members.push_back({entry_type, 0, {}, entry});
    }
    return array;
}

DbusValue sound_properties()
{
    std::vector<DbusValues> entries{
        {text("ChallengeStatus"), variant(number("u", 1))},
        {text("DeviceEID"), variant(number("q", 10))},
        {text("PhyBinding"), variant(number("q", 2))},
        {text("NumMeasurements"), variant(number("q", 3))},
        {text("XMID"), variant(text("CPU-0"))},
    };
    for (const auto* name : {"Certificate", "ChallengeAuthRespSupport", "Measurement", "Encryption",
                             "SignedMeasurement", "DeviceChallengeStatus", "DeviceCertStatus",
                             "DeviceAllowed", "Preferred"})
    {
        entries.push_back({text(name), variant(number("b", 1))});
    }
    for (const char slot : std::string_view{"01234567"})
    {
        // Few slots, as the suites go through all that there are.
        entries.push_back({text(std::string{"CertificateSlot"} + slot),
                           variant(number("b", slot == '0' || slot == '2'))});
    }
    return dictionary("{sv}", entries);
}

DbusValue sound_object_tree()
{
    const auto none = dictionary("{sa{sv}}", {});
    return dictionary("{oa{sa{sv}}}", {{{"o", 0, std::string{cpu_path} + "/cpu_10", {}}, none},
                                       {{"o", 0, std::string{cpu_path} + "/cpu_11", {}}, none}});
}

DbusValue sound_blocks()
{
    DbusValue data{"ay", 0, {}, DbusValues(3, number("y", 0xab))};
    return {"a(qayuq)",
            0,
            {},
            {{"(qayuq)", 0, {}, {number("q", 1), data, number("u", 2), number("q", 3)}}}};
}

DbusValues sound_reply(const Method& method, const std::string& last_argument)
{
    if (method.member == "GetManagedObjects")
    {
        return {sound_object_tree()};
    }
    if (method.member == "GetAll")
    {
        return {sound_properties()};
    }
    if (method.member == "Get")
    {
        return {variant(last_argument == "XMID" ? text("CPU-0") : number("q", 10))};
    }
    if (method.member == "GetMeasurement")
    {
        return {number("q", 0), number("q", 1), sound_blocks()};
    }
    if (method.member == "GetSignedMeasurement")
    {
        return {number("u", 0), text(std::string(152, 'Q')), text("SHA-384"), text("ECDSA-P384"),
                text("1.2")};
    }
    if (method.member == "GetCertificate")
    {
        return {number("q", 0), text("/var/chain.pem")};
    }
    const bool is_status = method.member == "GetCertificateProperties";
    return {number(method.reply == "b" ? "b" : "u", is_status ? 0 : 1)};
}

// The answer to a call.

const Method& checked_method(sd_bus_message* call)
{
    const std::string_view member = sd_bus_message_get_member(call);
    const auto* method = std::find_if(std::begin(methods), std::end(methods),
                                      [member](const auto& row) { return row.member == member; });
    require(method != std::end(methods), "the member is the contract's");
    require(sd_bus_message_get_interface(call) == method->interface,
            "the interface is the member's");
    require(sd_bus_message_get_signature(call, true) == method->arguments,
            "the arguments are of the member's types");
    return *method;
}

void require_addressed(sd_bus_message* call, const Method& method)
{
    const std::string path = sd_bus_message_get_path(call);
    const std::string_view destination = sd_bus_message_get_destination(call);
    if (method.member == "NameHasOwner")
    {
        require(destination == daemon_name && path == "/org/freedesktop/DBus",
                "the bus daemon is asked for owners");
        return;
    }
    require(destination == service_name, "the service is asked for everything else");
    require(method.member == "GetManagedObjects" ? path == manager_path
                                                 : service.known_paths.contains(path),
            "objects are those that the service told of");
}

/// The arguments' last text; empty when the last is none.
std::string read_last_text(sd_bus_message* call, const Method& method)
{
    if (!method.arguments.ends_with('s'))
    {
        return {};
    }
    const std::string before{method.arguments.substr(0, method.arguments.size() - 1)};
    if (!before.empty())
    {
        require_success(sd_bus_message_skip(call, before.c_str()));
    }
    const char* last = nullptr;
    require_success(sd_bus_message_read_basic(call, 's', &last));
    return last;
}

void require_sound_text(const Method& method, const std::string& last_text)
{
    if (method.member == "GetSignedMeasurement")
    {
        require(last_text.empty() ||
                    (last_text.size() == 64 &&
                     last_text.find_first_not_of("0123456789abcdefABCDEF") == std::string::npos),
                "a nonce has 64 hexadecimal digits");
    }
    if (method.member == "GetAll" || method.member == "NameHasOwner")
    {
        require(last_text == service_name, "the service's interface, or name, is asked for");
    }
    if (method.member == "Get")
    {
        require(last_text == "XMID" || last_text == "DeviceEID", "an identity is asked for");
    }
}

void remember_paths(const DbusValue& tree)
{
    service.object_tree = tree;
    for (const auto& object : tree.members)
    {
        service.known_paths.insert(object.members.front().text);
    }
}

DbusValues cut_short(DbusValues values)
{
    values.resize(service.source.byte() % (values.size() + 1));
    return values;
}

DbusValues next_reply(const Method& method, const std::string& last_text, std::uint8_t choice)
{
    const bool from_bytes = choice >= 96;
    auto values =
        from_bytes ? next_values(service.source, method.reply) : sound_reply(method, last_text);
    if (choice >= 200 && choice < 216)
    {
        return {next_value(service.source, next_type(service.source))};
    }
    if (choice >= 216 && choice < 224)
    {
        return cut_short(values);
    }
    if (choice >= 224)
    {
        values.push_back(next_value(service.source, next_type(service.source)));
    }
    return values;
}

int answer(sd_bus_message* call, sd_bus_error* error, sd_bus_message** reply)
{
    const auto& method = checked_method(call);
    require_addressed(call, method);
    const auto last_text = read_last_text(call, method);
    require_sound_text(method, last_text);

    const auto choice = service.source.byte();
    if (choice >= 248)
    {
        return -ETIMEDOUT;
    }
    if (choice >= 232)
    {
        return sd_bus_error_set(error, "org.freedesktop.DBus.Error.ServiceUnknown", "none");
    }
    const auto values = next_reply(method, last_text, choice);
    require_success(sd_bus_message_new_method_return(call, reply));
    append_values(*reply, values);
    seal(*reply);
    if (!values.empty() && values.front().signature == "a{oa{sa{sv}}}")
    {
        remember_paths(values.front());
    }
    return 1;
}

// Signals.

std::string next_known_path()
{
    const auto choice = service.source.byte();
    if (choice >= 128 || service.known_paths.empty())
    {
        return next_object_path(service.source);
    }
    return *std::next(service.known_paths.begin(),
                      choice % static_cast<std::ptrdiff_t>(service.known_paths.size()));
}

struct Signal
{
    std::string path;
    std::string interface;
    std::string member;
    DbusValues arguments;
};

Signal next_object_signal(const char* member, const char* signature_behind_path)
{
    constexpr const char* containers[] = {cpu_path, "/com/varn/bmc/spdm/spdm/halcController",
                                          "/com/varn/bmc/spdm/spdm/nicController"};
    const std::string container = containers[service.source.byte() % std::size(containers)];
    auto arguments = next_values(service.source, signature_behind_path);
    arguments.insert(arguments.begin(), {"o", 0, next_known_path(), {}});
    return {container, object_manager_interface, member, arguments};
}

Signal next_device_signal(const char* interface, const char* member, const char* signature)
{
    const auto path = next_known_path();
    return {path, interface, member, next_values(service.source, signature)};
}

/// All but those of devices that were added have the contract's types: others are meant to end the
/// process.
Signal next_signal()
{
    const auto choice = service.source.byte();
    switch (choice % 8)
    {
        case 0:
            return {"/com/varn/bmc/spdm/spdm/info", std::string{service_name} + "Info", "Info",
                    next_values(service.source, "q")};
        case 1: return next_object_signal("InterfacesRemoved", "as");
        case 2: return next_device_signal(service_name, "DeviceError", "q");
        case 3: return next_device_signal(service_name, "CertificateProgress", "y");
        case 4: return next_device_signal(properties_interface, "PropertiesChanged", "sa{sv}as");
        case 5:
        {
            auto signal = next_object_signal("InterfacesAdded", "");
            signal.arguments = {next_value(service.source, next_type(service.source))};
            return signal;
        }
        default: return next_object_signal("InterfacesAdded", "a{sa{sv}}");
    }
}

void remember_added(const Signal& signal)
{
    if (signal.member == "InterfacesAdded" && signal.arguments.front().signature == "o")
    {
        service.known_paths.insert(signal.arguments.front().text);
    }
}

void send(const Signal& signal)
{
    sd_bus_message* raw = nullptr;
    require_success(sd_bus_message_new_signal(connections().peer, &raw, signal.path.c_str(),
                                              signal.interface.c_str(), signal.member.c_str()));
    const RawMessage message{raw};
    append_values(raw, signal.arguments);
    require_success(sd_bus_send(connections().peer, raw, nullptr));
    remember_added(signal);
}

bool next_is_failure()
{
    return service.source.byte() >= 250;
}

/// One wait of the monitor's loop. The main thread goes on when the last signal has been handled; what
/// happens from then on is no longer told by the bytes, as the number of turns is not.
int take_turn()
{
    if (is_quiet())
    {
        std::this_thread::yield();
        return 0;
    }
    if (service.signals_left > 0)
    {
        --service.signals_left;
        send(next_signal());
        return 1;
    }
    while (sd_bus_process(connections().local, nullptr) > 0)
    {}
    const bool fails = next_is_failure();
    set_quiet(true);
    return fails ? -ECONNRESET : 0;
}

int open_on_monitor_thread(sd_bus** connection)
{
    service.signals_left = service.source.byte() % 16;
    if (next_is_failure())
    {
        set_quiet(true);
        return -ECONNREFUSED;
    }
    *connection = sd_bus_ref(connections().local);
    return 1;
}

} // namespace

bool is_main_thread()
{
    return std::this_thread::get_id() == main_thread;
}

void start_service(std::span<const std::uint8_t> bytes)
{
    service = Service{};
    service.source = ByteSource{bytes};
}

void expect_monitor()
{
    set_quiet(false);
}

void await_quiet_monitor()
{
    std::unique_lock lock{quiet.mutex};
    quiet.changed.wait(lock, [] { return quiet.reached; });
}

const std::optional<DbusValue>& told_object_tree()
{
    return service.object_tree;
}

unsigned slept_milliseconds()
{
    return service.slept_milliseconds;
}

// What this program takes the place of in libsystemd and in the C library.

int sd_bus_default_system(sd_bus** connection)
{
    if (!is_main_thread())
    {
        return open_on_monitor_thread(connection);
    }
    *connection = sd_bus_ref(connections().local);
    return 1;
}

/// Both threads share one connection, which the monitor must not close for the main thread.
void sd_bus_close(sd_bus* connection)
{
    if (is_main_thread())
    {
        static const auto next =
            reinterpret_cast<decltype(&sd_bus_close)>(dlsym(RTLD_NEXT, "sd_bus_close"));
        next(connection);
    }
}

int sd_bus_call(sd_bus* connection, sd_bus_message* call, std::uint64_t timeout,
                sd_bus_error* error, sd_bus_message** reply)
{
    require(is_main_thread() && connection == connections().local && timeout == 0,
            "calls go over the default connection, for the default time");
    seal(call);
    return answer(call, error, reply);
}

int sd_bus_wait(sd_bus*, std::uint64_t timeout)
{
    require(!is_main_thread() && timeout == 1000, "the monitor alone waits, for a millisecond");
    return take_turn();
}

extern "C" int nanosleep(const timespec* pause, timespec*)
{
    service.slept_milliseconds +=
        static_cast<unsigned>(pause->tv_sec * 1000 + pause->tv_nsec / 1000000);
    return 0;
}
