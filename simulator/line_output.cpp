#include "simulator/line_output.hpp"

#include <cerrno>
#include <cstring>
#include <iostream>
#include <string_view>
#include <unistd.h>
#include <utility>

namespace simulator
{

namespace
{

bool write_all(int descriptor, std::string_view rest)
{
    while (!rest.empty())
    {
        const ssize_t written = ::write(descriptor, rest.data(), rest.size());
        if (written < 0 && errno == EINTR)
        {
            continue;
        }
        if (written < 0)
        {
            return false;
        }
        rest.remove_prefix(static_cast<std::size_t>(written));
    }
    return true;
}

} // namespace

LineOutput::LineOutput(int descriptor, std::string name)
    : descriptor(descriptor), name(std::move(name))
{}

void LineOutput::print(std::string line)
{
    line += '\n';
    if (!write_all(descriptor, line) && !std::exchange(has_failed, true))
    {
        std::cerr << "spdm-simulator: cannot write to " << name << ": " << std::strerror(errno)
                  << std::endl;
    }
}

} // namespace simulator
