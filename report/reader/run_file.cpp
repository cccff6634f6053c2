#include "report/reader/run_file.hpp"

#include "report/reader/inputs.hpp"
#include "report/reader/source.hpp"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <charconv>
#include <chrono>
#include <filesystem>
#include <istream>
#include <map>
#include <memory>
#include <streambuf>
#include <string_view>
#include <system_error>
#include <utility>

namespace report
{

namespace
{

/// A file's bytes for the parser, which holds a text or a number, and the blanks before it, in
/// memory: too many of them are an error.
class JsonBytes : public std::streambuf
{
  public:
    explicit JsonBytes(const std::string& path) : path(path), source(open_source(path)) {}

  protected:
    int_type underflow() override
    {
        const auto size = source->read(buffer);
        check({buffer.data(), size});
        setg(buffer.data(), buffer.data(), buffer.data() + size);
        return size == 0 ? traits_type::eof() : traits_type::to_int_type(buffer[0]);
    }

  private:
    static constexpr std::size_t longest_token = 1048576;

    void check(std::string_view bytes)
    {
        for (const char byte : bytes)
        {
            ++token_bytes;
            if (escaped)
            {
                escaped = false;
            }
            else if (byte == '"')
            {
                in_text = !in_text;
            }
            else if (in_text)
            {
                escaped = byte == '\\';
            }
            else if (std::string_view(",:[]{}").find(byte) != std::string_view::npos)
            {
                token_bytes = 0;
            }
            if (token_bytes > longest_token)
            {
                throw InputError(path + ": a value is longer than 1 MiB");
            }
        }
    }

    std::string path;
    std::unique_ptr<ByteSource> source;
    std::array<char, 65536> buffer;
    std::size_t token_bytes = 0;
    bool in_text = false;
    bool escaped = false;
};

/// The number that `digits` consist of.
std::optional<unsigned> number_of(std::string_view digits)
{
    unsigned number = 0;
    const auto* end = digits.data() + digits.size();
    const auto [rest, error] = std::from_chars(digits.data(), end, number);
    return error == std::errc() && rest == end ? std::optional(number) : std::nullopt;
}

bool is_date(std::string_view text)
{
    if (text.size() != 10 || text[4] != '-' || text[7] != '-')
    {
        return false;
    }
    const auto year = number_of(text.substr(0, 4));
    const auto month = number_of(text.substr(5, 2));
    const auto day = number_of(text.substr(8));
    return year && month && day &&
           std::chrono::year_month_day(std::chrono::year(static_cast<int>(*year)),
                                       std::chrono::month(*month), std::chrono::day(*day))
               .ok();
}

/// "22:35"
bool is_hour_and_minute(std::string_view text)
{
    const auto hour = number_of(text.substr(0, 2));
    const auto minute = number_of(text.substr(3));
    return text.size() == 5 && text[2] == ':' && hour && minute && *hour < 24 && *minute < 60;
}

bool is_time_of_day(std::string_view text)
{
    const auto second = number_of(text.substr(6));
    return is_hour_and_minute(text.substr(0, 5)) && text[5] == ':' && second && *second <= 60;
}

bool is_offset(std::string_view text)
{
    return text == "Z" || (text.size() == 6 && (text[0] == '+' || text[0] == '-') &&
                           is_hour_and_minute(text.substr(1)));
}

/// RFC 3339: "2026-11-21T22:35:00.5Z"
bool is_time(std::string_view text)
{
    if (text.size() < 20 || !is_date(text.substr(0, 10)) || text[10] != 'T' ||
        !is_time_of_day(text.substr(11, 8)))
    {
        return false;
    }
    text.remove_prefix(19);
    if (text.starts_with('.'))
    {
        const auto digits = text.substr(1, text.find_first_not_of("0123456789", 1) - 1);
        if (digits.empty() || digits.size() > 9)
        {
            return false;
        }
        text.remove_prefix(1 + digits.size());
    }
    return is_offset(text);
}

bool is_name(std::string_view text)
{
    constexpr std::size_t longest_host_name = 255;
    return text.size() <= longest_host_name;
}

bool is_end(std::string_view text)
{
    constexpr std::array<std::string_view, 4> ends{"complete", "timeout", "interrupted",
                                                   "client-ended"};
    return std::find(ends.begin(), ends.end(), text) != ends.end();
}

bool is_schema(std::string_view text)
{
    return text == "spdm-run/1";
}

using Json = nlohmann::json;

/// Keeps the members that are wanted, of lists and objects only that they are such.
class Members
{
  public:
    explicit Members(const std::string& path) : path(path) {}

    /// Called by the parser; `start_object`, `key` and the like too.
    bool null()
    {
        return keep(nullptr);
    }
    bool boolean(bool value)
    {
        return keep(value);
    }
    bool number_integer(Json::number_integer_t value)
    {
        return keep(value);
    }
    bool number_unsigned(Json::number_unsigned_t value)
    {
        return keep(value);
    }
    bool number_float(Json::number_float_t value, const std::string&)
    {
        return keep(value);
    }
    bool string(std::string& value)
    {
        return keep(std::move(value));
    }
    bool binary(Json::binary_t&)
    {
        return false; // No JSON text has such.
    }
    bool start_object(std::size_t)
    {
        return (depth == 0 || keep(Json::object())) && go_deeper();
    }
    bool start_array(std::size_t)
    {
        return keep(Json::array()) && go_deeper();
    }
    bool key(std::string& value)
    {
        if (depth == 1)
        {
            name = std::move(value);
        }
        return true;
    }
    bool end_object()
    {
        --depth;
        return true;
    }
    bool end_array()
    {
        --depth;
        return true;
    }
    [[noreturn]] bool parse_error(std::size_t position, const std::string&, const Json::exception&)
    {
        fail("no valid JSON at byte " + std::to_string(position));
    }

    /// Empty where the member is missing or null.
    std::string text(const std::string& member, bool (*is_valid)(std::string_view),
                     const std::string& expected) const
    {
        const auto found = kept.find(member);
        if (found == kept.end() || found->second.is_null())
        {
            return {};
        }
        if (!found->second.is_string() || !is_valid(found->second.get_ref<const std::string&>()))
        {
            fail_member(member, expected);
        }
        return found->second.get<std::string>();
    }

    std::optional<int> number(const std::string& member) const
    {
        const auto found = kept.find(member);
        if (found == kept.end() || found->second.is_null())
        {
            return std::nullopt;
        }
        if (!found->second.is_number_unsigned() || found->second.get<std::uint64_t>() > 255)
        {
            fail_member(member, "a whole number from 0 to 255");
        }
        return found->second.get<int>();
    }

    [[noreturn]] void fail_member(const std::string& member, const std::string& expected) const
    {
        fail("\"" + member + "\" is not " + expected);
    }

  private:
    bool keep(Json value)
    {
        if (depth == 0)
        {
            fail("no JSON object");
        }
        if (depth == 1 && std::find(wanted.begin(), wanted.end(), name) != wanted.end())
        {
            kept[name] = std::move(value);
        }
        return true;
    }

    bool go_deeper()
    {
        constexpr std::size_t deepest = 100;
        if (++depth > deepest)
        {
            fail("lists and objects are nested deeper than " + std::to_string(deepest));
        }
        return true;
    }

    [[noreturn]] void fail(const std::string& what) const
    {
        throw InputError(path + ": " + what);
    }

    static constexpr std::array<std::string_view, 7> wanted{
        "schema", "controller", "started", "ended", "end", "exit_status", "signal"};

    std::string path;
    std::map<std::string, Json> kept;
    std::string name; ///< Of the outermost object's member that is read.
    std::size_t depth = 0;
};

} // namespace

std::optional<RunFile> read_run_file(const std::string& path)
{
    std::error_code ignored;
    const auto status = std::filesystem::status(path, ignored);
    if (status.type() == std::filesystem::file_type::not_found)
    {
        return std::nullopt;
    }
    if (std::filesystem::exists(status) && !std::filesystem::is_regular_file(status))
    {
        throw InputError(path + ": not a regular file");
    }
    JsonBytes bytes(path);
    std::istream stream(&bytes);
    Members members(path);
    Json::sax_parse(stream, &members);

    if (members.text("schema", is_schema, "\"spdm-run/1\"").empty())
    {
        members.fail_member("schema", "\"spdm-run/1\"");
    }
    const std::string time = "a time as in RFC 3339";
    RunFile read;
    read.controller = members.text("controller", is_name, "a text of at most 255 bytes");
    read.circumstances.started = members.text("started", is_time, time);
    read.circumstances.ended = members.text("ended", is_time, time);
    read.circumstances.end = members.text(
        "end", is_end, "\"complete\", \"timeout\", \"interrupted\" or \"client-ended\"");
    read.circumstances.client_status = members.number("exit_status");
    read.circumstances.client_signal = members.number("signal");
    return read;
}

} // namespace report
