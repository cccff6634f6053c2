#include "report/reader/measurement_reader.hpp"

#include "report/model/status.hpp"
#include "report/reader/fields.hpp"

#include <array>

namespace report
{

namespace
{

constexpr auto nibbles = [] {
    std::array<std::uint8_t, 256> values{};
    for (unsigned digit = 0; digit < 10; ++digit)
    {
        values['0' + digit] = static_cast<std::uint8_t>(digit);
    }
    for (unsigned digit = 0; digit < 6; ++digit)
    {
        values['a' + digit] = static_cast<std::uint8_t>(10 + digit);
    }
    return values;
}();

std::uint8_t nibble(char digit)
{
    return nibbles[static_cast<unsigned char>(digit)];
}

/// "0 (Success) " with which a result begins.
struct Status
{
    std::optional<std::uint64_t> code;
    std::string_view text;
};

Status take_status(std::string_view& rest)
{
    Status status;
    status.code = take_number<std::uint64_t>(rest);
    if (take(rest, " ("))
    {
        status.text = take_until(rest, ") ").value_or(std::string_view{});
    }
    return status;
}

} // namespace

bool MeasurementReader::line(Shape shape, std::string_view text, std::string_view rest)
{
    if (shape == Shape::bytes)
    {
        return dump_line(rest);
    }
    if (!broken.empty())
    {
        if (may_continue(shape))
        {
            context.append_to_broken(broken, text);
            return ends_with_time(text) && signed_result(std::exchange(broken, {}));
        }
        broken.clear();
        context.contradiction("a result breaks off");
    }
    if (dump != Dump::none && shape != Shape::unknown)
    {
        close_dump();
    }
    if (base64_follows)
    {
        base64_follows = false;
        if (shape == Shape::indented || text.starts_with("  "))
        {
            return true;
        }
    }
    return call_line(shape, rest) || block_line(shape, rest) || signed_line(shape, rest);
}

bool MeasurementReader::call_line(Shape shape, std::string_view rest)
{
    switch (shape)
    {
        case Shape::measurement_begins: begin(Operation::get_measurement, rest); return true;
        case Shape::signed_begins: begin(Operation::get_signed_measurement, rest); return true;
        case Shape::read_status: status_read = number_in<std::uint64_t>(rest); return true;
        case Shape::read_blocks: blocks_read = number_in<std::uint64_t>(rest); return true;
        case Shape::read_count:
            if (is_open())
            {
                context.run.calls[call].count = number_in<std::uint64_t>(rest);
            }
            return true;
        case Shape::measurement_result: return measurement_result(rest);
        case Shape::signed_result:
            if (!signed_result(rest))
            {
                broken = rest;
            }
            return true;
        case Shape::measurement_bus_error:
            fail(Operation::get_measurement, Outcome::bus_error);
            return true;
        case Shape::measurement_error:
            fail(Operation::get_measurement, Outcome::error);
            return true;
        case Shape::signed_bus_error:
            fail(Operation::get_signed_measurement, Outcome::bus_error);
            return true;
        case Shape::signed_error:
            fail(Operation::get_signed_measurement, Outcome::error);
            return true;
        default: return false;
    }
}

void MeasurementReader::begin(Operation operation, std::string_view path)
{
    close();
    context.device = context.devices.of_path(path, context.number);
    call = context.add_call(operation, Outcome::cut);
}

/// The call that this line answers.
Call& MeasurementReader::answer(Operation operation)
{
    const auto begun = is_open() && context.run.calls[call].operation == operation;
    auto& answered = result(operation);
    answered.outcome = Outcome::answered;
    if (!begun)
    {
        context.contradiction("a result without its call");
    }
    return answered;
}

void MeasurementReader::fail(Operation operation, Outcome outcome)
{
    auto& failed = result(operation);
    failed.outcome = outcome;
    failed.count.reset();
}

/// The open call, whose result this line is. The error line comes alone where the call was not even sent.
Call& MeasurementReader::result(Operation operation)
{
    if (!is_open() || context.run.calls[call].operation != operation)
    {
        close();
        call = context.add_call(operation, Outcome::cut);
    }
    context.run.calls[call].told_line = context.number;
    return context.run.calls[call];
}

/// "0 (Success) NumMeasurements: 1 Time taken (in us): 151"
bool MeasurementReader::measurement_result(std::string_view rest)
{
    const auto status = take_status(rest);
    auto& answered = answer(Operation::get_measurement);
    answered.status = status.code;
    answered.status_text = context.run.texts.keep(status.text);
    std::optional<std::uint64_t> count;
    if (take(rest, "NumMeasurements: "))
    {
        count = take_number<std::uint64_t>(rest);
    }
    if (take(rest, " Time taken (in us): "))
    {
        answered.microseconds = number_in<std::int64_t>(rest);
    }
    if (!status.code || !count || !answered.microseconds || status.code != status_read ||
        count != answered.count)
    {
        context.contradiction("the result of GetMeasurement is not what was read");
    }
    answered.count = count;
    return true;
}

/// "0 (Success) Signed Measurements: BASE64 Hashing Algorithm: H Signing Algorithm: S Version: V Time
/// taken(In us): 151". Each text is the service's and may hold anything.
bool MeasurementReader::signed_result(std::string_view rest)
{
    const auto before_time = take_until_last(rest, time_label);
    const auto microseconds = number_in<std::int64_t>(rest);
    if (!before_time || !microseconds)
    {
        return false;
    }
    auto fields = *before_time;
    const auto before_version = take_until_last(fields, " Version: ");
    version = context.run.texts.keep(fields);
    fields = before_version.value_or(std::string_view{});
    const auto before_signing = take_until_last(fields, " Signing Algorithm: ");
    signing_algorithm = context.run.texts.keep(fields);
    fields = before_signing.value_or(std::string_view{});
    auto status_and_data = take_until_last(fields, " Hashing Algorithm: ");
    hashing_algorithm = context.run.texts.keep(fields);
    if (!status_and_data)
    {
        return false;
    }
    const auto status = take_status(*status_and_data);
    auto& answered = answer(Operation::get_signed_measurement);
    answered.status = status.code;
    answered.status_text = context.run.texts.keep(status.text);
    answered.microseconds = microseconds;
    if (!status.code || status.code != status_read)
    {
        context.contradiction("the result of GetSignedMeasurement is not what was read");
    }
    check_due = counts_as_success(status.code) && take(*status_and_data, "Signed Measurements: ") &&
                !status_and_data->empty();
    return true;
}

bool MeasurementReader::block_line(Shape shape, std::string_view rest)
{
    if (shape == Shape::block_head)
    {
        if (call == none || number_in<std::uint64_t>(rest) != ++blocks)
        {
            context.contradiction("a measurement block is missing");
        }
        if (block != none && next_of_block <= Shape::block_data)
        {
            context.contradiction("a line of a measurement block is missing");
        }
        block = static_cast<Index>(context.run.measurements.size());
        Measurement measurement;
        measurement.line = context.number;
        measurement.device = context.device;
        measurement.call = call;
        context.run.measurements.push_back(measurement);
        next_of_block = Shape::block_index;
        return true;
    }
    auto* measurement = current_block();
    if (measurement == nullptr || shape < Shape::block_index || shape > Shape::block_data)
    {
        return false;
    }
    if (shape != next_of_block)
    {
        context.contradiction("a line of a measurement block is missing");
    }
    next_of_block = static_cast<Shape>(static_cast<int>(shape) + 1);
    const auto read = [&](std::uint32_t& field) {
        const auto number = number_in<std::uint32_t>(rest);
        field = number.value_or(0);
        if (!number)
        {
            context.contradiction("a line of a measurement block has no number");
        }
        return true;
    };
    switch (shape)
    {
        case Shape::block_index: return read(measurement->index);
        case Shape::block_algorithm: return read(measurement->algorithm);
        case Shape::block_type: return read(measurement->type);
        case Shape::block_size:
            measurement->size = take_number<std::uint64_t>(rest).value_or(0);
            return true;
        case Shape::block_data:
            dump = Dump::block;
            dump_size = measurement->size;
            return true;
        default: return false;
    }
}

bool MeasurementReader::signed_line(Shape shape, std::string_view rest)
{
    if (shape == Shape::validating)
    {
        signed_measurement = static_cast<Index>(context.run.signed_measurements.size());
        Signed found;
        found.line = context.number;
        found.device = context.device;
        found.call = call;
        found.hashing_algorithm = hashing_algorithm;
        found.signing_algorithm = signing_algorithm;
        found.version = version;
        context.run.signed_measurements.push_back(found);
        return true;
    }
    auto* found = current_signed();
    if (found == nullptr)
    {
        return false;
    }
    switch (shape)
    {
        case Shape::
            validation_problem: // "Data size (95 bytes) smaller than expected signature size (96 bytes)"
            if (take(rest, "Data size ("))
            {
                found->size = take_number<std::uint64_t>(rest);
                if (take(rest, " bytes) smaller than expected signature size ("))
                {
                    found->signature_size = take_number<std::uint64_t>(rest);
                }
            }
            return true;
        case Shape::validation_failed: found->structure = Structure::invalid; return true;
        case Shape::validation_passed: found->structure = Structure::valid; return true;
        case Shape::total_size: found->size = take_number<std::uint64_t>(rest); return true;
        case Shape::signature_size_expected:
            found->signature_size = take_number<std::uint64_t>(rest);
            return true;
        case Shape::base64_received: base64_follows = true; return true;
        case Shape::complete_output: dump = Dump::ignored; return true;
        case Shape::measurement_size:
            dump = Dump::measurement;
            dump_size = take_number<std::uint64_t>(rest);
            return true;
        case Shape::signature_size:
            dump = Dump::signature;
            dump_size = take_number<std::uint64_t>(rest);
            return true;
        default: return false;
    }
}

bool MeasurementReader::dump_line(std::string_view bytes)
{
    if (dump == Dump::ignored || dump == Dump::none)
    {
        return dump == Dump::ignored;
    }
    std::array<char, 16> row;
    std::size_t count = 0;
    for (std::size_t i = 0; i + 1 < bytes.size(); i += 3)
    {
        row[count++] = static_cast<char>(nibble(bytes[i]) << 4U | nibble(bytes[i + 1]));
    }
    dumped.append(row.data(), count);
    return true;
}

void MeasurementReader::close_dump()
{
    // "Data (Hex):" and the rules between the heads of a dump are not its end.
    if (dumped.empty() && dump != Dump::block)
    {
        return;
    }
    const auto bytes = context.run.texts.keep(dumped);
    if (dump != Dump::ignored && dump_size != dumped.size())
    {
        context.contradiction("a dump does not hold the bytes that were announced");
    }
    if (auto* measurement = current_block(); dump == Dump::block && measurement != nullptr)
    {
        measurement->value = bytes;
    }
    if (auto* found = current_signed(); found != nullptr)
    {
        if (dump == Dump::measurement)
        {
            found->measurement = bytes;
        }
        if (dump == Dump::signature)
        {
            found->signature = bytes;
        }
    }
    dump = Dump::none;
    dumped.clear();
}

void MeasurementReader::close()
{
    close_dump();
    if (call == none)
    {
        return;
    }
    const auto& closed = context.run.calls[call];
    if (closed.outcome == Outcome::cut)
    {
        context.contradiction("a call has no result");
    }
    const auto analysed =
        closed.operation == Operation::get_measurement && closed.outcome == Outcome::answered;
    if (analysed && blocks_read != blocks)
    {
        context.contradiction("a measurement block is missing");
    }
    if (block != none && next_of_block <= Shape::block_data)
    {
        context.contradiction("a line of a measurement block is missing");
    }
    const auto* found = current_signed();
    if (found == nullptr && check_due)
    {
        context.contradiction("the check of the signed data is missing");
    }
    if (found != nullptr && found->structure == Structure::valid &&
        (!found->measurement || !found->signature))
    {
        context.contradiction("a signed measurement lacks its dumps");
    }
    call = block = signed_measurement = none;
    status_read.reset();
    blocks_read.reset();
    blocks = 0;
    dump = Dump::none;
    base64_follows = false;
    check_due = false;
}

Measurement* MeasurementReader::current_block()
{
    return block == none ? nullptr : &context.run.measurements[block];
}

Signed* MeasurementReader::current_signed()
{
    return signed_measurement == none ? nullptr
                                      : &context.run.signed_measurements[signed_measurement];
}

} // namespace report
