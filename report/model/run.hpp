#pragma once

#include "report/model/text_store.hpp"

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

/// What a transcript tells, as plain data. Texts are views of `Run::texts`, byte for byte as the
/// client printed them: they may hold any bytes. Lines count from 1 in the input.
namespace report
{

using Line = std::uint64_t;

/// An index into one of the run's vectors.
using Index = std::uint32_t;
constexpr Index none = UINT32_MAX;

/// The D-Bus members; `unknown` where an unknown device leaves open which was meant.
enum class Operation : std::uint8_t
{
    re_authenticate,
    get_certificate,
    get_certificate_properties,
    get_all,
    get_measurement,
    get_signed_measurement,
    unknown
};

/// What the operator was doing: "regression", "operations", "all-devices" or "suite".
enum class Activity : std::uint8_t
{
    regression,
    operations,
    all_devices,
    suite
};

/// answered; "D-BUS ERROR"; any other error line; "Object name not found."; the transcript stops inside it.
enum class Outcome : std::uint8_t
{
    answered,
    bus_error,
    error,
    unknown_device,
    cut
};

/// What the client found of a signed measurement; unchecked where the transcript stops before it says.
enum class Structure : std::uint8_t
{
    valid,
    invalid,
    unchecked
};

/// The suite's categories, in the order in which they run.
enum class CategoryName : std::uint8_t
{
    normal,
    signed_measurements,
    failure,
    stress
};
constexpr std::size_t category_count = 4;

/// A device as one table, list or announcement shows it. A device that changes is entered again.
struct Device
{
    Line line = 0;
    std::optional<std::uint16_t> eid; ///< The client's key, from the path's last number.
    std::string_view path;
    std::optional<std::string_view> xmid;
    std::optional<std::uint32_t> index;      ///< Row of the device table, from 0.
    std::optional<std::uint16_t> device_eid; ///< The EID that the table shows.
};

struct Call
{
    Line line = 0;      ///< Where it begins.
    Line told_line = 0; ///< The result or error line; where it begins if there is none.
    Index device = none;
    Index test = none; ///< The test that it belongs to.
    Operation operation = Operation::unknown;
    Activity activity = Activity::operations;
    Outcome outcome = Outcome::cut;
    bool slot_discovery = false; ///< A GetAll that asks for the supported slots.
    std::optional<std::uint64_t> status;
    std::string_view status_text;
    std::optional<std::int64_t> microseconds;
    std::optional<std::uint64_t> count; ///< NumMeasurements, as the service sent it.
    std::optional<std::string_view> certificate_path;
    std::optional<std::uint32_t> slot;
    std::optional<std::vector<std::uint16_t>> indices;
    std::optional<std::string_view> nonce;
};

/// One block of a GetMeasurement reply.
struct Measurement
{
    Line line = 0;
    Index device = none;
    Index call = none;
    std::uint32_t index = 0;
    std::uint32_t algorithm = 0;
    std::uint32_t type = 0;
    std::uint64_t size = 0; ///< As printed.
    std::string_view value; ///< The bytes of the dump.
};

/// A signed measurement that the client checked.
struct Signed
{
    Line line = 0;
    Index device = none;
    Index call = none;
    Structure structure = Structure::unchecked;
    std::string_view hashing_algorithm;
    std::string_view signing_algorithm;
    std::string_view version;
    std::optional<std::uint64_t> size;           ///< Decoded bytes, where printed.
    std::optional<std::uint64_t> signature_size; ///< Bytes, where printed.
    std::optional<std::string_view> measurement; ///< Bytes; only of a valid structure.
    std::optional<std::string_view> signature;   ///< Bytes; only of a valid structure.
};

struct Property
{
    Line line = 0;
    Index device = none;
    Index call = none;
    std::string_view name;
    std::string_view value;
};

/// A check of the service's availability.
struct Availability
{
    enum class Answer : std::uint8_t
    {
        responsive,
        not_found,
        bus_error,
        error,
        cut
    };
    enum class Service : std::uint8_t
    {
        running,
        absent,
        unknown
    };

    Line line = 0;
    Line told_line = 0;
    Index device = none;
    Answer answer = Answer::cut;
    std::optional<Service> service;
    std::optional<bool> measurement;        ///< "Device measurement support"
    std::optional<bool> signed_measurement; ///< "Device signed measurement support"
};

/// One test of a suite, as the client printed it.
struct Test
{
    enum class ClientVerdict : std::uint8_t
    {
        passed,  ///< "✓ PASS"
        failed,  ///< "✗ FAIL"
        warning, ///< "unexpectedly passed"
        none     ///< The transcript stops before it.
    };

    Line line = 0;
    Line verdict_line = 0;
    Index device = none;
    Index call = none;
    Index suite = none;
    CategoryName category = CategoryName::normal;
    std::string_view name; ///< "Single Measurement Index 1"
    std::uint32_t ordinal = 0;
    bool expects_success = true;
    ClientVerdict client_verdict = ClientVerdict::none;
};

/// A row of a results table.
struct Category
{
    Line line = 0;
    Index device = none;
    std::string_view category; ///< "Normal Measurements", ..., "OVERALL SUMMARY"
    std::uint64_t passed = 0;
    std::uint64_t total = 0;
    std::uint64_t rate = 0;
    std::string_view grade;
};

/// A suite on one device.
struct Suite
{
    struct Part
    {
        Line line = 0;         ///< The category's head; 0 where it never began.
        Line aborted_line = 0; ///< "✗ ABORT"; 0 where it did not.
        Line summary_line = 0; ///< 0 where the summary is missing.
        std::uint64_t passed = 0;
        std::uint64_t total = 0;
        std::uint64_t rate = 0;
        std::uint32_t slots = 0;   ///< Slots of its first slot discovery.
        std::uint32_t skipped = 0; ///< "ℹ INFO: Skipping slot"
    };

    Line line = 0;
    Index device = none;
    Index availability = none; ///< The check before it.
    std::array<Part, category_count> parts;
    Index first_test = none; ///< Its tests are consecutive in `Run::tests`.
    Index tests = 0;
    Index first_row = none; ///< Its rows of the results table are consecutive in `Run::categories`.
    Index rows = 0;
    std::optional<std::uint64_t> categories_told; ///< "Total Test Categories"
    std::optional<std::uint64_t> tests_told;      ///< "Total Individual Tests"
    std::optional<std::uint64_t> rate_told;       ///< "Overall Success Rate"
    std::string_view verdict_told;                ///< "🎉 EXCELLENT: ..."
    Line details_line = 0;
    Line done_line = 0; ///< "MEASUREMENT TEST SUITE DONE"; 0 where missing.
};

/// A signal that the monitor printed; of PropertiesChanged one for each property.
struct Signal
{
    Line line = 0;
    Index device = none;
    std::string_view signal;                                             ///< The D-Bus member.
    std::variant<std::monostate, std::uint64_t, std::string_view> value; ///< Number, path or text.
    std::optional<std::string_view> name;                                ///< The property's.
};

/// A line that no part of the client prints.
struct Note
{
    Line line = 0;
    std::string_view text; ///< At most its first 1,000 bytes.
};

/// A call that was due in a regression and printed nothing: its status has no word, or its line is missing.
struct SilentCall
{
    Line line = 0; ///< Of what was printed next.
    Index device = none;
    Operation operation = Operation::unknown;
};

/// Where a transcript contradicts itself, as the reader met it.
struct Contradiction
{
    Line line = 0;
    Index device = none;
    std::string text;
};

/// A conversation's circumstances, from run.json.
struct Circumstances
{
    std::string started; ///< RFC 3339, empty where unknown.
    std::string ended;
    std::string end; ///< complete, timeout, interrupted, client-ended; empty where unknown.
    std::optional<int> client_status;
    std::optional<int> client_signal;
};

/// One conversation, from "SPDM Client Start" to the client's end.
struct Run
{
    std::string controller;
    std::string name; ///< The input's name, with "#2" and so on for its later conversations.
    std::string file; ///< The input's path, as given or found.
    Line first_line = 0;
    Line last_line = 0;
    std::uint64_t bytes = 0;
    std::optional<Circumstances> circumstances;

    bool starts_with_banner = false; ///< Else the beginning is missing.
    bool ends_at_menu = false;       ///< The top-level menu is the last thing printed.
    std::string stopped_in;          ///< Where it ends otherwise, in words.
    Line discovery_line = 0;         ///< 0 where the transcript does not say.
    bool discovery_failed = false;
    Line no_objects_line = 0; ///< "No objects found"
    Line monitor_line = 0;    ///< The first start of the monitor.
    Line monitor_failed_line = 0;
    std::string_view monitor_failure;

    std::vector<Device> devices;
    std::vector<Call> calls;
    std::vector<Measurement> measurements;
    std::vector<Signed> signed_measurements;
    std::vector<Property> properties;
    std::vector<Availability> availabilities;
    std::vector<Test> tests;
    std::vector<Category> categories;
    std::vector<Suite> suites;
    std::vector<Signal> signals;
    std::vector<Note> notes;
    std::uint64_t note_count = 0; ///< More than `notes` holds where they are very many.
    std::vector<SilentCall> silent_calls;
    std::vector<Contradiction> contradictions;

    TextStore texts;
};

} // namespace report
