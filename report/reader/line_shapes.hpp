#pragma once

#include <array>
#include <cstdint>
#include <string_view>

namespace report
{

/// The kinds of lines that the client prints. Those that tell nothing more share `known`.
enum class Shape : std::uint8_t
{
    unknown,
    known,
    blank,
    number, ///< A terminal's echo of an answer.
    dump,   ///< "  0010: 10 11 "; the bytes in hexadecimal are the rest
    bytes,  ///< "14 15 16 ", a signature's first line where it starts inside a row of 16
    indented,

    client_start,
    discovery_begins,
    discovery_failed,
    top_menu,
    top_menu_exit,
    operations_menu,
    choose_option,
    object_listed,
    no_objects,
    device_table,
    device_row,
    device_selected,
    device_section,
    run_all_operations,
    run_all_suites,
    suite_selection,
    re_authenticate_head,
    properties_head,
    enter_indices,

    object_not_found,
    re_authenticate_result,
    re_authenticate_error,
    certificate_result,
    certificate_error,
    certificate_properties_error,
    properties_time,
    property,
    properties_error,

    measurement_begins,
    read_status,
    read_count,
    read_blocks,
    measurement_result,
    measurement_bus_error,
    measurement_error,
    block_head,
    block_index,
    block_algorithm,
    block_type,
    block_size,
    block_data,

    signed_begins,
    signed_result,
    signed_bus_error,
    signed_error,
    validating,
    validation_problem,
    validation_passed,
    validation_failed,
    total_size,
    signature_size_expected,
    base64_received,
    complete_output,
    measurement_size,
    signature_size,

    regression_device,
    regression_device_done,

    availability_begins,
    availability_no_device,
    availability_path,
    availability_responsive,
    measurement_support,
    signed_measurement_support,
    availability_bus_error,
    availability_error,
    service_absent,
    service_running,
    service_unknown,
    suite_skipping,
    suite_aborting,

    suite_device,
    authentication_head,
    categories_begin,
    normal_begins,
    signed_tests_begin,
    failure_begins,
    stress_begins,
    normal_aborted,
    signed_aborted,
    stress_aborted,
    slot_supported,
    slots_none,
    slots,
    slots_error,
    slot_skipped,
    different_slots,
    testing_slot,
    testing_unsupported_slot,
    testing_invalid_slot,
    test_single,
    test_multiple,
    test_all,
    test_invalid_index,
    test_invalid_slot,
    test_signed,
    test_indices,
    passed_single,
    failed_single,
    passed_multiple,
    failed_multiple,
    passed_all,
    failed_all,
    passed_invalid_index,
    warned_invalid_index,
    passed_invalid_slot,
    warned_invalid_slot,
    passed_signed,
    failed_signed,
    normal_summary,
    signed_summary,
    failure_summary,
    stress_summary,
    summary_passed,
    summary_rate,
    descriptor_failed,
    table_begins,
    table_row,
    table_eid,
    table_xmid,
    table_description,
    details_begin,
    details_categories,
    details_tests,
    details_rate,
    suite_verdict,
    suite_done,
    all_devices_count,

    monitor_begins,
    monitor_thread_error,
    monitor_failed,
    interface_added,
    interface_removed,
    object_added,
    object_removed,
    info_received,
    info_value,
    device_error_eid,
    device_error_value,
    progress_received,
    progress_eid,
    progress_value,
    properties_changed,
    properties_changed_eid,
};

/// A line's kind and what follows the text by which it is known.
struct Recognised
{
    Shape shape = Shape::unknown;
    std::string_view rest;
};

/// Whether a line may continue a text of a device, whose line ends have broken the client's line.
/// Until the line is whole, that is a note.
constexpr bool may_continue(Shape shape)
{
    return shape == Shape::unknown || shape == Shape::blank || shape == Shape::indented;
}

/// The properties of the report, in its order.
constexpr std::array<std::string_view, 27> property_names{
    "ChallengeStatus",
    "Version",
    "Certificate",
    "ChallengeAuthRespSupport",
    "Measurement",
    "Encryption",
    "SignedMeasurement",
    "DeviceEID",
    "DeviceChallengeStatus",
    "DeviceCertStatus",
    "CertificateSlot0",
    "CertificateSlot1",
    "CertificateSlot2",
    "CertificateSlot3",
    "CertificateSlot4",
    "CertificateSlot5",
    "CertificateSlot6",
    "CertificateSlot7",
    "DeviceAllowed",
    "XMID",
    "PhyBinding",
    "Preferred",
    "MeasurementSpecification",
    "MeasurementSummary",
    "MeasurementSummaryHashAlgorithm",
    "MeasurementSummaryType",
    "NumMeasurements",
};

/// Knows a line of which prompts have been stripped.
Recognised recognise(std::string_view line);

/// Strips the prompts that the client prints without a line end, in whatever number.
/// `asked_slot` is set when one of them asked for a slot.
std::string_view without_prompts(std::string_view line, bool& asked_slot);

} // namespace report
