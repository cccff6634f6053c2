#pragma once

#include "report/writers/display_text.hpp"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace report
{

enum class Style : std::uint8_t
{
    plain,
    strong,
    faint,
    good,
    bad,
    doubtful,
    left_out
};

/// The text between the escape sequences of its style, where the terminal has colours.
std::string styled(Style style, std::string_view text, const Terminal& terminal);

/// A paragraph of `printable` texts.
class Paragraph
{
  public:
    void add(Style style, std::string text);

    /// With its line end. Wraps between words where the terminal has a width; lines after the first
    /// begin with `indent` spaces.
    std::string laid_out(const Terminal& terminal, std::size_t indent) const;

  private:
    struct Span
    {
        Style style;
        std::string text;
    };
    std::vector<Span> spans;
};

struct Column
{
    std::string_view head;
    bool to_the_right = false;
    bool may_shrink = false;
};

struct Cell
{
    std::string text; ///< `printable`.
    Style style = Style::plain;
};

using Row = std::vector<Cell>;

/// A head and rows, each a line. Empty columns are left out; those that may shrink are cut to make the
/// table fit the terminal.
std::string table(const std::vector<Column>& columns, const std::vector<Row>& rows,
                  const Terminal& terminal);

} // namespace report
