#include "report/run_report.hpp"

#include "report/in_turn.hpp"
#include "report/judge/judge.hpp"
#include "report/reader/inputs.hpp"
#include "report/reader/line_splitter.hpp"
#include "report/reader/source.hpp"
#include "report/reader/transcript_reader.hpp"
#include "report/writers/json.hpp"
#include "report/writers/junit.hpp"
#include "report/writers/metrics.hpp"
#include "report/writers/ndjson.hpp"
#include "report/writers/summary.hpp"

#include <algorithm>
#include <atomic>
#include <exception>
#include <filesystem>
#include <memory>
#include <set>
#include <string_view>
#include <system_error>
#include <thread>
#include <unistd.h>
#include <utility>

namespace report
{

namespace
{

constexpr std::size_t chunk_size = 262144;
constexpr std::size_t held_by_a_job = 1048576;

std::uint64_t incomplete_of(const Judgement& judgement)
{
    return judgement.counts[Verdict::error] == 0
               ? 0
               : static_cast<std::uint64_t>(std::count_if(
                     judgement.checks.begin(), judgement.checks.end(), [](const Check& check) {
                         return check.verdict == Verdict::error && check.incomplete;
                     }));
}

void add(Totals& totals, const Totals& more)
{
    totals.inputs += more.inputs;
    totals.runs += more.runs;
    totals.lines += more.lines;
    totals.bytes += more.bytes;
    totals.notes += more.notes;
    totals.nothing_to_judge += more.nothing_to_judge;
    totals.unreadable += more.unreadable;
    totals.counts += more.counts;
}

/// The outputs that can be written so far, and what came of it all.
class Results
{
  public:
    using Complain = std::function<void(const std::string&)>;

    explicit Results(const Complain& complain) : complain(complain) {}

    /// Adds the output that `make` makes.
    template <typename Make>
    void open(Make&& make)
    {
        guard([&] { outputs.push_back({make()}); });
        is_open = !outputs.empty();
    }

    Piece prepare(const Run& run, const Judgement& judgement) const
    {
        Piece piece;
        for (const Entry& entry : outputs)
        {
            piece.texts.push_back(entry.output->prepare(run, judgement));
        }
        return piece;
    }

    Piece prepare_without_runs(std::string_view controller, std::string_view file) const
    {
        Piece piece;
        for (const Entry& entry : outputs)
        {
            piece.texts.push_back(entry.output->prepare_without_runs(controller, file));
        }
        return piece;
    }

    void take(const Piece& piece)
    {
        for (std::size_t i = 0; i < piece.texts.size(); ++i)
        {
            write(outputs[i], [&](Output& output) { output.append(piece.texts[i]); });
        }
        add(totals, piece.totals);
        incomplete += piece.incomplete;
        if (!piece.complaint.empty())
        {
            complain(piece.complaint);
        }
    }

    /// An argument that names nothing.
    void unreadable(const std::string& why)
    {
        ++totals.inputs;
        ++totals.unreadable;
        complain(why);
    }

    void finish()
    {
        for (Entry& entry : outputs)
        {
            write(entry, [&](Output& output) { output.finish(totals); });
        }
    }

    /// Whether there is an output to write to.
    bool can_write() const
    {
        return is_open;
    }

    ExitStatus status(const FailOn& fail_on) const
    {
        const auto errors = totals.counts[Verdict::error];
        if (unwritable || totals.unreadable != 0)
        {
            return ExitStatus::cannot_read_or_write;
        }
        if ((fail_on.failed && totals.counts[Verdict::failed] != 0) ||
            (fail_on.error && errors != incomplete) || (fail_on.incomplete && incomplete != 0))
        {
            return ExitStatus::failed;
        }
        return totals.nothing_to_judge != 0 ? ExitStatus::nothing_to_judge : ExitStatus::passed;
    }

  private:
    struct Entry
    {
        std::unique_ptr<Output> output;
        bool failed = false;
    };

    template <typename Action>
    bool guard(Action&& action)
    {
        try
        {
            action();
            return true;
        }
        catch (const OutputError& problem)
        {
            unwritable = true;
            complain(problem.what());
            return false;
        }
    }

    template <typename Action>
    void write(Entry& entry, Action&& action)
    {
        if (!entry.failed && !guard([&] { action(*entry.output); }))
        {
            entry.failed = true;
            is_open = std::any_of(outputs.begin(), outputs.end(),
                                  [](const Entry& other) { return !other.failed; });
        }
    }

    const Complain& complain;
    std::vector<Entry> outputs;
    std::atomic<bool> is_open = false;
    bool unwritable = false;
    Totals totals;
    std::uint64_t incomplete = 0;
};

/// The inputs that the arguments name. What cannot be found is reported, and left out.
std::vector<Input> find_what_there_is(const std::vector<std::string>& arguments, Results& results)
{
    try
    {
        return find_inputs(arguments);
    }
    catch (const InputError&) // Reported below, together with all others.
    {}
    std::vector<std::string> found;
    for (const std::string& argument : arguments)
    {
        try
        {
            find_inputs({argument});
            found.push_back(argument);
        }
        catch (const InputError& problem)
        {
            results.unreadable(problem.what());
        }
    }
    return found.empty() ? std::vector<Input>() : find_inputs(found);
}

/// Folders without a transcript are inputs in which there is nothing to judge.
void name_empty_folders(const std::vector<std::string>& arguments, const std::vector<Input>& inputs,
                        Results& results)
{
    for (const std::string& argument : arguments)
    {
        std::error_code problem;
        if (!std::filesystem::is_directory(argument, problem))
        {
            continue;
        }
        const std::string folder = argument.ends_with('/') ? argument : argument + '/';
        if (std::none_of(inputs.begin(), inputs.end(),
                         [&](const Input& input) { return input.path.starts_with(folder); }))
        {
            Piece piece = results.prepare_without_runs(argument, argument);
            piece.totals.nothing_to_judge = 1;
            results.take(piece);
        }
    }
}

/// Reads inputs, judges their runs and hands on what the outputs make of them.
class Job
{
  public:
    Job(const std::vector<Input>& inputs, const Results& results, InTurn& in_turn)
        : inputs(inputs), results(results), in_turn(in_turn), buffer(chunk_size)
    {}

    void read(std::size_t place)
    {
        const Input& input = inputs[place];
        Piece last;
        last.totals.inputs = 1;
        last.totals.unreadable = input.problem.empty() ? 0 : 1;
        last.complaint = input.problem;
        std::uint64_t runs = 0;
        TranscriptReader reader([&](Run&& run) {
            run.controller = input.controller;
            run.circumstances = input.circumstances;
            run.file = input.path;
            run.name = ++runs == 1 ? input.path : input.path + "#" + std::to_string(runs);
            hand_on(place, run);
        });
        LineSplitter lines;
        const auto take_line = [&](std::string_view line, std::uint64_t bytes) {
            ++last.totals.lines;
            last.totals.bytes += bytes;
            reader.line(line, bytes);
        };
        try
        {
            const auto source = open_source(input.path);
            while (const auto size = results.can_write() ? source->read(buffer) : 0)
            {
                lines.feed({buffer.data(), size}, take_line);
            }
        }
        catch (const InputError& problem)
        {
            last.complaint = problem.what(); // The transcript's problem is the more important one.
            last.totals.unreadable = 1;
        }
        lines.finish(take_line);
        reader.finish();
        if (runs == 0 && last.totals.unreadable == 0)
        {
            last.texts = results.prepare_without_runs(input.controller, input.path).texts;
            last.totals.nothing_to_judge = 1;
        }
        in_turn.put(place, std::move(last));
        in_turn.finish(place);
    }

  private:
    void hand_on(std::size_t place, const Run& run)
    {
        const Judgement judgement = judge(run);
        Piece piece = results.prepare(run, judgement);
        piece.totals.runs = 1;
        piece.totals.notes = run.note_count;
        piece.totals.nothing_to_judge = judgement.nothing ? 1 : 0;
        piece.totals.counts = judgement.counts;
        piece.incomplete = incomplete_of(judgement);
        in_turn.put(place, std::move(piece));
    }

    const std::vector<Input>& inputs;
    const Results& results;
    InTurn& in_turn;
    std::vector<char> buffer;
};

/// Reads all inputs with that number of jobs, of which this thread is one.
void read_all(const std::vector<Input>& inputs, unsigned jobs, Results& results)
{
    InTurn in_turn(held_by_a_job * jobs, [&](Piece&& piece) { results.take(piece); });
    std::atomic<std::size_t> next = 0;
    std::vector<std::exception_ptr> problems(std::min<std::size_t>(jobs, inputs.size()));
    const auto work = [&](std::exception_ptr& problem) {
        try
        {
            Job job(inputs, results, in_turn);
            for (auto place = next++; place < inputs.size() && results.can_write(); place = next++)
            {
                job.read(place);
            }
        }
        catch (...)
        {
            problem = std::current_exception();
            in_turn.abandon();
            next = inputs.size();
        }
    };
    {
        std::vector<std::jthread> threads;
        for (std::size_t i = 1; i < problems.size(); ++i)
        {
            try
            {
                threads.emplace_back(work, std::ref(problems[i]));
            }
            catch (const std::system_error&) // Those that there are do all the work.
            {
                break;
            }
        }
        if (!problems.empty())
        {
            work(problems.front());
        }
    }
    for (const auto& problem : problems)
    {
        if (problem)
        {
            std::rethrow_exception(problem);
        }
    }
}

std::size_t controllers_of(const std::vector<Input>& inputs)
{
    std::set<std::string_view> controllers;
    for (const Input& input : inputs)
    {
        controllers.insert(input.controller);
    }
    return controllers.size();
}

} // namespace

ExitStatus run_report(const Request& request,
                      const std::function<void(const std::string&)>& complain)
{
    Results results(complain);
    const auto inputs = find_what_there_is(request.inputs, results);
    if (!request.json.empty())
    {
        results.open([&] { return std::make_unique<JsonOutput>(request.json); });
    }
    if (!request.ndjson.empty())
    {
        results.open([&] { return std::make_unique<NdjsonOutput>(request.ndjson); });
    }
    if (!request.junit.empty())
    {
        results.open([&] { return std::make_unique<JunitOutput>(request.junit); });
    }
    if (!request.metrics.empty())
    {
        results.open([&] { return std::make_unique<MetricsOutput>(request.metrics); });
    }
    if (request.json.empty() && request.ndjson.empty() && request.junit.empty() &&
        request.metrics.empty())
    {
        results.open([&] {
            return std::make_unique<Summary>("-", terminal_of(STDOUT_FILENO),
                                             controllers_of(inputs));
        });
    }
    name_empty_folders(request.inputs, inputs, results);
    read_all(inputs, request.jobs, results);
    results.finish();
    return results.status(request.fail_on);
}

} // namespace report
