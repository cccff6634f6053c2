#include "report/writers/json.hpp"

#include "report/writers/fields.hpp"
#include "report/writers/rows.hpp"

namespace report
{

JsonOutput::JsonOutput(const std::string& path) : file(path)
{
    JsonText json;
    json.begin_object();
    json("schema", schema);
    json.name("runs");
    json.begin_array();
    file.append(json.take());
}

std::string JsonOutput::prepare(const Run& run, const Judgement& judgement) const
{
    return object_of(run, judgement);
}

void JsonOutput::append(std::string_view prepared)
{
    if (prepared.empty()) // There was no run.
    {
        return;
    }
    file.append(is_first ? "\n" : ",\n");
    file.append(prepared);
    is_first = false;
}

void JsonOutput::finish(const Totals& totals)
{
    JsonText json;
    json.begin_object();
    json("inputs", totals.inputs);
    json("runs", totals.runs);
    json("lines", totals.lines);
    json("bytes", totals.bytes);
    json("notes", totals.notes);
    json("nothing_to_judge", totals.nothing_to_judge);
    json("unreadable", totals.unreadable);
    list_fields(json, totals.counts);
    json.end_object();
    file.append("\n],\"totals\":");
    file.append(json.take());
    file.append("}\n");
    file.finish();
}

} // namespace report
