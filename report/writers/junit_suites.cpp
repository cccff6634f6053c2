#include "report/writers/junit_suites.hpp"

#include "report/judge/judge.hpp"
#include "report/model/words.hpp"
#include "report/writers/plain_text.hpp"
#include "report/writers/same_devices.hpp"

#include <algorithm>
#include <fmt/format.h>
#include <numeric>
#include <optional>
#include <pugixml.hpp>
#include <unordered_map>
#include <utility>

namespace report
{

namespace
{

/// pugixml writes it as `junit_run_mark`.
constexpr std::string_view run_mark_character = "\x01";

constexpr std::string_view run_itself = "the run itself";

struct StringWriter : pugi::xml_writer
{
    void write(const void* data, std::size_t size) override
    {
        text.append(static_cast<const char*>(data), size);
    }

    std::string text;
};

std::string text_of(const pugi::xml_node& node)
{
    StringWriter writer;
    node.print(writer, "", pugi::format_raw, pugi::encoding_utf8);
    return std::move(writer.text);
}

/// The text of an element with nothing in it, without its end.
std::string start_tag(const pugi::xml_node& node)
{
    auto text = text_of(node);
    text.resize(text.rfind("/>"));
    while (text.ends_with(' '))
    {
        text.pop_back();
    }
    return text + ">\n";
}

void set(pugi::xml_node node, const char* name, const std::string& value)
{
    node.append_attribute(name).set_value(value.c_str());
}

std::string in_seconds(std::uint64_t microseconds)
{
    return fmt::format("{}.{:06}", microseconds / 1'000'000, microseconds % 1'000'000);
}

void set_counts(pugi::xml_node node, const Counts& counts, std::uint64_t microseconds)
{
    set(node, "tests", fmt::to_string(counts.all()));
    set(node, "failures", fmt::to_string(counts[Verdict::failed]));
    set(node, "errors", fmt::to_string(counts[Verdict::error]));
    set(node, "skipped", fmt::to_string(counts[Verdict::skipped]));
    set(node, "time", in_seconds(microseconds));
}

const char* element_of(Verdict verdict)
{
    return verdict == Verdict::failed ? "failure" : verdict == Verdict::error ? "error" : "skipped";
}

/// Readers look for the reason in one or the other place.
void add_reason(pugi::xml_node testcase, Verdict verdict, const std::string& type,
                const std::string& reason, const std::string& details)
{
    auto element = testcase.append_child(element_of(verdict));
    if (verdict != Verdict::skipped)
    {
        set(element, "type", type);
    }
    set(element, "message", reason);
    element.text().set((reason + details).c_str());
}

/// A part of a class name, between points.
std::string class_part(std::string_view text)
{
    auto part = plain_text(text);
    std::replace(part.begin(), part.end(), '.', '_');
    return part;
}

std::string label_of(const Device& device)
{
    constexpr std::size_t longest_label = 200;
    const auto label = plain_text(device.xmid.value_or(last_element(device.path)), longest_label);
    return device.eid      ? fmt::format("{} (EID {})", label, *device.eid)
           : label.empty() ? "unknown device"
                           : label;
}

std::string_view category_of(const Run& run, const Check& check)
{
    switch (check.subject)
    {
        case Subject::transcript: return "transcript";
        case Subject::discovery: return "discovery";
        case Subject::call: return word(run.calls[check.index].activity);
        case Subject::silent_call: return word(Activity::regression);
        case Subject::test: return word(run.tests[check.index].category);
        case Subject::availability: return "availability";
        case Subject::category: return word(check.category);
        case Subject::suite: return word(Activity::suite);
        case Subject::monitor: return "monitor";
    }
    return {};
}

const Call* call_of(const Run& run, const Check& check)
{
    const auto call = check.subject == Subject::call   ? check.index
                      : check.subject == Subject::test ? run.tests[check.index].call
                                                       : none;
    return call == none ? nullptr : &run.calls[call];
}

std::string name_of_check(const Run& run, const Check& check)
{
    auto name = describe(run, check);
    if (const auto* call = call_of(run, check); call != nullptr && check.subject == Subject::test)
    {
        name += describe_indices(*call);
    }
    return name;
}

std::optional<std::uint64_t> microseconds_of(const Run& run, const Check& check)
{
    const auto* call = call_of(run, check);
    return call == nullptr || call->microseconds.value_or(-1) < 0
               ? std::nullopt
               : std::optional{static_cast<std::uint64_t>(*call->microseconds)};
}

/// Makes names different that would be equal.
class Names
{
  public:
    std::string unique(const std::string& class_name, const std::string& name)
    {
        auto candidate = name;
        auto& times = seen[key(class_name, name)];
        while (++times > 1)
        {
            candidate = fmt::format("{} ({})", name, times);
            if (seen.try_emplace(key(class_name, candidate), 1).second)
            {
                break;
            }
        }
        return candidate;
    }

  private:
    static std::string key(std::string class_name, const std::string& name)
    {
        return class_name.append(1, '\0').append(name);
    }

    std::unordered_map<std::string, std::uint64_t> seen;
};

/// Builds the suites of a run.
class SuiteBuilder
{
  public:
    SuiteBuilder(const Run& run, const Judgement& judgement)
        : run(run),
          judgement(judgement),
          same(last_entries(run)),
          controller(junit_controller(run.controller)),
          file(plain_text(run.file))
    {}

    std::vector<JunitSuite> all()
    {
        find_devices();
        for (const Check& check : judgement.checks)
        {
            add(check);
        }
        for (Suite& suite : suites)
        {
            suite.made.opening = opening(suite);
        }
        std::vector<JunitSuite> made;
        for (Suite& suite : suites)
        {
            made.push_back(std::move(suite.made));
        }
        return made;
    }

  private:
    struct Suite
    {
        std::string label;
        std::string class_name; ///< Up to the category.
        JunitSuite made;
    };

    std::size_t key_of(const Check& check) const
    {
        return check.device == none ? run.devices.size() : same[check.device];
    }

    /// The run's own suite comes first; without checks it is there only if nothing else is.
    void find_devices()
    {
        places.assign(run.devices.size() + 1, none);
        const auto is_own = [](const Check& check) { return check.device == none; };
        if (judgement.checks.empty() ||
            std::any_of(judgement.checks.begin(), judgement.checks.end(), is_own))
        {
            enter(run.devices.size(), std::string(run_itself));
        }
        for (const Check& check : judgement.checks)
        {
            if (places[key_of(check)] == none)
            {
                enter(key_of(check), label_of(run.devices[key_of(check)]));
            }
        }
    }

    void enter(std::size_t key, const std::string& label)
    {
        places[key] = static_cast<Index>(suites.size());
        suites.push_back({label, controller + '.' + class_part(label) + '.', {}});
    }

    void add(const Check& check)
    {
        auto& suite = suites[places[key_of(check)]];
        const auto time = microseconds_of(run, check);
        ++suite.made.counts[check.verdict];
        suite.made.microseconds = add_microseconds(suite.made.microseconds, time.value_or(0));
        const auto is_problem = check.verdict == Verdict::failed || check.verdict == Verdict::error;
        if (is_problem ? problem_bytes > most_junit_bytes : leaves_out_others)
        {
            return;
        }
        auto text = testcase(suite, check, time);
        if (is_problem)
        {
            problem_bytes += text.size();
            suite.made.problems.push_back({check.verdict, std::move(text)});
        }
        else
        {
            other_bytes += text.size();
            suite.made.others += text;
        }
        if (!leaves_out_others && problem_bytes + other_bytes > most_junit_bytes)
        {
            leaves_out_others = true;
            for (Suite& each : suites)
            {
                each.made.others = {};
            }
        }
    }

    std::string testcase(const Suite& suite, const Check& check, std::optional<std::uint64_t> time)
    {
        document.reset();
        auto node = document.append_child("testcase");
        const auto class_name = suite.class_name + std::string(category_of(run, check));
        set(node, "classname", class_name);
        set(node, "name",
            std::string(run_mark_character) +
                names.unique(class_name, plain_text(name_of_check(run, check))));
        set(node, "file", file);
        set(node, "line", fmt::to_string(check.line));
        if (time)
        {
            set(node, "time", in_seconds(*time));
        }
        if (check.verdict != Verdict::passed)
        {
            add_reason(node, check.verdict,
                       check.incomplete ? "incomplete" : std::string(word(check.verdict)),
                       plain_text(check.reason), fmt::format("\n{}:{}", file, check.line));
        }
        return text_of(node) + "\n";
    }

    std::string opening(const Suite& suite)
    {
        document.reset();
        auto node = document.append_child("testsuite");
        set(node, "name", controller_name() + ": " + std::string(run_mark_character) + suite.label);
        set_counts(node, suite.made.counts, suite.made.microseconds);
        auto text = start_tag(node);
        document.reset();
        auto properties = document.append_child("properties");
        const auto add_property = [&properties](const char* name, const std::string& value) {
            auto property = properties.append_child("property");
            set(property, "name", name);
            set(property, "value", value);
        };
        add_property("run", plain_text(run.name));
        add_property("signatures", "not verified");
        if (run.circumstances && !run.circumstances->started.empty())
        {
            add_property("started", plain_text(run.circumstances->started));
        }
        if (judgement.nothing)
        {
            add_property("judged", "nothing: no call and no test");
        }
        return text + text_of(properties) + "\n";
    }

    std::string controller_name() const
    {
        return plain_text(run.controller == "-" ? "standard input" : run.controller);
    }

    const Run& run;
    const Judgement& judgement;
    const std::vector<Index> same;
    const std::string controller;
    const std::string file;
    pugi::xml_document document;
    Names names;
    std::vector<Suite> suites;
    std::vector<Index> places; ///< By device; the last is the run's own.
    std::size_t problem_bytes = 0;
    std::size_t other_bytes = 0;
    bool leaves_out_others = false;
};

std::string plural(std::uint64_t number, std::string_view one)
{
    return fmt::format("{} {}{}", number, one, number == 1 ? "" : "s");
}

} // namespace

std::size_t JunitSuite::size() const
{
    return std::accumulate(
        problems.begin(), problems.end(), opening.size() + others.size(),
        [](std::size_t sum, const JunitProblem& problem) { return sum + problem.text.size(); });
}

std::string junit_controller(std::string_view controller)
{
    return controller.empty() ? "unnamed"
                              : class_part(controller == "-" ? "standard input" : controller);
}

std::vector<JunitSuite> junit_suites(const Run& run, const Judgement& judgement)
{
    return SuiteBuilder(run, judgement).all();
}

JunitSuite junit_suite_without_run(std::string_view controller, std::string_view file)
{
    Run run;
    run.controller = controller;
    run.name = run.file = file;
    Judgement judgement;
    judgement.nothing = true;
    return junit_suites(run, judgement).front();
}

std::string junit_opening(const Counts& counts, std::uint64_t microseconds)
{
    pugi::xml_document document;
    auto node = document.append_child("testsuites");
    set(node, "name", "spdm-report");
    set_counts(node, counts, microseconds);
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n" + start_tag(node);
}

std::string junit_rest_opening(const Counts& counts, std::uint64_t microseconds)
{
    pugi::xml_document document;
    auto node = document.append_child("testsuite");
    set(node, "name", "left out");
    set_counts(node, counts, microseconds);
    return start_tag(node);
}

std::string junit_closing(const Counts& left_out, std::size_t suite_number)
{
    pugi::xml_document document;
    std::string text;
    const auto failed = left_out[Verdict::failed];
    const auto errors = left_out[Verdict::error];
    if (failed + errors != 0)
    {
        auto node = document.append_child("testcase");
        set(node, "classname", "left out");
        set(node, "name", fmt::format("suite {}", suite_number));
        add_reason(node, failed != 0 ? Verdict::failed : Verdict::error, "left out",
                   fmt::format("{} failed and {} are left out, the file would be too large",
                               plural(failed, "check"), plural(errors, "error")),
                   "\nAll of them: spdm-report --ndjson FILE");
        text += text_of(node) + "\n";
    }
    if (left_out.all() != 0)
    {
        auto node = document.append_child("system-out");
        node.text().set(fmt::format("Left out, because the file would be too large: {} passed, {} "
                                    "failed, {} errors, {} skipped.",
                                    left_out[Verdict::passed], failed, errors,
                                    left_out[Verdict::skipped])
                            .c_str());
        text += text_of(node) + "\n";
    }
    return text + "</testsuite>\n";
}

std::uint64_t add_microseconds(std::uint64_t some, std::uint64_t more)
{
    return more > UINT64_MAX - some ? UINT64_MAX : some + more;
}

} // namespace report
