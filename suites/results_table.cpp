#include "suites/results_table.hpp"

#include <iomanip>

namespace
{

class StreamFormatGuard // restores flags and fill; width resets itself
{
  public:
    explicit StreamFormatGuard(std::ostream& guarded)
        : out(guarded), flags(guarded.flags()), fill(guarded.fill())
    {
        out.fill(' ');
    }
    ~StreamFormatGuard()
    {
        out.flags(flags);
        out.fill(fill);
    }
    StreamFormatGuard(const StreamFormatGuard&) = delete;
    StreamFormatGuard& operator=(const StreamFormatGuard&) = delete;

  private:
    std::ostream& out;
    std::ios_base::fmtflags flags;
    char fill;
};

const char* category_grade(std::uint32_t rate)
{
    return rate == 100 ? "✓ PASS" : rate >= 80 ? "⚠ WARN" : "✗ FAIL";
}

const char* overall_grade(std::uint32_t rate)
{
    return rate == 100 ? "✓ ALL PASS" : rate >= 90 ? "⚠ GOOD" : "✗ NEEDS ATTENTION";
}

const char* verdict(std::uint32_t rate)
{
    return rate == 100  ? "🎉 EXCELLENT: All tests passed successfully!"
           : rate >= 90 ? "✅ GOOD: Most tests passed. Review failed cases."
                        : "⚠️  ATTENTION: Significant test failures detected.";
}

CategoryResult sum(const CategoryResults& results)
{
    CategoryResult all;
    for (const auto& [name, result] : results)
    {
        all.passed += result.passed;
        all.total += result.total;
    }
    return all;
}

void print_rule(std::ostream& out, char sign)
{
    out << std::string(73, sign) << std::endl;
}

const char* or_not_available(const std::string& text)
{
    return text.empty() ? "Not available" : text.c_str();
}

void print_device(std::ostream& out, Eid eid, const DeviceDescriptor& device)
{
    out << "DEVICE INFORMATION:" << std::endl;
    out << "• Device EID: " << eid << std::endl;
    out << "• XMID: " << or_not_available(device.xmid) << std::endl;
    out << "• Description: " << or_not_available(device.description) << std::endl;
}

void print_head(std::ostream& out)
{
    out << "| " << std::left << std::setw(32) << "Test Category"
        << "| " << std::right << std::setw(7) << "Passed"
        << "| " << std::setw(7) << "Total"
        << "| " << std::setw(9) << "Success %"
        << "| " << std::left << std::setw(10) << "Status"
        << " |" << std::endl;
}

/// The rate is one character wider, the grade one narrower than in the head: required output.
void print_row(std::ostream& out, const std::string& name, const CategoryResult& result,
               const char* grade)
{
    out << "| " << std::left << std::setw(32) << name << "| " << std::right << std::setw(7)
        << result.passed << "| " << std::setw(7) << result.total << "| " << std::setw(8)
        << result.rate() << "% "
        << "| " << std::left << std::setw(9) << grade << " |" << std::endl;
}

void print_table(std::ostream& out, Eid eid, const DeviceDescriptor& device,
                 const CategoryResults& results)
{
    const StreamFormatGuard guard{out};
    out << "\n";
    print_rule(out, '=');
    out << "|                   COMPREHENSIVE TEST RESULTS TABLE                   |" << std::endl;
    print_rule(out, '=');
    print_device(out, eid, device);
    print_rule(out, '-');
    print_head(out);
    print_rule(out, '-');
    for (const auto& [name, result] : results)
    {
        print_row(out, name, result, category_grade(result.rate()));
    }
    print_rule(out, '-');
    const auto all = sum(results);
    print_row(out, "OVERALL SUMMARY", all, overall_grade(all.rate()));
    print_rule(out, '=');
}

} // namespace

void print_results(std::ostream& out, Eid eid, const DeviceDescriptor& device,
                   const CategoryResults& results)
{
    print_table(out, eid, device, results);

    const auto all = sum(results);
    out << "\nTest Execution Details:" << std::endl;
    out << "• Total Test Categories: " << results.size() << std::endl;
    out << "• Total Individual Tests: " << all.total << std::endl;
    out << "• Overall Success Rate: " << all.rate() << "%" << std::endl;
    out << verdict(all.rate()) << std::endl;
}
