#include "simulator/options.hpp"

namespace simulator
{

const char* const usage =
    "Usage: spdm-simulator [--system | --session | --address ADDRESS] [--log FILE] FLEET.json\n"
    "\n"
    "Stands in for the SPDM service on a D-Bus, with the devices that FLEET.json describes.\n"
    "Prints \"ready\" when it can be called, then takes commands on standard input (try: help).\n"
    "\n"
    "  --system           connect to the system bus, or to DBUS_SYSTEM_BUS_ADDRESS (default)\n"
    "  --session          connect to the session bus\n"
    "  --address ADDRESS  connect to the bus at this D-Bus address\n"
    "  --log FILE         append a line to FILE for each method call received\n"
    "  --help             print this text\n";

namespace
{

/// Takes the words one after the other.
class Words
{
  public:
    explicit Words(const std::vector<std::string>& words) : words(words) {}

    bool at_end() const
    {
        return position == words.size();
    }

    const std::string& next()
    {
        return words[position++];
    }

    const std::string& value_of(const std::string& option)
    {
        if (at_end())
        {
            throw OptionError(option + " needs a value");
        }
        return next();
    }

  private:
    const std::vector<std::string>& words;
    std::size_t position = 0;
};

void take_file(Options& options, const std::string& word)
{
    if (word.starts_with("-"))
    {
        throw OptionError("unknown option " + word);
    }
    if (!options.fleet_file.empty())
    {
        throw OptionError("more than one fleet file: " + options.fleet_file + " and " + word);
    }
    options.fleet_file = word;
}

void take_word(Options& options, const std::string& word, Words& words)
{
    if (word == "--help")
    {
        options.help = true;
    }
    else if (word == "--system")
    {
        options.bus = {BusChoice::Kind::system};
    }
    else if (word == "--session")
    {
        options.bus = {BusChoice::Kind::session};
    }
    else if (word == "--address")
    {
        options.bus = {BusChoice::Kind::address, words.value_of(word)};
    }
    else if (word == "--log")
    {
        options.log_file = words.value_of(word);
    }
    else
    {
        take_file(options, word);
    }
}

} // namespace

Options parse_options(const std::vector<std::string>& words)
{
    Options options;
    Words rest(words);
    while (!rest.at_end())
    {
        take_word(options, rest.next(), rest);
    }
    if (options.fleet_file.empty() && !options.help)
    {
        throw OptionError("no fleet file is named");
    }
    return options;
}

} // namespace simulator
