#!/usr/bin/env python3
"""What spdm-report reads from the client's conversations is what went over the bus: calls, arguments, statuses,
signals. Called as: FILE CLIENT SIMULATOR REPORT"""

import json
import os
import subprocess
import sys

import corpus
import wire
from harness import Bench, command, exe_wrapper, wait_for_signal

CLIENT, SIMULATOR = sys.argv[1:3]
REPORT = [*exe_wrapper(), os.path.abspath(sys.argv[3])]
BENCH = corpus.FLEETS / "bench.json"
SERVICE = "/com/varn/bmc/spdm/spdm"
CPU_12 = f"{SERVICE}/cpu/cpu_12"
PATHS = [f"{SERVICE}/{place}" for place in (
    "cpu/cpu_10", "cpu/cpu_11", "cpu/cpu_12", "nicController/nic_20", "nicController/nic_21",
    "halcController/halc_30", "halcController/halc_31")]


def rows_of(text, status):
    done = subprocess.run([*REPORT, "--ndjson", "-", "-"], input=text.encode(), capture_output=True)
    assert (done.returncode, done.stderr) == (status, b""), f"{done.returncode} {done.stderr}"
    rows = [json.loads(line) for line in done.stdout.splitlines()]
    assert [row["kind"] for row in rows].count("run") == 1
    notes = [row["text"] for row in rows if row["kind"] == "note"]
    assert notes == [], notes
    return rows


def of_kind(rows, kind, *fields):
    return [tuple(row[field] for field in fields) for row in rows if row["kind"] == kind]


def expect(found, expected):
    assert found == expected, f"{found}\nnot {expected}"


def conversation(answers, status):
    """The rows of a conversation with the bench; every one of its calls is a row."""
    with Bench(CLIENT, SIMULATOR) as bench:
        bench.start_simulator(BENCH)
        rows = rows_of(bench.run_client(answers).seen, status)
        expect(wire.compare(rows, bench.calls()), ([], []))
        return rows


def test_regression():
    rows = conversation("1\n4\n", 1)
    members = ("ReAuthenticate", "GetCertificate", "GetCertificateProperties", "GetMeasurement",
               "GetSignedMeasurement")
    # ReAuthenticate's 1 is "Passed", 3 "Failed"; NIC 21 does not measure.
    statuses = {12: (3, 0, 0, 0, 0), 21: (1, 0, 0, 10, 10)}
    expected = []
    for path in PATHS:
        eid = int(path.rpartition("_")[2])
        for member, code in zip(members, statuses.get(eid, (1, 0, 0, 0, 0)), strict=True):
            expected.append((eid, path, member, "regression", "answered", code))
    expect(of_kind(rows, "call", "eid", "path", "operation", "activity", "outcome", "status"), expected)
    assert all(call["microseconds"] >= 0 for call in rows if call["kind"] == "call")
    # Blocks: 5 of each CPU, 4 of a NIC that measures, 6 and 4 of the HALC controllers.
    blocks = [row["eid"] for row in rows if row["kind"] == "measurement"]
    expect([blocks.count(eid) for eid in (10, 11, 12, 20, 21, 30, 31)], [5, 5, 5, 4, 0, 6, 4])
    expect([(row["eid"], row["structure"], row["signature_size"]) for row in rows if row["kind"] == "signed"],
           [(10, "valid", 96), (11, "valid", 96), (12, "valid", 132), (20, "valid", 64), (30, "valid", 384),
            (31, "valid", 64)])


def test_operations_on_all_devices():
    rows = conversation("2\n7\n4\n", 1)
    expected = []
    for path in PATHS:
        expected += [(path, "ReAuthenticate", "all-devices", 3 if path == CPU_12 else 1),
                     (path, "GetAll", "all-devices", None)]
    expect(of_kind(rows, "call", "path", "operation", "activity", "status"), expected)
    properties = {(row["eid"], row["name"]): row["value"] for row in rows if row["kind"] == "property"}
    expect(len(properties), 27 * len(PATHS))
    expect((properties[12, "XMID"], properties[12, "ChallengeStatus"], properties[21, "Measurement"],
            properties[31, "DeviceEID"]), ("CPU-2-B007", "Failed", "false", "43"))
    expect(of_kind(rows, "device", "eid", "xmid", "index", "device_eid"),
           [(10, "CPU-0-A1F4", 0, 10), (11, "CPU-1-A1F4", 1, 11), (12, "CPU-2-B007", 2, 12),
            (20, "NIC-0-25G", 3, 20), (21, "NIC-1-1G", 4, 21), (30, "HALC-0", 5, 30), (31, "HALC-1", 6, 43)])


def test_suite():
    rows = conversation("3\n5\n1\n4\n", 0)  # HALC 30, with its slots 0 and 2
    tests = of_kind(rows, "test", "category", "ordinal", "verdict")
    expected = []
    for category, total in (("Normal Measurements", 8), ("Signed Measurements", 8), ("Failure Tests (Expected)", 7),
                            ("Stress Tests", 26)):
        expected += [(category, ordinal, "passed") for ordinal in range(1, total + 1)]
    expect(tests, expected)
    # `conversation` has compared every slot, index and nonce; here nothing may be unknown.
    measurements = [row for row in rows if row["kind"] == "call" and "Measurement" in row["operation"]]
    expect(len(measurements), 49)
    assert all(wire.told(row) is not None for row in measurements)
    # An unknown index is 9, an invalid slot 6.
    statuses = [row["status"] for row in measurements]
    expect(statuses, [0] * 16 + [9] * 3 + [6] * 4 + [0] * 26)
    expect(of_kind(rows, "availability", "eid", "answer", "service"), [(30, "responsive", None)])


def test_suites_on_all_devices():
    rows = conversation("3\n0\n3\n4\n", 1)
    tests = of_kind(rows, "test", "eid", "verdict")
    # Four normal and four signed tests a slot; 23 stress tests with one slot, 26 with two.
    slots = {10: 2, 11: 1, 12: 2, 20: 1, 30: 2, 31: 2}
    for eid, count in slots.items():
        expect([verdict for of, verdict in tests if of == eid], ["passed"] * (4 * count + 4 * count + 7 + 20 + 3 * count))
    # NIC 21 has a slot, and refuses every measurement.
    verdicts = [verdict for of, verdict in tests if of == 21]
    expect((verdicts.count("skipped"), verdicts.count("passed"), len(verdicts)), (31, 7, 38))


def test_operations_on_a_terminal():
    """Answers that the terminal echoes tell the arguments."""
    with Bench(CLIENT, SIMULATOR) as bench:
        bench.start_simulator(BENCH)
        client = bench.start_client(terminal=True)
        place = 0
        choose = "Please Choose the option:"
        value = "Enter the next value (enter -1 to stop): "
        indices = "Enter the indices of measurement block to fetch:"
        slot = "Please Enter Slot Number: "
        for prompt, answer in (
            (choose, 2), ("Choose the device index (0-7): ", 2), (choose, 1),
            (choose, 2), (slot, 1), (choose, 3), (slot, 7), (choose, 4), (choose, 5),
            (choose, 6), (slot, 0), (indices, 1), (value, 300), (value, -1),
            (choose, 7), (slot, 0), (indices, 255), (value, -1),
            (choose, 9), (choose, 4),
        ):
            place = client.wait_for(prompt, place)
            client.write(f"{answer}\n")
        rows = rows_of(client.read_to_end(), 1)
        expect(wire.compare(rows, bench.calls()), ([], []))
        expect(of_kind(rows, "call", "operation", "status", "slot", "indices"),
               [("ReAuthenticate", 3, None, None), ("GetCertificate", 0, 1, None),
                ("GetCertificateProperties", 1, 7, None), ("GetAll", None, None, None),
                ("ReAuthenticate", 3, None, None), ("GetMeasurement", 18, 0, [1, 300]),
                ("GetSignedMeasurement", 0, 0, [255])])


def test_signals():
    with Bench(CLIENT, SIMULATOR) as bench:
        simulator = bench.start_simulator(BENCH)
        client = bench.start_client()
        client.write("2\n2\n8\n")
        wait_for_signal(simulator, client)
        new = f"{SERVICE}/cpu/cpu_77"
        place = len(client.seen)
        for sent, printed in (
            (f"add {new} cpu", "Added handler FOR CPU is completed.\n"),
            (f"error {new} 513", "Error handler is completed.\n"),
            (f"progress {new} 40", "Certificate Progress handler is completed.\n"),
            (f'set {new} XMID s "CPU: 77"', "Properties change handler is completed.\n"),
            (f"set {new} ChallengeStatus u 2", "Properties change handler is completed.\n"),
            (f"set {new} ChallengeStatus u 7", "Properties change handler is completed.\n"),
            ("info 65535", "Info handler is completed.\n"),
            (f"remove {new}", "Interface Removed handler is completed.\n"),
        ):
            command(simulator, sent)
            place = client.wait_for(printed, place)
        client.write("-1\n9\n4\n")
        client.close_input()
        rows = rows_of(client.read_to_end(), 0)
        signals = of_kind(rows, "signal", "signal", "eid", "name", "value")
        while signals[0] == ("Info", None, None, 7):  # The first ones, until the monitor was ready.
            signals.pop(0)
        expect(signals, [
            ("InterfacesAdded", 77, None, new),
            ("DeviceError", 77, None, 513),
            ("CertificateProgress", 77, None, 40),
            ("PropertiesChanged", 77, "XMID", "CPU: 77"),
            ("PropertiesChanged", 77, "ChallengeStatus", "In Progress"),
            ("PropertiesChanged", 77, "ChallengeStatus", None),
            ("Info", None, None, 65535),
            ("InterfacesRemoved", 77, None, new),
        ])


def main():
    for name, test in sorted(globals().items()):
        if name.startswith("test_"):
            print(name, flush=True)
            test()


main()
