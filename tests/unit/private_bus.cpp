#include "private_bus.hpp"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>
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

struct Pipe
{
    Pipe()
    {
        require(pipe2(ends.data(), O_CLOEXEC), "pipe2");
    }

    int reader() const
    {
        return ends[0];
    }

    int writer() const
    {
        return ends[1];
    }

    std::array<int, 2> ends{};
};

std::string make_folder()
{
    auto folder = (std::filesystem::temp_directory_path() / "private-bus-XXXXXX").string();
    if (mkdtemp(folder.data()) == nullptr)
    {
        throw std::system_error(errno, std::generic_category(), "mkdtemp");
    }
    return folder;
}

std::string write_configuration(const std::string& folder)
{
    auto file = folder + "/bus.conf";
    std::ofstream{file}
        << R"(<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <type>session</type>
  <listen>unix:path=)"
        << folder << R"(/bus</listen>
  <auth>EXTERNAL</auth>
  <policy context="default">
    <allow send_destination="*" eavesdrop="true"/>
    <allow eavesdrop="true"/>
    <allow own="*"/>
  </policy>
</busconfig>
)";
    return file;
}

std::string log_file(const std::string& folder)
{
    return folder + "/log";
}

[[noreturn]] void become_daemon(const std::string& folder, const std::string& configuration,
                                int address_writer)
{
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    dup2(open(log_file(folder).c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600), STDERR_FILENO);
    fcntl(address_writer, F_SETFD, 0);
    const auto configuration_option = "--config-file=" + configuration;
    const auto address_option = "--print-address=" + std::to_string(address_writer);
    execlp("dbus-daemon", "dbus-daemon", "--nofork", "--nopidfile", configuration_option.c_str(),
           address_option.c_str(), nullptr);
    _exit(127);
}

/// Waits until every holder of the lifeline's other end is gone.
void await_end(int lifeline_reader)
{
    char unused = 0;
    while (read(lifeline_reader, &unused, 1) < 0 && errno == EINTR)
    {}
}

[[noreturn]] void keep_daemon(const std::string& folder, const std::string& configuration,
                              const Pipe& lifeline, const Pipe& address)
{
    // Away from the terminal's and the test runner's group, so that a signal to those cannot stop the cleaning.
    setsid();
    close(lifeline.writer());
    const auto daemon = fork();
    if (daemon == 0)
    {
        become_daemon(folder, configuration, address.writer());
    }
    close(address.writer());
    await_end(lifeline.reader());
    if (daemon > 0)
    {
        kill(daemon, SIGTERM);
        waitpid(daemon, nullptr, 0);
    }
    std::error_code ignored;
    std::filesystem::remove_all(folder, ignored);
    _exit(0);
}

std::string read_file(const std::string& file)
{
    std::ostringstream content;
    content << std::ifstream{file}.rdbuf();
    return content.str();
}

/// The daemon prints its address when it is ready to be connected to; empty when it did not start.
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
    const auto folder = make_folder();
    const auto configuration = write_configuration(folder);
    const Pipe life;
    const Pipe address;
    keeper = require(fork(), "fork");
    if (keeper == 0)
    {
        keep_daemon(folder, configuration, life, address);
    }
    close(life.reader());
    close(address.writer());
    lifeline = life.writer();
    const auto line = read_line(address.reader());
    close(address.reader());
    if (line.empty())
    {
        const auto reason = read_file(log_file(folder));
        stop();
        throw std::runtime_error("dbus-daemon did not start: " + reason);
    }
    setenv("DBUS_SYSTEM_BUS_ADDRESS", line.c_str(), 1);
}

PrivateBus::~PrivateBus()
{
    stop();
}

void PrivateBus::stop()
{
    if (lifeline < 0)
    {
        return;
    }
    close(lifeline);
    lifeline = -1;
    waitpid(keeper, nullptr, 0);
}
