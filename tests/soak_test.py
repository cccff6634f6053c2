#!/usr/bin/env python3
"""One long run of the client: 20,000 operations of all kinds and 100,000 signals. Every byte that it
prints is compared, its memory and descriptors stay as they were after the first round, and it keeps pace.
Called as: FILE CLIENT SIMULATOR. Takes some 20 seconds, so it is run by hand and by CI, not by every test."""

import os
import re
import subprocess
import sys
import time
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parent / "faults"))

from methods import METHODS, OWN_EID, PATH
from stage import good_rules

from cases import BANNER, CPU_13, MAIN_MENU, OPERATIONS_MENU, STARTED, added_text, error_text, removed_text
from harness import Bench, command, mask, wait_until

ROUNDS = 5
OPERATIONS = 20_000
SIGNALS = 100_000

IDENTITY = {"XMID": ["s", "CPU-12"], "DeviceEID": ["q", OWN_EID]}
FLEET = {"devices": [{"path": PATH, "preset": "bare", "properties": IDENTITY, "methods": good_rules()}]}

ITEMS = METHODS[:6]
PASS = "".join(item.step for item in ITEMS)
TEXT_OF_A_PASS = "".join(item.step_text(item.good()) for item in ITEMS)
PASSES = -(-OPERATIONS // (len(ITEMS) * ROUNDS))

# Six times what a run takes on an idle machine.
SECONDS = 120

# Output is complete after this long without any.
SECONDS_OF_SILENCE = 10

# The smallest leak, 32 bytes an operation, would be four times that; one in each signal twenty times. The
# allocator itself may add a few pages.
KIB_OF_GROWTH = 128


def expect(client, expected, what):
    """Reads as many lines as `expected` has, and compares them all."""
    lines = expected.count("\n")
    read = -1
    while client.seen.count("\n") < lines and len(client.seen) > read:
        read = len(client.seen)
        client.read_some(SECONDS_OF_SILENCE)
    found, client.seen = mask(client.seen), ""
    if found == expected:
        return
    pairs = zip(expected.splitlines(), found.splitlines())
    number, pair = next(((i, p) for i, p in enumerate(pairs, 1) if p[0] != p[1]), (None, None))
    place = f"line {number}: expected, printed: {pair}" if pair else "one is the beginning of the other"
    sys.exit(f"{what}: {lines} lines expected, {found.count(chr(10))} printed; {place}; "
             f"standard error: {client.stderr()!r}")


def operate(client):
    client.write(PASS * PASSES)
    expect(client, TEXT_OF_A_PASS * PASSES, "operations")


def is_monitored(bench):
    """Whether the bus has the last rule of a monitor."""
    rules = subprocess.run(
        ["dbus-send", f"--bus={bench.address}", "--print-reply", "--dest=org.freedesktop.DBus",
         "/org/freedesktop/DBus", "org.freedesktop.DBus.Debug.Stats.GetAllMatchRules"],
        stdout=subprocess.PIPE, check=True, text=True,
    ).stdout
    return "member='Info'" in rules


def monitor(bench, client, simulator):
    """A device comes, sends its errors, and goes; a subscribed device would keep the monitor's connection open."""
    client.write("8\n")
    expect(client, STARTED, "start of the monitor")
    wait_until(lambda: is_monitored(bench), "the monitor's rules")
    command(simulator, f"add {CPU_13.path}")
    expect(client, added_text("CPU", CPU_13.path), "announcement")
    count = SIGNALS // ROUNDS
    command(simulator, f"flood {CPU_13.path} {count}")
    expect(client, "".join(error_text(13, code) for code in range(count)), "signals")
    command(simulator, f"remove {CPU_13.path}")
    expect(client, removed_text(CPU_13.path), "removal")
    client.write("-1\n")
    expect(client, OPERATIONS_MENU, "end of the monitor")


def resources(client):
    """The resident KiB and the open descriptors."""
    status = Path(f"/proc/{client.pid}/status").read_text()
    return (int(re.search(r"^VmRSS:\s+(\d+) kB", status, re.M)[1]),
            len(os.listdir(f"/proc/{client.pid}/fd")))


def check_resources(first, last):
    print(f"resident KiB and descriptors after the first round {first}, after the last {last}")
    if last[0] - first[0] > KIB_OF_GROWTH:
        sys.exit(f"memory grew by more than {KIB_OF_GROWTH} KiB")
    if last[1] != first[1]:
        sys.exit("descriptors were left open, or closed")


def run(bench):
    simulator = bench.start_simulator(FLEET)
    client = bench.start_client()
    client.write(ITEMS[0].lead)
    expect(client, BANNER + MAIN_MENU + ITEMS[0].opening, "start")
    used = []
    for _ in range(ROUNDS):
        operate(client)
        monitor(bench, client, simulator)
        used.append(resources(client))
    client.write("9\n4\n")
    expect(client, MAIN_MENU, "end")
    client.read_to_end()
    if (client.wait(), client.stderr(), client.seen) != (0, "", ""):
        sys.exit(f"exit status {client.wait()}, {client.stderr()!r}, {client.seen!r}")
    check_resources(used[0], used[-1])


def main():
    if len(sys.argv) != 3:
        sys.exit(__doc__)
    start = time.monotonic()
    with Bench(*sys.argv[1:]) as bench:
        run(bench)
    elapsed = time.monotonic() - start
    operations = ROUNDS * PASSES * len(ITEMS)
    print(f"{operations} operations and {SIGNALS} signals in {elapsed:.1f} s")
    if elapsed > SECONDS:
        sys.exit(f"that is more than {SECONDS} s")


if __name__ == "__main__":
    main()
