#!/usr/bin/env python3
"""More signals than can be printed at once: none is lost, and -1 still counts."""

import fcntl
import re
from functools import partial
from pathlib import Path

from cases import (
    CPU_13,
    OPERATIONS_MENU,
    available,
    error_text,
    info_text,
    monitoring,
    run_cases,
    wait_until,
)

SIGNALS = 20_000


def flood_text(count):
    """Of signals whose codes count up from 0."""
    return "".join(map(partial(error_text, 13), range(count)))


def test_every_signal_is_printed_in_order():
    with monitoring() as client:
        client.add(CPU_13, "CPU")
        client.command(f"flood {CPU_13.path} {SIGNALS}", "info 1")
        client.expect(flood_text(SIGNALS) + info_text(1))
        client.finish()


def test_minus_one_stops_behind_the_handler_in_progress():
    """Nobody reads the output, so a handler waits in the middle of its text when -1 is typed."""
    with monitoring() as client:
        client.add(CPU_13, "CPU")
        client.command(f"flood {CPU_13.path} {SIGNALS}")
        output = client.process.output
        capacity = fcntl.fcntl(output, fcntl.F_GETPIPE_SZ)
        wait_until(lambda: available(output) > capacity // 2, "a full pipe")
        client.type("-1\n")
        client.wait_until_blocked()
        client.process.wait_for(OPERATIONS_MENU)
        printed = client.process.seen[: -len(OPERATIONS_MENU)]
        count = printed.count("Error handler is completed.\n")
        assert printed == flood_text(count)
        assert len(flood_text(count - 1)) <= capacity, f"{count} signals were printed"
        client.process.seen = ""
        client.leave()


def test_the_rest_of_a_flood_is_not_printed_by_the_next_start():
    with monitoring() as client:
        client.add(CPU_13, "CPU")
        client.command(f"flood {CPU_13.path} {SIGNALS}")
        client.process.wait_for("Error: 1\n")
        client.type("-1\n")
        client.process.wait_for(OPERATIONS_MENU)
        client.process.seen = ""
        client.start_monitor()
        client.command("info 1")
        client.expect(info_text(1))
        client.finish()


def resident_kilobytes(process):
    status = Path(f"/proc/{process.pid}/status").read_text()
    return int(re.search(r"^VmRSS:\s+(\d+) kB$", status, re.MULTILINE)[1])


def test_the_bus_queues_nothing_for_a_stopped_monitor():
    """It would take half a kilobyte a signal."""
    with monitoring() as client:
        client.add(CPU_13, "CPU")
        # The first flood grows the daemon to its usual size.
        client.command(f"flood {CPU_13.path} {SIGNALS}", "info 1")
        client.expect(flood_text(SIGNALS) + info_text(1))
        client.stop_monitor()
        before = resident_kilobytes(client.bench.daemon)
        client.command(f"flood {CPU_13.path} {5 * SIGNALS}")
        grown = resident_kilobytes(client.bench.daemon) - before
        assert grown < 5 * SIGNALS // 20, f"the daemon grew by {grown} kB"
        client.leave()


run_cases(globals())
