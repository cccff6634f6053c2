#include "report/writers/styled_text.hpp"

#include <algorithm>
#include <array>

namespace report
{

namespace
{

constexpr std::size_t table_indent = 2;
constexpr std::size_t column_gap = 2;
constexpr std::size_t least_column = 6;

std::string_view escape_sequence(Style style)
{
    constexpr std::array<std::string_view, 7> sequences{
        "", "\x1B[1m", "\x1B[2m", "\x1B[32m", "\x1B[1;31m", "\x1B[1;33m", "\x1B[36m",
    };
    return sequences[static_cast<std::size_t>(style)];
}

/// Puts words one after the other, and some on the next line.
class Wrapping
{
  public:
    Wrapping(const Terminal& terminal, std::size_t indent) : terminal(terminal), indent(indent) {}

    void space()
    {
        ++spaces;
    }

    void word(Style style, std::string_view text)
    {
        if (terminal.width > indent)
        {
            if (column > indent && column + spaces + columns_of(text) > terminal.width)
            {
                next_line();
            }
            for (auto fits = beginning_of(text, room()); fits.size() < text.size() && !fits.empty();
                 fits = beginning_of(text, room()))
            {
                put(style, fits);
                next_line();
                text.remove_prefix(fits.size());
            }
        }
        put(style, text);
    }

    std::string text;

  private:
    std::size_t room() const
    {
        return terminal.width - std::min(column + spaces, terminal.width);
    }

    void next_line()
    {
        text.append(1, '\n').append(indent, ' ');
        column = indent;
        spaces = 0;
    }

    void put(Style style, std::string_view part)
    {
        text.append(spaces, ' ').append(styled(style, part, terminal));
        column += spaces + columns_of(part);
        spaces = 0;
    }

    const Terminal& terminal;
    const std::size_t indent;
    std::size_t column = 0;
    std::size_t spaces = 0;
};

/// 0 where all cells are empty.
std::vector<std::size_t> widths_of(const std::vector<Column>& columns, const std::vector<Row>& rows)
{
    std::vector<std::size_t> widths;
    for (std::size_t i = 0; i < columns.size(); ++i)
    {
        std::size_t widest = 0;
        for (const Row& row : rows)
        {
            widest = std::max(widest, columns_of(row[i].text));
        }
        widths.push_back(widest == 0 ? 0 : std::max(widest, columns_of(columns[i].head)));
    }
    return widths;
}

/// Takes from the widest of those that may shrink until all fit.
void fit(std::vector<std::size_t>& widths, const std::vector<Column>& columns, std::size_t width)
{
    std::size_t total = table_indent - column_gap;
    for (const std::size_t column : widths)
    {
        total += column == 0 ? 0 : column + column_gap;
    }
    while (total > width)
    {
        std::size_t* widest = nullptr;
        for (std::size_t i = 0; i < widths.size(); ++i)
        {
            const std::size_t least = std::max(least_column, columns_of(columns[i].head));
            if (columns[i].may_shrink && widths[i] > least &&
                (widest == nullptr || widths[i] > *widest))
            {
                widest = &widths[i];
            }
        }
        if (widest == nullptr)
        {
            return;
        }
        --*widest;
        --total;
    }
}

} // namespace

std::string styled(Style style, std::string_view text, const Terminal& terminal)
{
    const auto sequence = escape_sequence(style);
    if (!terminal.colour || sequence.empty() || text.empty())
    {
        return std::string(text);
    }
    return std::string(sequence).append(text).append("\x1B[0m");
}

void Paragraph::add(Style style, std::string text)
{
    spans.push_back({style, std::move(text)});
}

std::string Paragraph::laid_out(const Terminal& terminal, std::size_t indent) const
{
    Wrapping wrapping(terminal, indent);
    for (const Span& span : spans)
    {
        std::string_view rest = span.text;
        while (!rest.empty())
        {
            const auto end = std::min(rest.find(' '), rest.size());
            if (end > 0)
            {
                wrapping.word(span.style, rest.substr(0, end));
            }
            if (end < rest.size())
            {
                wrapping.space();
            }
            rest.remove_prefix(std::min(end + 1, rest.size()));
        }
    }
    return std::move(wrapping.text) + "\n";
}

std::string table(const std::vector<Column>& columns, const std::vector<Row>& rows,
                  const Terminal& terminal)
{
    auto widths = widths_of(columns, rows);
    if (terminal.width != 0)
    {
        fit(widths, columns, terminal.width);
    }
    std::string text;
    const auto line = [&](const Row& row) {
        std::size_t gap = table_indent;
        for (std::size_t i = 0; i < row.size(); ++i)
        {
            if (widths[i] == 0)
            {
                continue;
            }
            const std::string shown = cut_to(row[i].text, widths[i]);
            if (shown.empty())
            {
                gap += widths[i] + column_gap;
                continue;
            }
            const std::size_t pad = widths[i] - columns_of(shown);
            text.append(gap + (columns[i].to_the_right ? pad : 0), ' ');
            text.append(styled(row[i].style, shown, terminal));
            gap = column_gap + (columns[i].to_the_right ? 0 : pad);
        }
        text += '\n';
    };
    Row head;
    for (const Column& column : columns)
    {
        head.push_back({std::string(column.head), Style::faint});
    }
    line(head);
    std::for_each(rows.begin(), rows.end(), line);
    return text;
}

} // namespace report
