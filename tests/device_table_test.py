#!/usr/bin/env python3
"""Each row of the device table is printed as soon as its own device has been asked.
Called as: FILE CLIENT SIMULATOR"""

import sys

from harness import Bench

FIRST = "/com/varn/bmc/spdm/spdm/cpu/cpu_12"
SECOND = "/com/varn/bmc/spdm/spdm/cpu/cpu_13"


def main():
    fleet = {"devices": [{"path": FIRST}, {"path": SECOND, "methods": {"Get": {"no_reply": True}}}]}
    with Bench(*sys.argv[1:]) as bench:
        bench.start_simulator(fleet)
        client = bench.start_client()
        client.write("2\n")
        # Well before the client stops waiting for the second device.
        client.wait_for(f"    0 |   12 |          CPU-12 | {FIRST}\n", deadline=15)
        assert "    1 |" not in client.seen, client.seen


main()
