#!/usr/bin/env python3
"""What the menus offer after the monitor has seen devices come and go."""

from cases import (
    CPU,
    CPU_12,
    CPU_13,
    DEVICE_INTERFACE,
    Device,
    HALC_30,
    MAIN_MENU,
    NIC,
    NIC_20,
    NO_OBJECTS,
    OPERATIONS_MENU,
    added_text,
    error_text,
    info_text,
    monitoring,
    removed,
    removed_text,
    run_cases,
)

CPU_5 = Device(CPU + "/cpu_5", 5, "CPU-5")

NOT_FOUND = "Object name not found.\n"
SLOT = "Please Enter Slot Number: "
INDICES = (
    "Enter the indices of measurement block to fetch:\n"
    + "Enter the next value (enter -1 to stop): " * 2
)
PASSED = "ReAuth Status: Passed Time taken(In us): <us>\n"


def re_authenticate(client):
    client.type("1\n")
    client.expect(PASSED + OPERATIONS_MENU)


def expect_not_found(answers, text):
    """An operation on the removed device that the menu is open on; nothing is sent for it."""
    with monitoring() as client:
        client.remove(CPU_12)
        client.stop_monitor()
        calls = client.bench.calls()
        client.type(answers)
        client.expect(text + OPERATIONS_MENU)
        assert client.bench.calls() == calls
        client.leave()


def test_an_added_device_is_in_the_next_table():
    with monitoring() as client:
        client.add(CPU_13, "CPU")
        client.reopen(1, CPU_12, CPU_13)
        client.leave()


def test_the_table_stays_ordered_by_eid():
    with monitoring() as client:
        client.add(HALC_30, "HALC")
        client.add(CPU_5, "CPU")
        client.add(NIC_20, "NIC")
        client.reopen(2, CPU_5, CPU_12, NIC_20, HALC_30)
        client.leave()


def test_an_added_device_can_be_operated_on():
    with monitoring() as client:
        client.add(NIC_20, "NIC")
        client.reopen(1, CPU_12, NIC_20)
        re_authenticate(client)
        client.type("2\n0\n")
        client.expect(
            SLOT + "Certificate Status: Success Certificate Path: "
            "/var/lib/spdm/certificates/nic_20/slot0.pem Time taken(In us): <us>\n" + OPERATIONS_MENU
        )
        assert client.bench.calls().splitlines()[-2:] == [
            f"ReAuthenticate {DEVICE_INTERFACE} {NIC_20.path} -",
            f"GetCertificate {DEVICE_INTERFACE} {NIC_20.path} q 0",
        ]
        client.leave()


def test_operations_go_on_after_monitoring():
    with monitoring() as client:
        client.add(CPU_13, "CPU")
        client.stop_monitor()
        re_authenticate(client)
        client.start_monitor()
        client.command("info 1")
        client.expect(info_text(1))
        client.stop_monitor()
        re_authenticate(client)
        client.leave()


def test_a_device_can_be_monitored_from_another_ones_menu():
    with monitoring() as client:
        client.add(CPU_13, "CPU")
        client.reopen(1, CPU_12, CPU_13)
        client.start_monitor()
        client.add(NIC_20, "NIC")
        client.command(f"error {NIC_20.path} 4")
        client.expect(error_text(20, 4))
        client.finish()


def test_a_removed_device_is_not_in_the_next_table():
    with monitoring(CPU_12, NIC_20) as client:
        client.remove(CPU_12)
        client.reopen(0, NIC_20)
        re_authenticate(client)
        client.leave()


def test_a_device_removed_by_another_container_is_gone_too():
    with monitoring(CPU_12, NIC_20) as client:
        client.command(removed(NIC, CPU_12.path))
        client.expect(removed_text(CPU_12.path))
        client.reopen(0, NIC_20)
        client.leave()


def test_removing_an_unknown_device_changes_nothing():
    with monitoring(CPU_12, NIC_20) as client:
        for path in (CPU + "/cpu_120", CPU + "/cpu_1", CPU + "/other_12", NIC + "/cpu_12", "/"):
            client.command(removed(CPU, path))
            client.expect(removed_text(path))
        client.reopen(0, CPU_12, NIC_20)
        client.leave()


def test_an_added_device_is_removed_again():
    with monitoring() as client:
        client.add(CPU_13, "CPU")
        client.remove(CPU_13)
        client.reopen(0, CPU_12)
        client.leave()


def test_a_removed_device_is_added_again():
    with monitoring() as client:
        client.remove(CPU_12)
        client.add(CPU_12, "CPU")
        client.command(f"error {CPU_12.path} 6")
        client.expect(error_text(12, 6))
        client.stop_monitor()
        re_authenticate(client)
        client.go_back()
        client.select(0, CPU_12)
        client.leave()


def test_all_devices_removed():
    with monitoring(CPU_12, NIC_20) as client:
        client.remove(CPU_12, NIC_20)
        client.stop_monitor()
        client.go_back()
        for item in ("2", "3"):
            client.type(item + "\n")
            client.expect(NO_OBJECTS + MAIN_MENU)
        client.exit()


def test_devices_that_go_outside_monitoring_stay():
    with monitoring(CPU_12, NIC_20) as client:
        client.stop_monitor()
        client.command(f"remove {NIC_20.path}")
        client.go_back()
        client.select(0, CPU_12, NIC_20._replace(xmid="N/A"))
        client.leave()


def test_re_authenticate_a_removed_device():
    expect_not_found("1\n", NOT_FOUND)


def test_get_certificate_of_a_removed_device():
    expect_not_found("2\n0\n", SLOT + NOT_FOUND)


def test_get_certificate_properties_of_a_removed_device():
    expect_not_found("3\n0\n", SLOT + NOT_FOUND)


def test_properties_of_a_removed_device():
    expect_not_found("4\n", NOT_FOUND)


def test_recurring_re_authenticate_of_a_removed_device():
    expect_not_found("5\n", NOT_FOUND)


def test_get_measurement_of_a_removed_device():
    expect_not_found("6\n0\n1\n2\n-1\n", SLOT + INDICES + NOT_FOUND)


def test_get_signed_measurement_of_a_removed_device():
    expect_not_found("7\n0\n1\n2\n-1\n", SLOT + INDICES + NOT_FOUND)


def test_the_monitor_runs_on_a_removed_devices_menu():
    with monitoring() as client:
        client.remove(CPU_12)
        client.restart_monitor()
        client.add(CPU_12, "CPU")
        client.stop_monitor()
        re_authenticate(client)
        client.leave()


def test_devices_added_in_several_starts():
    with monitoring() as client:
        client.add(CPU_13, "CPU")
        client.restart_monitor()
        client.add(NIC_20, "NIC")
        client.restart_monitor()
        client.add(HALC_30, "HALC")
        client.reopen(3, CPU_12, CPU_13, NIC_20, HALC_30)
        client.leave()


def test_devices_added_in_one_burst():
    with monitoring() as client:
        client.burst(*(f"add {device.path}" for device in (NIC_20, CPU_13, HALC_30)))
        client.expect(
            added_text("NIC", NIC_20.path)
            + added_text("CPU", CPU_13.path)
            + added_text("HALC", HALC_30.path)
        )
        client.command(*(f"error {device.path} 1" for device in (CPU_13, NIC_20, HALC_30)))
        client.expect(error_text(13, 1) + error_text(20, 1) + error_text(30, 1))
        client.reopen(0, CPU_12, CPU_13, NIC_20, HALC_30)
        client.leave()


def test_a_device_added_and_removed_in_one_burst():
    with monitoring() as client:
        client.burst(f"add {CPU_13.path}", f"remove {CPU_13.path}", "info 1")
        client.expect(added_text("CPU", CPU_13.path) + removed_text(CPU_13.path) + info_text(1))
        client.reopen(0, CPU_12)
        client.leave()


run_cases(globals())
