#include "report/reader/inputs.hpp"

#include "report/reader/line_splitter.hpp"
#include "report/reader/run_file.hpp"
#include "report/reader/source.hpp"

#include <algorithm>
#include <filesystem>
#include <set>
#include <string_view>
#include <system_error>
#include <unordered_set>
#include <utility>

namespace report
{

namespace
{

namespace fs = std::filesystem;

bool remove_ending(std::string_view& name, std::string_view ending)
{
    const bool ends = name.ends_with(ending);
    name.remove_suffix(ends ? ending.size() : 0);
    return ends;
}

/// A file's name without ".gz" or ".zst".
std::string_view unpacked_name(std::string_view name)
{
    if (!remove_ending(name, ".gz"))
    {
        remove_ending(name, ".zst");
    }
    return name;
}

/// A file's name without the endings of a transcript.
std::string_view stem(std::string_view name)
{
    auto left = unpacked_name(name);
    remove_ending(left, ".txt");
    return left.empty() ? name : left;
}

bool is_main_transcript(std::string_view name)
{
    return unpacked_name(name) == "transcript.txt";
}

/// "stdout" is what a parallel runner keeps of a command in a folder of its own.
bool is_named_as_transcript(std::string_view name)
{
    const auto unpacked = unpacked_name(name);
    return unpacked.ends_with(".txt") || unpacked == "stdout";
}

/// What follows the last dot of a file's name; nothing for "bmc7" and "10.0.0.7".
std::string ending_of(std::string_view name)
{
    const auto unpacked = unpacked_name(name);
    const auto dot = unpacked.rfind('.');
    const auto ending = dot == std::string_view::npos ? std::string_view() : unpacked.substr(dot);
    return ending.size() > 1 && ending[1] >= '0' && ending[1] <= '9' ? "" : std::string(ending);
}

std::string in_folder(const std::string& folder, std::string_view name)
{
    auto path = folder;
    if (!path.ends_with('/'))
    {
        path += '/';
    }
    return path.append(name);
}

/// The folder in which a file is: "a/" for "a/b", nothing for "b".
std::string_view folder_of(std::string_view path)
{
    return path.substr(0, path.rfind('/') + 1);
}

std::string_view file_name_of(std::string_view path)
{
    return path.substr(path.rfind('/') + 1);
}

/// Without symbolic links, or as it is where they cannot be followed.
std::string real_path(const std::string& folder)
{
    std::error_code error;
    const auto real = fs::canonical(folder.empty() ? "." : folder, error);
    return error ? folder : real.string();
}

/// Whether a file that any name could have is one. What cannot be read is: who reads it says why.
bool begins_as_transcript(const std::string& path)
try
{
    bool found = false;
    const auto look = [&](std::string_view line, std::uint64_t) {
        found = found || line == "SPDM Client Start";
    };
    LineSplitter lines;
    std::vector<char> buffer(65536);
    const auto source = open_source(path);
    std::size_t size = 0;
    while (!found && size < buffer.size())
    {
        const auto more = source->read(std::span(buffer).subspan(size));
        if (more == 0)
        {
            lines.finish(look);
            break;
        }
        lines.feed({buffer.data() + size, more}, look);
        size += more;
    }
    return found;
}
catch (const InputError&)
{
    return true;
}

class Search
{
  public:
    std::vector<Input> found;
    std::vector<std::string> real_folders; ///< Of each input its folder, without symbolic links.

    void take_argument(const std::string& argument)
    {
        if (argument == "-")
        {
            add(argument, {});
            return;
        }
        std::error_code error;
        const auto status = fs::status(argument, error);
        if (fs::exists(status) && !fs::is_directory(status))
        {
            add(argument, real_path(std::string(folder_of(argument))));
            return;
        }
        if (fs::exists(status))
        {
            search(argument, real_path(argument), error);
        }
        if (error)
        {
            throw InputError(argument + ": " + error.message());
        }
    }

  private:
    struct Entry
    {
        std::string name;
        bool is_folder;

        bool operator<(const Entry& other) const
        {
            return name < other.name;
        }
    };

    void add(std::string path, const std::string& real_folder)
    {
        if (known.insert(in_folder(real_folder, file_name_of(path))).second)
        {
            found.push_back({std::move(path), {}, {}});
            real_folders.push_back(real_folder);
        }
    }

    /// `error` says why it could not be searched.
    void search(const std::string& folder, const std::string& real_folder, std::error_code& error)
    {
        const auto entries = list(folder, error);
        const auto main_transcript =
            std::find_if(entries.begin(), entries.end(), [](const Entry& entry) {
                return !entry.is_folder && is_main_transcript(entry.name);
            });
        const bool has_main = main_transcript != entries.end();
        const auto endings =
            has_main ? std::set<std::string>() : endings_of_unnamed(folder, entries);
        for (auto entry = entries.begin(); entry != entries.end(); ++entry)
        {
            const auto path = in_folder(folder, entry->name);
            if (entry->is_folder)
            {
                search_below(path, in_folder(real_folder, entry->name));
            }
            else if (has_main ? entry == main_transcript
                              : is_named_as_transcript(entry->name) ||
                                    endings.contains(ending_of(entry->name)))
            {
                add(path, real_folder);
            }
        }
    }

    /// Of the transcripts that are not named as such. A parallel runner names a file by its host: the
    /// others with such an ending are of hosts that printed no transcript.
    static std::set<std::string> endings_of_unnamed(const std::string& folder,
                                                    const std::vector<Entry>& entries)
    {
        std::set<std::string> endings;
        for (const auto& entry : entries)
        {
            if (!entry.is_folder && !is_named_as_transcript(entry.name) &&
                !endings.contains(ending_of(entry.name)) &&
                begins_as_transcript(in_folder(folder, entry.name)))
            {
                endings.insert(ending_of(entry.name));
            }
        }
        return endings;
    }

    /// A folder that cannot be searched becomes an input: who reads it says why.
    void search_below(const std::string& folder, const std::string& real_folder)
    {
        std::error_code error;
        search(folder, real_folder, error);
        if (error)
        {
            add(folder, real_folder);
        }
    }

    static std::vector<Entry> list(const std::string& folder, std::error_code& error)
    {
        std::vector<Entry> entries;
        for (fs::directory_iterator entry(folder, error), end; !error && entry != end;
             entry.increment(error))
        {
            auto name = entry->path().filename().string();
            std::error_code ignored;
            const bool is_link = entry->is_symlink(ignored);
            const bool is_folder = !is_link && entry->is_directory(ignored);
            // A link that leads nowhere is a transcript that is missing.
            const bool is_file =
                entry->is_regular_file(ignored) ||
                (is_link && !entry->exists(ignored) && is_named_as_transcript(name));
            const bool is_passed_over =
                name.starts_with('.') || (is_file && name.starts_with("stderr"));
            if ((is_file || is_folder) && !is_passed_over)
            {
                entries.push_back({std::move(name), is_folder});
            }
        }
        std::sort(entries.begin(), entries.end());
        return entries;
    }

    std::unordered_set<std::string> known;
};

using Components = std::vector<std::string_view>;

/// The first is empty for a path from the root.
Components components_of(std::string_view path)
{
    Components components;
    if (path.starts_with('/'))
    {
        components.emplace_back();
    }
    while (!path.empty())
    {
        const auto component = path.substr(0, path.find('/'));
        path.remove_prefix(std::min(path.size(), component.size() + 1));
        if (!component.empty() && component != ".")
        {
            components.push_back(component);
        }
    }
    return components;
}

/// How many components all of the paths have in common at their beginning, or at their end; one of
/// each is left.
template <typename Iterator>
std::size_t common(const std::vector<Components>& paths, Iterator (*begin)(const Components&),
                   std::size_t most)
{
    std::size_t count = most;
    for (const auto& path : paths)
    {
        const auto first = begin(paths.front());
        const auto limit = first + static_cast<std::ptrdiff_t>(count);
        count = static_cast<std::size_t>(std::mismatch(first, limit, begin(path)).first - first);
    }
    return count;
}

std::string joined(const Components& components, std::size_t leading, std::size_t trailing)
{
    std::string text;
    for (auto i = leading; i + trailing < components.size(); ++i)
    {
        text.append(i == leading ? "" : "/").append(components[i]);
    }
    return text.empty() ? "/" : text;
}

/// What differs between the paths, each of which differs.
std::vector<std::string> differing_parts(const std::vector<Components>& paths)
{
    auto most = paths.front().size() - 1;
    for (const auto& path : paths)
    {
        most = std::min(most, path.size() - 1);
    }
    const auto leading = common(
        paths, +[](const Components& path) { return path.begin(); }, most);
    const auto trailing = common(
        paths, +[](const Components& path) { return path.rbegin(); }, most - leading);
    std::vector<std::string> parts;
    parts.reserve(paths.size());
    for (const auto& path : paths)
    {
        parts.push_back(joined(path, leading, trailing));
    }
    return parts;
}

std::vector<std::string> names_by_difference(const std::vector<Components>& paths)
{
    auto without_endings = paths;
    for (auto& path : without_endings)
    {
        path.back() = stem(path.back());
    }
    auto names = differing_parts(without_endings);
    // "a.txt" beside "a.txt.gz"
    const bool clash = std::set<std::string_view>(names.begin(), names.end()).size() < names.size();
    return clash ? differing_parts(paths) : names;
}

/// Of the only input.
std::string name_by_itself(const Components& path, const std::string& real_folder)
{
    const auto name = stem(path.back());
    if (name != "transcript" && name != "stdout")
    {
        return std::string(name);
    }
    const bool is_given = path.size() > 1 && path[path.size() - 2] != "..";
    const auto folder = is_given ? path[path.size() - 2] : file_name_of(real_folder);
    return std::string(folder.empty() ? name : folder);
}

void name_by_paths(std::vector<Input>& inputs, const std::vector<std::string>& real_folders)
{
    std::vector<std::size_t> files;
    std::vector<Components> paths;
    for (std::size_t i = 0; i < inputs.size(); ++i)
    {
        if (inputs[i].path == "-")
        {
            inputs[i].controller = "-";
            continue;
        }
        files.push_back(i);
        paths.push_back(components_of(inputs[i].path));
    }
    if (files.size() == 1)
    {
        inputs[files[0]].controller = name_by_itself(paths[0], real_folders[files[0]]);
    }
    else if (!files.empty())
    {
        const auto names = names_by_difference(paths);
        for (std::size_t i = 0; i < files.size(); ++i)
        {
            inputs[files[i]].controller = names[i];
        }
    }
}

void take_run_file(Input& input)
try
{
    if (!is_main_transcript(file_name_of(input.path)))
    {
        return;
    }
    if (auto read = read_run_file(std::string(folder_of(input.path)) + "run.json"))
    {
        input.circumstances = std::move(read->circumstances);
        if (!read->controller.empty())
        {
            input.controller = std::move(read->controller);
        }
    }
}
catch (const InputError& problem)
{
    input.problem = problem.what();
}

} // namespace

std::vector<Input> find_inputs(const std::vector<std::string>& arguments)
{
    Search search;
    for (const auto& argument : arguments)
    {
        search.take_argument(argument);
    }
    name_by_paths(search.found, search.real_folders);
    for (auto& input : search.found)
    {
        take_run_file(input);
    }
    return std::move(search.found);
}

} // namespace report
