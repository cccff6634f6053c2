#include "private_bus.hpp"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <stdexcept>
#include <string>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>

namespace
{

int require(int result, const char* step)
{
    if (result < 0)
    {
        throw std::system_error(errno, std::generic_category(), step);
    }
    return result;
}

/// A file that has no place, and goes with the last who has it open.
int make_file(const char* name)
{
    return require(memfd_create(name, 0), "memfd_create");
}

int write_configuration(const std::string& address)
{
    const auto text =
        R"(<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <type>session</type>
  <listen>)" +
        address + R"(</listen>
  <auth>EXTERNAL</auth>
  <policy context="default">
    <allow send_destination="*" eavesdrop="true"/>
    <allow eavesdrop="true"/>
    <allow own="*"/>
  </policy>
</busconfig>
)";
    const int file = make_file("bus.conf");
    require(static_cast<int>(write(file, text.data(), text.size())), "write");
    return file;
}

[[noreturn]] void become_daemon(pid_t test, const std::string& address, int address_writer, int log)
{
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (getppid() != test) // which ended before
    {
        _exit(0);
    }
    dup2(log, STDERR_FILENO);
    const auto file_option =
        "--config-file=/proc/self/fd/" + std::to_string(write_configuration(address));
    const auto print_option = "--print-address=" + std::to_string(address_writer);
    execlp("dbus-daemon", "dbus-daemon", "--nofork", "--nopidfile", file_option.c_str(),
           print_option.c_str(), nullptr);
    _exit(127);
}

std::string read_line(int reader)
{
    std::string line;
    char character = 0;
    while (read(reader, &character, 1) == 1 && character != '\n')
    {
        line.push_back(character);
    }
    return line;
}

} // namespace

PrivateBus::PrivateBus()
{
    static int number = 0;
    const auto test = getpid();
    const auto name =
        "unix:abstract=private-bus-" + std::to_string(test) + "-" + std::to_string(++number);
    int ends[2];
    require(pipe(ends), "pipe");
    const int log = make_file("log");
    daemon = require(fork(), "fork");
    if (daemon == 0)
    {
        become_daemon(test, name, ends[1], log);
    }
    close(ends[1]);
    const auto address = read_line(ends[0]); // printed when the daemon can be connected to
    close(ends[0]);
    lseek(log, 0, SEEK_SET);
    const auto complaint = read_line(log);
    close(log);
    if (address.empty())
    {
        stop();
        throw std::runtime_error("dbus-daemon did not start: " + complaint);
    }
    setenv("DBUS_SYSTEM_BUS_ADDRESS", address.c_str(), 1);
}

PrivateBus::~PrivateBus()
{
    stop();
}

void PrivateBus::stop()
{
    if (daemon > 0)
    {
        kill(daemon, SIGTERM);
        waitpid(daemon, nullptr, 0);
        daemon = -1;
    }
}
