// Input: a transcript, of which the first two bytes say how it is cut into chunks.

#include "fuzz/support/require.hpp"
#include "report/judge/judge.hpp"
#include "report/reader/line_splitter.hpp"
#include "report/reader/transcript_reader.hpp"
#include "report/writers/junit_suites.hpp"
#include "report/writers/rows.hpp"
#include "report/writers/utf8.hpp"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <numeric>
#include <pugixml.hpp>
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

/// The parser accepts characters, and references to some, that XML forbids.
void check_junit(const std::string& suite)
{
    pugi::xml_document document;
    require(document.load_buffer(suite.data(), suite.size()), "a suite is XML");
    for (std::string_view rest = suite; !rest.empty();)
    {
        const auto [size, valid] = report::first_character(rest);
        const auto character = rest.substr(0, size);
        require(valid, "a suite is UTF-8");
        require(static_cast<unsigned char>(character.front()) >= 0x20 || character == "\n" ||
                    character == "\t",
                "a suite has no control characters");
        require(character != "\xef\xbf\xbe" && character != "\xef\xbf\xbf",
                "a suite has no character that is none");
        require(!rest.starts_with("&#0") || rest.starts_with("&#09;") ||
                    rest.starts_with(report::junit_run_mark),
                "a suite refers to no control character");
        require(!rest.starts_with("&#1") || rest.starts_with("&#10;") || rest.starts_with("&#13;"),
                "a suite refers to no control character");
        rest.remove_prefix(size);
    }
}

std::string junit_of(const report::Run& run, const report::Judgement& judgement)
{
    std::string text;
    std::uint64_t cases = 0;
    for (const auto& suite : report::junit_suites(run, judgement))
    {
        auto whole = suite.opening;
        for (const auto& problem : suite.problems)
        {
            whole += problem.text;
        }
        whole += suite.others + "</testsuite>";
        check_junit(whole);
        cases += suite.counts.all();
        text += whole;
    }
    require(cases == judgement.checks.size(), "each check is a case");
    return text;
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
        outputs += rows + object + junit_of(run, judgement);
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
