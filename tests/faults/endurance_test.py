#!/usr/bin/env python3
"""A thousand calls in one run of the client, good and failing ones of all methods but GetManagedObjects, which
is called once in a run, with the bus restarted in between: no descriptor is left open, and the memory does not
grow. Called as: FILE CLIENT SIMULATOR"""

import json
import re
import sys
from pathlib import Path

from methods import METHODS, PATH, UNOPENED
from stage import Talk, as_json, descriptors_left, good_rules

from cases import MAIN_MENU
from harness import Bench, exe_wrapper

# Two devices: one answers well, the other fails by turns: with an error, a reply without fields, another type.
OTHER_PATH = PATH.replace("cpu_12", "cpu_13")
ITEMS = METHODS[:6]
NAME_HAS_OWNER = METHODS[-1]
ALL_ITEMS = "".join(method.step for method in ITEMS)
ROUND = f"2\n0\n{ALL_ITEMS}9\n" + f"2\n1\n{ALL_ITEMS}9\n" + "3\n1\n1\n"
# Each of the three tables asks the first device for two properties and fails with the other's first; then the
# items of both devices; then the availability check's GetAll and NameHasOwner.
CALLS_OF_A_ROUND = 3 * 3 + 2 * len(ITEMS) + 2
WARM_UP, ROUNDS, ROUNDS_ON_A_BUS = 8, 44, 9

# What may be added: 64 bytes a call, which is less than anything that the bus library allocates for one (a message
# takes some 500, a connection several thousand), and more than the allocator's page or two.
KIB_OF_GROWTH = 64


def failing_rule(method):
    error = {"call": {"every": 2}, "error": ["com.example.Odd.Failure", "Out of tea."]}
    return [error, {"call": {"every": 3}, "cut": 0}, {"reply": ["x", 1]}]


def start_service(bench):
    failing = {method.key: failing_rule(method) for method in ITEMS}
    identity = {"XMID": ["s", "CPU-12"], "DeviceEID": ["q", 12]}
    devices = [
        {"path": PATH, "preset": "bare", "properties": identity, "methods": good_rules()},
        {"path": OTHER_PATH, "preset": "bare", "methods": failing | {"Get": failing_rule(None)}},
    ]
    fleet = bench.folder / "fleet.json"
    fleet.write_text(json.dumps({"devices": as_json(devices)}))
    bench.start_simulator(fleet)


def resident_kib(pid):
    return int(re.search(r"VmRSS:\s+(\d+) kB", Path(f"/proc/{pid}/status").read_text())[1])


def measures_memory(client):
    """A sanitizer keeps what was freed, an emulator what it has translated."""
    return not exe_wrapper() and b"__asan_init" not in Path(client).read_bytes()


def play_round(talk):
    talk.write(ROUND)
    talk.read_past(MAIN_MENU, 3)


def telling_line(text):
    """The line of a good reply that no other method prints."""
    lines = text.splitlines()
    return next((line for line in lines if " Time taken" in line), lines[-1])


def check_output(text, good, failed, without_bus):
    """That the calls had the outcomes that they should have, by lines that they print."""
    lines = {NAME_HAS_OWNER.text(True): good, NAME_HAS_OWNER.failure_text(UNOPENED): without_bus}
    for method in ITEMS:
        lines[telling_line(method.text(*method.values())) + "\n"] = good
        lines[method.failure_text(UNOPENED).splitlines()[-1] + "\n"] = failed
    for line, count in lines.items():
        assert text.count(line) == count, f"{text.count(line)} times, expected {count}: {line}"


def main():
    client, simulator = sys.argv[1:]
    with Bench(client, simulator) as bench:
        start_service(bench)
        talk = Talk(bench.start_client())
        talk.read_past(MAIN_MENU)
        pid, native = talk.process.pid, not exe_wrapper()
        descriptors = len(list(Path(f"/proc/{pid}/fd").iterdir()))
        without_bus = 0
        for number in range(WARM_UP + ROUNDS):
            if number == WARM_UP:
                memory = resident_kib(pid)
            if number % ROUNDS_ON_A_BUS == 4:
                bench.stop_bus()
                play_round(talk)
                without_bus += 1
                bench.start_bus()
                start_service(bench)
            play_round(talk)
        assert descriptors == len(list(Path(f"/proc/{pid}/fd").iterdir()))
        left = descriptors_left(pid, native)
        assert not left, left
        growth = resident_kib(pid) - memory
        talk.write("4\n")
        talk.read_to_end()
        assert talk.process.wait() == 0
        assert talk.process.stderr() == "", talk.process.stderr()
    rounds = WARM_UP + ROUNDS
    check_output(talk.text(), rounds, rounds + 2 * without_bus, without_bus)
    print(f"{ROUNDS * CALLS_OF_A_ROUND} calls after {WARM_UP * CALLS_OF_A_ROUND} to warm up, and {without_bus} rounds "
          f"without a bus: {descriptors} descriptors before and after; VmRSS grew by {growth} KiB")
    assert not measures_memory(client) or growth <= KIB_OF_GROWTH, f"grew by {growth} KiB"


main()
