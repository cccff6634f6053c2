#!/usr/bin/env python3
"""A bus with a system bus's policy carries nothing of the simulated service; with the simulator's own
policy file it carries all, for root. Called as: FILE CLIENT SIMULATOR"""

import os
import sys
from pathlib import Path

from harness import Bench, wait_for_signal

SIMULATOR = Path(__file__).resolve().parent.parent / "simulator"
FLEET = SIMULATOR / "fleets/bench.json"

# What a system bus says after it has let everybody connect: names and calls need a policy, signals do not.
SYSTEM_BUS = (
    '<deny own="*"/><deny send_type="method_call"/><allow send_type="signal"/>'
    '<allow send_destination="org.freedesktop.DBus"/>'
)
POLICY_FILE = f"<include>{SIMULATOR}/spdm-simulator.conf</include>"


def expect_refusal(bench):
    try:
        bench.start_simulator(FLEET)
    except AssertionError as failure:
        assert "sd_bus_request_name: Permission denied" in str(failure), failure
    else:
        raise AssertionError("the simulator has the service's name")


def expect_service(bench):
    simulator = bench.start_simulator(FLEET)
    client = bench.start_client()
    client.write("2\n0\n1\n8\n")
    client.wait_for("ReAuth Status: Passed")
    wait_for_signal(simulator, client)
    client.write("-1\n9\n4\n")
    client.read_to_end()
    assert client.wait() == 0, client.stderr()


def main():
    programs = sys.argv[1:]
    with Bench(*programs, policy=SYSTEM_BUS) as bench:
        expect_refusal(bench)
    with Bench(*programs, policy=SYSTEM_BUS, limits=POLICY_FILE) as bench:
        if os.geteuid() == 0:
            expect_service(bench)
        else:
            expect_refusal(bench)


if __name__ == "__main__":
    main()
