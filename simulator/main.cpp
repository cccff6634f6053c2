#include "simulator/bus_failure.hpp"
#include "simulator/commands.hpp"
#include "simulator/event_loop.hpp"
#include "simulator/fleet.hpp"
#include "simulator/line_output.hpp"
#include "simulator/options.hpp"
#include "simulator/service.hpp"

#include <csignal>
#include <cstdlib>
#include <exception>
#include <fcntl.h>
#include <filesystem>
#include <iostream>
#include <system_error>
#include <unistd.h>

namespace
{

using namespace simulator;

constexpr int bus_failed = 1;
constexpr int badly_used = 2;

/// Keeps the descriptors 0 to 2 from being given to anything else when the caller closed them.
void fill_standard_streams()
{
    int opened = 0;
    do
    {
        opened = ::open("/dev/null", O_RDWR);
    }
    while (opened >= 0 && opened <= STDERR_FILENO);
    ::close(opened);
}

int complain(const char* what, int code)
{
    std::cerr << "spdm-simulator: " << what << std::endl;
    return code;
}

int simulate(const Options& options)
{
    Fleet fleet = read_fleet(options.fleet_file);
    EventLoop loop;
    Service service(loop, std::move(fleet), options.bus, options.log_file);
    LineOutput output(STDOUT_FILENO, "standard output");
    Commands commands(service, std::filesystem::path(options.fleet_file).parent_path(), output,
                      [&] { loop.stop(EXIT_SUCCESS); });
    service.start();
    output.print("ready");
    service.start_events();
    loop.on_input(STDIN_FILENO, [&](std::string_view input) { commands.take(input); });
    return loop.run();
}

} // namespace

int main(int argc, char** argv)
try
{
    fill_standard_streams();
    std::signal(SIGPIPE, SIG_IGN); // a reader that goes away is an error of the write
    const Options options = parse_options({argv + 1, argv + argc});
    if (!options.information.empty())
    {
        LineOutput(STDOUT_FILENO, "standard output").print(options.information);
        return EXIT_SUCCESS;
    }
    return simulate(options);
}
catch (const OptionError& error)
{
    complain(error.what(), badly_used);
    std::cerr << "Try: spdm-simulator --help" << std::endl;
    return badly_used;
}
catch (const PlaceError& error)
{
    std::cerr << error.what() << std::endl; // begins with the file's name
    return badly_used;
}
catch (const std::system_error& error)
{
    return complain(error.what(), badly_used);
}
catch (const std::exception& error)
{
    return complain(error.what(), bus_failed);
}
