// Input: a transcript, of which the first two bytes say how it is cut into chunks.

#include "fuzz/support/require.hpp"
#include "report/judge/judge.hpp"
#include "report/reader/line_splitter.hpp"
#include "report/reader/transcript_reader.hpp"
#include "report/writers/rows.hpp"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <numeric>
#include <string>
#include <string_view>
#include <utility>

namespace
{

/// Names that a run gets from outside its transcript.
void name_run(report::Run& run)
{
    run.controller = "bmc\xff";
    run.name = run.file = "a\nb";
}

void check_judgement(const report::Run& run, const report::Judgement& judgement)
{
    const auto& counts = judgement.counts.of;
    require(std::accumulate(counts.begin(), counts.end(), std::uint64_t{0}) ==
                judgement.checks.size(),
            "each check counts once");
    require(judgement.verdict != report::Verdict::passed ||
                (run.starts_with_banner && run.ends_at_menu),
            "a part of a conversation does not pass");
    require(std::is_sorted(judgement.checks.begin(), judgement.checks.end(),
                           [](const auto& a, const auto& b) { return a.line < b.line; }),
            "checks come by line");
    for (const auto& check : judgement.checks)
    {
        require(check.line >= 1 && check.line <= run.last_line, "a check has a line");
        require(check.verdict == report::Verdict::passed || !check.reason.empty(),
                "what does not pass has a reason");
    }
}

void check_rows(std::string_view rows)
{
    while (!rows.empty())
    {
        const auto end = rows.find('\n');
        require(end != std::string_view::npos, "a row ends its line");
        require(nlohmann::json::accept(rows.substr(0, end)), "a row is JSON");
        rows.remove_prefix(end + 1);
    }
}

/// All outputs of a transcript that arrives in chunks of `first` and `second` bytes in turn.
std::string outputs_of(std::string_view transcript, std::size_t first, std::size_t second)
{
    std::string outputs;
    report::TranscriptReader reader([&](report::Run&& run) {
        name_run(run);
        const auto judgement = report::judge(run);
        check_judgement(run, judgement);
        const auto rows = report::rows_of(run, judgement);
        check_rows(rows);
        const auto object = report::object_of(run, judgement);
        require(nlohmann::json::accept(object), "a run is JSON");
        outputs += rows + object;
    });
    report::LineSplitter splitter;
    const auto take = [&](std::string_view line, std::uint64_t bytes) { reader.line(line, bytes); };
    while (!transcript.empty())
    {
        splitter.feed(transcript.substr(0, first), take);
        transcript.remove_prefix(std::min(first, transcript.size()));
        std::swap(first, second);
    }
    splitter.finish(take);
    reader.finish();
    return outputs;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size < 2)
    {
        return 0;
    }
    const std::string_view transcript{reinterpret_cast<const char*>(data) + 2, size - 2};
    const auto whole = outputs_of(transcript, transcript.size(), transcript.size());
    require(whole == outputs_of(transcript, data[0] + 1U, data[1] + 1U),
            "outputs do not depend on how the input arrives");
    return 0;
}
