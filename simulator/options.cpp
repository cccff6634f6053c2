#include "simulator/options.hpp"

#include <CLI/CLI.hpp>
#include <algorithm>

namespace simulator
{

namespace
{

constexpr const char* description =
    "Stands in for the SPDM service on a D-Bus, with the devices that FLEET.json describes.\n"
    "Prints \"ready\" when it can be called, then takes commands on standard input (try: help).";

/// Each bus takes effect as it is read, so the last one counts.
void add_bus_options(CLI::App& app, BusChoice& bus)
{
    using Kind = BusChoice::Kind;
    const auto choose = [&bus](Kind kind) { return [&bus, kind] { bus = {kind}; }; };
    app.add_flag_callback("--system", choose(Kind::system),
                          "Connect to the system bus, or to DBUS_SYSTEM_BUS_ADDRESS (default)")
        ->trigger_on_parse();
    app.add_flag_callback("--session", choose(Kind::session), "Connect to the session bus")
        ->trigger_on_parse();
    app.add_option_function<std::string>(
           "--address",
           [&bus](const std::string& address) {
               bus = {Kind::address, address};
           },
           "Connect to the bus at this D-Bus address")
        ->type_name("ADDRESS")
        ->take_last()
        ->trigger_on_parse();
}

/// The library asks for the file first, also when an option is misspelt.
std::string complaint(const CLI::App& app, const Options& options, const CLI::ParseError& error)
{
    const auto unexpected = app.remaining();
    if (unexpected.empty())
    {
        return error.what();
    }
    const std::string& word = unexpected.front();
    return word.starts_with("-")
               ? "unknown option " + word
               : "more than one fleet file: " + options.fleet_file + " and " + word;
}

} // namespace

Options parse_options(std::vector<std::string> words)
{
    Options options;
    CLI::App app(description, "spdm-simulator");
    add_bus_options(app, options.bus);
    app.add_option("--log", options.log_file, "Append a line to FILE for each method call received")
        ->type_name("FILE")
        ->take_last();
    app.add_option("FLEET.json", options.fleet_file, "The devices, and what they do")
        ->type_name("")
        ->required();
    app.set_help_flag("-h,--help", "Print this text");
    app.set_version_flag("--version", "spdm-simulator " PROJECT_VERSION, "Print the version");
    try
    {
        std::reverse(words.begin(), words.end()); // as the library wants them
        app.parse(words);
    }
    catch (const CLI::CallForHelp&)
    {
        options.information = app.help();
        options.information.erase(options.information.find_last_not_of('\n') + 1);
    }
    catch (const CLI::CallForVersion& version)
    {
        options.information = version.what();
    }
    catch (const CLI::ParseError& error)
    {
        throw OptionError(complaint(app, options, error));
    }
    return options;
}

} // namespace simulator
