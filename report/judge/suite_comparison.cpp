#include "report/judge/suite_comparison.hpp"

#include "report/model/words.hpp"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace report
{

namespace
{

struct Count
{
    std::uint64_t passed = 0;
    std::uint64_t total = 0;

    bool operator==(const Count&) const = default;
};

std::string words(Count count)
{
    return std::to_string(count.passed) + '/' + std::to_string(count.total);
}

std::uint64_t rate_of(Count count)
{
    return count.total == 0 ? 0 : count.passed * 100 / count.total;
}

std::string_view grade_of(std::uint64_t rate)
{
    return rate == 100 ? "✓ PASS" : rate >= 80 ? "⚠ WARN" : "✗ FAIL";
}

std::string_view overall_grade_of(std::uint64_t rate)
{
    return rate == 100 ? "✓ ALL PASS" : rate >= 90 ? "⚠ GOOD" : "✗ NEEDS ATTENTION";
}

std::string_view verdict_of(std::uint64_t rate)
{
    return rate == 100  ? "🎉 EXCELLENT: All tests passed successfully!"
           : rate >= 90 ? "✅ GOOD: Most tests passed. Review failed cases."
                        : "⚠️  ATTENTION: Significant test failures detected.";
}

/// The tests that a category has, by the number of its slots.
std::uint64_t tests_of(CategoryName category, const Suite::Part& part)
{
    switch (category)
    {
        case CategoryName::failure: return std::uint64_t{7} - part.skipped;
        case CategoryName::stress: return 20 + std::uint64_t{3} * part.slots;
        default: return std::uint64_t{4} * part.slots;
    }
}

class Comparison
{
  public:
    Comparison(const Run& run, const Suite& suite, bool stopped)
        : run(run), suite(suite), stopped(stopped)
    {
        for (Index i = 0; i < suite.tests; ++i)
        {
            const auto& test = run.tests[suite.first_test + i];
            auto& count = counted[static_cast<std::size_t>(test.category)];
            ++count.total;
            count.passed += test.client_verdict == Test::ClientVerdict::passed ? 1 : 0;
        }
    }

    std::vector<Difference> all()
    {
        for (std::size_t i = 0; i < category_count; ++i)
        {
            compare_part(static_cast<CategoryName>(i));
        }
        if (!stopped && suite.done_line == 0)
        {
            add(suite.line, "its end is missing");
        }
        if (suite.done_line != 0 || suite.details_line != 0)
        {
            compare_table();
            compare_details();
        }
        return differences;
    }

  private:
    void add(Line line, std::string text)
    {
        differences.push_back({line, std::move(text)});
    }

    void compare_part(CategoryName category)
    {
        const auto& part = suite.parts[static_cast<std::size_t>(category)];
        const auto seen = counted[static_cast<std::size_t>(category)];
        const auto name = std::string(word(category));
        if (part.line == 0 || part.aborted_line != 0)
        {
            if (seen.total != 0)
            {
                add(suite.line, "tests of " + name + ", which did not run");
            }
            return;
        }
        if (part.summary_line == 0)
        {
            if (!stopped)
            {
                add(part.line, "the summary of " + name + " is missing");
            }
            return;
        }
        const Count summary{part.passed, part.total};
        if (summary != seen)
        {
            add(part.summary_line, "the summary of " + name + " says " + words(summary) +
                                       ", its verdict lines " + words(seen));
        }
        if (seen.total != tests_of(category, part))
        {
            add(part.summary_line, name + " has " + std::to_string(seen.total) +
                                       " tests, its slots make " +
                                       std::to_string(tests_of(category, part)));
        }
        if (part.rate != rate_of(seen))
        {
            add(part.summary_line, "the summary of " + name + " says " + std::to_string(part.rate) +
                                       "%, its verdict lines " + std::to_string(rate_of(seen)) +
                                       '%');
        }
    }

    void compare_row(std::string_view name, Count seen, std::string_view grade)
    {
        for (Index i = suite.first_row; suite.rows != 0 && i < suite.first_row + suite.rows; ++i)
        {
            const auto& row = run.categories[i];
            if (row.category != name)
            {
                continue;
            }
            const Count told{row.passed, row.total};
            if (told != seen || row.rate != rate_of(seen))
            {
                add(row.line, "the table says " + words(told) + ", " + std::to_string(row.rate) +
                                  "% for " + std::string(name) + ", the verdict lines " +
                                  words(seen));
            }
            if (row.grade != grade)
            {
                add(row.line,
                    "the table's grade of " + std::string(name) + " is not that of its rate");
            }
            return;
        }
        add(details_line(), "the table has no row of " + std::string(name));
    }

    void compare_table()
    {
        for (std::size_t i = 0; i < category_count; ++i)
        {
            compare_row(word(static_cast<CategoryName>(i)), counted[i],
                        grade_of(rate_of(counted[i])));
        }
        compare_row("OVERALL SUMMARY", sum(), overall_grade_of(rate_of(sum())));
        if (suite.rows > category_count + 1)
        {
            add(details_line(), "the table has rows of no category");
        }
    }

    /// The end of the suite where the details' head is missing.
    Line details_line() const
    {
        return suite.details_line != 0 ? suite.details_line : suite.done_line;
    }

    void compare_details()
    {
        if (suite.categories_told != category_count || suite.tests_told != sum().total ||
            suite.rate_told != rate_of(sum()) || suite.verdict_told != verdict_of(rate_of(sum())))
        {
            add(details_line(), "the execution details are not those of the verdict lines");
        }
    }

    Count sum() const
    {
        Count all;
        for (const auto& count : counted)
        {
            all.passed += count.passed;
            all.total += count.total;
        }
        return all;
    }

    const Run& run;
    const Suite& suite;
    bool stopped;
    std::array<Count, category_count> counted;
    std::vector<Difference> differences;
};

} // namespace

std::vector<Difference> compare_suite(const Run& run, const Suite& suite, bool stopped)
{
    return Comparison(run, suite, stopped).all();
}

} // namespace report
