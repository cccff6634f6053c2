#pragma once

#include <cstddef>
#include <string>
#include <string_view>

/// Texts of unknown origin on a terminal: what is safe to show, and how wide it is.
namespace report
{

/// `text` as UTF-8 that only shows itself: whatever could move the cursor, reorder or hide text, or is
/// no UTF-8, becomes an escape such as \x1B or \u202E. Of more than `longest` bytes the end is "…".
std::string printable(std::string_view text, std::size_t longest = 1000);

/// How many columns a `printable` text takes.
std::size_t columns_of(std::string_view text);

/// The longest beginning of a `printable` text that takes at most so many columns.
std::string_view beginning_of(std::string_view text, std::size_t columns);

/// A `printable` text in at most so many columns; "…" is the end of one that is cut.
std::string cut_to(std::string_view text, std::size_t columns);

/// What text is written to.
struct Terminal
{
    bool colour = false;
    std::size_t width = 0; ///< Columns; 0 where it is no terminal, and nothing is cut.
};

/// The file descriptor's, NO_COLOR, TERM and COLUMNS considered.
Terminal terminal_of(int descriptor);

} // namespace report
