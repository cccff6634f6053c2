#include "simulator/command_line.hpp"

#include "simulator/json_value.hpp"
#include "simulator/names.hpp"
#include "simulator/presets.hpp"
#include "simulator/signals.hpp"
#include "simulator/signature.hpp"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <limits>
#include <sstream>
#include <stdexcept>

namespace simulator
{

namespace
{

constexpr std::uint64_t most_signals = 1'000'000'000;

/// What is left of a line while it is read from left to right.
class Arguments
{
  public:
    explicit Arguments(const std::string& line) : line(line), stream(line) {}

    bool at_end()
    {
        stream >> std::ws;
        return stream.eof();
    }

    bool next_is(char first)
    {
        return !at_end() && stream.peek() == first;
    }

    std::string word(const std::string& name)
    {
        std::string text;
        if (at_end() || !(stream >> text))
        {
            throw std::runtime_error(name + " is missing");
        }
        return text;
    }

    std::string path()
    {
        return name("PATH", is_object_path, "object path");
    }

    /// The next word, if it is valid as a name of this kind.
    std::string name(const std::string& argument, bool (*is_valid)(const std::string&),
                     const std::string& kind)
    {
        std::string text = word(argument);
        if (!is_valid(text))
        {
            throw std::runtime_error("\"" + text + "\" is no valid " + kind);
        }
        if (is_reserved(text))
        {
            throw std::runtime_error("\"" + text + "\" is reserved by the bus");
        }
        return text;
    }

    std::uint64_t number(std::uint64_t greatest)
    {
        const Json parsed = json("N");
        return JsonPlace(parsed, "N").unsigned_number(greatest);
    }

    /// The next JSON value.
    Json json(const std::string& name)
    {
        if (at_end())
        {
            throw std::runtime_error(name + " is missing");
        }
        try
        {
            Json value;
            stream >> value;
            return value;
        }
        catch (const Json::exception& error)
        {
            throw std::runtime_error(name + " is no JSON value");
        }
    }

    /// A signature and one JSON value for each of its types.
    Body typed_values()
    {
        at_end();
        const std::size_t start = position();
        const auto types = types_or_advice(start);
        Body body;
        for (const std::string& type : types)
        {
            const std::string name =
                types.size() == 1 ? "VALUE" : "VALUE " + std::to_string(body.size() + 1);
            const Json value = body.empty() ? json_or_advice(name, start) : json(name);
            body.push_back(value_from_json(type, JsonPlace(value, name)));
        }
        return body;
    }

    void end()
    {
        if (!at_end())
        {
            throw std::runtime_error("there is more than the command takes: " + word(""));
        }
    }

  private:
    std::size_t position()
    {
        return stream.eof() ? line.size() : static_cast<std::size_t>(stream.tellg());
    }

    /// What is wrong, and what to type if the rest of the line from `text` on is meant as a text.
    /// The signature belongs at `start`.
    [[noreturn]] void advise(const std::string& wrong, std::size_t start, std::size_t text) const
    {
        const std::string quoted = Json(line.substr(text)).dump();
        throw std::runtime_error(wrong + "; for a text, type: " + line.substr(0, start) + "s " +
                                 quoted);
    }

    std::vector<std::string> types_or_advice(std::size_t start)
    {
        const std::string signature = word("SIGNATURE");
        try
        {
            return complete_types(signature);
        }
        catch (const std::invalid_argument& error)
        {
            advise(error.what(), start, start);
        }
    }

    Json json_or_advice(const std::string& name, std::size_t start)
    {
        const std::size_t text = at_end() ? start : position();
        try
        {
            return json(name);
        }
        catch (const std::runtime_error& error)
        {
            advise(error.what(), start, text);
        }
    }

    const std::string& line;
    std::istringstream stream;
};

void check_line(const std::string& line)
{
    const std::string flaw = flaw_in_text(line);
    if (!flaw.empty())
    {
        throw std::runtime_error("a command " + flaw);
    }
    try
    {
        Json(line).dump();
    }
    catch (const Json::exception&)
    {
        throw std::runtime_error("a command is UTF-8 text");
    }
}

using Folder = std::filesystem::path;

Command parse_add(Arguments& arguments, const Folder& folder)
{
    if (arguments.next_is('{'))
    {
        const Json json = arguments.json("DEVICE");
        return AddDevice{device_from_json(JsonPlace(json), folder)};
    }
    const std::string path = arguments.path();
    const std::string preset =
        arguments.at_end() ? std::string(default_preset(path)) : arguments.word("PRESET");
    auto device = preset_device(preset, path);
    if (!device)
    {
        throw std::runtime_error("\"" + preset + "\" is no preset: cpu, nic, halc or bare");
    }
    return AddDevice{*std::move(device)};
}

Command parse_remove(Arguments& arguments, const Folder&)
{
    return RemoveDevice{arguments.path()};
}

Command parse_set(Arguments& arguments, const Folder&)
{
    const std::string path = arguments.path();
    const std::string property = arguments.word("PROPERTY");
    Body values = arguments.typed_values();
    if (values.size() != 1)
    {
        throw std::runtime_error("a property has one value, not " + std::to_string(values.size()));
    }
    return SetProperty{path, property, std::move(values.front())};
}

Command parse_signal(Arguments& arguments, const Folder&)
{
    Signal signal{arguments.path(),
                  arguments.name("INTERFACE", is_interface_name, "interface name"),
                  arguments.name("MEMBER", is_member_name, "member name"),
                  {}};
    if (!arguments.at_end())
    {
        signal.arguments = arguments.typed_values();
    }
    return signal;
}

template <typename Integer>
Integer number(Arguments& arguments)
{
    return static_cast<Integer>(arguments.number(std::numeric_limits<Integer>::max()));
}

Command parse_error(Arguments& arguments, const Folder&)
{
    const std::string path = arguments.path();
    return device_error(path, number<std::uint16_t>(arguments));
}

Command parse_progress(Arguments& arguments, const Folder&)
{
    const std::string path = arguments.path();
    return certificate_progress(path, number<std::uint8_t>(arguments));
}

Command parse_info(Arguments& arguments, const Folder&)
{
    return information(number<std::uint16_t>(arguments));
}

Command parse_flood(Arguments& arguments, const Folder&)
{
    const std::string path = arguments.path();
    return Flood{path, arguments.number(most_signals)};
}

template <typename Plain>
Command parse_plain(Arguments&, const Folder&)
{
    return Plain{};
}

struct CommandForm
{
    std::string_view name;
    Command (*parse)(Arguments&, const Folder&);
};

constexpr CommandForm command_forms[] = {
    {"add", parse_add},
    {"remove", parse_remove},
    {"set", parse_set},
    {"signal", parse_signal},
    {"error", parse_error},
    {"progress", parse_progress},
    {"info", parse_info},
    {"flood", parse_flood},
    {"play", parse_plain<Play>},
    {"drop", parse_plain<ReleaseName>},
    {"own", parse_plain<OwnName>},
    {"disconnect", parse_plain<LeaveNow>},
    {"help", parse_plain<Help>},
    {"quit", parse_plain<Quit>},
};

} // namespace

const char* const command_help =
    "add PATH [PRESET]; add DEVICE; remove PATH; set PATH PROPERTY SIGNATURE VALUE; "
    "signal PATH INTERFACE MEMBER [SIGNATURE VALUE...]; error PATH CODE; progress PATH N; info N; "
    "flood PATH N; play; drop; own; disconnect; help; quit";

Command parse_command(const std::string& line, const std::filesystem::path& folder)
{
    check_line(line);
    Arguments arguments(line);
    const std::string name = arguments.word("the command");
    const auto form =
        std::find_if(std::begin(command_forms), std::end(command_forms),
                     [&](const CommandForm& candidate) { return candidate.name == name; });
    if (form == std::end(command_forms))
    {
        throw std::runtime_error("unknown command " + name + "; help lists the commands");
    }
    Command command = form->parse(arguments, folder);
    arguments.end();
    return command;
}

} // namespace simulator
