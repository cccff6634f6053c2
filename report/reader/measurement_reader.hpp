#pragma once

#include "report/reader/context.hpp"
#include "report/reader/line_shapes.hpp"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace report
{

/// Reads what GetMeasurement and GetSignedMeasurement print: progress, result, blocks, dumps.
class MeasurementReader
{
  public:
    explicit MeasurementReader(Context& context) : context(context) {}

    /// Whether the line was one of these.
    bool line(Shape shape, std::string_view text, std::string_view rest);

    /// Whether the bytes of a dump's line belong to one.
    bool dump_line(std::string_view bytes);

    /// Nothing of the last call follows: what it printed must be whole.
    void close();

    /// Whether a call has begun that has no result yet.
    bool is_open() const
    {
        return call != none && context.run.calls[call].outcome == Outcome::cut;
    }

  private:
    /// What the bytes of dump lines belong to.
    enum class Dump : std::uint8_t
    {
        none,
        ignored,
        block,
        measurement,
        signature
    };

    void begin(Operation operation, std::string_view path);
    void fail(Operation operation, Outcome outcome);
    Call& result(Operation operation);
    Call& answer(Operation operation);
    bool measurement_result(std::string_view rest);
    bool signed_result(std::string_view rest);
    bool call_line(Shape shape, std::string_view rest);
    bool block_line(Shape shape, std::string_view rest);
    bool signed_line(Shape shape, std::string_view rest);
    void close_dump();
    Measurement* current_block();
    Signed* current_signed();

    Context& context;
    Index call = none;
    std::optional<std::uint64_t> status_read; ///< "DEBUG: Read status"
    std::optional<std::uint64_t> blocks_read; ///< "DEBUG: Read measurement data, size"
    std::uint64_t blocks = 0;
    Index block = none;
    Shape next_of_block = Shape::unknown; ///< The line of the block that is due.
    Index signed_measurement = none;
    std::string_view hashing_algorithm;
    std::string_view signing_algorithm;
    std::string_view version;
    Dump dump = Dump::none;
    std::string dumped;
    std::optional<std::uint64_t> dump_size; ///< As printed.
    std::string broken; ///< A signed result that the data's line ends have broken.
    bool base64_follows = false;
    bool check_due = false; ///< Signed data has come, which the client checks.
};

} // namespace report
