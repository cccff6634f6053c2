#pragma once

#include <nlohmann/json_fwd.hpp>

#include <cstdint>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace simulator
{

/// Keeps the members of an object in the order in which they were written.
using Json = nlohmann::ordered_json;

/// What is wrong in a JSON text, and where: "devices[3].path: a text is expected, not a number".
class PlaceError : public std::runtime_error
{
  public:
    PlaceError(const std::string& place, const std::string& what);
};

/// A JSON value together with its place in the text, so that every complaint can name the place.
/// All readers throw PlaceError when the value is not what they read. The JSON value must outlive
/// this view of it.
class JsonPlace
{
  public:
    explicit JsonPlace(const Json& json, std::string place = {});

    const std::string& place() const
    {
        return where;
    }

    [[noreturn]] void fail(const std::string& what) const;

    /// The member of this name; fails when there is none.
    JsonPlace member(const std::string& name) const;
    std::optional<JsonPlace> find(const std::string& name) const;
    std::vector<std::pair<std::string, JsonPlace>> members() const;
    std::vector<JsonPlace> elements() const;

    /// Fails when the object has a member of any other name.
    void allow_only(const std::vector<std::string>& names) const;

    bool is_null() const;
    bool is_object() const;
    bool is_array() const;
    bool is_text() const;
    bool is_number() const;

    const std::string& text() const;
    bool boolean() const;

    /// Any number.
    double number() const;

    /// A whole number from `least` to `greatest`; `kind` names the type in the complaint.
    std::uint64_t unsigned_number(std::uint64_t greatest, const std::string& kind = {}) const;
    std::int64_t signed_number(std::int64_t least, std::int64_t greatest,
                               const std::string& kind) const;

    /// An even number of hex digits.
    std::vector<std::uint8_t> hex_bytes() const;

  private:
    [[noreturn]] void fail_type(const std::string& expected) const;

    const Json& value;
    std::string where;
};

/// Parses a JSON text. Throws PlaceError whose place is "line L, column C" for a syntax error.
/// A shared pointer, so that its holder compiles without the JSON library.
std::shared_ptr<const Json> parse_json(std::string_view text);

} // namespace simulator
