#include "mistake.hpp"
#include "report/judge/judge.hpp"
#include "report/writers/junit.hpp"
#include "report/writers/output_file.hpp"
#include "report_run.hpp"
#include "temporary_folder.hpp"

#include <gtest/gtest.h>

#include <pugixml.hpp>
#include <sys/stat.h>
#include <unistd.h>

namespace
{

using namespace report;

Call call_of_cpu(Operation operation, std::uint64_t status, Line line)
{
    Call call;
    call.line = call.told_line = line;
    call.device = 0;
    call.operation = operation;
    call.outcome = Outcome::answered;
    call.status = status;
    return call;
}

/// A whole conversation with a discovery and one device.
report::Run whole_run()
{
    auto run = empty_run();
    run.file = "night.txt";
    run.starts_with_banner = run.ends_at_menu = true;
    run.discovery_line = 2;
    run.devices = {cpu_12(3)};
    return run;
}

class JunitTest : public testing::Test
{
  protected:
    void open(const std::string& name = "out.xml")
    {
        output = std::make_unique<JunitOutput>(folder.path() + "/" + name);
    }
    void add(const report::Run& run)
    {
        output->append(output->prepare(run, judge(run)));
    }
    std::string text(const std::string& name = "out.xml")
    {
        output->finish({});
        return folder.read(name);
    }

    TemporaryFolder folder;
    std::unique_ptr<JunitOutput> output;
};

std::vector<std::string> case_names(const std::string& text)
{
    pugi::xml_document document;
    EXPECT_TRUE(document.load_string(text.c_str())) << text.substr(0, 1000);
    std::vector<std::string> names;
    for (const auto& found : document.select_nodes("//testcase"))
    {
        names.push_back(std::string(found.node().attribute("classname").value()) + "|" +
                        found.node().attribute("name").value());
    }
    return names;
}

TEST_F(JunitTest, ASuiteIsADeviceACaseACheck)
{
    auto run = whole_run();
    run.calls = {call_of_cpu(Operation::get_measurement, 0, 4),
                 call_of_cpu(Operation::get_measurement, 3, 5),
                 call_of_cpu(Operation::get_signed_measurement, 10, 6),
                 call_of_cpu(Operation::get_certificate, 0, 7)};
    run.calls[0].slot = 2;
    run.calls[0].indices = {{1, 255}};
    run.calls[0].microseconds = 1'002'003;
    run.calls[1].status_text = "a<b";
    run.calls[2].status_text = "Not\x01Supported";
    run.calls[3].outcome = Outcome::error;
    open();
    add(run);
    EXPECT_EQ(text(), R"xml(<?xml version="1.0" encoding="UTF-8"?>
<testsuites name="spdm-report" tests="5" failures="1" errors="1" skipped="1" time="1.002003">
<testsuite name="bench-7: the run itself" tests="1" failures="0" errors="0" skipped="0" time="0.000000">
<properties><property name="run" value="night.txt"/><property name="signatures" value="not verified"/></properties>
<testcase classname="bench-7.the run itself.discovery" name="discovery" file="night.txt" line="2"/>
</testsuite>
<testsuite name="bench-7: CPU-12 (EID 12)" tests="4" failures="1" errors="1" skipped="1" time="1.002003">
<properties><property name="run" value="night.txt"/><property name="signatures" value="not verified"/></properties>
<testcase classname="bench-7.CPU-12 (EID 12).operations" name="GetMeasurement" file="night.txt" line="5"><failure type="failed" message="a&lt;b">a&lt;b
night.txt:5</failure></testcase>
<testcase classname="bench-7.CPU-12 (EID 12).operations" name="GetCertificate" file="night.txt" line="7"><error type="error" message="no answer, or one that could not be read">no answer, or one that could not be read
night.txt:7</error></testcase>
<testcase classname="bench-7.CPU-12 (EID 12).operations" name="GetMeasurement, slot 2, indices 1 255" file="night.txt" line="4" time="1.002003"/>
<testcase classname="bench-7.CPU-12 (EID 12).operations" name="GetSignedMeasurement" file="night.txt" line="6"><skipped message="Not�Supported">Not�Supported
night.txt:6</skipped></testcase>
</testsuite>
</testsuites>
)xml");
}

TEST_F(JunitTest, EqualNamesGetNumbers)
{
    auto run = whole_run();
    run.controller = "10.0.0.7";
    run.discovery_line = 0;
    run.calls = {call_of_cpu(Operation::re_authenticate, 1, 4),
                 call_of_cpu(Operation::re_authenticate, 1, 5)};
    open();
    add(run);
    output->append(output->prepare_without_runs(run.controller, "other.txt"));
    add(run);
    const std::string name = "10_0_0_7.CPU-12 (EID 12).operations|";
    EXPECT_EQ(case_names(text()),
              (std::vector<std::string>{name + "ReAuthenticate", name + "ReAuthenticate (2)",
                                        name + "run 2: ReAuthenticate",
                                        name + "run 2: ReAuthenticate (2)"}));
}

TEST_F(JunitTest, NumberedNamesDoNotMeetOthers)
{
    auto run = whole_run();
    run.discovery_line = 0;
    run.tests.resize(3);
    for (auto& test : run.tests)
    {
        test.line = test.verdict_line = 5;
        test.device = 0;
        test.ordinal = 1;
        test.name = "x";
    }
    run.tests[0].name = "x (2)";
    open();
    add(run);
    const std::string name = "bench-7.CPU-12 (EID 12).Normal Measurements|Normal Measurements 1: x";
    EXPECT_EQ(case_names(text()), (std::vector<std::string>{name + " (2)", name, name + " (3)"}));
}

TEST_F(JunitTest, AnInputWithoutRunsIsASuiteWithoutCases)
{
    open();
    output->append(output->prepare_without_runs("-", "-"));
    EXPECT_EQ(text(),
              "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
              "<testsuites name=\"spdm-report\" tests=\"0\" failures=\"0\" errors=\"0\" "
              "skipped=\"0\" time=\"0.000000\">\n"
              "<testsuite name=\"standard input: the run itself\" tests=\"0\" failures=\"0\" "
              "errors=\"0\" skipped=\"0\" time=\"0.000000\">\n"
              "<properties><property name=\"run\" value=\"-\"/>"
              "<property name=\"signatures\" value=\"not verified\"/>"
              "<property name=\"judged\" value=\"nothing: no call and no test\"/></properties>\n"
              "</testsuite>\n</testsuites>\n");
}

TEST_F(JunitTest, AFolderHasAFileAController)
{
    open("results");
    auto run = whole_run();
    for (const char* controller : {"a/b", "../x", "a b", "a/b", "-", ""})
    {
        run.controller = controller;
        add(run);
    }
    output->finish({});
    output.reset();
    const auto names = folder.names();
    EXPECT_EQ(names, std::vector<std::string>{"results"});
    std::vector<std::string> files;
    for (const auto& entry : std::filesystem::directory_iterator(folder.path() + "/results"))
    {
        files.push_back(entry.path().filename().string());
    }
    std::sort(files.begin(), files.end());
    EXPECT_EQ(files, (std::vector<std::string>{"_._x.xml", "a_b-2.xml", "a_b.xml",
                                               "standard_input.xml", "unnamed.xml"}));
    EXPECT_EQ(case_names(folder.read("results/a_b.xml")),
              (std::vector<std::string>{"a/b.the run itself.discovery|discovery",
                                        "a/b.the run itself.discovery|run 2: discovery"}));
    EXPECT_EQ(case_names(folder.read("results/a_b-2.xml")),
              std::vector<std::string>{"a b.the run itself.discovery|discovery"});
}

TEST_F(JunitTest, AFolderThatCannotBeWrittenIsNamed)
{
    const auto file = folder.write("file", "");
    EXPECT_EQ(complaint_of<OutputError>([&] { JunitOutput{file}; }),
              "cannot write " + file + ": Not a directory");
    const auto missing = folder.path() + "/no/such";
    EXPECT_EQ(complaint_of<OutputError>([&] { JunitOutput{missing}; }),
              "cannot write " + missing + ": No such file or directory");
}

/// A run with so many calls that failed and that passed.
report::Run long_run(std::size_t failed, std::size_t passed, const std::string& reason)
{
    auto run = whole_run();
    run.calls.assign(failed, call_of_cpu(Operation::get_measurement, 3, 4));
    for (Call& call : run.calls)
    {
        call.status_text = reason;
    }
    run.calls.resize(failed + passed, call_of_cpu(Operation::get_measurement, 0, 5));
    return run;
}

struct Seen
{
    std::size_t bytes = 0;
    unsigned tests = 0;
    unsigned failures = 0;
    std::size_t failed_cases = 0;
    std::size_t passed_cases = 0;
    std::string stand_in; ///< The message of the case for those left out.
    std::string left_out; ///< What the suites say, a line each.
};

Seen see(const std::string& text)
{
    pugi::xml_document document;
    EXPECT_TRUE(document.load_buffer(text.data(), text.size()));
    Seen seen;
    seen.bytes = text.size();
    const auto root = document.child("testsuites");
    seen.tests = root.attribute("tests").as_uint();
    seen.failures = root.attribute("failures").as_uint();
    for (const auto& suite : root.children("testsuite"))
    {
        for (const auto& one : suite.children("testcase"))
        {
            const auto failure = one.child("failure");
            ++(failure ? seen.failed_cases : seen.passed_cases);
            if (std::string_view(failure.attribute("type").value()) == "left out")
            {
                seen.stand_in += failure.attribute("message").value();
            }
        }
        seen.left_out += suite.child_value("system-out");
    }
    return seen;
}

TEST_F(JunitTest, WhatPassedIsLeftOutFirst)
{
    const std::string reason(2000, '&'); // A thousand are shown, of five bytes each, twice.
    open();
    add(long_run(0, 100, ""));
    add(long_run(600, 100, reason));
    add(long_run(600, 100, reason));
    const auto seen = see(text());
    EXPECT_LT(seen.bytes, 10'000'000U);
    EXPECT_EQ(seen.tests, 1503U);
    EXPECT_EQ(seen.failures, 1200U);
    EXPECT_EQ(seen.passed_cases, 0U);
    EXPECT_GT(seen.failed_cases, 700U);
    EXPECT_LT(seen.failed_cases, 900U);
    const auto missing = std::to_string(1200 - (seen.failed_cases - 1));
    EXPECT_EQ(seen.stand_in, missing +
                                 " checks failed and 0 errors are left out, the file would be "
                                 "too large");
    EXPECT_EQ(seen.left_out,
              "Left out, because the file would be too large: 100 passed, 0 failed, 0 errors, 0 "
              "skipped."
              "Left out, because the file would be too large: 100 passed, " +
                  missing +
                  " failed, 0 errors, 0 skipped."
                  "Left out, because the file would be too large: 103 passed, 0 failed, 0 errors, "
                  "0 skipped.");
}

TEST_F(JunitTest, OneRunMayBeTooLarge)
{
    open("results");
    add(long_run(20'000, 5, std::string(400, '\x02')));
    const auto seen = see(text("results/bench-7.xml"));
    EXPECT_LT(seen.bytes, 10'000'000U);
    EXPECT_EQ(seen.tests, 20'006U);
    EXPECT_EQ(seen.failures, 20'000U);
    EXPECT_GT(seen.failed_cases, 2000U);
    EXPECT_EQ(seen.passed_cases, 0U);
    EXPECT_EQ(seen.stand_in.substr(0, seen.stand_in.find(' ')),
              std::to_string(20'000 - (seen.failed_cases - 1)));
}

TEST_F(JunitTest, VeryManyRunsThatPassFitIntoAFile)
{
    open();
    auto run = long_run(0, 200, "");
    for (auto number = 0; number < 400; ++number)
    {
        run.controller = "bench-" + std::to_string(number);
        add(run);
    }
    add(long_run(1, 0, "Failed"));
    const auto seen = see(text());
    EXPECT_LT(seen.bytes, 10'000'000U);
    EXPECT_EQ(seen.tests, 400 * 201 + 2U);
    EXPECT_EQ(seen.failures, 1U);
    EXPECT_EQ(seen.failed_cases, 1U);
    EXPECT_EQ(seen.stand_in, "");
    EXPECT_EQ(seen.left_out, "Left out, because the file would be too large: 80401 passed, 0 "
                             "failed, 0 errors, 0 skipped.");
}

} // namespace
