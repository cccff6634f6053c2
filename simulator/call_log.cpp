#include "simulator/call_log.hpp"

#include "simulator/json_value.hpp"

#include <cerrno>
#include <fcntl.h>
#include <system_error>
#include <unistd.h>

namespace simulator
{

namespace
{

const std::string& or_dash(const std::string& text)
{
    static const std::string dash = "-";
    return text.empty() ? dash : text;
}

} // namespace

std::string call_line(const Call& call)
{
    std::string line = call.member + " " + or_dash(call.interface) + " " + call.path + " " +
                       or_dash(body_signature(call.arguments));
    for (const Value& argument : call.arguments)
    {
        line += ' ';
        line += json_text(argument);
    }
    return line;
}

CallLog::CallLog(const std::string& file)
{
    if (file.empty())
    {
        return;
    }
    constexpr mode_t for_all = 0666;
    descriptor = ::open(file.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, for_all);
    if (descriptor < 0)
    {
        throw std::system_error(errno, std::generic_category(), file);
    }
    output.emplace(descriptor, file);
}

CallLog::~CallLog()
{
    if (descriptor >= 0)
    {
        ::close(descriptor);
    }
}

void CallLog::write(const Call& call)
{
    if (output)
    {
        output->print(call_line(call));
    }
}

} // namespace simulator
