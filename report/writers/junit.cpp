#include "report/writers/junit.hpp"

#include "report/writers/junit_document.hpp"
#include "report/writers/junit_suites.hpp"
#include "report/writers/output_file.hpp"
#include "report/writers/parcel.hpp"
#include "report/writers/spool.hpp"

#include <filesystem>
#include <fmt/format.h>
#include <system_error>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

namespace report
{

namespace
{

/// A file's name without separators or a leading dot.
std::string safe_name(std::string_view controller)
{
    constexpr std::size_t longest_file_name = 200;
    constexpr std::string_view allowed = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz"
                                         "0123456789.-_";
    std::string name(controller == "-"    ? "standard_input"
                     : controller.empty() ? "unnamed"
                                          : controller.substr(0, longest_file_name));
    for (char& character : name)
    {
        if (allowed.find(character) == std::string_view::npos)
        {
            character = '_';
        }
    }
    if (name.front() == '.' || name.front() == '-')
    {
        name.front() = '_';
    }
    return name;
}

std::string made_folder(const std::string& path)
{
    std::error_code problem;
    std::filesystem::create_directory(path, problem);
    std::error_code unknown;
    if (!std::filesystem::is_directory(path, unknown))
    {
        const auto is_other = problem == std::errc::file_exists || !problem;
        throw OutputError(
            "cannot write " + path + ": " +
            (is_other ? std::make_error_code(std::errc::not_a_directory) : problem).message());
    }
    return path;
}

} // namespace

class JunitOutput::Form
{
  public:
    virtual ~Form() = default;
    virtual void append(std::string_view prepared) = 0;
    virtual void finish() = 0;
};

class JunitOutput::OneFile : public Form
{
  public:
    explicit OneFile(const std::string& path) : file(path) {}

    void append(std::string_view prepared) override
    {
        document.add(prepared);
    }

    void finish() override
    {
        document.write(file);
        file.finish();
    }

  private:
    OutputFile file;
    JunitDocument document;
};

/// The runs of a controller may come between those of others, so that all wait on disk.
class JunitOutput::Folder : public Form
{
  public:
    explicit Folder(const std::string& path) : path(made_folder(path)), spool(path) {}

    void append(std::string_view prepared) override
    {
        const std::string controller(Unpacker(prepared).text());
        const auto [place, is_new] = places.try_emplace(controller, controllers.size());
        if (is_new)
        {
            controllers.push_back({unused_name(controller), {}});
        }
        controllers[place->second].runs.push_back(spool.append(prepared));
    }

    void finish() override
    {
        for (const Controller& controller : controllers)
        {
            JunitDocument document;
            for (const Spool::Place& run : controller.runs)
            {
                document.add(spool.read(run));
            }
            OutputFile file(path + "/" + controller.name + ".xml");
            document.write(file);
            file.finish();
        }
    }

  private:
    struct Controller
    {
        std::string name; ///< Of its file.
        std::vector<Spool::Place> runs;
    };

    std::string unused_name(std::string_view controller)
    {
        const auto name = safe_name(controller);
        auto unused = name;
        for (auto number = 2; !names.insert(unused).second; ++number)
        {
            unused = fmt::format("{}-{}", name, number);
        }
        return unused;
    }

    const std::string path;
    Spool spool;
    std::vector<Controller> controllers;
    std::unordered_map<std::string, std::size_t> places; ///< By the controller's name.
    std::unordered_set<std::string> names;
};

std::unique_ptr<JunitOutput::Form> JunitOutput::form_of(const std::string& path)
{
    if (path == "-" || path.ends_with(".xml"))
    {
        return std::make_unique<OneFile>(path);
    }
    return std::make_unique<Folder>(path);
}

JunitOutput::JunitOutput(const std::string& path) : form(form_of(path)) {}

JunitOutput::~JunitOutput() = default;

std::string JunitOutput::prepare(const Run& run, const Judgement& judgement) const
{
    return pack_junit(run.controller, true, junit_suites(run, judgement));
}

std::string JunitOutput::prepare_without_runs(std::string_view controller,
                                              std::string_view file) const
{
    return pack_junit(controller, false, {junit_suite_without_run(controller, file)});
}

void JunitOutput::append(std::string_view prepared)
{
    form->append(prepared);
}

void JunitOutput::finish(const Totals&)
{
    form->finish();
}

} // namespace report
