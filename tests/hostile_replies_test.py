#!/usr/bin/env python3
"""The client's whole output for replies of extreme sizes, compared with the layout in layouts.py.
Called as: FILE CLIENT SIMULATOR"""

import os
import subprocess
import sys

from harness import Bench, exe_wrapper, mask
from layouts import measurement_text, signed_measurement_text

PATH = "/com/varn/bmc/spdm/spdm/cpu/cpu_12"


def run(client, simulator, methods, answers):
    """The client's output between the item's last prompt and the next menu."""
    device = {"path": PATH, "preset": "bare", "properties": {"XMID": ["s", "X"], "DeviceEID": ["q", 12]}, "methods": methods}
    with Bench(client, simulator) as bench:
        bench.start_simulator({"devices": [device]})
        transcript = bench.folder / "transcript.txt"
        # A file: a pipe would wake its reader for each of a million lines.
        with transcript.open("wb") as output:
            ended = subprocess.run(
                exe_wrapper() + [client],
                input=f"2\n0\n{answers}0\n-1\n9\n4\n".encode(),
                env=dict(os.environ, DBUS_SYSTEM_BUS_ADDRESS=bench.address),
                stdout=output,
                stderr=subprocess.PIPE,
                check=True,
            )
        text = transcript.read_bytes().decode()
    assert ended.stderr == b"", ended.stderr
    start = text.index("fetch:\n") + len("fetch:\n")
    # Only the head is masked: the dump has 100 MiB and nothing that differs from run to run.
    head, first_offset, dump = text[start : text.index("1: ReAuthenticate", start)].partition("\n  0000: ")
    return mask(head) + first_offset + dump


def expect(actual, expected):
    if actual == expected:
        return
    place = next((i for i, (a, e) in enumerate(zip(actual, expected)) if a != e), min(len(actual), len(expected)))
    raise AssertionError(
        f"differs at {place} of {len(actual)}/{len(expected)}:\n{actual[place - 80 : place + 80]!r}\n"
        f"expected:\n{expected[place - 80 : place + 80]!r}"
    )


def check_measurements(programs, size, count):
    reply = ["qqa(qayuq)", 0, 1, {"repeat": [1, {"repeat": "5a", "times": size}, 2, 3], "times": count}]
    actual = run(*programs, {"GetMeasurement": {"reply": reply}}, "6\n")
    expect(actual, measurement_text(PATH, [b"\x5a" * size] * count))


def check_signed(programs, piece, times):
    reply = ["ussss", 0, {"repeat": piece, "times": times}, "SHA-512", "ED448", "1.2"]
    actual = run(*programs, {"GetSignedMeasurement": {"reply": reply}}, "7\n")
    expect(actual, signed_measurement_text(PATH, piece * times))


def main():
    programs = sys.argv[1:]
    check_measurements(programs, size=1 << 20, count=1)
    check_measurements(programs, size=3, count=10_000)
    check_signed(programs, "Q", 1)
    check_signed(programs, "QUJDRGFi", 1 << 21)


main()
