#pragma once

#include "runner/device_list.hpp"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace runner
{

enum class Activity : std::uint8_t
{
    regression,
    suite,
    properties,
    monitor
};

/// The activity's name on the command line.
std::string_view word_of(Activity activity);

struct Task
{
    Activity activity = Activity::regression;
    std::vector<std::uint16_t> eids; ///< Which devices; empty for all, of monitor for the first.
};

/// The operator's side of a conversation with the client: its output in, answers out. Answers depend
/// on the output alone, however it is cut. Memory is bounded but for the paths in the device list.
class Conversation
{
  public:
    explicit Conversation(const Task& task);

    /// Takes the next output and returns the answers to the prompts in it, each with its line end.
    std::vector<std::string> take(std::string_view output);

    /// Whether the client shows signals until it is stopped.
    bool monitoring() const
    {
        return is_monitoring;
    }

    /// Ends the monitoring; returns the answer.
    std::string stop_monitoring();

    /// Whether every answer has been given.
    bool complete() const
    {
        return at == steps.size();
    }

    /// What the client does wrong, as in "shows its main menu"; empty if there is nothing. Then there are
    /// no more answers.
    const std::string& problem() const
    {
        return found_problem;
    }

    /// What the client should show next, as in "main menu".
    std::string expected() const;

  private:
    enum class Prompt : std::uint8_t
    {
        main_menu,
        device_index,
        operations_menu,
        suite_choice,
        monitor
    };

    struct Step
    {
        Prompt prompt;
        std::string answer = {};               ///< Empty where it depends on the device list.
        std::optional<std::uint16_t> eid = {}; ///< The device to look up there.
    };

    /// A menu and how many of its lines have come one after the other.
    struct Menu
    {
        Prompt prompt;
        const std::string_view* lines;
        std::size_t count;
        std::size_t seen = 0;

        void take(std::string_view text);
    };

    void add_device(Activity activity, std::optional<std::uint16_t> eid);
    void take_line();
    bool take_prompt();
    std::size_t prompt_length();
    std::size_t device_prompt_length() const;
    void answer(Prompt prompt);
    void answer_device_index(const Step& step);
    void finish_without_devices();
    void fail(std::string text);
    void shorten();

    Task task;
    std::vector<Step> steps;
    std::size_t at = 0; ///< The step whose prompt is expected.
    std::vector<Menu> menus;
    DeviceList devices;
    /// The first list, before which the client prints no texts of devices. It discovers them only once,
    /// so that another list is not its own.
    std::optional<DeviceList> first_devices;
    std::string
        line; ///< What has come of the current line; of a long one its first and last bytes.
    std::vector<std::string> answers; ///< To the output that is being taken.
    bool is_monitoring = false;
    std::string found_problem;
};

} // namespace runner
