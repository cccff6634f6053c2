// Input: what a client prints. The first two bytes say what is asked for and how the output is cut
// into chunks.

#include "fuzz/support/require.hpp"
#include "runner/conversation.hpp"
#include "runner/progress.hpp"

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace
{

using namespace runner;

/// Any activity, on all devices or on two.
Task task_of(std::uint8_t choice)
{
    Task task{static_cast<Activity>(choice % 4), {}};
    if (choice % 8 >= 4 && task.activity != Activity::regression)
    {
        task.eids.push_back(10);
        if (task.activity != Activity::monitor)
        {
            task.eids.push_back(11);
        }
    }
    return task;
}

/// More answers than a conversation about two devices has.
constexpr std::size_t most_answers = 16;

bool is_answer(const std::string& text)
{
    return text.size() >= 2 && text.size() <= 12 && text.ends_with('\n') &&
           std::all_of(text.begin() + text.starts_with('-'), text.end() - 1,
                       [](char c) { return c >= '0' && c <= '9'; });
}

/// All answers to output that arrives in chunks, and how it ended.
struct Talk
{
    std::vector<std::string> answers;
    std::string problem;
    std::string expected;
    bool operator==(const Talk&) const = default;
};

/// `stops`: the monitor is stopped as soon as it runs, which depends on the chunks.
Talk talk_of(const Task& task, std::string_view output, std::size_t chunk, bool stops)
{
    Conversation conversation(task);
    PositionReader reader(task.eids.size());
    Talk talk;
    while (!output.empty())
    {
        const auto part = output.substr(0, chunk);
        const bool had_problem = !conversation.problem().empty();
        for (auto& answer : conversation.take(part))
        {
            require(!had_problem, "no answers after a problem");
            require(is_answer(answer), "an answer is a number and a line end");
            talk.answers.push_back(answer);
        }
        if (stops && conversation.monitoring())
        {
            talk.answers.push_back(conversation.stop_monitoring());
        }
        reader.take(part);
        const auto& position = reader.position();
        require(position.devices == 0 || position.device <= position.devices,
                "no more devices than there are");
        const auto text = progress_text(position, std::chrono::seconds(100));
        require(text.size() < 200, "progress is short");
        require(std::all_of(text.begin(), text.end(), [](char c) { return c >= ' ' && c <= '~'; }),
                "progress shows no text of the client");
        output.remove_prefix(part.size());
    }
    require(talk.answers.size() <= most_answers, "answers are few");
    require(!conversation.complete() || !conversation.monitoring(), "an end ends the monitor");
    talk.problem = conversation.problem();
    talk.expected = conversation.expected();
    return talk;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size < 2)
    {
        return 0;
    }
    const auto task = task_of(data[0]);
    const std::string_view output{reinterpret_cast<const char*>(data) + 2, size - 2};
    const auto whole = talk_of(task, output, output.size(), false);
    require(whole == talk_of(task, output, data[1] + 1U, false),
            "answers do not depend on how the output arrives");
    talk_of(task, output, data[1] + 1U, true);
    return 0;
}
