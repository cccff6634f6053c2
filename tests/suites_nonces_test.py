#!/usr/bin/env python3
"""Runs the comprehensive suite over a device with two slots: every nonce that the client shows is the
one it sends, in the case asked for, and no two are alike. The run also takes the time of its ten
pauses. Called as: FILE CLIENT SIMULATOR"""

import json
import re
import sys
import time

from harness import Bench

EMPTY, UPPER, LOWER = "", "[0-9A-F]{64}", "[0-9a-f]{64}"
# Each section of the signed tests takes both slots; five signed tests alternate in the stress tests.
CASES = [EMPTY] * 2 + [UPPER] * 2 + [LOWER] * 2 + [UPPER] * 2 + [UPPER] * 5
PAUSES = 10 * 0.1

DEVICE = {
    "path": "/com/varn/bmc/spdm/spdm/cpu/cpu_12",
    "preset": "bare",
    "properties": {"CertificateSlot0": ["b", True], "CertificateSlot1": ["b", True]},
    "methods": {
        "ReAuthenticate": {"reply": ["u", 1]},
        "GetMeasurement": {"reply": ["qqa(qayuq)", 0, 0, []]},
        "GetSignedMeasurement": {"reply": ["ussss", 0, "", "", "", ""]},
    },
}


def run_suite(client_program, simulator_program):
    """The transcript, the calls and the seconds of a run on the current device."""
    with Bench(client_program, simulator_program) as bench:
        fleet = bench.folder / "fleet.json"
        fleet.write_text(json.dumps({"devices": [DEVICE]}))
        bench.start_simulator(fleet)
        started = time.monotonic()
        client = bench.start_client()
        client.write("3\n0\n1\n4\n")
        client.close_input()
        transcript = client.read_to_end()
        assert client.wait() == 0, client.stderr()
        return transcript, bench.calls(), time.monotonic() - started


def main():
    transcript, calls, seconds = run_suite(*sys.argv[1:])

    sent = re.findall(r'^GetSignedMeasurement .* "(.*)"$', calls, re.MULTILINE)
    assert len(sent) == len(CASES), sent
    for nonce, case in zip(sent, CASES):
        assert re.fullmatch(case, nonce), (nonce, case)

    shown = re.findall(r"^Indices: (?:\d+ )+Nonce: (.*)$", transcript, re.MULTILINE)
    assert shown == sent, (shown, sent)

    generated = re.findall(
        r"^ℹ INFO: Generated 32-byte nonce( \(lowercase\))?: (.*) \(256 bits\)$", transcript, re.MULTILINE
    )
    random_cases = [case for case in CASES if case != EMPTY]
    assert [nonce for _, nonce in generated] == [nonce for nonce in sent if nonce], (generated, sent)
    assert [bool(mark) for mark, _ in generated] == [case == LOWER for case in random_cases], generated
    assert len({nonce.lower() for _, nonce in generated}) == len(random_cases), generated

    assert seconds >= PAUSES, f"the run took only {seconds} s"


if __name__ == "__main__":
    main()
