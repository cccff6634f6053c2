#!/usr/bin/env python3
"""The client on a bus that it reaches through a program that forwards it, as over ssh: here systemd-stdio-bridge
alone. Called as: FILE CLIENT SIMULATOR"""

import sys
from pathlib import Path

from harness import Bench, Process, mask, wait_for_signal

FLEET = Path(__file__).resolve().parent.parent / "simulator/fleets/bench.json"


def escape(text):
    """As a value in a D-Bus address."""
    return "".join(c if c.isalnum() or c in "-_/." else f"%{ord(c):02x}" for c in text)


def main():
    with Bench(*sys.argv[1:]) as bench:
        simulator = bench.start_simulator(FLEET)
        address = f"unixexec:path=systemd-stdio-bridge,argv1={escape(f'--bus-path={bench.address}')}"
        client = Process([bench.client_program], env={"DBUS_SYSTEM_BUS_ADDRESS": address})
        bench.processes.append(client)
        client.write("2\n0\n1\n8\n")
        client.wait_for("    0 |   10 |      CPU-0-A1F4 | /com/varn/bmc/spdm/spdm/cpu/cpu_10\n")
        client.wait_for("Press -1 to stop monitoring\n")
        assert "ReAuth Status: Passed Time taken(In us): <us>\n" in mask(client.seen), client.seen
        wait_for_signal(simulator, client)
        client.write("-1\n9\n4\n")
        client.read_to_end()
        assert (client.wait(), client.stderr()) == (0, ""), client.stderr()
        assert "ReAuthenticate com.varn.bmc.spdm.spdm /com/varn/bmc/spdm/spdm/cpu/cpu_10 -\n" in bench.calls()


if __name__ == "__main__":
    main()
