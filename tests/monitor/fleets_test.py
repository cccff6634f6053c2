#!/usr/bin/env python3
"""What the monitor prints of the events in a fleet's file: of simulator/fleets/live.json, at their times
and one by one."""

import json
from contextlib import contextmanager
from pathlib import Path

from cases import (
    NIC,
    added_text,
    error_text,
    info_text,
    monitoring,
    progress_text,
    properties_text,
    removed_text,
    run_cases,
)

LIVE = Path(__file__).resolve().parent.parent.parent / "simulator/fleets/live.json"
NIC_22 = NIC + "/nic_22"

# Of each event in its order.
TEXTS = [
    info_text(1),
    added_text("NIC", NIC_22),
    properties_text(22, "ChallengeStatus: In Progress\n"),
    progress_text(22, 25),
    progress_text(22, 75),
    progress_text(22, 100),
    properties_text(22, "ChallengeStatus: Passed\n"),
    properties_text(22, "XMID: NIC-2-100G\n"),
    error_text(22, 14),
    properties_text(22, "DeviceAllowed: false\n"),
    removed_text(NIC_22),
    info_text(2),
]


@contextmanager
def monitoring_live_fleet(change_event):
    """While the monitor runs, the service starts anew with the fleet, each of its events changed."""
    fleet = json.loads(LIVE.read_text())
    for event in fleet["signals"]:
        change_event(event)
    for device in [*fleet["devices"], *(event["add"] for event in fleet["signals"] if "add" in event)]:
        device["signing"]["key"] = str(LIVE.parent / device["signing"]["key"])
    with monitoring() as client:
        file = client.bench.folder / "live.json"
        file.write_text(json.dumps(fleet))
        client.simulator.write("quit\n")
        client.simulator.wait()
        client.simulator = client.bench.start_simulator(file)
        yield client
        client.finish()


def test_at_their_times():
    def hasten(event):
        event["at_ms"] //= 4

    with monitoring_live_fleet(hasten) as client:
        client.expect("".join(TEXTS))


def test_one_by_one():
    with monitoring_live_fleet(lambda event: event.pop("at_ms")) as client:
        for text in TEXTS:
            client.command("play")
            client.expect(text)


run_cases(globals())
