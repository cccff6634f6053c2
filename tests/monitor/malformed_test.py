#!/usr/bin/env python3
"""Signals whose contents are not what the contract says. Announcements are told on standard error and
the monitor goes on; any other one ends the process, as nobody catches what its handler raises."""

import signal as signals

from cases import (
    CPU,
    CPU_12,
    CPU_13,
    DEVICE_INTERFACE,
    HALC,
    INFO,
    INFO_INTERFACE,
    NIC,
    OBJECT_MANAGER,
    PROPERTIES,
    added_text,
    exe_wrapper,
    monitoring,
    run_cases,
    signal,
)

NO_TEXT = "sd_bus_message_read_basic string: System.Error.ENXIO: No such device or address"
NO_NUMBER = "sd_bus_message_read_basic fundamental: System.Error.ENXIO: No such device or address"
NO_MAP = (
    "sd_bus_message_enter_container emplace_container: System.Error.ENXIO: No such device or address"
)

PROPERTIES_RECEIVED = (
    "Received properties changed Signal.\nReceived properties changed Signal for EID: 13\n"
)

# The emulator says so, too, when what it runs is aborted.
EMULATORS_WORD = "qemu: uncaught target signal 6 (Aborted) - core dumped\n" if exe_wrapper() else ""


def expect_goes_on(container, word, *body):
    """A malformed announcement, and then a good one."""
    with monitoring() as client:
        client.command(signal(container, OBJECT_MANAGER, "InterfacesAdded", *body))
        client.expect(f"Received Interface {word} Signal.\n")
        client.command(signal(container, OBJECT_MANAGER, "InterfacesAdded", "o", CPU_13.path))
        client.expect(added_text(word, CPU_13.path))
        client.reopen(0, CPU_12, CPU_13._replace(eid=13, xmid="N/A"))
        client.leave(f"Error: {NO_TEXT}\n")


def expect_abort(client, command, text, error):
    """`text` is what the handler prints before it reads."""
    client.command(command)
    client.expect_end(
        text,
        -signals.SIGABRT,
        "terminate called after throwing an instance of 'sdbusplus::exception::SdBusError'\n"
        f"  what():  {error}\n" + EMULATORS_WORD,
    )


def expect_abort_of_removed(*body):
    with monitoring() as client:
        expect_abort(
            client,
            signal(CPU, OBJECT_MANAGER, "InterfacesRemoved", *body),
            "Received Interface Removed  Signal.\n",
            NO_TEXT,
        )


def expect_abort_of_info(*body):
    with monitoring() as client:
        expect_abort(
            client, signal(INFO, INFO_INTERFACE, "Info", *body), "Received Info Signal.\n", NO_NUMBER
        )


def expect_abort_of_device_signal(interface, member, body, text, error):
    with monitoring() as client:
        client.add(CPU_13, "CPU")
        expect_abort(client, signal(CPU_13.path, interface, member, *body), text, error)


def expect_abort_of_device_error(*body):
    expect_abort_of_device_signal(
        DEVICE_INTERFACE, "DeviceError", body, "Received Error Signal for EID: 13\n", NO_NUMBER
    )


def expect_abort_of_certificate_progress(*body):
    expect_abort_of_device_signal(
        DEVICE_INTERFACE,
        "CertificateProgress",
        body,
        "Received Certificate Progress Signal.\nReceived Certificate Progress Signal for EID: 13\n",
        NO_NUMBER,
    )


def expect_abort_of_properties_changed(error, *body):
    expect_abort_of_device_signal(
        PROPERTIES, "PropertiesChanged", body, PROPERTIES_RECEIVED, error
    )


def test_cpu_added_without_arguments():
    expect_goes_on(CPU, "CPU")


def test_halc_added_without_arguments():
    expect_goes_on(HALC, "HALC")


def test_nic_added_without_arguments():
    expect_goes_on(NIC, "NIC")


def test_cpu_added_with_a_text():
    expect_goes_on(CPU, "CPU", "sa{sa{sv}}", CPU_13.path, {})


def test_halc_added_with_a_number():
    expect_goes_on(HALC, "HALC", "uo", 13, CPU_13.path)


def test_nic_added_with_a_list():
    expect_goes_on(NIC, "NIC", "ao", [CPU_13.path])


def test_removed_without_arguments():
    expect_abort_of_removed()


def test_removed_with_a_text():
    expect_abort_of_removed("sas", CPU_12.path, [])


def test_removed_with_a_list():
    expect_abort_of_removed("aso", [], CPU_12.path)


def test_info_without_arguments():
    expect_abort_of_info()


def test_info_with_a_wider_number():
    expect_abort_of_info("u", 7)


def test_info_with_a_signed_number():
    expect_abort_of_info("n", 7)


def test_info_with_a_text():
    expect_abort_of_info("s", "7")


def test_device_error_without_arguments():
    expect_abort_of_device_error()


def test_device_error_with_a_wider_number():
    expect_abort_of_device_error("u", 7)


def test_certificate_progress_without_arguments():
    expect_abort_of_certificate_progress()


def test_certificate_progress_with_a_wider_number():
    expect_abort_of_certificate_progress("q", 50)


def test_properties_changed_without_arguments():
    expect_abort_of_properties_changed(NO_TEXT)


def test_properties_changed_without_properties():
    expect_abort_of_properties_changed(NO_MAP, "s", DEVICE_INTERFACE)


def test_properties_changed_with_an_object_path():
    expect_abort_of_properties_changed(NO_TEXT, "oa{sv}as", "/a", {}, [])


def test_properties_changed_with_a_map_of_texts():
    expect_abort_of_properties_changed(NO_MAP, "sa{ss}as", DEVICE_INTERFACE, {"A": "x"}, [])


def test_properties_changed_with_a_list_first():
    expect_abort_of_properties_changed(NO_MAP, "sasa{sv}", DEVICE_INTERFACE, [], {})


run_cases(globals())
