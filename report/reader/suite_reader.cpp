#include "report/reader/suite_reader.hpp"

#include "report/reader/fields.hpp"

#include <string>
#include <utility>

namespace report
{

namespace
{

/// "1, 2, 3" or "1 2 3 ".
template <typename Number>
std::vector<Number> numbers_in(std::string_view text)
{
    std::vector<Number> numbers;
    while (const auto number = take_number<Number>(text))
    {
        numbers.push_back(*number);
        take(text, ",");
        take(text, " ");
    }
    return numbers;
}

/// The text before `end`, with which it must end.
std::string_view until(std::string_view text, std::string_view end)
{
    return text.ends_with(end) ? text.substr(0, text.size() - end.size()) : std::string_view{};
}

std::string_view trimmed(std::string_view text)
{
    const auto first = text.find_first_not_of(' ');
    const auto last = text.find_last_not_of(' ');
    return first == std::string_view::npos ? std::string_view{}
                                           : text.substr(first, last - first + 1);
}

} // namespace

bool SuiteReader::line(Shape shape, std::string_view text, std::string_view rest)
{
    return test_line(shape, rest) || verdict_line(shape, rest) || heading_line(shape, rest) ||
           slots_line(shape, rest) || category_line(shape, rest) ||
           availability_line(shape, rest) || table_line(shape, text, rest) ||
           details_line(shape, text, rest);
}

bool SuiteReader::availability_line(Shape shape, std::string_view rest)
{
    if (shape == Shape::availability_begins)
    {
        close();
        context.activity = Activity::suite;
        Availability check;
        check.line = check.told_line = context.number;
        check.device = context.device;
        availability = static_cast<Index>(context.run.availabilities.size());
        context.run.availabilities.push_back(check);
        return true;
    }
    if (availability == none)
    {
        return false;
    }
    auto& check = context.run.availabilities[availability];
    const auto answer = [&](Availability::Answer found) {
        check.answer = found;
        check.told_line = context.number;
    };
    switch (shape)
    {
        case Shape::availability_path:
            check.device = context.device = context.devices.of_path(rest, context.number);
            return true;
        case Shape::availability_no_device: answer(Availability::Answer::not_found); return true;
        case Shape::availability_responsive: answer(Availability::Answer::responsive); return true;
        case Shape::availability_bus_error: answer(Availability::Answer::bus_error); return true;
        case Shape::availability_error: answer(Availability::Answer::error); return true;
        case Shape::measurement_support: check.measurement = rest == "YES"; return true;
        case Shape::signed_measurement_support:
            check.signed_measurement = rest == "YES";
            return true;
        case Shape::service_absent: check.service = Availability::Service::absent; return true;
        case Shape::service_running: check.service = Availability::Service::running; return true;
        case Shape::service_unknown: check.service = Availability::Service::unknown; return true;
        case Shape::suite_skipping:
        case Shape::suite_aborting:
            if (check.answer == Availability::Answer::responsive)
            {
                context.contradiction("a suite was not run on a device that is responsive");
            }
            availability = none;
            return true;
        default: return false;
    }
}

bool SuiteReader::slots_line(Shape shape, std::string_view rest)
{
    const auto discovered = [&](Outcome outcome, std::vector<std::uint32_t> found) {
        auto& call = context.run.calls[context.add_call(Operation::get_all, outcome)];
        call.slot_discovery = true;
        if (slots_begun != 0)
        {
            call.line = slots_begun;
        }
        slots_known(std::move(found));
    };
    switch (shape)
    {
        case Shape::slot_supported:
            slots_begun = slots_begun == 0 ? context.number : slots_begun;
            slots_shown.push_back(take_number<std::uint32_t>(rest).value_or(0));
            return true;
        case Shape::slots:
            if (slots_shown != numbers_in<std::uint32_t>(rest))
            {
                context.contradiction("the slots are not those that were found");
            }
            discovered(Outcome::answered, slots_shown);
            return true;
        case Shape::slots_none: discovered(Outcome::answered, {}); return true;
        case Shape::slots_error: discovered(Outcome::error, {}); return true;
        case Shape::slot_skipped:
            if (auto* running = part())
            {
                ++running->skipped;
            }
            return true;
        default: return false;
    }
}

/// Each category tests the slots of its first discovery.
void SuiteReader::slots_known(std::vector<std::uint32_t> found)
{
    slots_begun = 0;
    slots_shown.clear();
    if (auto* running = part(); running != nullptr && slot_discoveries++ == 0)
    {
        supported = std::move(found);
        running->slots = static_cast<std::uint32_t>(supported.size());
    }
}

bool SuiteReader::category_line(Shape shape, std::string_view rest)
{
    switch (shape)
    {
        case Shape::suite_device: begin_suite(rest); return true;
        case Shape::normal_begins: begin_category(CategoryName::normal); return true;
        case Shape::signed_tests_begin:
            begin_category(CategoryName::signed_measurements);
            return true;
        case Shape::failure_begins: begin_category(CategoryName::failure); return true;
        case Shape::stress_begins: begin_category(CategoryName::stress); return true;
        case Shape::normal_aborted: abort_category(CategoryName::normal); return true;
        case Shape::signed_aborted: abort_category(CategoryName::signed_measurements); return true;
        case Shape::stress_aborted: abort_category(CategoryName::stress); return true;
        case Shape::normal_summary: begin_summary(CategoryName::normal); return true;
        case Shape::signed_summary: begin_summary(CategoryName::signed_measurements); return true;
        case Shape::failure_summary: begin_summary(CategoryName::failure); return true;
        case Shape::stress_summary: begin_summary(CategoryName::stress); return true;
        case Shape::summary_passed:
            if (auto* summed = part(); summed != nullptr && summed->summary_line != 0)
            {
                summed->passed = take_number<std::uint64_t>(rest).value_or(0);
                take(rest, "/");
                summed->total = take_number<std::uint64_t>(rest).value_or(0);
                return true;
            }
            return false;
        case Shape::summary_rate:
            if (auto* summed = part(); summed != nullptr && summed->summary_line != 0)
            {
                summed->rate = take_number<std::uint64_t>(rest).value_or(0);
                category.reset();
                return true;
            }
            return false;
        default: return false;
    }
}

/// "  12               #"
void SuiteReader::begin_suite(std::string_view rest)
{
    close();
    context.activity = Activity::suite;
    rest = trimmed(rest.substr(0, rest.find('#')));
    if (const auto eid = number_in<std::uint16_t>(rest))
    {
        context.device = context.devices.of_eid(*eid, context.number);
    }
    Suite begun;
    begun.line = context.number;
    begun.device = context.device;
    begun.availability = availability;
    availability = none;
    suite = static_cast<Index>(context.run.suites.size());
    context.run.suites.push_back(begun);
    ordinals = {};
    descriptor = none;
}

void SuiteReader::begin_category(CategoryName name)
{
    if (suite == none)
    {
        context.contradiction("a category outside a suite");
        return;
    }
    category = name;
    auto* begun = part();
    if (begun->line != 0)
    {
        context.contradiction("a category ran twice");
    }
    begun->line = context.number;
    slot_discoveries = 0;
    slot.reset();
    tests_of_different_slots.reset();
}

void SuiteReader::abort_category(CategoryName name)
{
    if (category == name)
    {
        part()->aborted_line = context.number;
        end_discoveries();
        category.reset();
        return;
    }
    context.contradiction("a category that did not run was aborted");
}

/// The failure tests ask for the slots again and again, the others once.
void SuiteReader::end_discoveries()
{
    if (slot_discoveries != (category == CategoryName::failure ? 5U : 1U))
    {
        context.contradiction("a slot discovery is missing");
    }
}

void SuiteReader::begin_summary(CategoryName name)
{
    if (category == name)
    {
        part()->summary_line = context.number;
        end_discoveries();
        return;
    }
    context.contradiction("a summary without its category");
}

bool SuiteReader::heading_line(Shape shape, std::string_view rest)
{
    switch (shape)
    {
        case Shape::different_slots: tests_of_different_slots = 0; return true;
        case Shape::testing_slot:
        case Shape::testing_unsupported_slot:
        case Shape::testing_invalid_slot: slot = take_number<std::uint32_t>(rest); return true;
        default: return false;
    }
}

bool SuiteReader::test_line(Shape shape, std::string_view rest)
{
    const auto numbered = [&](const char* name, bool expects_success, bool number_is_index) {
        const auto number = rest.substr(0, rest.find(' '));
        const auto index = number_in<std::uint16_t>(number);
        begin_test(shape, std::string(name) + std::string(number), expects_success,
                   Indices{number_is_index ? index.value_or(0) : std::uint16_t{1}});
        test_number = context.run.texts.keep(number);
        if (!number_is_index)
        {
            context.arguments.slot = number_in<std::uint32_t>(number);
        }
        return true;
    };
    switch (shape)
    {
        case Shape::test_single: return numbered("Single Measurement Index ", true, true);
        case Shape::test_invalid_index: return numbered("Invalid Measurement Index ", false, true);
        case Shape::test_invalid_slot: return numbered("Invalid Slot ID ", false, false);
        case Shape::test_multiple:
            begin_test(shape, "Multiple Measurement Indices", true, std::nullopt);
            return true;
        case Shape::test_all:
            begin_test(shape, "All Measurements Retrieval (0xFF)", true, Indices{255});
            return true;
        case Shape::test_signed:
            begin_test(shape, "Signed Measurement with Nonce", true, std::nullopt);
            return true;
        case Shape::test_indices:
            if (test == none)
            {
                return false;
            }
            read_indices(rest);
            return true;
        default: return false;
    }
}

void SuiteReader::begin_test(Shape shape, std::string_view name, bool expects_success,
                             std::optional<Indices> indices)
{
    if (test != none)
    {
        context.contradiction("a test has no verdict");
    }
    Test begun;
    begun.line = begun.verdict_line = context.number;
    begun.device = suite == none ? context.device : context.run.suites[suite].device;
    begun.suite = suite;
    begun.name = context.run.texts.keep(name);
    begun.expects_success = expects_success;
    if (!category)
    {
        context.contradiction("a test outside a category");
    }
    begun.category = category.value_or(CategoryName::normal);
    begun.ordinal = ++ordinals[static_cast<std::size_t>(begun.category)];
    test = static_cast<Index>(context.run.tests.size());
    if (auto* running = current())
    {
        running->first_test = running->tests++ == 0 ? test : running->first_test;
    }
    context.run.tests.push_back(begun);
    test_heading = shape;
    test_number = {};
    context.arguments = {};
    context.arguments.test = test;
    context.arguments.slot = slot_of_test();
    context.arguments.indices = std::move(indices);
    if (tests_of_different_slots)
    {
        ++*tests_of_different_slots;
    }
}

/// The slot that the headings tell; where there is none, the one that the category uses.
std::optional<std::uint32_t> SuiteReader::slot_of_test() const
{
    const auto first = supported.empty() ? std::nullopt : std::optional{supported.front()};
    if (category == CategoryName::failure)
    {
        return first.value_or(0);
    }
    if (category != CategoryName::stress)
    {
        return slot;
    }
    if (!tests_of_different_slots)
    {
        return first;
    }
    constexpr std::size_t tests_a_slot = 3;
    const auto row = *tests_of_different_slots / tests_a_slot;
    return row < supported.size() ? std::optional{supported[row]} : std::nullopt;
}

/// "1 2 3 ", and with a nonce "1 Nonce: 0123"
void SuiteReader::read_indices(std::string_view rest)
{
    const auto nonce = rest.find("Nonce: ");
    context.arguments.indices = numbers_in<std::uint16_t>(rest.substr(0, nonce));
    if (nonce != std::string_view::npos)
    {
        context.arguments.nonce = context.run.texts.keep(rest.substr(nonce + 7));
    }
}

bool SuiteReader::verdict_line(Shape shape, std::string_view rest)
{
    using enum Test::ClientVerdict;
    switch (shape)
    {
        case Shape::passed_single:
            end_test(Shape::test_single, passed, until(rest, " test passed"));
            return true;
        case Shape::failed_single:
            end_test(Shape::test_single, failed, until(rest, " test failed"));
            return true;
        case Shape::passed_multiple: end_test(Shape::test_multiple, passed, {}); return true;
        case Shape::failed_multiple: end_test(Shape::test_multiple, failed, {}); return true;
        case Shape::passed_all: end_test(Shape::test_all, passed, {}); return true;
        case Shape::failed_all: end_test(Shape::test_all, failed, {}); return true;
        case Shape::passed_invalid_index:
            end_test(Shape::test_invalid_index, passed, {});
            return true;
        case Shape::warned_invalid_index:
            end_test(Shape::test_invalid_index, warning, {});
            return true;
        case Shape::passed_invalid_slot:
            end_test(Shape::test_invalid_slot, passed, {});
            return true;
        case Shape::warned_invalid_slot:
            end_test(Shape::test_invalid_slot, warning, {});
            return true;
        case Shape::passed_signed: end_test(Shape::test_signed, passed, {}); return true;
        case Shape::failed_signed: end_test(Shape::test_signed, failed, {}); return true;
        default: return false;
    }
}

void SuiteReader::end_test(Shape heading, Test::ClientVerdict verdict, std::string_view number)
{
    const auto same_number = heading != Shape::test_single || number == test_number;
    if (test == none || heading != test_heading || !same_number)
    {
        context.contradiction("a verdict without its test");
        return;
    }
    auto& ended = context.run.tests[test];
    ended.client_verdict = verdict;
    ended.verdict_line = context.number;
    test = none;
    slot.reset();
    context.arguments = {};
}

bool SuiteReader::table_line(Shape shape, std::string_view text, std::string_view rest)
{
    switch (shape)
    {
        case Shape::descriptor_failed:
            descriptor = context.add_call(Operation::get_all, Outcome::error);
            return true;
        case Shape::table_begins:
            if (suite == none || context.run.suites[suite].first_row != none)
            {
                return false; // A second table.
            }
            in_table = true;
            context.run.suites[suite].first_row = static_cast<Index>(context.run.categories.size());
            return true;
        case Shape::table_row:
            if (!in_table)
            {
                return false;
            }
            read_row(text);
            return true;
        case Shape::table_eid: return in_table;
        case Shape::table_xmid:
        case Shape::table_description:
            if (!in_table)
            {
                return false;
            }
            if (rest == "Not available")
            {
                // Else a removed error would pass for a device without these properties.
                if (shape == Shape::table_xmid && descriptor == none && context.device != none &&
                    !context.run.devices[context.device].xmid.value_or("").empty())
                {
                    context.contradiction("the results table lacks the device's XMID");
                }
                return true;
            }
            if (descriptor == none)
            {
                descriptor = context.add_call(Operation::get_all, Outcome::answered);
            }
            context.run.properties.push_back(
                {context.number, context.device, descriptor,
                 shape == Shape::table_xmid ? "XMID" : "DeviceDescription",
                 context.run.texts.keep(rest)});
            if (shape == Shape::table_xmid)
            {
                context.devices.learn_xmid(context.device, rest);
            }
            return true;
        default: return false;
    }
}

/// "| Normal Measurements             |       8|       8|      100% | ✓ PASS  |"
void SuiteReader::read_row(std::string_view text)
{
    Category row;
    row.line = context.number;
    row.device = context.device;
    take(text, "| ");
    const auto cell = [&] { return trimmed(take_until(text, "|").value_or(std::string_view{})); };
    row.category = context.run.texts.keep(cell());
    const auto passed = number_in<std::uint64_t>(cell());
    const auto total = number_in<std::uint64_t>(cell());
    auto rate_cell = cell();
    const auto rate = take_number<std::uint64_t>(rate_cell);
    row.grade = context.run.texts.keep(cell());
    if (!passed || !total || !rate || rate_cell != "%")
    {
        context.note(text);
        return;
    }
    row.passed = *passed;
    row.total = *total;
    row.rate = *rate;
    context.run.categories.push_back(row);
    ++context.run.suites[suite].rows;
}

bool SuiteReader::details_line(Shape shape, std::string_view text, std::string_view rest)
{
    auto* found = current();
    if (found == nullptr)
    {
        return false;
    }
    switch (shape)
    {
        case Shape::details_begin:
            in_table = false;
            found->details_line = context.number;
            return true;
        case Shape::details_categories:
            found->categories_told = take_number<std::uint64_t>(rest);
            return true;
        case Shape::details_tests:
            found->tests_told = take_number<std::uint64_t>(rest);
            return true;
        case Shape::details_rate: found->rate_told = take_number<std::uint64_t>(rest); return true;
        case Shape::suite_verdict: found->verdict_told = context.run.texts.keep(text); return true;
        case Shape::suite_done:
            found->done_line = context.number;
            close();
            return true;
        default: return false;
    }
}

void SuiteReader::object_not_found()
{
    if (test != none)
    {
        const auto operation = test_heading == Shape::test_signed
                                   ? Operation::get_signed_measurement
                                   : Operation::get_measurement;
        context.add_call(operation, Outcome::unknown_device);
        return;
    }
    auto& call = context.run.calls[context.add_call(Operation::get_all, Outcome::unknown_device)];
    call.slot_discovery = true;
    slots_known({});
}

void SuiteReader::close()
{
    suite = none;
    test = none;
    category.reset();
    in_table = false;
    slots_begun = 0;
    slots_shown.clear();
    context.arguments = {};
}

Suite* SuiteReader::current()
{
    return suite == none ? nullptr : &context.run.suites[suite];
}

Suite::Part* SuiteReader::part()
{
    return suite == none || !category
               ? nullptr
               : &context.run.suites[suite].parts[static_cast<std::size_t>(*category)];
}

} // namespace report
