#pragma once

#include "report/reader/context.hpp"
#include "report/reader/line_shapes.hpp"

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

namespace report
{

/// Reads the measurement test suite: availability, slots, categories, tests, results table.
class SuiteReader
{
  public:
    explicit SuiteReader(Context& context) : context(context) {}

    /// Whether the line was one of these.
    bool line(Shape shape, std::string_view text, std::string_view rest);

    /// "Object name not found." in a suite, but for its re-authentication.
    void object_not_found();

    /// Nothing of a suite follows.
    void close();

    /// Whether a suite on a device is being read.
    bool in_suite() const
    {
        return suite != none;
    }

  private:
    using Indices = std::vector<std::uint16_t>;

    bool availability_line(Shape shape, std::string_view rest);
    bool slots_line(Shape shape, std::string_view rest);
    bool category_line(Shape shape, std::string_view rest);
    bool heading_line(Shape shape, std::string_view rest);
    bool test_line(Shape shape, std::string_view rest);
    bool verdict_line(Shape shape, std::string_view rest);
    bool table_line(Shape shape, std::string_view text, std::string_view rest);
    bool details_line(Shape shape, std::string_view text, std::string_view rest);

    void begin_suite(std::string_view rest);
    void begin_category(CategoryName name);
    void abort_category(CategoryName name);
    void begin_summary(CategoryName name);
    void begin_test(Shape shape, std::string_view name, bool expects_success,
                    std::optional<Indices> indices);
    void read_indices(std::string_view rest);
    void end_test(Shape heading, Test::ClientVerdict verdict, std::string_view number);
    void slots_known(std::vector<std::uint32_t> found);
    void end_discoveries();
    void read_row(std::string_view text);
    std::optional<std::uint32_t> slot_of_test() const;
    Suite* current();
    Suite::Part* part();

    Context& context;
    Index availability = none;
    Index suite = none;
    std::optional<CategoryName> category;
    Line slots_begun = 0; ///< "Slot 0 is supported", the first of them.
    std::vector<std::uint32_t> slots_shown;
    std::vector<std::uint32_t> supported; ///< The slots that the category tests.
    std::uint32_t slot_discoveries = 0;   ///< Of the category.
    std::optional<std::uint32_t> slot;
    std::optional<std::uint32_t> tests_of_different_slots;
    std::array<std::uint32_t, category_count> ordinals{};
    Index test = none;
    Shape test_heading = Shape::unknown;
    std::string_view test_number; ///< Of the heading: an index or a slot.
    bool in_table = false;
    Index descriptor = none; ///< The call that asked for the table's properties.
};

} // namespace report
