#!/usr/bin/env python3
"""The bus and the service failing the monitor: told once, and the menus go on."""

import sys
from pathlib import Path

from cases import (
    CPU_12,
    CPU_13,
    MONITOR_RULES,
    OPERATIONS_MENU,
    STARTED,
    device_rules,
    error_text,
    exe_wrapper,
    info_text,
    monitoring,
    run_cases,
    session,
)

# Which step meets the loss first is the bus library's affair.
LOST = (
    "Something went wrong :sd_bus_wait: System.Error.ENOTCONN: Transport endpoint is not connected\n",
    "Something went wrong :sd_bus_process discard: org.freedesktop.DBus.Error.Disconnected: "
    "Connection reset by peer\n",
)
NO_BUS = (
    "Something went wrong :sd_bus_default_system: org.freedesktop.DBus.Error.FileNotFound: "
    "No such file or directory\n"
)
REFUSED = "Something went wrong :sd_bus_default_system: System.Error.ECONNREFUSED: Connection refused\n"
TOO_MANY = "sd_bus_match: org.freedesktop.DBus.Error.LimitsExceeded: No buffer space available\n"
DENIED = "sd_bus_match: org.freedesktop.DBus.Error.AccessDenied: Permission denied\n"

RE_AUTHENTICATION_FAILED = (
    "ERROR: Re-authentication operation failed. Check device authentication status.\n"
)
NO_THREAD = STARTED + "Error while creating SPDMManagerServiceThread\n"


def match_limit(count):
    return f'<limit name="max_match_rules_per_connection">{count}</limit>'


def lose_bus(client):
    client.bench.stop_bus()
    client.expect_one_of(*LOST)


def restart_bus(client, *devices):
    client.bench.start_bus()
    client.start_service(*devices)


def expect_monitoring(client, number):
    client.command(f"info {number}")
    client.expect(info_text(number))


def expect_not_started(client, text):
    """The monitor says why it ended; -1 returns to the menu all the same."""
    client.type("8\n")
    client.expect(STARTED + text)
    client.stop_monitor()


def test_the_bus_dies():
    with monitoring() as client:
        expect_monitoring(client, 1)
        lose_bus(client)
        client.finish()


def test_the_bus_dies_under_subscribed_devices():
    with monitoring() as client:
        client.add(CPU_13, "CPU")
        client.add(CPU_13, "CPU")
        lose_bus(client)
        client.finish()


def test_either_line_of_a_lost_bus_is_accepted():
    """Whichever comes first in the list."""
    for texts in (LOST, LOST[::-1]):
        with monitoring() as client:
            client.bench.stop_bus()
            client.expect_one_of(*texts)
            client.finish()


def test_other_numbers_after_the_bus_has_died():
    with monitoring() as client:
        lose_bus(client)
        client.type("5\n0 -1\n")
        client.finish()


def test_operations_after_the_bus_has_died():
    with monitoring() as client:
        lose_bus(client)
        client.stop_monitor()
        client.type("1\n")
        client.expect(RE_AUTHENTICATION_FAILED + OPERATIONS_MENU)
        client.type("2\n0\n")
        client.expect(
            "Please Enter Slot Number: ERROR: Certificate operation failed. "
            "Check device connectivity and slot availability.\n" + OPERATIONS_MENU
        )
        client.type("3\n0\n")
        client.expect(
            "Please Enter Slot Number: ERROR: Certificate properties operation failed. "
            "Check slot availability.\n" + OPERATIONS_MENU
        )
        client.type("4\n")
        client.expect(
            "ERROR: Failed to retrieve SPDM properties. Check device connectivity.\n" + OPERATIONS_MENU
        )
        client.leave()


def test_the_table_after_the_bus_has_died():
    with monitoring() as client:
        client.add(CPU_13, "CPU")
        lose_bus(client)
        client.reopen(1, CPU_12._replace(xmid="N/A"), CPU_13._replace(xmid="N/A"))
        client.leave()


def test_started_again_after_the_bus_has_died():
    with monitoring() as client:
        lose_bus(client)
        client.stop_monitor()
        expect_not_started(client, NO_BUS)
        expect_not_started(client, NO_BUS)
        client.leave()


def test_started_again_on_a_new_bus():
    with monitoring() as client:
        client.add(CPU_13, "CPU")
        lose_bus(client)
        client.stop_monitor()
        restart_bus(client, CPU_12, CPU_13)
        client.type("1\n")
        client.expect("ReAuth Status: Passed Time taken(In us): <us>\n" + OPERATIONS_MENU)
        client.start_monitor()
        client.add(CPU_13, "CPU")
        client.command(f"error {CPU_13.path} 1")
        client.expect(error_text(13, 1))
        client.finish()


def test_no_bus():
    with session() as client:
        client.bench.stop_bus()
        expect_not_started(client, NO_BUS)
        client.leave()


def test_the_bus_refuses_the_connection():
    with session() as client:
        client.bench.daemon.child.kill()  # its socket stays
        client.bench.daemon.wait()
        expect_not_started(client, REFUSED)
        client.leave()


def test_the_first_rule_is_refused():
    with session(limits=match_limit(0)) as client:
        expect_not_started(client, "Something went wrong :" + TOO_MANY)
        assert client.wire.wait_for_rules("AddMatch", 1) == MONITOR_RULES[:1]
        client.leave()


def test_a_later_rule_is_refused():
    with session(limits=match_limit(4)) as client:
        expect_not_started(client, "Something went wrong :" + TOO_MANY)
        assert client.wire.wait_for_rules("RemoveMatch", 4) == MONITOR_RULES[3::-1]
        assert client.wire.rules("AddMatch") == MONITOR_RULES[:5]
        client.leave()


def test_rules_are_denied():
    bus = "org.freedesktop.DBus"
    policy = f'<deny send_destination="{bus}" send_interface="{bus}" send_member="AddMatch"/>'
    with session(policy=policy) as client:
        expect_not_started(client, "Something went wrong :" + DENIED)
        client.leave()


def test_started_again_after_a_refusal():
    with session(limits=match_limit(6)) as client:
        for _ in range(2):
            expect_not_started(client, "Something went wrong :" + TOO_MANY)
        client.wire.wait_for_rules("RemoveMatch", 12)
        assert client.wire.rules("AddMatch") == MONITOR_RULES * 2
        assert client.wire.rules("RemoveMatch") == MONITOR_RULES[5::-1] * 2
        client.leave()


def test_a_devices_rule_is_refused():
    """The device is entered; none of its rules stays."""
    with monitoring(limits=match_limit(9)) as client:
        client.command(f"add {CPU_13.path}", f"error {CPU_13.path} 1", "info 1")
        client.expect(
            "Received Interface CPU Signal.\n"
            f"Object Added :{CPU_13.path}\n"
            "subscribing to signals\n" + info_text(1)
        )
        removed = client.wire.wait_for_rules("RemoveMatch", 2)
        assert sorted(removed) == sorted(device_rules(CPU_13.path)[:2])
        client.reopen(0, CPU_12, CPU_13)
        client.leave("Error: " + TOO_MANY)


def left_out_without_room_for_threads():
    if b"__tsan_init" in Path(sys.argv[1]).read_bytes():
        print("left out: the thread sanitizer starts under no such limit")
        return True
    if exe_wrapper():
        print("left out: the limit is the emulator's as well, and it starts under no such limit")
        return True
    return False


def session_without_room_for_threads():
    # Threads get stacks of the limit's size by default; nobody has room for one of 64 TiB.
    return session(prefix=["prlimit", f"--stack={1 << 46}:"])


def test_the_thread_cannot_be_created():
    if left_out_without_room_for_threads():
        return
    with session_without_room_for_threads() as client:
        for _ in range(2):
            client.type("8\n")
            client.expect(NO_THREAD)
            client.type("5 -1\n")
            client.stop_monitor()
        client.leave()


def test_the_thread_cannot_be_created_at_the_end_of_input():
    """Reading flushes what was printed before, but not at the end of input."""
    if left_out_without_room_for_threads():
        return
    with session_without_room_for_threads() as client:
        client.type("8")
        client.process.close_input()
        client.expect(NO_THREAD)
        client.wait_until_spinning()


def test_the_service_gives_its_name_up_and_takes_it_again():
    with monitoring() as client:
        client.add(CPU_13, "CPU")
        client.command("drop", "own", f"error {CPU_13.path} 1")
        client.expect(error_text(13, 1))
        expect_monitoring(client, 2)
        client.finish()


def test_the_service_leaves_and_comes_again():
    with monitoring() as client:
        client.add(CPU_13, "CPU")
        client.command("disconnect", "own", f"error {CPU_13.path} 1")
        client.expect(error_text(13, 1))
        expect_monitoring(client, 2)
        client.finish()


def test_the_service_leaves_for_good():
    with monitoring() as client:
        client.command("disconnect")
        client.stop_monitor()
        client.type("1\n")
        client.expect(RE_AUTHENTICATION_FAILED + OPERATIONS_MENU)
        client.leave()


def test_the_service_comes_while_the_monitor_runs():
    with session() as client:
        client.command("disconnect")
        client.start_monitor()
        client.command("own")
        expect_monitoring(client, 1)
        client.finish()


run_cases(globals())
