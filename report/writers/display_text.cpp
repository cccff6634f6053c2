#include "report/writers/display_text.hpp"

#include "report/writers/utf8.hpp"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <cstdlib>
#include <cwchar>
#include <fmt/format.h>
#include <iterator>
#include <locale.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace report
{

namespace
{

constexpr std::size_t default_width = 80;
constexpr std::string_view ellipsis = "…";

struct CodePoint
{
    char32_t value = 0;
    std::size_t bytes = 1;
    bool valid = false;
};

/// The first code point of a text that is not empty.
CodePoint first_code_point(std::string_view text)
{
    const auto byte = [text](std::size_t place) { return static_cast<unsigned char>(text[place]); };
    const Utf8Character character = first_character(text);
    if (!character.valid)
    {
        return {};
    }
    // Of the first byte those bits count that do not say how many bytes there are.
    char32_t value = character.size == 1 ? byte(0) : byte(0) & (0x7FU >> character.size);
    for (std::size_t place = 1; place < character.size; ++place)
    {
        value = (value << 6) | (byte(place) & 0x3FU);
    }
    return {value, character.size, true};
}

/// While it lives, this thread's wcwidth() knows Unicode, whatever the environment's locale is.
class UnicodeWidths
{
  public:
    UnicodeWidths() : before(uselocale(unicode())) {}
    ~UnicodeWidths()
    {
        uselocale(before);
    }
    UnicodeWidths(const UnicodeWidths&) = delete;
    UnicodeWidths& operator=(const UnicodeWidths&) = delete;

    bool can_show(char32_t value) const
    {
        return wcwidth(static_cast<wchar_t>(value)) >= 0;
    }

    std::size_t of(char32_t value) const
    {
        return static_cast<std::size_t>(std::max(wcwidth(static_cast<wchar_t>(value)), 0));
    }

  private:
    static locale_t unicode()
    {
        static const locale_t locale = newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
        return locale;
    }

    locale_t before;
};

/// Invisible, or changes what is shown around it.
bool is_hidden(char32_t value)
{
    return value == 0xAD || value == 0x61C || value == 0x180E ||
           (value >= 0x200B && value <= 0x200F) || (value >= 0x2028 && value <= 0x202E) ||
           (value >= 0x2060 && value <= 0x206F) || value == 0xFEFF ||
           (value >= 0xFFF9 && value <= 0xFFFB) || (value >= 0xE0000 && value <= 0xE0FFF);
}

bool is_plain(char byte)
{
    return byte >= ' ' && byte <= '~';
}

void append_printable(std::string& out, std::string_view text, const CodePoint& point,
                      const UnicodeWidths& widths)
{
    if (!point.valid || point.value < 0x80)
    {
        fmt::format_to(std::back_inserter(out), "\\x{:02X}",
                       static_cast<unsigned char>(text.front()));
    }
    else if (is_hidden(point.value) || !widths.can_show(point.value))
    {
        const auto number = static_cast<std::uint32_t>(point.value);
        out +=
            number > 0xFFFF ? fmt::format("\\U{:08X}", number) : fmt::format("\\u{:04X}", number);
    }
    else
    {
        out += text.substr(0, point.bytes);
    }
}

std::size_t width_from_environment()
{
    const char* const columns = std::getenv("COLUMNS");
    const std::string_view text = columns == nullptr ? "" : columns;
    std::size_t width = 0;
    const auto [end, problem] = std::from_chars(text.data(), text.data() + text.size(), width);
    const bool number = problem == std::errc{} && end == text.data() + text.size();
    return number && width > 0 ? width : default_width;
}

bool is_set(const char* variable)
{
    const char* const value = std::getenv(variable);
    return value != nullptr && *value != '\0';
}

} // namespace

std::string printable(std::string_view text, std::size_t longest)
{
    const UnicodeWidths widths;
    std::string out;
    while (!text.empty())
    {
        if (is_plain(text.front()))
        {
            out += text.front();
            text.remove_prefix(1);
        }
        else
        {
            const CodePoint point = first_code_point(text);
            append_printable(out, text, point, widths);
            text.remove_prefix(point.bytes);
        }
        if (out.size() >= longest && !text.empty())
        {
            return out.append(ellipsis);
        }
    }
    return out;
}

std::string_view beginning_of(std::string_view text, std::size_t columns)
{
    const UnicodeWidths widths;
    std::size_t bytes = 0;
    while (bytes < text.size())
    {
        const CodePoint point = first_code_point(text.substr(bytes));
        const std::size_t width = widths.of(point.value);
        if (width > columns)
        {
            break;
        }
        columns -= width;
        bytes += point.bytes;
    }
    return text.substr(0, bytes);
}

std::size_t columns_of(std::string_view text)
{
    const UnicodeWidths widths;
    std::size_t columns = 0;
    while (!text.empty())
    {
        const CodePoint point = first_code_point(text);
        columns += widths.of(point.value);
        text.remove_prefix(point.bytes);
    }
    return columns;
}

std::string cut_to(std::string_view text, std::size_t columns)
{
    const std::string_view whole = beginning_of(text, columns);
    if (whole.size() == text.size() || columns == 0)
    {
        return std::string(whole);
    }
    return std::string(beginning_of(text, columns - 1)).append(ellipsis);
}

Terminal terminal_of(int descriptor)
{
    if (isatty(descriptor) == 0)
    {
        return {};
    }
    const char* const type = std::getenv("TERM");
    const bool dumb = type != nullptr && std::string_view(type) == "dumb";
    winsize size{};
    const bool known = ioctl(descriptor, TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
    return {!is_set("NO_COLOR") && !dumb, known ? size.ws_col : width_from_environment()};
}

} // namespace report
