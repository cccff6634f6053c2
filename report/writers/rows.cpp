#include "report/writers/rows.hpp"

#include "report/writers/fields.hpp"
#include "report/writers/json_text.hpp"

#include <algorithm>
#include <array>
#include <tuple>

namespace report
{

namespace
{

struct KindNames
{
    Kind kind;
    std::string_view row;   ///< A row's `kind`.
    std::string_view array; ///< The array in a run's object.
};

/// In the order of a run's arrays.
constexpr std::array kinds{
    KindNames{Kind::device, "device", "devices"},
    KindNames{Kind::call, "call", "calls"},
    KindNames{Kind::measurement, "measurement", "measurements"},
    KindNames{Kind::signed_measurement, "signed", "signed"},
    KindNames{Kind::property, "property", "properties"},
    KindNames{Kind::availability, "availability", "availability"},
    KindNames{Kind::test, "test", "tests"},
    KindNames{Kind::category, "category", "categories"},
    KindNames{Kind::signal, "signal", "signals"},
    KindNames{Kind::note, "note", "notes"},
};

/// Calls `take` with the run's vector of that kind.
template <typename Take>
void with_rows(const Run& run, Kind kind, Take&& take)
{
    switch (kind)
    {
        case Kind::device: return take(run.devices);
        case Kind::availability: return take(run.availabilities);
        case Kind::test: return take(run.tests);
        case Kind::call: return take(run.calls);
        case Kind::measurement: return take(run.measurements);
        case Kind::signed_measurement: return take(run.signed_measurements);
        case Kind::property: return take(run.properties);
        case Kind::category: return take(run.categories);
        case Kind::signal: return take(run.signals);
        case Kind::note: return take(run.notes);
    }
}

/// Writes rows whose beginnings differ: those of lines, or those of a run's arrays.
class RowWriter
{
  public:
    RowWriter(JsonText& json, const Run& run, const Judgement& judgement)
        : json(json), run(run), judgement(judgement)
    {
        JsonText text;
        for (const auto& device : run.devices)
        {
            text("eid", device.eid);
            text("path", unless_empty(device.path));
            text("xmid", device.xmid);
            device_fields.push_back(text.take() + ",");
        }
    }

    /// `beginning` ends before the line's number.
    void write(const Place& place, std::string_view beginning)
    {
        json.copy(beginning);
        json.value(place.line);
        with_rows(run, place.kind,
                  [&](const auto& rows) { write_rest(rows[place.index], place.index); });
        json.end_object();
    }

  private:
    void write_rest(const Device& device, Index index)
    {
        json.copy(device_fields[index]);
        list_fields(json, device);
    }
    void write_rest(const Test& test, Index index)
    {
        write_device(test.device);
        list_fields(json, test, judgement.checks[judgement.check_of_test[index]]);
    }
    void write_rest(const Note& note, Index)
    {
        list_fields(json, note);
    }
    void write_rest(const auto& row, Index)
    {
        write_device(row.device);
        list_fields(json, row);
    }
    void write_device(Index device)
    {
        json.copy(device == none ? R"("eid":null,"path":null,"xmid":null,)"
                                 : std::string_view{device_fields[device]});
    }

    JsonText& json;
    const Run& run;
    const Judgement& judgement;
    std::vector<std::string> device_fields; ///< For each device the fields that name it.
};

void add_places(std::vector<Place>& places, const Run& run, Kind kind)
{
    with_rows(run, kind, [&](const auto& rows) {
        for (const auto& row : rows)
        {
            places.push_back({row.line, kind, static_cast<Index>(&row - rows.data())});
        }
    });
}

void sort(std::vector<Place>& places)
{
    std::ranges::sort(places, {}, [](const Place& place) {
        return std::tuple(place.line, place.kind, place.index);
    });
}

void begin_row(JsonText& json, std::string_view kind, const Run& run)
{
    json.begin_object();
    json("kind", kind);
    json("schema", schema);
    json("controller", run.controller);
    json("run", run.name);
}

} // namespace

std::vector<Place> places_of(const Run& run, Kind kind)
{
    std::vector<Place> places;
    add_places(places, run, kind);
    sort(places);
    return places;
}

std::vector<Place> places_of(const Run& run)
{
    std::vector<Place> places;
    for (const auto& names : kinds)
    {
        add_places(places, run, names.kind);
    }
    sort(places);
    return places;
}

std::string rows_of(const Run& run, const Judgement& judgement)
{
    JsonText json;
    std::array<std::string, kinds.size()> beginnings;
    for (const auto& names : kinds)
    {
        begin_row(json, names.row, run);
        json.name("line");
        beginnings[static_cast<std::size_t>(names.kind)] = json.take();
    }

    begin_row(json, "run", run);
    json("line", run.first_line);
    list_fields(json, run, judgement);
    json.end_object();
    json.end_line();
    RowWriter rows{json, run, judgement};
    for (const auto& place : places_of(run))
    {
        rows.write(place, beginnings[static_cast<std::size_t>(place.kind)]);
        json.end_line();
    }
    return json.take();
}

std::string object_of(const Run& run, const Judgement& judgement)
{
    JsonText json;
    json.begin_object();
    json("controller", run.controller);
    json("run", run.name);
    json("line", run.first_line);
    list_fields(json, run, judgement);
    RowWriter rows{json, run, judgement};
    for (const auto& names : kinds)
    {
        json.name(names.array);
        json.begin_array();
        for (const auto& place : places_of(run, names.kind))
        {
            rows.write(place, R"({"line":)");
        }
        json.end_array();
    }
    json.end_object();
    return json.take();
}

} // namespace report
