#!/usr/bin/env python3
"""What the monitor prints for each signal."""

from cases import (
    CPU,
    CPU_12,
    CPU_13,
    DEVICE_INTERFACE,
    HALC,
    HALC_30,
    INFO,
    INFO_INTERFACE,
    NIC,
    NIC_20,
    OBJECT_MANAGER,
    PROPERTIES,
    added_text,
    changed,
    error_text,
    expect_monitored,
    info_text,
    monitoring,
    progress_text,
    properties_text,
    removed_text,
    run_cases,
    signal,
)


def expect_of_added_device(commands, expected, others=""):
    """Compares what the commands make the client print once it has subscribed to CPU 13."""
    with monitoring(packets=True) as client:
        client.add(CPU_13, "CPU")
        client.command(*commands)
        client.expect_line_by_line(expected, others)
        client.finish()


def expect_changed(properties, lines, others=""):
    """The lines that a change of CPU 13's properties prints."""
    commands = [changed(CPU_13.path, properties)]
    expect_of_added_device(commands, properties_text(13, lines), others)


def test_cpu_added():
    expect_monitored(
        [f"add {CPU_13.path}"],
        "Received Interface CPU Signal.\n"
        "Object Added :/com/varn/bmc/spdm/spdm/cpu/cpu_13\n"
        "subscribing to signals\n"
        "Interface  Added handler FOR CPU is completed.\n",
    )


def test_halc_added():
    expect_monitored(
        [f"add {HALC_30.path}"],
        "Received Interface HALC Signal.\n"
        "Object Added :/com/varn/bmc/spdm/spdm/halcController/halc_30\n"
        "subscribing to signals\n"
        "Interface  Added handler FOR HALC is completed.\n",
    )


def test_nic_added():
    expect_monitored(
        [f"add {NIC_20.path}"],
        "Received Interface NIC Signal.\n"
        "Object Added :/com/varn/bmc/spdm/spdm/nicController/nic_20\n"
        "subscribing to signals\n"
        "Interface  Added handler FOR NIC is completed.\n",
    )


def test_the_announcing_container_decides_the_word():
    announcement = signal(NIC, OBJECT_MANAGER, "InterfacesAdded", "o", CPU_13.path)
    expect_monitored([announcement], added_text("NIC", CPU_13.path))


def test_added_reads_the_path_alone():
    announcement = signal(CPU, OBJECT_MANAGER, "InterfacesAdded", "oui", CPU_13.path, 1, -1)
    expect_monitored([announcement], added_text("CPU", CPU_13.path))


def test_cpu_removed():
    expect_monitored(
        [f"remove {CPU_12.path}"],
        "Received Interface Removed  Signal.\n"
        "Object removed:/com/varn/bmc/spdm/spdm/cpu/cpu_12\n"
        "Interface Removed handler is completed.\n",
    )


def test_nic_removed():
    expect_monitored(
        [f"remove {NIC_20.path}"],
        "Received Interface Removed  Signal.\n"
        "Object removed:/com/varn/bmc/spdm/spdm/nicController/nic_20\n"
        "Interface Removed handler is completed.\n",
        devices=(CPU_12, NIC_20),
    )


def test_halc_removed():
    expect_monitored(
        [f"remove {HALC_30.path}"],
        "Received Interface Removed  Signal.\n"
        "Object removed:/com/varn/bmc/spdm/spdm/halcController/halc_30\n"
        "Interface Removed handler is completed.\n",
        devices=(CPU_12, HALC_30),
    )


def test_removed_reads_the_path_alone():
    removal = signal(CPU, OBJECT_MANAGER, "InterfacesRemoved", "o", CPU_12.path)
    expect_monitored([removal], removed_text(CPU_12.path))


def test_unknown_device_removed():
    removal = signal(HALC, OBJECT_MANAGER, "InterfacesRemoved", "oas", "/no/such_1", [])
    expect_monitored([removal], removed_text("/no/such_1"))


def test_info():
    expect_monitored(
        ["info 513"], "Received Info Signal.\nInfo Signal: 513\nInfo handler is completed.\n"
    )


def test_info_least_and_greatest():
    expect_monitored(["info 0", "info 65535"], info_text(0) + info_text(65535))


def test_info_reads_one_number():
    expect_monitored([signal(INFO, INFO_INTERFACE, "Info", "qs", 7, "more")], info_text(7))


def test_device_error():
    expect_of_added_device(
        [f"error {CPU_13.path} 258"],
        "Received Error Signal for EID: 13\nError: 258\nError handler is completed.\n",
    )


def test_device_error_least_and_greatest():
    expect_of_added_device(
        [f"error {CPU_13.path} 0", f"error {CPU_13.path} 65535"],
        error_text(13, 0) + error_text(13, 65535),
    )


def test_device_error_reads_one_number():
    expect_of_added_device(
        [signal(CPU_13.path, DEVICE_INTERFACE, "DeviceError", "qqs", 3, 4, "more")],
        error_text(13, 3),
    )


def test_certificate_progress():
    expect_of_added_device(
        [f"progress {CPU_13.path} 65"],
        "Received Certificate Progress Signal.\n"
        "Received Certificate Progress Signal for EID: 13\n"
        "Progress: 65\n"
        "Certificate Progress handler is completed.\n",
    )


def test_certificate_progress_is_a_number():
    expect_of_added_device(
        [f"progress {CPU_13.path} {progress}" for progress in (0, 10, 100, 255)],
        "".join(progress_text(13, progress) for progress in (0, 10, 100, 255)),
    )


def test_certificate_progress_reads_one_byte():
    expect_of_added_device(
        [signal(CPU_13.path, DEVICE_INTERFACE, "CertificateProgress", "ys", 50, "more")],
        progress_text(13, 50),
    )


def test_properties_changed():
    properties = {
        "Version": ["s", "1.3"],
        "ChallengeStatus": ["u", 3],
        "DeviceEID": ["q", 13],
        "DeviceAllowed": ["b", True],
    }
    expect_of_added_device(
        [changed(CPU_13.path, properties)],
        "Received properties changed Signal.\n"
        "Received properties changed Signal for EID: 13\n"
        "ChallengeStatus: Failed\n"
        "DeviceAllowed: true\n"
        "DeviceEID: 13\n"
        "Version: 1.3\n"
        "Properties change handler is completed.\n",
    )


def test_changed_property_of_the_simulated_device():
    expect_of_added_device(
        [f'set {CPU_13.path} XMID s "renamed"'], properties_text(13, "XMID: renamed\n")
    )


def test_changed_texts_as_they_are():
    expect_changed(
        {"A": ["s", ""], "B": ["s", " two  words "], "C": ["s", "é✓"], "D": ["s", "a\nb"]},
        "A: \nB:  two  words \nC: é✓\nD: a\nb\n",
        others=' 1 "D: a\\nb\\n"\n',
    )


def test_changed_codes():
    expect_changed(
        {f"Status{code}": ["u", code] for code in range(5)},
        "Status0: Not Ready\n"
        "Status1: Passed\n"
        "Status2: In Progress\n"
        "Status3: Failed\n"
        "Status4: Not Supported\n",
    )


def test_changed_numbers():
    expect_changed({"Low": ["q", 0], "Top": ["q", 65535]}, "Low: 0\nTop: 65535\n")


def test_changed_flags():
    expect_changed({"No": ["b", False], "Yes": ["b", True]}, "No: false\nYes: true\n")


def test_changed_values_of_other_types_are_empty_texts():
    expect_changed(
        {
            "A": ["i", -7],
            "B": ["as", ["x", "y"]],
            "C": ["y", 1],
            "D": ["t", 5],
            "E": ["d", 1.5],
            "F": ["o", "/a/b"],
            "G": ["v", ["s", "inner"]],
            "H": ["(qs)", [1, "x"]],
            "I": ["a{sv}", {"k": ["u", 1]}],
            "J": ["s", "kept"],
        },
        "A: \nB: \nC: \nD: \nE: \nF: \nG: \nH: \nI: \nJ: kept\n",
    )


def test_changed_names_ascend_by_their_bytes():
    expect_changed(
        [[name, ["s", "-"]] for name in ("b", "a10", "B", "a2", "ä", "", "a")],
        ": -\nB: -\na: -\na10: -\na2: -\nb: -\nä: -\n",
    )


def test_of_equal_changed_names_the_first_counts():
    expect_changed([["A", ["q", 1]], ["A", ["q", 2]], ["A", ["s", "x"]]], "A: 1\n")


def test_nothing_changed():
    expect_changed({}, "")


def test_changed_code_without_a_text_leaves_the_line_open():
    expect_changed(
        {"ChallengeStatus": ["u", 7], "Version": ["s", "1.2"]}, "ChallengeStatus: Version: 1.2\n"
    )


def test_changed_code_without_a_text_at_the_end():
    expect_of_added_device(
        [changed(CPU_13.path, {"ChallengeStatus": ["u", 7]}), "info 1"],
        "Received properties changed Signal.\n"
        "Received properties changed Signal for EID: 13\n"
        "ChallengeStatus: Properties change handler is completed.\n" + info_text(1),
    )


def test_changed_codes_without_a_text():
    expect_changed(
        {"A": ["u", 5], "B": ["u", 2147483648], "C": ["u", 4294967295], "D": ["u", 1]},
        "A: B: C: D: Passed\n",
    )


def test_changed_properties_of_another_interface():
    expect_of_added_device(
        [
            signal(CPU_13.path, PROPERTIES, "PropertiesChanged", "sa{sv}as", "a.b", {"A": ["q", 1]}, [])
        ],
        properties_text(13, "A: 1\n"),
    )


def test_invalidated_properties_are_not_read():
    body = ("sa{sv}as", DEVICE_INTERFACE, {"A": ["q", 1]}, ["Version"])
    expect_of_added_device(
        [
            signal(CPU_13.path, PROPERTIES, "PropertiesChanged", *body),
            signal(CPU_13.path, PROPERTIES, "PropertiesChanged", "sa{sv}", *body[1:3]),
        ],
        properties_text(13, "A: 1\n") * 2,
    )


def test_discovered_devices_are_not_subscribed_to():
    expect_monitored(
        [
            f"error {CPU_12.path} 1",
            f"progress {CPU_12.path} 1",
            f'set {CPU_12.path} XMID s "x"',
            "info 1",
        ],
        info_text(1),
    )


def test_other_paths_are_ignored():
    expect_of_added_device(
        [
            signal(CPU + "/below", OBJECT_MANAGER, "InterfacesAdded", "o", CPU + "/cpu_14"),
            signal("/com/varn/bmc/spdm/spdm", OBJECT_MANAGER, "InterfacesAdded", "o", CPU + "/cpu_14"),
            signal(CPU_13.path, OBJECT_MANAGER, "InterfacesRemoved", "o", CPU_13.path),
            signal(INFO + "/below", INFO_INTERFACE, "Info", "q", 1),
            signal(CPU, INFO_INTERFACE, "Info", "q", 1),
            signal(CPU_13.path + "/below", DEVICE_INTERFACE, "DeviceError", "q", 1),
            signal(CPU_13.path + "0", DEVICE_INTERFACE, "DeviceError", "q", 1),
            signal(CPU, DEVICE_INTERFACE, "CertificateProgress", "y", 1),
            signal(INFO, PROPERTIES, "PropertiesChanged", "sa{sv}as", "a.b", {}, []),
            "info 2",
        ],
        info_text(2),
    )


def test_other_members_are_ignored():
    expect_of_added_device(
        [
            signal(CPU, OBJECT_MANAGER, "InterfacesChanged", "o", CPU + "/cpu_14"),
            signal(INFO, INFO_INTERFACE, "Information", "q", 1),
            signal(CPU_13.path, DEVICE_INTERFACE, "DeviceErrors", "q", 1),
            signal(CPU_13.path, DEVICE_INTERFACE, "Info", "q", 1),
            signal(CPU_13.path, PROPERTIES, "Changed", "sa{sv}as", "a.b", {}, []),
            "info 2",
        ],
        info_text(2),
    )


def test_other_interfaces_are_ignored():
    expect_of_added_device(
        [
            signal(CPU, DEVICE_INTERFACE, "InterfacesAdded", "o", CPU + "/cpu_14"),
            signal(CPU, DEVICE_INTERFACE, "InterfacesRemoved", "o", CPU_13.path),
            signal(INFO, DEVICE_INTERFACE, "Info", "q", 1),
            signal(CPU_13.path, INFO_INTERFACE, "DeviceError", "q", 1),
            signal(CPU_13.path, PROPERTIES, "CertificateProgress", "y", 1),
            signal(CPU_13.path, DEVICE_INTERFACE, "PropertiesChanged", "sa{sv}as", "a.b", {}, []),
            "info 2",
        ],
        info_text(2),
    )


def test_signals_in_the_order_of_their_sending():
    expect_of_added_device(
        [
            f"progress {CPU_13.path} 1",
            "info 1",
            f"error {CPU_13.path} 2",
            f'set {CPU_13.path} Version s "2"',
            f"remove {CPU_13.path}",
            "info 3",
        ],
        progress_text(13, 1)
        + info_text(1)
        + error_text(13, 2)
        + properties_text(13, "Version: 2\n")
        + removed_text(CPU_13.path)
        + info_text(3),
    )


run_cases(globals())
