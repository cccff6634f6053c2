#!/usr/bin/env python3
"""How the operator starts and stops the monitor, over pipes and over a terminal."""

import fcntl
import re
import time
from pathlib import Path

from cases import (
    CPU_12,
    CPU_13,
    MAIN_MENU,
    MONITOR_RULES,
    OPERATIONS_MENU,
    STARTED,
    error_text,
    info_text,
    monitoring,
    run_cases,
    session,
    wait_until,
)


def waits_of_the_monitor(client):
    """How often the monitor's thread has gone to sleep."""
    threads = Path(f"/proc/{client.process.pid}/task").iterdir()
    states = [(thread / "status").read_text() for thread in threads if int(thread.name) != client.process.pid]
    return sum(int(re.search(r"^voluntary_ctxt_switches:\s+(\d+)", state, re.MULTILINE)[1]) for state in states)


def expect_still_monitoring(client, number):
    client.expect("")  # on a terminal: the echo of what was typed
    client.command(f"info {number}")
    client.expect(info_text(number))


def expect_never_stopped(client):
    """The menu's thread waits busily, and nothing that is typed stops the monitor."""
    expect_still_monitoring(client, 1)
    client.wait_until_spinning()
    expect_still_monitoring(client, 2)
    if client.process.input is not None:
        client.type("-1\n")
        client.wait_until_spinning()
    expect_still_monitoring(client, 3)
    assert client.process.running()
    if not client.process.terminal:
        assert client.process.stderr() == ""


def test_starts_and_stops():
    with session() as client:
        client.type("8\n")
        client.expect("Press -1 to stop monitoring\n")
        client.wait_for_monitor()
        client.command("info 7")
        client.expect("Received Info Signal.\nInfo Signal: 7\nInfo handler is completed.\n")
        client.type("-1\n")
        client.expect(OPERATIONS_MENU)
        client.type("9\n")
        client.expect(MAIN_MENU)
        client.exit()


def test_prints_nothing_without_signals():
    with monitoring() as client:
        client.finish()


def test_minus_one_on_the_line_of_the_item():
    with session() as client:
        client.type("8 -1\n")
        client.expect(STARTED + OPERATIONS_MENU)
        client.leave()


def test_minus_one_right_behind_the_item():
    with session() as client:
        client.type("8-1\n")
        client.expect(STARTED + OPERATIONS_MENU)
        client.leave()


def test_stopped_at_once_the_monitor_leaves_no_rule():
    with session() as client:
        client.type("8 -1\n")
        client.expect(STARTED + OPERATIONS_MENU)
        client.wire.wait_for_rules("RemoveMatch", 7)
        assert client.wire.rules("AddMatch") == MONITOR_RULES
        client.leave()


def test_what_follows_minus_one_is_for_the_menu():
    with monitoring() as client:
        client.type("-1 9 4\n")
        client.expect(OPERATIONS_MENU + MAIN_MENU)
        client.expect_end("", 0)


def test_minus_one_behind_blanks_and_empty_lines():
    with monitoring() as client:
        client.type("\n \t\n\n  -1\n")
        client.expect(OPERATIONS_MENU)
        client.leave()


def test_minus_one_with_zeros():
    with monitoring() as client:
        client.type("-0001\n")
        client.expect(OPERATIONS_MENU)
        client.leave()


def test_minus_one_counts_before_its_line_ends():
    with monitoring() as client:
        client.type("-1 ")
        client.expect(OPERATIONS_MENU)
        client.leave()


def test_other_numbers_keep_it_running():
    with monitoring() as client:
        for number, answer in enumerate(["0", "1", "5", "8", "9", "-2", "-10", "2147483647"], 1):
            client.type(answer + "\n")
            expect_still_monitoring(client, number)
        client.finish()


def test_the_rest_of_another_numbers_line_is_dropped():
    with monitoring() as client:
        client.type("5 -1 9\n")
        client.type("-10 -1\n")
        client.type("7-1\n")
        client.type("3 words that are no number\n")
        expect_still_monitoring(client, 1)
        client.finish()


def test_a_dropped_rest_may_be_long():
    with monitoring() as client:
        client.type("5" + " -1" * 20_000 + "\n")  # fits into the pipe
        expect_still_monitoring(client, 1)
        client.finish()


def test_minus_one_after_a_line_of_any_length():
    with monitoring() as client:
        fcntl.fcntl(client.process.input, fcntl.F_SETPIPE_SZ, 1 << 18)  # so that all of it fits
        client.type("5" + " words" * 30_000 + "\n")
        client.type("-1\n")
        client.expect(OPERATIONS_MENU)
        client.leave()


def test_a_word_never_stops_it():
    with monitoring() as client:
        client.type("stop\n")
        expect_never_stopped(client)


def test_a_word_after_other_numbers_never_stops_it():
    with monitoring() as client:
        client.type("5\nstop\n")
        expect_never_stopped(client)


def test_a_number_out_of_range_never_stops_it():
    with monitoring() as client:
        client.type("99999999999\n")
        expect_never_stopped(client)


def test_the_end_of_input_never_stops_it():
    with monitoring() as client:
        client.process.close_input()
        expect_never_stopped(client)


def test_another_number_at_the_end_of_input_never_stops_it():
    with monitoring() as client:
        client.type("5")
        client.process.close_input()
        expect_never_stopped(client)


def test_minus_one_at_the_end_of_input_stops_it_once():
    """The menu's next answer cannot be read; its last choice stays, and that starts the monitor."""
    with monitoring() as client:
        client.type("-1")
        client.process.close_input()
        client.expect(OPERATIONS_MENU + STARTED)
        client.wait_for_monitor()
        expect_never_stopped(client)


def test_starts_three_times():
    with session() as client:
        for number in (1, 2, 3):
            client.start_monitor()
            expect_still_monitoring(client, number)
            client.stop_monitor()
        client.leave()


def test_stops_at_once():
    """The fastest of some stops, as any one may have to wait for the processor."""
    durations = []
    with session() as client:
        for _ in range(5):
            client.start_monitor()
            begin = time.monotonic()
            client.stop_monitor()
            durations.append(time.monotonic() - begin)
        client.leave()
    assert min(durations) < 0.1, f"{durations} s"


def test_waits_a_millisecond_a_turn():
    with monitoring() as client:
        enough = waits_of_the_monitor(client) + 100
        begin = time.monotonic()
        wait_until(lambda: waits_of_the_monitor(client) >= enough, "a hundred waits", deadline=5)
        seconds = time.monotonic() - begin
        client.finish()
    assert 0.09 < seconds < 2, f"a hundred waits in {seconds} s"


def test_starts_again_from_another_visit_of_the_menu():
    with monitoring() as client:
        expect_still_monitoring(client, 1)
        client.reopen(0, CPU_12)
        client.start_monitor()
        expect_still_monitoring(client, 2)
        client.finish()


def test_signals_outside_monitoring_are_missed():
    with session() as client:
        client.command("info 1")
        client.start_monitor()
        expect_still_monitoring(client, 2)
        client.stop_monitor()
        client.command("info 3")
        client.start_monitor()
        expect_still_monitoring(client, 4)
        client.finish()


def test_on_a_terminal():
    with monitoring(terminal=True) as client:
        client.add(CPU_13, "CPU")
        client.command(f"error {CPU_13.path} 2")
        client.expect(error_text(13, 2))
        client.restart_monitor()
        expect_still_monitoring(client, 1)
        client.finish()


def test_other_numbers_on_a_terminal():
    with monitoring(terminal=True) as client:
        client.type("5 -1 9\n")
        expect_still_monitoring(client, 1)
        client.type("0\n")
        expect_still_monitoring(client, 2)
        client.finish()


def test_a_word_on_a_terminal_never_stops_it():
    with monitoring(terminal=True) as client:
        client.type("stop\n")
        expect_never_stopped(client)


def test_the_end_of_input_on_a_terminal_never_stops_it():
    with monitoring(terminal=True) as client:
        client.process.write("\x04")  # the terminal does not echo it
        expect_never_stopped(client)


run_cases(globals())
