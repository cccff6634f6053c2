#include "runner/conversation.hpp"

#include <algorithm>
#include <array>
#include <utility>

namespace runner
{

namespace
{

/// Of a longer line the first and the last half of this are kept.
constexpr std::size_t longest_line = 65536;

constexpr std::array<std::string_view, 4> main_menu_lines{
    "1: Regression Test",
    "2: Normal Test",
    "3: Measurement Test Suite",
    "4: Exit",
};

constexpr std::array<std::string_view, 9> operations_menu_lines{
    "1: ReAuthenticate",
    "2: GetCertficate",
    "3: GetCertificateProperties",
    "4: GetAll Properties",
    "5: Recurring ReAuthenticate",
    "6: GetMeasurement",
    "7: GetSignedMeasurement",
    "8: Monitor Signals",
    "9: Go Back",
};

constexpr std::string_view menu_prompt = "Please Choose the option:";
constexpr std::string_view suite_prompt = "Enter choice (1-3): ";
constexpr std::string_view monitor_prompt = "Press -1 to stop monitoring";

constexpr std::array prompt_names{"main menu", "question for the device index", "operations menu",
                                  "question for the suite's devices", "monitor"};

std::string_view without_blanks_at_end(std::string_view text)
{
    return text.substr(0, text.find_last_not_of(" \r") + 1);
}

/// The prompt's length where `text` begins with it, else 0.
std::size_t length_of(std::string_view prompt, std::string_view text)
{
    return text.starts_with(prompt) ? prompt.size() : 0;
}

} // namespace

void Conversation::Menu::take(std::string_view text)
{
    const auto whole = without_blanks_at_end(text);
    if (seen < count && whole == lines[seen])
    {
        ++seen;
    }
    else
    {
        seen = whole == lines[0] ? 1 : 0;
    }
}

Conversation::Conversation(const Task& task) : task(task)
{
    menus = {
        {Prompt::main_menu, main_menu_lines.data(), main_menu_lines.size()},
        {Prompt::operations_menu, operations_menu_lines.data(), operations_menu_lines.size()},
    };
    if (task.activity == Activity::regression)
    {
        steps.push_back({Prompt::main_menu, "1"});
    }
    else if (task.eids.empty())
    {
        add_device(task.activity, std::nullopt);
    }
    for (const auto eid : task.eids)
    {
        add_device(task.activity, eid);
    }
    steps.push_back({Prompt::main_menu, "4"});
}

/// Without an EID: all devices, of the monitor the first one.
void Conversation::add_device(Activity activity, std::optional<std::uint16_t> eid)
{
    steps.push_back({Prompt::main_menu, activity == Activity::suite ? "3" : "2"});
    steps.push_back({Prompt::device_index, {}, eid});
    if (activity == Activity::monitor)
    {
        steps.push_back({Prompt::operations_menu, "8"});
        steps.push_back({Prompt::monitor, "-1"});
        steps.push_back({Prompt::operations_menu, "9"});
    }
    else if (activity == Activity::suite && eid)
    {
        steps.push_back({Prompt::suite_choice, "1"});
    }
    else if (activity == Activity::properties && eid)
    {
        steps.push_back({Prompt::operations_menu, "1"});
        steps.push_back({Prompt::operations_menu, "4"});
        steps.push_back({Prompt::operations_menu, "9"});
    }
}

std::vector<std::string> Conversation::take(std::string_view output)
{
    while (!output.empty() && found_problem.empty())
    {
        const auto end = output.find('\n');
        line += output.substr(0, end);
        while (take_prompt())
        {}
        if (end == std::string_view::npos)
        {
            break;
        }
        take_line();
        output.remove_prefix(end + 1);
    }
    if (line.size() > 2 * longest_line)
    {
        shorten();
    }
    return std::exchange(answers, {});
}

std::string Conversation::stop_monitoring()
{
    is_monitoring = false;
    return steps[at++].answer + "\n";
}

void Conversation::take_line()
{
    shorten();
    const auto text = std::exchange(line, {});
    if (!found_problem.empty() || is_monitoring)
    {
        return;
    }
    for (auto& menu : menus)
    {
        menu.take(text);
    }
    if (!complete() && steps[at].prompt == Prompt::device_index)
    {
        devices.line(std::string_view(text).substr(0, text.find_last_not_of('\r') + 1));
        if (devices.none())
        {
            finish_without_devices();
        }
    }
}

/// Answers the prompt with which the line begins, and removes it. A prompt need not end its line.
bool Conversation::take_prompt()
{
    if (!found_problem.empty())
    {
        return false;
    }
    for (auto& menu : menus)
    {
        if (menu.seen == menu.count && line.starts_with(menu_prompt))
        {
            line.erase(0, menu_prompt.size());
            menu.seen = 0;
            answer(menu.prompt);
            return true;
        }
    }
    const auto length = complete() ? 0 : prompt_length();
    line.erase(0, length);
    if (length != 0)
    {
        answer(steps[at].prompt);
    }
    return length != 0;
}

/// How long the expected prompt is, where the line begins with it. Menus are known by their lines.
std::size_t Conversation::prompt_length()
{
    switch (steps[at].prompt)
    {
        case Prompt::device_index: return devices.complete() ? device_prompt_length() : 0;
        case Prompt::suite_choice: return length_of(suite_prompt, line);
        case Prompt::monitor: return length_of(monitor_prompt, line);
        case Prompt::main_menu:
        case Prompt::operations_menu: break;
    }
    return 0;
}

std::size_t Conversation::device_prompt_length() const
{
    return length_of("Choose the device index (0-" + std::to_string(devices.all_row()) + "):",
                     line);
}

void Conversation::answer(Prompt prompt)
{
    if (complete())
    {
        fail("asks again after its exit was chosen");
        return;
    }
    const auto& step = steps[at];
    if (step.prompt != prompt)
    {
        fail(std::string("shows its ") + prompt_names[static_cast<std::size_t>(prompt)] +
             " instead of its " + expected());
        return;
    }
    if (prompt == Prompt::monitor)
    {
        is_monitoring = true;
        return;
    }
    if (prompt == Prompt::device_index)
    {
        answer_device_index(step);
    }
    else
    {
        answers.push_back(step.answer + "\n");
    }
    ++at;
    devices.clear();
}

void Conversation::answer_device_index(const Step& step)
{
    first_devices = first_devices.value_or(devices);
    if (!devices.lists_the_same(*first_devices))
    {
        fail("lists other devices than before");
        return;
    }
    const auto missing = std::find_if(task.eids.begin(), task.eids.end(),
                                      [&](auto eid) { return !devices.row_of(eid); });
    if (missing != task.eids.end())
    {
        fail("offers no device with EID " + std::to_string(*missing) + ", only " + devices.eids());
        return;
    }
    const std::size_t row = step.eid                             ? *devices.row_of(*step.eid)
                            : task.activity == Activity::monitor ? 0
                                                                 : devices.all_row();
    answers.push_back(std::to_string(row) + "\n");
}

/// The client is back at its main menu.
void Conversation::finish_without_devices()
{
    devices.clear();
    if (!task.eids.empty())
    {
        fail("offers no device with EID " + std::to_string(task.eids.front()) + ", it found none");
        return;
    }
    at = steps.size() - 1;
}

std::string Conversation::expected() const
{
    return complete() ? "end" : prompt_names[static_cast<std::size_t>(steps[at].prompt)];
}

void Conversation::fail(std::string text)
{
    found_problem = std::move(text);
}

void Conversation::shorten()
{
    if (line.size() > longest_line)
    {
        line.erase(longest_line / 2, line.size() - longest_line);
    }
}

} // namespace runner
