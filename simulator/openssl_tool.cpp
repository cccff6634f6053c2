#include "simulator/openssl_tool.hpp"

#include <array>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <iostream>
#include <spawn.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace simulator
{

namespace
{

/// An anonymous file in memory.
class MemoryFile
{
  public:
    MemoryFile() : descriptor(memfd_create("spdm-simulator", MFD_CLOEXEC))
    {
        if (descriptor < 0)
        {
            throw std::system_error(errno, std::generic_category(), "memfd_create");
        }
    }

    MemoryFile(const void* content, std::size_t size) : MemoryFile()
    {
        const auto* next = static_cast<const char*>(content);
        while (size > 0)
        {
            const ssize_t written = ::write(descriptor, next, size);
            if (written < 0)
            {
                throw std::system_error(errno, std::generic_category(), "write");
            }
            next += written;
            size -= static_cast<std::size_t>(written);
        }
        ::lseek(descriptor, 0, SEEK_SET);
    }

    ~MemoryFile()
    {
        ::close(descriptor);
    }

    MemoryFile(const MemoryFile&) = delete;
    MemoryFile& operator=(const MemoryFile&) = delete;

    int fd() const
    {
        return descriptor;
    }

    Bytes content() const
    {
        Bytes all;
        std::array<std::uint8_t, 4096> block{};
        ssize_t size = 0;
        while ((size = ::pread(descriptor, block.data(), block.size(),
                               static_cast<off_t>(all.size()))) > 0)
        {
            all.insert(all.end(), block.begin(), block.begin() + size);
        }
        return all;
    }

  private:
    int descriptor;
};

class SpawnSettings
{
  public:
    SpawnSettings()
    {
        posix_spawn_file_actions_init(&files);
        posix_spawnattr_init(&attributes);
        // The simulator blocks the signals that end it; the tool is to be ended by them as usual.
        sigset_t none;
        sigemptyset(&none);
        posix_spawnattr_setsigmask(&attributes, &none);
        posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK);
    }

    ~SpawnSettings()
    {
        posix_spawnattr_destroy(&attributes);
        posix_spawn_file_actions_destroy(&files);
    }

    SpawnSettings(const SpawnSettings&) = delete;
    SpawnSettings& operator=(const SpawnSettings&) = delete;

    void give(const MemoryFile& file, int as)
    {
        posix_spawn_file_actions_adddup2(&files, file.fd(), as);
    }

    posix_spawn_file_actions_t files{};
    posix_spawnattr_t attributes{};
};

pid_t spawn(const std::vector<std::string>& command, const SpawnSettings& settings)
{
    std::vector<char*> words;
    words.reserve(command.size() + 1);
    for (const std::string& word : command)
    {
        words.push_back(const_cast<char*>(word.c_str())); // posix_spawn does not write to them
    }
    words.push_back(nullptr);
    pid_t child = 0;
    const int error = posix_spawnp(&child, words.front(), &settings.files, &settings.attributes,
                                   words.data(), environ);
    if (error != 0)
    {
        throw std::system_error(error, std::generic_category(), "cannot be started");
    }
    return child;
}

/// The exit status, or 128 and the number of the signal that ended the process.
int wait_for(pid_t child)
{
    int status = 0;
    while (::waitpid(child, &status, 0) < 0)
    {
        if (errno != EINTR)
        {
            throw std::system_error(errno, std::generic_category(), "waitpid");
        }
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

std::string first_line(const Bytes& text)
{
    const std::string all(text.begin(), text.end());
    return all.substr(0, all.find('\n'));
}

void complain(const std::string& subcommand, const std::string& why)
{
    std::cerr << "spdm-simulator: openssl " << subcommand << ": " << why << std::endl;
}

} // namespace

std::optional<Bytes> run_openssl(const std::vector<std::string>& arguments, const Bytes& input,
                                 const std::string& key)
try
{
    const MemoryFile in(input.data(), input.size());
    const MemoryFile out;
    const MemoryFile errors;
    const MemoryFile key_file(key.data(), key.size());
    SpawnSettings settings;
    settings.give(in, STDIN_FILENO);
    settings.give(out, STDOUT_FILENO);
    settings.give(errors, STDERR_FILENO);
    settings.give(key_file, 3);

    std::vector<std::string> command{"openssl"};
    command.insert(command.end(), arguments.begin(), arguments.end());
    const int status = wait_for(spawn(command, settings));
    if (status != 0)
    {
        complain(arguments.front(), "failed with status " + std::to_string(status) + ": " +
                                        first_line(errors.content()));
        return std::nullopt;
    }
    return out.content();
}
catch (const std::system_error& error)
{
    complain(arguments.front(), error.what());
    return std::nullopt;
}

} // namespace simulator
