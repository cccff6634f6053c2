#include "report/writers/output_file.hpp"

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <filesystem>
#include <poll.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace report
{

namespace
{

constexpr std::size_t buffer_size = 65536;

} // namespace

OutputFile::OutputFile(const std::string& path)
    : name(path == "-" ? "standard output" : path), path(path == "-" ? "" : path)
{
    buffer.reserve(buffer_size);
    struct stat status = {};
    if (path == "-")
    {
        descriptor = STDOUT_FILENO;
    }
    else if (stat(path.c_str(), &status) == 0 && !S_ISREG(status.st_mode))
    {
        open_directly();
    }
    else
    {
        open_replacement();
    }
}

OutputFile::~OutputFile()
{
    if (!path.empty() && descriptor >= 0)
    {
        ::close(descriptor);
    }
    if (!replacement.empty())
    {
        ::unlink(replacement.c_str());
    }
}

void OutputFile::open_directly()
{
    descriptor = ::open(path.c_str(), O_WRONLY | O_CLOEXEC | O_NOCTTY);
    if (descriptor < 0)
    {
        fail();
    }
}

void OutputFile::open_replacement()
{
    // The file that a link names is replaced, not the link.
    std::error_code is_new;
    const auto found = std::filesystem::canonical(path, is_new);
    struct stat status = {};
    if (!is_new)
    {
        path = found;
        if (::faccessat(AT_FDCWD, path.c_str(), W_OK, AT_EACCESS) != 0 ||
            ::stat(path.c_str(), &status) != 0)
        {
            fail();
        }
    }

    const auto folder = std::filesystem::path(path).parent_path();
    for (int number = 0; descriptor < 0; ++number)
    {
        replacement =
            folder / (".spdm-report-" + std::to_string(::getpid()) + "-" + std::to_string(number));
        descriptor = ::open(replacement.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
        if (descriptor < 0 && errno != EEXIST)
        {
            replacement.clear();
            fail();
        }
    }
    if (!is_new)
    {
        // Where it does not work the file gets the rights of a new one.
        (void)!::fchmod(descriptor, status.st_mode & 07777);
    }
}

void OutputFile::append(std::string_view text)
{
    if (buffer.size() + text.size() > buffer_size)
    {
        write(buffer);
        buffer.clear();
    }
    if (text.size() >= buffer_size)
    {
        write(text);
    }
    else
    {
        buffer += text;
    }
}

void OutputFile::finish()
{
    write(buffer);
    buffer.clear();
    close();
    if (!replacement.empty() && std::rename(replacement.c_str(), path.c_str()) != 0)
    {
        fail();
    }
    replacement.clear();
}

void OutputFile::write(std::string_view text)
{
    while (!text.empty())
    {
        const auto written = ::write(descriptor, text.data(), text.size());
        if (written >= 0)
        {
            text.remove_prefix(static_cast<std::size_t>(written));
        }
        else if (errno == EAGAIN)
        {
            // A standard output that somebody else made non-blocking.
            pollfd waiting = {descriptor, POLLOUT, 0};
            (void)::poll(&waiting, 1, -1);
        }
        else if (errno != EINTR)
        {
            fail();
        }
    }
}

void OutputFile::close()
{
    if (path.empty())
    {
        return;
    }
    const auto closed = ::close(descriptor);
    descriptor = -1;
    if (closed != 0)
    {
        fail();
    }
}

void OutputFile::fail() const
{
    throw OutputError("cannot write " + name + ": " + std::generic_category().message(errno));
}

} // namespace report
