#include "simulator/call_log.hpp"

#include "simulator/json_value.hpp"

#include <cerrno>
#include <system_error>

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
    stream.open(file, std::ios::app);
    if (!stream)
    {
        throw std::system_error(errno, std::generic_category(), file);
    }
}

void CallLog::write(const Call& call)
{
    if (stream.is_open())
    {
        stream << call_line(call) << std::endl; // whoever waits for the reply may read the log then
    }
}

} // namespace simulator
