#!/usr/bin/env python3
"""What the client says of times, and the pauses it makes. Called as: FILE CLIENT SIMULATOR"""

import fcntl
import json
import os
import re
import subprocess
import sys
import time

from harness import Bench, exe_wrapper, wait_until

PATH = "/com/varn/bmc/spdm/spdm/cpu/cpu_12"
DELAY = 400
TIME = re.compile(r"Time taken ?\([Ii]n us\): (-?\d+)\n")


def bench_with(methods):
    bench = Bench(*sys.argv[1:])
    fleet = bench.folder / "fleet.json"
    fleet.write_text(json.dumps({"devices": [{"path": PATH, "methods": methods}]}))
    bench.start_simulator(fleet)
    return bench


def session(bench, answers):
    """The output, and the seconds that the run took."""
    started = time.monotonic()
    client = bench.start_client()
    client.write(answers)
    client.close_input()
    output = client.read_to_end()
    return output, time.monotonic() - started


def check_slow_replies():
    """Each figure is in microseconds: the wait for the reply, and little more."""
    members = ["ReAuthenticate", "GetCertificate", "GetCertificateProperties", "GetAll", "GetMeasurement", "GetSignedMeasurement"]
    with bench_with({member: {"delay_ms": DELAY} for member in members}) as bench:
        output, seconds = session(bench, "2\n0\n1\n2\n0\n3\n0\n4\n6\n0\n1\n-1\n7\n0\n1\n-1\n9\n4\n")
    figures = [int(figure) for figure in TIME.findall(output)]
    assert len(figures) == len(members), output
    assert all(DELAY * 1000 <= figure for figure in figures), figures
    assert sum(figures) <= seconds * 1e6, (figures, seconds)


def check_quick_replies():
    with bench_with({}) as bench:
        output, seconds = session(bench, "2\n0\n" + "1\n" * 50 + "9\n4\n")
    figures = [int(figure) for figure in TIME.findall(output)]
    assert len(figures) == 50 and min(figures) > 0, figures
    assert sum(figures) <= seconds * 1e6, (figures, seconds)


def check_pauses(status, attempts):
    """A second follows every attempt, the last one included."""
    with bench_with({"ReAuthenticate": {"reply": ["u", status]}}) as bench:
        client = bench.run_client("2\n0\n5\n9\n4\n", packets=True)
        pauses = [
            after.time - write.time
            for write, after in zip(client.writes, client.writes[1:])
            if write.text.startswith("ReAuth Status: ")
        ]
    assert len(pauses) == attempts, pauses
    # The shortest is hardly ever delayed by other load on the machine.
    assert 1 <= min(pauses) < 1.2, pauses


def check_time_out():
    """It is the bus library's own, which its environment variable sets."""
    with bench_with({"ReAuthenticate": {"no_reply": True}}) as bench:
        client = bench.run_client(
            "2\n0\n1\n9\n4\n", env={"SYSTEMD_BUS_TIMEOUT": "2s"}, packets=True
        )
    texts = [write.text for write in client.writes]
    place = texts.index("ERROR: Re-authentication operation failed. Check device authentication status.\n")
    seconds = client.writes[place].time - client.writes[place - 1].time
    assert 2 <= seconds < 4, seconds


def check_progress_lines_count(item, line):
    """The DEBUG lines belong to the measured time: a console that blocks adds to it."""
    with bench_with({}) as bench:
        console, terminal = os.pipe()
        fcntl.fcntl(terminal, fcntl.F_SETPIPE_SZ, 4096)
        client = subprocess.Popen(
            exe_wrapper() + [bench.client_program],
            stdin=subprocess.PIPE,
            stdout=terminal,
            env=dict(os.environ, DBUS_SYSTEM_BUS_ADDRESS=bench.address),
        )
        client.stdin.write(f"2\n0\n{item}\n0\n1\n".encode())
        client.stdin.flush()
        seen = b""
        while not seen.endswith(b"stop): "):
            seen += os.read(console, 4096)
        os.set_blocking(terminal, False)
        filled = 0
        try:
            while True:
                filled += os.write(terminal, b"." * 512)
        except BlockingIOError:
            os.set_blocking(terminal, True)
        client.stdin.write(b"-1\n9\n4\n")
        client.stdin.close()
        # Nothing is called before the first line is out.
        time.sleep(DELAY / 1000)
        assert line not in bench.calls()
        os.close(terminal)
        with os.fdopen(console, "rb") as rest:
            output = rest.read().decode()
        assert client.wait() == 0
    figures = [int(figure) for figure in TIME.findall(output)]
    assert len(figures) == 1 and filled > 0, output
    return figures[0]


def main():
    check_slow_replies()
    check_quick_replies()
    check_pauses(status=1, attempts=5)
    check_pauses(status=3, attempts=1)
    check_time_out()
    for item, member in ((6, "GetMeasurement"), (7, "GetSignedMeasurement")):
        figure = check_progress_lines_count(item, member)
        assert figure >= DELAY * 1000 * 0.8, figure


main()
