#include "simulator/commands.hpp"

#include "simulator/command_line.hpp"

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace simulator
{

namespace
{

/// Does what a command says and returns the line that answers it.
struct Runner
{
    Service& service;
    const std::function<void()>& quit;

    std::string operator()(const Happening& what) const
    {
        service.happen(what);
        return flushed();
    }

    std::string operator()(const Flood& flood) const
    {
        service.flood(flood.path, flood.count);
        return flushed();
    }

    std::string operator()(Play) const
    {
        service.play_next_event();
        return flushed();
    }

    std::string operator()(ReleaseName) const
    {
        service.release_name();
        return "ok";
    }

    std::string operator()(OwnName) const
    {
        service.own_name();
        return "ok";
    }

    std::string operator()(LeaveNow) const
    {
        service.disconnect();
        return "ok";
    }

    std::string operator()(Help) const
    {
        return std::string("ok: ") + command_help;
    }

    std::string operator()(Quit) const
    {
        quit();
        return "ok";
    }

    std::string flushed() const
    {
        service.flush();
        return "ok";
    }
};

} // namespace

Commands::Commands(Service& service, std::filesystem::path folder, LineOutput& output,
                   std::function<void()> quit)
    : service(service), folder(std::move(folder)), output(output), quit(std::move(quit))
{}

void Commands::take(std::string_view input)
{
    pending += input.empty() && !pending.empty() ? "\n" : input;
    std::size_t start = 0;
    for (auto end = pending.find('\n'); end != std::string::npos; end = pending.find('\n', start))
    {
        answer(pending.substr(start, end - start));
        start = end + 1;
    }
    pending.erase(0, start);
}

void Commands::answer(const std::string& line)
{
    std::string text = run(line);
    std::replace(text.begin(), text.end(), '\n', ' ');
    output.print(text);
}

std::string Commands::run(const std::string& line)
try
{
    return std::visit(Runner{service, quit}, parse_command(line, folder));
}
catch (const std::runtime_error& error)
{
    return std::string("error: ") + error.what();
}

} // namespace simulator
