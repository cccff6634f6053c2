#!/usr/bin/env python3
"""Every expected transcript of the tree, judged: its verdict, its notes, and its calls beside those that the
service logged. Called as: FILE REPORT"""

import json
import os
import subprocess
import sys
from collections import Counter

import corpus
import wire
from harness import exe_wrapper

REPORT = [*exe_wrapper(), os.path.abspath(sys.argv[1])]

# nothing: no operation was chosen. error: no answer, or the conversation ends elsewhere than at the first menu.
VERDICTS = {
    "nothing": """
        device-index-beyond-the-table device-index-out-of-range discovery-of-odd-paths exit-by-0 exit-by-7
        exit-by-end-of-input exit-by-end-of-input-after-the-number exit-by-minus-one exit-by-no-number
        exit-by-out-of-range no-devices operations-menu-invalid-choices operations-menu-minus-wraps-to-go-back
        suite-by-index-out-of-range top-level-minus-wraps-to-an-item
        """,
    "passed": """
        answers-on-one-line identities-in-the-table measurement-block-sizes measurement-indices-on-the-wire
        measurement-of-two-blocks operations-menu-go-back-and-enter-again signed-aligned signed-arguments-on-the-wire
        signed-base64-blank-ends-it signed-not-aligned-by-20 slot-numbers-are-not-checked
        """,
    "failed": """
        get-certificate-properties-statuses get-certificate-statuses measurement-every-status
        measurement-indices-end-of-input measurement-indices-not-a-number measurement-indices-out-of-range
        measurement-statuses-with-blocks re-authenticate-statuses recurring-ends-at-a-later-failure
        regression-of-two-devices regression-of-unknown-statuses signed-every-status signed-invalid-structures
        signed-line-that-is-one-write signed-statuses-with-data slot-number-out-of-range-is-the-greatest suite-5-of-7-failures-are-71-percent
        suite-all-tests-pass suite-partial-failures
        """,
    "error": """
        bus-daemon-dies-in-mid-call device-index-at-end-of-input device-index-not-a-number-selects-the-lowest-eid
        discovery-keeps-devices-before-a-number-too-large discovery-without-a-bus
        measurement-indices-empty-by-not-a-number operations-menu-end-of-input-at-once
        operations-menu-end-of-input-repeats-the-last-item operations-menu-not-a-number-repeats-invalid-method
        operations-menu-out-of-range-repeats-invalid-method property-report-after-a-measurement
        regression-goes-on-after-a-device-whose-calls-all-fail regression-while-the-service-leaves run-all-operations
        service-leaves-in-mid-call slot-number-not-a-number-is-zero suite-by-index suite-by-index-end-of-input-is-0
        suite-by-index-runs-on-the-selected-device suite-choice-end-of-input-is-the-current-device
        suite-choices-of-the-current-device suite-failure-tests-ask-for-the-slots-anew
        suite-of-a-device-whose-calls-all-fail suite-of-a-device-without-slots
        suite-on-all-devices-skips-the-unavailable suite-run-all-from-the-first-menu
        suite-signed-and-stress-tests-abort-in-a-good-run suite-while-the-service-leaves
        """,
}
STATUS = {"passed": 0, "failed": 1, "error": 1, "nothing": 3}

# Texts of devices, broken by their own line ends.
NOTES = {}

# Calls whose status has no word print nothing.
UNSEEN = {
    "get-certificate-properties-statuses": {"GetCertificateProperties": 4},
    "get-certificate-statuses": {"GetCertificate": 2},
}

# Calls that never reached the service.
UNSENT = {
    "regression-while-the-service-leaves": {
        ("ReAuthenticate", "error"): 1,
        ("GetCertificate", "error"): 1,
        ("GetCertificateProperties", "error"): 1,
        ("GetMeasurement", "bus-error"): 2,
        ("GetSignedMeasurement", "bus-error"): 2,
    },
    "service-leaves-in-mid-call": {
        ("ReAuthenticate", "error"): 1,
        ("GetCertificate", "error"): 1,
        ("GetCertificateProperties", "error"): 1,
        ("GetAll", "error"): 1,
    },
    # Two signed measurements are left; then the failure tests, and the slots and the descriptor of the rest.
    "suite-while-the-service-leaves": {
        ("GetSignedMeasurement", "bus-error"): 2,
        ("GetMeasurement", "bus-error"): 7,
        ("GetAll", "error"): 5 + 1 + 1,
    },
}


def check(name, verdict):
    done = subprocess.run([*REPORT, "--ndjson", "-", "-"], input=corpus.expected(name), capture_output=True)
    assert (done.returncode, done.stderr) == (STATUS[verdict], b""), f"{name}: {done.returncode} {done.stderr}"
    rows = [json.loads(line) for line in done.stdout.splitlines()]
    runs = [row for row in rows if row["kind"] == "run"]
    assert [run["verdict"] for run in runs] == [verdict], f"{name}: {runs}"
    notes = [row["text"] for row in rows if row["kind"] == "note"]
    assert notes == NOTES.get(name, []), f"{name}: {notes}"
    log = corpus.TRANSCRIPTS / name / "expected-calls.txt"
    if log.exists():
        try:
            unseen, unsent = wire.compare(rows, corpus.unmasked(log.read_bytes()).decode())
        except AssertionError as wrong:
            raise AssertionError(f"{name}: {wrong}") from None
        assert Counter(unseen) == UNSEEN.get(name, {}), f"{name}: nothing tells of {unseen}"
        assert Counter(unsent) == UNSENT.get(name, {}), f"{name}: not on the wire: {unsent}"


def main():
    verdicts = {name: verdict for verdict, names in VERDICTS.items() for name in names.split()}
    assert sorted(verdicts) == corpus.scenarios(), set(verdicts).symmetric_difference(corpus.scenarios())
    for name, verdict in verdicts.items():
        check(name, verdict)
    print(f"{len(verdicts)} transcripts")


main()
