#include "report/writers/ndjson.hpp"

#include "report/writers/rows.hpp"

namespace report
{

NdjsonOutput::NdjsonOutput(const std::string& path) : file(path) {}

std::string NdjsonOutput::prepare(const Run& run, const Judgement& judgement) const
{
    return rows_of(run, judgement);
}

void NdjsonOutput::append(std::string_view prepared)
{
    file.append(prepared);
}

void NdjsonOutput::finish(const Totals&)
{
    file.finish();
}

} // namespace report
