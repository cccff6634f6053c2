#!/usr/bin/env python3
"""Runs the regression test and the measurement suite by turns over a device with two slots. Every nonce
that the client shows is the one it sends, in the case asked for, and no two are alike. A pause of 100 ms
follows each of the ten rapid measurements, and nothing else waits. Called as: FILE CLIENT SIMULATOR"""

import re
import sys

from harness import Bench, mask

RUNS = 4
# Retried up to this many runs: load on the machine hardly delays the same place in every run.
MOST_RUNS = 24
RUN_STARTS = "Starting Regression for object/com/varn/bmc/spdm/spdm/cpu/cpu_12\n"
RUN_ENDS = "#           MEASUREMENT TEST SUITE DONE         #\n"

EMPTY, UPPER, LOWER = "", "[0-9A-F]{64}", "[0-9a-f]{64}"
# The regression test asks without a nonce and shows none. Each section of the signed tests takes both slots;
# five signed tests alternate in the stress tests.
CASES_SHOWN = [EMPTY] * 2 + [UPPER] * 2 + [LOWER] * 2 + [UPPER] * 2 + [UPPER] * 5
CASES = RUNS * [EMPTY, *CASES_SHOWN]

# In seconds. Anything up to NO_PAUSE is the time that the calls take.
PAUSE, LONGEST_PAUSE, NO_PAUSE = 0.1, 0.125, 0.03
RAPID = "\n=== Rapid Successive Measurements Test ===\n"
ALTERNATING = "\n=== Alternating Measurement Types Test ===\n"
RAPID_HEADING = "\n=== Testing Single Measurement Index 1 ===\n"
RAPID_VERDICT = "✓ PASS: Single measurement index 1 test passed\n"
# The lines after the ten verdicts.
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
    """The transcript, the writes and the calls of the runs."""
    with Bench(client_program, simulator_program) as bench:
        bench.start_simulator({"devices": [DEVICE]})
        client = bench.run_client("1\n3\n0\n1\n" * RUNS + "4\n", packets=True)
        return client.seen, client.writes, bench.calls()


def check_nonces(transcript, calls):
    sent = re.findall(r'^GetSignedMeasurement .* "(.*)"$', calls, re.MULTILINE)
    assert len(sent) == len(CASES), sent
    for nonce, case in zip(sent, CASES):
        assert re.fullmatch(case, nonce), (nonce, case)

    shown = re.findall(r"^Indices: (?:\d+ )+Nonce: (.*)$", transcript, re.MULTILINE)
    expected = [nonce for place, nonce in enumerate(sent) if place % (len(CASES_SHOWN) + 1)]
    assert shown == expected, (shown, expected)

    generated = re.findall(
        r"^ℹ INFO: Generated 32-byte nonce( \(lowercase\))?: (.*) \(256 bits\)$", transcript, re.MULTILINE
    )
    random_cases = [case for case in CASES if case != EMPTY]
    assert [nonce for _, nonce in generated] == [nonce for nonce in sent if nonce], (generated, sent)
    assert [bool(mark) for mark, _ in generated] == [case == LOWER for case in random_cases], generated
    assert len({nonce.lower() for _, nonce in generated}) == len(random_cases), generated


def split_runs(writes):
    """The writes of each run, from the first of the regression test to the end of the suite."""
    texts = [write.text for write in writes]
    starts = [place for place, text in enumerate(texts) if text == RUN_STARTS]
    return [writes[start : texts.index(RUN_ENDS, start) + 1] for start in starts]


def is_pause(texts, place):
    """Whether the write at `place` follows a verdict of the rapid measurements."""
    return texts.index(RAPID) < place <= texts.index(ALTERNATING) and texts[place - 1] == RAPID_VERDICT


def least_waits(runs):
    """For each write but the first, the text and the shortest time since the write before it."""
    texts, *others = [[mask(write.text) for write in run] for run in runs]
    assert others == [texts] * (len(runs) - 1), "the runs differ"
    waits = [[after.time - before.time for before, after in zip(run, run[1:])] for run in runs]
    return texts, [min(times) for times in zip(*waits)]


def wrong_waits(runs):
    texts, waits = least_waits(runs)
    pauses = [place for place in range(1, len(texts)) if is_pause(texts, place)]
    assert [texts[place] for place in pauses] == AFTER_PAUSES, [texts[place] for place in pauses]
    for place, wait in enumerate(waits, 1):
        shortest, longest = (PAUSE, LONGEST_PAUSE) if place in pauses else (0, NO_PAUSE)
        if not shortest <= wait <= longest:
            yield f"{wait} s between {texts[place - 1]!r} and {texts[place]!r}"


def main():
    runs = []
    while len(runs) < MOST_RUNS and (not runs or list(wrong_waits(runs))):
        transcript, writes, calls = run_suites(*sys.argv[1:])
        check_nonces(transcript, calls)
        runs += split_runs(writes)
    wrong = list(wrong_waits(runs))
    assert not wrong, "\n".join(wrong)


if __name__ == "__main__":
    main()
