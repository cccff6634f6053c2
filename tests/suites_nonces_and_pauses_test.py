#!/usr/bin/env python3
"""Runs the comprehensive suite several times over a device with two slots. Every nonce that the client
shows is the one it sends, in the case asked for, and no two are alike. A pause follows each of the ten
rapid measurements, and nothing else waits. Called as: FILE CLIENT SIMULATOR"""

import json
import re
import sys

from harness import Bench, mask

# What other load on the machine delays, it hardly delays at the same place in every run.
RUNS = 4
RUN_STARTS = "Selected device: EID=12\n"
RUN_ENDS = "#           MEASUREMENT TEST SUITE DONE         #\n"

EMPTY, UPPER, LOWER = "", "[0-9A-F]{64}", "[0-9a-f]{64}"
# Each section of the signed tests takes both slots; five signed tests alternate in the stress tests.
CASES = RUNS * ([EMPTY] * 2 + [UPPER] * 2 + [LOWER] * 2 + [UPPER] * 2 + [UPPER] * 5)

PAUSE = 0.1
RAPID = "\n=== Rapid Successive Measurements Test ===\n"
ALTERNATING = "\n=== Alternating Measurement Types Test ===\n"
RAPID_HEADING = "\n=== Testing Single Measurement Index 1 ===\n"
RAPID_VERDICT = "✓ PASS: Single measurement index 1 test passed\n"
# The headings behind the ten verdicts.
AFTER_PAUSES = [RAPID_HEADING] * 9 + [ALTERNATING]

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


def run_suites(client_program, simulator_program):
    """The transcript, the writes and the calls of the runs on the current device."""
    with Bench(client_program, simulator_program) as bench:
        fleet = bench.folder / "fleet.json"
        fleet.write_text(json.dumps({"devices": [DEVICE]}))
        bench.start_simulator(fleet)
        client = bench.start_client(packets=True)
        client.write("3\n0\n1\n" * RUNS + "4\n")
        client.close_input()
        transcript = client.read_to_end()
        assert client.wait() == 0, client.stderr()
        return transcript, client.writes, bench.calls()


def check_nonces(transcript, calls):
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


def split_runs(writes):
    """The writes of each run, from the selection of the device to the end of the suite."""
    texts = [write.text for write in writes]
    starts = [place for place, text in enumerate(texts) if text == RUN_STARTS]
    return [writes[start : texts.index(RUN_ENDS, start) + 1] for start in starts]


def is_pause(texts, place):
    """Whether the write at `place` follows a verdict of the rapid measurements."""
    return texts.index(RAPID) < place <= texts.index(ALTERNATING) and texts[place - 1] == RAPID_VERDICT


def check_pauses(writes):
    runs = split_runs(writes)
    texts, *others = [[mask(write.text) for write in run] for run in runs]
    assert others == [texts] * (RUNS - 1), "the runs differ"

    pauses = [place for place in range(1, len(texts)) if is_pause(texts, place)]
    assert [texts[place] for place in pauses] == AFTER_PAUSES, [texts[place] for place in pauses]
    for place in range(1, len(texts)):
        least = min(run[place].time - run[place - 1].time for run in runs)
        where = f"{least} s between {texts[place - 1]!r} and {texts[place]!r}"
        assert (least >= PAUSE) == (place in pauses), where


def main():
    transcript, writes, calls = run_suites(*sys.argv[1:])
    check_nonces(transcript, calls)
    check_pauses(writes)


if __name__ == "__main__":
    main()
