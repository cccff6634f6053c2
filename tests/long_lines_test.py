#!/usr/bin/env python3
"""The longest line that a reply over the system bus can give is one write, like any other.
Called as: FILE CLIENT SIMULATOR"""

import re
import sys
from pathlib import Path

from harness import Bench, wait_until

PATH = "/com/varn/bmc/spdm/spdm/cpu/cpu_12"
MENU = "9: Go Back \nPlease Choose the option:\n"


def writes(client):
    return int(re.search(r"^syscw: (\d+)$", Path(f"/proc/{client.pid}/io").read_text(), re.MULTILINE)[1])


def read_menu(client):
    def shown():
        client.read_some(0.2)
        client.seen = client.seen[-len(MENU) :]
        return client.seen == MENU

    wait_until(shown, "the menu")
    client.seen = ""


def writes_of_an_operation(size):
    """How often the client writes when it shows a signed measurement with a text of this size."""
    reply = ["ussss", 0, {"repeat": "A", "times": size}, "SHA-384", "an unknown one", "1.2"]
    with Bench(*sys.argv[1:]) as bench:
        methods = {"GetSignedMeasurement": {"reply": reply}}
        bench.start_simulator({"devices": [{"path": PATH, "methods": methods}]})
        client = bench.start_client()
        client.write("2\n0\n")
        read_menu(client)
        before = writes(client)
        client.write("7\n0\n255\n-1\n")
        read_menu(client)
        return writes(client) - before


def main():
    short, long = writes_of_an_operation(1000), writes_of_an_operation(31 << 20)
    assert short == long, f"{long} writes, {short} where the text is short"


main()
