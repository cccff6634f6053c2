#include "runner/result_folder.hpp"

#include <nlohmann/json.hpp>

#include <array>
#include <cerrno>
#include <ctime>
#include <exception>
#include <fcntl.h>
#include <filesystem>
#include <sys/file.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace runner
{

namespace
{

using Json = nlohmann::ordered_json;

constexpr auto partial = ".part";
constexpr auto run_file = "run.json";

/// A value on one line; what is no UTF-8 is replaced.
std::string text_of(const Json& value)
{
    return value.dump(-1, ' ', false, Json::error_handler_t::replace);
}

Json text_or_null(const std::string& text)
{
    return text.empty() ? Json() : Json(text);
}

Json number_or_null(const std::optional<int>& number)
{
    return number ? Json(*number) : Json();
}

Json answers_of(const std::vector<Answer>& answers)
{
    Json list = Json::array();
    for (const auto& [offset, text, time] : answers)
    {
        list.push_back({{"offset", offset}, {"text", text}, {"ms", time.count()}});
    }
    return list;
}

Json reads_of(const ReadTimes& reads)
{
    Json list = Json::array();
    for (const auto& [offset, time] : reads.entries())
    {
        list.push_back({offset, time.count()});
    }
    return list;
}

/// "20261121T223500Z" and the like.
std::string formatted(std::chrono::system_clock::time_point time, const char* format)
{
    const auto seconds = std::chrono::system_clock::to_time_t(time);
    std::tm parts{};
    ::gmtime_r(&seconds, &parts);
    std::array<char, 64> text{};
    return {text.data(), std::strftime(text.data(), text.size(), format, &parts)};
}

} // namespace

void ReadTimes::add(std::uint64_t offset, Milliseconds time)
{
    constexpr std::size_t most = 65536;
    if (!reads.empty() && time - reads.back().second < merged)
    {
        return;
    }
    if (reads.size() == most)
    {
        for (std::size_t i = 0; i < most / 2; ++i)
        {
            reads[i] = reads[2 * i];
        }
        reads.resize(most / 2);
        merged *= 2;
    }
    reads.emplace_back(offset, time);
}

std::string time_text(std::chrono::system_clock::time_point time)
{
    const auto second = std::chrono::floor<std::chrono::seconds>(time);
    const auto milliseconds = std::chrono::duration_cast<Milliseconds>(time - second).count();
    const auto fraction = std::to_string(1000 + milliseconds).substr(1);
    return formatted(second, "%Y-%m-%dT%H:%M:%S.") + fraction + "Z";
}

std::string run_json(const Circumstances& circumstances)
{
    const auto& [words, client, controller, started, ended, client_end, answers, end, problem,
                 reads] = circumstances;
    const bool has_ended = ended != std::chrono::system_clock::time_point();
    const Json members = {
        {"schema", "spdm-run/1"},
        {"version", PROJECT_VERSION},
        {"asked", words},
        {"client", client},
        {"controller", text_or_null(controller)},
        {"started", time_text(started)},
        {"ended", has_ended ? Json(time_text(ended)) : Json()},
        {"exit_status", number_or_null(client_end.status)},
        {"signal", number_or_null(client_end.signal)},
        {"end", end},
        {"problem", text_or_null(problem)},
        {"answers", answers_of(answers)},
        {"reads", reads_of(reads)},
    };
    std::string text;
    for (const auto& [name, value] : members.items())
    {
        text += (text.empty() ? "{\n  \"" : ",\n  \"") + name + "\": " + text_of(value);
    }
    return text + "\n}\n";
}

std::string default_folder(std::string_view controller, std::chrono::system_clock::time_point time)
{
    constexpr std::size_t longest = 200;
    std::string name(controller.substr(0, longest));
    for (char& c : name)
    {
        const bool safe = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') ||
                          (c >= '0' && c <= '9') || c == '.' || c == '_' || c == '-';
        c = safe ? c : '_';
    }
    if (name.empty() || name[0] == '.' || name[0] == '-')
    {
        name.insert(0, "_");
    }
    return name + formatted(time, "-%Y%m%dT%H%M%SZ");
}

ResultFolder::ResultFolder(const std::string& path, bool overwrite,
                           const Circumstances& circumstances)
    : folder(path)
{
    std::error_code error;
    std::filesystem::create_directories(folder, error);
    if (error)
    {
        throw FolderError("cannot create " + folder + ": " + error.message());
    }
    own.number = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (own.number < 0)
    {
        throw FolderError("cannot open " + folder + ": " + std::generic_category().message(errno));
    }
    if (::flock(own.number, LOCK_EX | LOCK_NB) != 0)
    {
        throw FolderError("another run writes to " + folder);
    }
    for (const auto& name : {output.name, errors.name, std::string(run_file), output.name + partial,
                             errors.name + partial})
    {
        if (!overwrite && exists(name))
        {
            throw FolderError(folder + " holds a result (" + name + "); --force overwrites it");
        }
        remove(name);
    }
    write_run_json(circumstances);
    open(output);
}

void ResultFolder::add_output(std::string_view bytes)
{
    write(output, bytes);
}

void ResultFolder::add_errors(std::string_view bytes)
{
    if (!errors.descriptor.is_open())
    {
        open(errors);
    }
    write(errors, bytes);
}

void ResultFolder::finish(const Circumstances& circumstances)
{
    std::exception_ptr failure;
    const auto attempt = [&failure](const auto& action) {
        try
        {
            action();
        }
        catch (const FolderError&)
        {
            failure = failure ? failure : std::current_exception();
        }
    };
    // Names first: they need no space.
    for (File* const file : {&output, &errors})
    {
        if (file->descriptor.is_open())
        {
            attempt([&] { keep(*file); });
        }
    }
    attempt([&] { write_run_json(circumstances); });
    attempt([&] { sync_folder(); });
    if (failure)
    {
        std::rethrow_exception(failure);
    }
}

bool ResultFolder::exists(const std::string& name) const
{
    struct stat status = {};
    return ::fstatat(own.number, name.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0;
}

void ResultFolder::open(File& file)
{
    const auto name = file.name + partial;
    remove(name);
    file.descriptor.number =
        ::openat(own.number, name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (file.descriptor.number < 0)
    {
        fail(name);
    }
}

void ResultFolder::write(const File& file, std::string_view bytes)
{
    while (!bytes.empty())
    {
        const auto written = ::write(file.descriptor.number, bytes.data(), bytes.size());
        if (written < 0 && errno != EINTR)
        {
            fail(file.name);
        }
        bytes.remove_prefix(written < 0 ? 0 : static_cast<std::size_t>(written));
    }
}

/// Syncs the file and gives it its name.
void ResultFolder::keep(File& file)
{
    const auto name = file.name + partial;
    const bool synced = ::fsync(file.descriptor.number) == 0;
    const int sync_error = errno;
    file.descriptor.close();
    if (::renameat(own.number, name.c_str(), own.number, file.name.c_str()) != 0)
    {
        fail(file.name);
    }
    if (!synced)
    {
        errno = sync_error;
        fail(file.name);
    }
}

void ResultFolder::write_run_json(const Circumstances& circumstances)
{
    File file{run_file};
    open(file);
    try
    {
        write(file, run_json(circumstances));
    }
    catch (...)
    {
        remove(file.name + partial);
        throw;
    }
    keep(file);
}

void ResultFolder::remove(const std::string& name)
{
    if (::unlinkat(own.number, name.c_str(), 0) != 0 && errno != ENOENT)
    {
        fail(name);
    }
}

void ResultFolder::sync_folder() const
{
    if (::fsync(own.number) != 0)
    {
        fail(".");
    }
}

void ResultFolder::fail(const std::string& name) const
{
    throw FolderError("cannot write " + folder + "/" + name + ": " +
                      std::generic_category().message(errno));
}

} // namespace runner
