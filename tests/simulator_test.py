#!/usr/bin/env python3
"""The simulator as a program: it goes on serving after a bad name and without room for its output.
Called as: FILE CLIENT SIMULATOR"""

import json
import os
import subprocess
import sys

from harness import Bench, exe_wrapper, next_reply

NAME = "com.varn.bmc.spdm.spdm"
CPU = "/com/varn/bmc/spdm/spdm/cpu/cpu_12"
DEEPEST = 57  # containers in a property


def call(bench, path, interface, member):
    words = ["busctl", f"--address={bench.address}", "call", NAME, path, interface, member]
    return subprocess.run(words, capture_output=True, text=True, timeout=30).stdout


def check_that_it_serves(bench):
    answer = call(bench, CPU, NAME, "ReAuthenticate")
    assert answer == "u 1\n", answer


def nested(variants):
    """The signature and value of a number inside this many variants."""
    value = ["q", 1]
    for _ in range(1, variants):
        value = ["v", value]
    return f"v {json.dumps(value)}"


def check_options(simulator):
    for words, status, output, errors in (
        (["--version"], 0, "spdm-simulator 1.0.0\n", ""),
        (["--bus"], 2, "", "spdm-simulator: unknown option --bus\nTry: spdm-simulator --help\n"),
        (["/no/fleet"], 2, "", "/no/fleet: cannot be read: No such file or directory\n"),
    ):
        ended = subprocess.run([*exe_wrapper(), simulator, *words], capture_output=True, text=True, timeout=30)
        assert (ended.returncode, ended.stdout, ended.stderr) == (status, output, errors), ended


def check_names(bench, simulator):
    """Names that would make the bus close the connection are refused; after the accepted ones it still serves."""
    for line, reply in {
        "signal /a a.b 9x q 1": 'error: "9x" is no valid member name',
        "signal /a a.9b x q 1": 'error: "a.9b" is no valid interface name',
        "signal /org/freedesktop/DBus/Local a.b x": 'error: "/org/freedesktop/DBus/Local" is reserved by the bus',
        f"set {CPU} Deep {nested(DEEPEST + 1)}":
            f"error: VALUE{(DEEPEST + 1) * '[1]'}: more than {DEEPEST} containers within each other",
        f"set {CPU} Deep {nested(DEEPEST)}": "ok",
    }.items():
        simulator.write(line + "\n")
        actual = next_reply(simulator)
        assert actual == reply, (line, actual)
    objects = call(bench, os.path.dirname(CPU), "org.freedesktop.DBus.ObjectManager", "GetManagedObjects")
    assert '"Deep"' in objects, objects
    check_that_it_serves(bench)


def check_full_log(bench):
    bench.log = "/dev/full"
    simulator = bench.start_simulator(bench.fleet)
    check_that_it_serves(bench)
    check_that_it_serves(bench)
    assert simulator.stderr() == "spdm-simulator: cannot write to /dev/full: No space left on device\n"
    simulator.stop()
    bench.processes.remove(simulator)


def check_reader_that_leaves(bench):
    simulator = bench.start([bench.simulator_program, bench.fleet])
    simulator.wait_for("ready\n")
    os.close(simulator.output)
    simulator.output = None
    simulator.write("info 1\ninfo 2\n")
    check_that_it_serves(bench)
    simulator.write("quit\n")
    assert simulator.wait() == 0
    assert simulator.stderr() == "spdm-simulator: cannot write to standard output: Broken pipe\n", simulator.stderr()


def main():
    check_options(sys.argv[2])
    with Bench(*sys.argv[1:]) as bench:
        bench.fleet = bench.folder / "fleet.json"
        bench.fleet.write_text(json.dumps({"devices": [{"path": CPU}]}))
        check_names(bench, simulator := bench.start_simulator(bench.fleet))
        simulator.stop()
        bench.processes.remove(simulator)
        check_full_log(bench)
        check_reader_that_leaves(bench)


main()
