#include "report/writers/spool.hpp"

#include "report/writers/output_file.hpp"

#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <system_error>
#include <unistd.h>

namespace report
{

Spool::Spool(const std::string& folder) : folder(folder)
{
    auto name = folder + "/.spdm-report-XXXXXX";
    descriptor = ::mkostemp(name.data(), O_CLOEXEC);
    if (descriptor < 0)
    {
        fail(errno);
    }
    ::unlink(name.c_str());
}

Spool::~Spool()
{
    ::close(descriptor);
}

Spool::Place Spool::append(std::string_view text)
{
    const Place place{end, text.size()};
    while (!text.empty())
    {
        const auto written =
            ::pwrite(descriptor, text.data(), text.size(), static_cast<off_t>(end));
        if (written >= 0)
        {
            text.remove_prefix(static_cast<std::size_t>(written));
            end += static_cast<std::uint64_t>(written);
        }
        else if (errno != EINTR)
        {
            fail(errno);
        }
    }
    return place;
}

std::string Spool::read(Place place) const
{
    std::string text(place.size, '\0');
    for (std::size_t filled = 0; filled < text.size();)
    {
        const auto got = ::pread(descriptor, text.data() + filled, text.size() - filled,
                                 static_cast<off_t>(place.offset + filled));
        if (got > 0)
        {
            filled += static_cast<std::size_t>(got);
        }
        else if (got == 0 || errno != EINTR)
        {
            fail(got == 0 ? EIO : errno);
        }
    }
    return text;
}

void Spool::fail(int error) const
{
    throw OutputError("cannot keep results in " + folder + ": " +
                      std::generic_category().message(error));
}

} // namespace report
