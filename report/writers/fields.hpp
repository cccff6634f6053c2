#pragma once

#include "report/judge/judgement.hpp"
#include "report/measurement/decode.hpp"
#include "report/model/run.hpp"
#include "report/model/words.hpp"
#include "report/writers/json_text.hpp"

#include <optional>
#include <string_view>

/// The fields of each kind of row beside those that say where it is from, in their order.
/// `fields(name, value)` takes each.
namespace report
{

/// Null where there is no text.
inline std::optional<std::string_view> unless_empty(std::string_view text)
{
    return text.empty() ? std::nullopt : std::optional{text};
}

inline std::string_view verdict_word(const Judgement& judgement)
{
    return judgement.nothing ? "nothing" : word(judgement.verdict);
}

template <typename Fields>
void list_fields(Fields& fields, const Counts& counts)
{
    fields("passed", counts[Verdict::passed]);
    fields("failed", counts[Verdict::failed]);
    fields("errors", counts[Verdict::error]);
    fields("skipped", counts[Verdict::skipped]);
}

template <typename Fields>
void list_fields(Fields& fields, const Run& run, const Judgement& judgement)
{
    static const Circumstances unknown;
    const auto& circumstances = run.circumstances ? *run.circumstances : unknown;
    fields("started", unless_empty(circumstances.started));
    fields("ended", unless_empty(circumstances.ended));
    fields("end", unless_empty(circumstances.end));
    fields("client_status", circumstances.client_status);
    fields("lines", run.last_line - run.first_line + 1);
    fields("bytes", run.bytes);
    fields("verdict", verdict_word(judgement));
    list_fields(fields, judgement.counts);
}

template <typename Fields>
void list_fields(Fields& fields, const Device& device)
{
    fields("index", device.index);
    fields("device_eid", device.device_eid);
}

template <typename Fields>
void list_fields(Fields& fields, const Call& call)
{
    fields("operation", unless_empty(word(call.operation)));
    fields("activity", word(call.activity));
    fields("outcome", word(call.outcome));
    fields("status", call.status);
    fields("status_text", unless_empty(call.status_text));
    fields("microseconds", call.microseconds);
    fields("count", call.count);
    fields("certificate_path", call.certificate_path);
    fields("slot", call.slot);
    fields("indices", call.indices);
    fields("nonce", call.nonce);
}

template <typename Fields>
void list_fields(Fields& fields, const Measurement& measurement)
{
    const auto meaning = decode(measurement);
    fields("index", measurement.index);
    fields("algorithm", measurement.algorithm);
    fields("type", measurement.type);
    fields("size", measurement.size);
    fields("value", Bytes{measurement.value});
    fields("layout", meaning.layout);
    fields("value_type", meaning.value_type);
    fields("digest", meaning.digest);
    fields("hash_algorithm", meaning.hash_algorithm);
    fields("decoded", meaning.decoded);
}

template <typename Fields>
void list_fields(Fields& fields, const Signed& data)
{
    const auto bytes = [](const std::optional<std::string_view>& perhaps) {
        return perhaps ? std::optional{Bytes{*perhaps}} : std::nullopt;
    };
    fields("hashing_algorithm", data.hashing_algorithm);
    fields("signing_algorithm", data.signing_algorithm);
    fields("version", data.version);
    fields("size", data.size);
    fields("signature_size", data.signature_size);
    fields("structure", word(data.structure));
    fields("measurement", bytes(data.measurement));
    fields("signature", bytes(data.signature));
}

template <typename Fields>
void list_fields(Fields& fields, const Property& property)
{
    fields("name", property.name);
    fields("value", property.value);
}

template <typename Fields>
void list_fields(Fields& fields, const Availability& availability)
{
    fields("answer", word(availability.answer));
    fields("service",
           availability.service ? std::optional{word(*availability.service)} : std::nullopt);
}

template <typename Fields>
void list_fields(Fields& fields, const Test& test, const Check& check)
{
    fields("category", word(test.category));
    fields("name", test.name);
    fields("ordinal", test.ordinal);
    fields("expects", test.expects_success ? "success" : "failure");
    fields("verdict", word(check.verdict));
    fields("reason", unless_empty(check.reason));
}

template <typename Fields>
void list_fields(Fields& fields, const Category& category)
{
    fields("category", category.category);
    fields("passed", category.passed);
    fields("total", category.total);
    fields("rate", category.rate);
    fields("grade", category.grade);
}

template <typename Fields>
void list_fields(Fields& fields, const Signal& signal)
{
    fields("signal", signal.signal);
    fields("value", signal.value);
    fields("name", signal.name);
}

template <typename Fields>
void list_fields(Fields& fields, const Note& note)
{
    fields("text", note.text);
}

} // namespace report
