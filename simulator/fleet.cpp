#include "simulator/fleet.hpp"

#include "shell/service_contract.hpp"
#include "simulator/json_value.hpp"
#include "simulator/names.hpp"
#include "simulator/presets.hpp"

#include <cerrno>
#include <fstream>
#include <limits>
#include <sstream>
#include <system_error>

namespace simulator
{

namespace
{

namespace fs = std::filesystem;

constexpr std::uint64_t longest_wait_ms = 24ULL * 60 * 60 * 1000;
constexpr std::uint64_t most_times = 100'000'000;

template <typename Integer>
Integer number_at(const JsonPlace& place)
{
    return static_cast<Integer>(place.unsigned_number(std::numeric_limits<Integer>::max()));
}

/// The whole content; throws std::system_error.
std::string read_file(const fs::path& file)
{
    std::ifstream stream(file);
    std::ostringstream content;
    if (stream.peek() != std::ifstream::traits_type::eof())
    {
        content << stream.rdbuf();
    }
    if (!stream.is_open() || stream.bad() || fs::is_directory(file))
    {
        throw std::system_error(errno != 0 ? errno : EIO, std::generic_category());
    }
    return content.str();
}

void refuse_reserved(const JsonPlace& place)
{
    if (is_reserved(place.text()))
    {
        place.fail("\"" + place.text() + "\" is reserved by the bus");
    }
}

/// The path of an object that sends signals.
std::string object_path_at(const JsonPlace& place)
{
    auto path = text_in(value_from_json("o", place));
    refuse_reserved(place);
    return path;
}

std::string interface_name_at(const JsonPlace& place)
{
    if (!is_interface_name(place.text()))
    {
        place.fail("\"" + place.text() + "\" is no valid interface name");
    }
    refuse_reserved(place);
    return place.text();
}

std::string member_name_at(const JsonPlace& place)
{
    if (!is_member_name(place.text()))
    {
        place.fail("\"" + place.text() + "\" is no valid member name");
    }
    return place.text();
}

Device preset_at(const std::optional<JsonPlace>& place, const std::string& path)
{
    if (!place)
    {
        return *preset_device(default_preset(path), path);
    }
    auto device = preset_device(place->text(), path);
    if (!device)
    {
        place->fail("\"" + place->text() + "\" is no preset: cpu, nic, halc or bare");
    }
    return *device;
}

/// Changes properties as written: a value replaces or adds, null removes.
void change_properties(Properties& properties, const JsonPlace& place)
{
    for (const auto& [name, value] : place.members())
    {
        check_text(name, value);
        properties.erase(name);
        if (!value.is_null())
        {
            properties.emplace(name, typed_value_from_json(value));
        }
    }
}

void read_interfaces(Device& device, const JsonPlace& place)
{
    for (const auto& [name, properties] : place.members())
    {
        if (!is_interface_name(name))
        {
            properties.fail("the name of the interface is not valid");
        }
        if (name == ServiceContract::DEVICE_INTERFACE)
        {
            properties.fail("the properties of this interface belong under \"properties\"");
        }
        change_properties(device.interfaces[name], properties);
    }
}

MeasurementBlock block_at(const JsonPlace& place)
{
    place.allow_only({"index", "data", "algorithm", "type"});
    return {number_at<std::uint16_t>(place.member("index")),
            std::get<Bytes>(value_from_json("ay", place.member("data")).content),
            number_at<std::uint32_t>(place.member("algorithm")),
            number_at<std::uint16_t>(place.member("type"))};
}

void read_measurements(Device& device, const JsonPlace& place)
{
    device.measurements.clear();
    for (const JsonPlace& block : place.elements())
    {
        device.measurements.push_back(block_at(block));
    }
    const auto count = device.properties.find("NumMeasurements");
    if (count != device.properties.end())
    {
        count->second = number_value('q', device.measurements.size() & 0xFFFF);
    }
}

std::string key_at(const JsonPlace& place, const fs::path& folder)
{
    const fs::path file = folder / place.text();
    try
    {
        return read_file(file);
    }
    catch (const std::system_error& error)
    {
        place.fail("the key file " + file.string() + " cannot be read: " + error.code().message());
    }
}

void read_signing(Signing& signing, const JsonPlace& place, const fs::path& folder)
{
    place.allow_only({"algorithm", "hashing", "version", "key"});
    if (const auto algorithm = place.find("algorithm"))
    {
        signing.algorithm = find_signing_algorithm(algorithm->text());
        if (signing.algorithm == nullptr)
        {
            algorithm->fail("\"" + algorithm->text() + "\" is none of the signing algorithms " +
                            signing_algorithm_names());
        }
    }
    if (const auto hashing = place.find("hashing"))
    {
        signing.hashing = hashing->text();
        if (digest_name(signing.hashing).empty())
        {
            hashing->fail("\"" + signing.hashing + "\" is no hashing algorithm that is known here");
        }
    }
    if (const auto version = place.find("version"))
    {
        signing.version = text_in(value_from_json("s", *version));
    }
    if (const auto key = place.find("key"))
    {
        signing.key = key_at(*key, folder);
    }
}

/// The method of a device that rules can be written for; null for others.
const Method* method_with_rules(const std::string& name)
{
    const Method* method = find_method(device_interface, name);
    const bool reads_properties = name == ServiceContract::GET || name == ServiceContract::GET_ALL;
    return method == nullptr && reads_properties ? find_method(properties_interface, name) : method;
}

void read_rules(Device& device, const JsonPlace& place)
{
    for (const auto& [name, rules] : place.members())
    {
        const Method* method = method_with_rules(name);
        if (method == nullptr)
        {
            rules.fail("a device has no such method, or none that rules can be written for");
        }
        device.rules[name] = rules_from_json(rules, *method);
    }
}

bool is_present(const JsonPlace& place)
{
    if (place.text() != "present" && place.text() != "absent")
    {
        place.fail("\"present\" or \"absent\" is expected, not \"" + place.text() + "\"");
    }
    return place.text() == "present";
}

std::vector<Device> devices_at(const JsonPlace& place, const fs::path& folder)
{
    std::map<std::string, std::string> places;
    std::vector<Device> devices;
    for (const JsonPlace& written : place.elements())
    {
        devices.push_back(device_from_json(written, folder));
        const auto [other, is_new] = places.emplace(devices.back().path, written.place());
        if (!is_new)
        {
            written.fail("its path " + other->first + " is already that of " + other->second);
        }
    }
    return devices;
}

std::vector<Rule> service_rules(const JsonPlace& place)
{
    place.allow_only({ServiceContract::GET_MANAGED_OBJECTS});
    const auto rules = place.find(ServiceContract::GET_MANAGED_OBJECTS);
    const Method* method =
        find_method(object_manager_interface, ServiceContract::GET_MANAGED_OBJECTS);
    return rules ? rules_from_json(*rules, *method) : std::vector<Rule>{};
}

std::vector<JsonPlace> exactly(std::size_t count, const std::string& form, const JsonPlace& place)
{
    auto parts = place.elements();
    if (parts.size() != count)
    {
        place.fail(form + " is expected");
    }
    return parts;
}

Happening add_at(const JsonPlace& place, const fs::path& folder)
{
    return AddDevice{device_from_json(place, folder)};
}

Happening remove_at(const JsonPlace& place, const fs::path&)
{
    return RemoveDevice{object_path_at(place)};
}

Happening set_at(const JsonPlace& place, const fs::path&)
{
    const auto parts = exactly(3, "[PATH, PROPERTY, [SIGNATURE, VALUE]]", place);
    return SetProperty{object_path_at(parts[0]), text_in(value_from_json("s", parts[1])),
                       typed_value_from_json(parts[2])};
}

Happening signal_at(const JsonPlace& place, const fs::path&)
{
    const auto parts = exactly(4, "[PATH, INTERFACE, MEMBER, [SIGNATURE, VALUE...]]", place);
    return Signal{object_path_at(parts[0]), interface_name_at(parts[1]), member_name_at(parts[2]),
                  body_from_json(parts[3])};
}

struct HappeningReader
{
    const char* name;
    Happening (*read)(const JsonPlace&, const fs::path&);
};

constexpr HappeningReader happening_readers[] = {
    {"add", add_at}, {"remove", remove_at}, {"set", set_at}, {"signal", signal_at}};

Happening happening_at(const JsonPlace& place, const fs::path& folder)
{
    std::optional<Happening> happening;
    for (const HappeningReader& reader : happening_readers)
    {
        const auto written = place.find(reader.name);
        if (written && happening)
        {
            place.fail("an event is one of add, remove, set and signal, not several");
        }
        if (written)
        {
            happening = reader.read(*written, folder);
        }
    }
    if (!happening)
    {
        place.fail("an event is one of add, remove, set and signal");
    }
    return *std::move(happening);
}

Event event_at(const JsonPlace& place, const fs::path& folder)
{
    place.allow_only({"at_ms", "add", "remove", "set", "signal", "times"});
    Event event{{}, happening_at(place, folder)};
    if (const auto at = place.find("at_ms"))
    {
        event.at = std::chrono::milliseconds(at->unsigned_number(longest_wait_ms));
    }
    if (const auto times = place.find("times"))
    {
        event.times = times->unsigned_number(most_times);
    }
    return event;
}

Fleet fleet_at(const JsonPlace& place, const fs::path& folder)
{
    place.allow_only({"service", "devices", "methods", "signals"});
    Fleet fleet;
    if (const auto service = place.find("service"))
    {
        fleet.present = is_present(*service);
    }
    if (const auto devices = place.find("devices"))
    {
        fleet.devices = devices_at(*devices, folder);
    }
    if (const auto methods = place.find("methods"))
    {
        fleet.managed_objects_rules = service_rules(*methods);
    }
    if (const auto signals = place.find("signals"))
    {
        for (const JsonPlace& event : signals->elements())
        {
            fleet.events.push_back(event_at(event, folder));
        }
    }
    return fleet;
}

} // namespace

Device device_from_json(const JsonPlace& place, const fs::path& folder)
{
    place.allow_only({"path", "preset", "properties", "interfaces", "measurements", "signing",
                      "authentication", "methods"});
    Device device = preset_at(place.find("preset"), object_path_at(place.member("path")));
    if (const auto measurements = place.find("measurements"))
    {
        read_measurements(device, *measurements);
    }
    if (const auto properties = place.find("properties"))
    {
        change_properties(device.properties, *properties);
    }
    if (const auto interfaces = place.find("interfaces"))
    {
        read_interfaces(device, *interfaces);
    }
    if (const auto signing = place.find("signing"))
    {
        read_signing(device.signing, *signing, folder);
    }
    if (const auto authentication = place.find("authentication"))
    {
        device.authentication = number_at<std::uint32_t>(*authentication);
    }
    if (const auto methods = place.find("methods"))
    {
        read_rules(device, *methods);
    }
    return device;
}

Fleet fleet_from_json(std::string_view text, const fs::path& folder)
{
    const auto json = parse_json(text);
    return fleet_at(JsonPlace(*json), folder);
}

Fleet read_fleet(const fs::path& file)
try
{
    return fleet_from_json(read_file(file), file.parent_path());
}
catch (const PlaceError& error)
{
    throw PlaceError(file.string(), error.what());
}
catch (const std::system_error& error)
{
    throw PlaceError(file.string(), "cannot be read: " + error.code().message());
}

} // namespace simulator
