#!/usr/bin/env python3
"""Runs one scenario: the client on a private bus, against the simulator, from a file of input.

A scenario is a folder:
  fleet.json            the simulator's fleet; without it no service is there
  input                 the client's standard input
  expected.txt          its standard output, microseconds and nonces masked
  expected-calls.txt    optional: the calls that the simulator received
  expected-stderr.txt   its standard error; without it that must be empty
  expected-writes.txt   optional: the writes to standard output that are not one line with the empty
                        lines before it, and how often each comes; each answer of the input is then
                        given when it is asked for, not before
  scenario.json         optional: {"bus": false} no bus daemon; {"lines": N} the client runs on
                        without end: N lines are compared, then it is killed; {"status": N} its exit
                        status, else 0; {"kill_bus_on_call": "Member"} the bus daemon is killed when
                        the simulator has received such a call
"""

import argparse
import difflib
import json
import sys
from pathlib import Path

from harness import Bench, Process, mask, wait_until
from writes import answer_one_by_one, other_writes

OPTIONAL = ("expected-calls.txt", "expected-writes.txt")


def run(arguments, options):
    scenario = arguments.scenario
    with Bench(arguments.client, arguments.simulator, bus=options.get("bus", True)) as bench:
        if (scenario / "fleet.json").exists():
            bench.start_simulator(scenario / "fleet.json")
        wrapper = arguments.wrapper.split() if arguments.wrapper else None
        by_write = (scenario / "expected-writes.txt").exists()
        client = bench.start_client(wrapper=wrapper, packets=by_write)
        answer = answer_one_by_one if by_write else Process.write
        answer(client, (scenario / "input").read_text())
        client.close_input()
        member = options.get("kill_bus_on_call")
        if member:
            wait_until(lambda: f"{member} " in bench.calls(), f"a call of {member}")
            bench.stop_bus()
        if "lines" in options:
            output = client.read_lines(options["lines"])
            if not client.running():
                sys.exit(f"the client ended with {client.wait()}, but should run on")
        else:
            output = client.read_to_end()
            expected_status = options.get("status", 0)
            if client.wait() != expected_status:
                sys.exit(f"exit status {client.wait()}, expected {expected_status}\n{client.stderr()}")
        return {
            "expected.txt": mask(output),
            "expected-calls.txt": mask(bench.calls()),
            "expected-stderr.txt": client.stderr(),
            "expected-writes.txt": other_writes(client.writes),
        }


def compare(path, actual, optional):
    """Prints how `actual` differs from the file; a missing file counts as empty."""
    if optional and not path.exists():
        return True
    expected = path.read_text(encoding="utf-8") if path.exists() else ""
    difference = difflib.unified_diff(
        expected.splitlines(keepends=True), actual.splitlines(keepends=True), str(path), "actual"
    )
    text = "".join(line if line.endswith("\n") else line + "\n\\ no newline\n" for line in difference)
    sys.stdout.write(text)
    return not text


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawTextHelpFormatter)
    parser.add_argument("--record", action="store_true", help="write what was seen into the scenario's files")
    parser.add_argument("--wrapper", help="a command that runs the client, such as valgrind")
    parser.add_argument("client")
    parser.add_argument("simulator")
    parser.add_argument("scenario", type=Path)
    arguments = parser.parse_args()
    options_file = arguments.scenario / "scenario.json"
    options = json.loads(options_file.read_text()) if options_file.exists() else {}

    actual = run(arguments, options)
    if arguments.record:
        for name, text in actual.items():
            if name == "expected.txt" or (arguments.scenario / name).exists():
                (arguments.scenario / name).write_text(text, encoding="utf-8")
        return 0
    results = [
        compare(arguments.scenario / name, text, optional=name in OPTIONAL)
        for name, text in actual.items()
    ]
    if all(results):
        return 0
    print("\nre-record, then review line by line:")
    print(f"  tests/run_transcript.py --record {arguments.client} {arguments.simulator} {arguments.scenario}")
    return 1


if __name__ == "__main__":
    sys.exit(main())
