#pragma once

#include "report/judge/judgement.hpp"
#include "report/model/run.hpp"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace report
{

/// The name of the machine outputs' form.
constexpr std::string_view schema = "spdm-report/1";

/// What a row is of, the run's own row aside. Rows of one line come in this order.
enum class Kind : std::uint8_t
{
    device,
    availability,
    test,
    call,
    measurement,
    signed_measurement,
    property,
    category,
    signal,
    note
};

/// Where in the run a row comes from.
struct Place
{
    Line line = 0;
    Kind kind = Kind::device;
    Index index = 0; ///< In the run's vector of that kind.
};

/// All rows in the transcript's order.
std::vector<Place> places_of(const Run& run);

/// Those of one kind.
std::vector<Place> places_of(const Run& run, Kind kind);

/// A flat object a line: the run's own row, then the others in the transcript's order.
std::string rows_of(const Run& run, const Judgement& judgement);

/// One object: the run's fields, and an array for each kind. What their place tells is left out of
/// the arrays' objects: kind, schema, controller and run.
std::string object_of(const Run& run, const Judgement& judgement);

} // namespace report
