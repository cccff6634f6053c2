#!/usr/bin/env python3
"""Compares the client's Base64 decoding and its dump of random data with those of `base64 -d` and
`xxd`. Called as: FILE CLIENT SIMULATOR"""

import random
import re
import subprocess
import sys

from harness import Bench

# Enough for the shortest signature and a measurement part, or the data would not be dumped.
SIZES = [80, 81, 82, 83, 95, 96, 97, 1000, 4095, 70000]


def xxd(data):
    """The dump of `xxd`, brought into the client's layout."""
    lines = subprocess.run(["xxd", "-g", "1", "-c", "16"], input=data, capture_output=True, check=True).stdout
    text = ""
    for line in lines.decode("latin-1").splitlines():
        offset, rest = line.split(": ", 1)
        digits = re.match(r"((?:[0-9a-f]{2} )+)", rest).group(1)
        text += f"  {int(offset, 16):04x}: {digits}\n"
    return text


def main():
    client_program, simulator_program = sys.argv[1:]
    seed = random.randrange(1 << 32)
    print("seed", seed)
    source = random.Random(seed)
    texts = [
        subprocess.run(["base64", "-w", "0"], input=source.randbytes(size), capture_output=True, check=True).stdout.decode()
        for size in SIZES
    ]
    path = "/com/varn/bmc/spdm/spdm/cpu/cpu_12"
    device = {
        "path": path,
        "preset": "bare",
        "properties": {"XMID": ["s", "CPU-12"], "DeviceEID": ["q", 12]},
        "methods": {"GetSignedMeasurement": [
            {"call": number, "reply": ["ussss", 0, text, "", "ED25519", ""]}
            for number, text in enumerate(texts, 1)
        ]},
    }
    with Bench(client_program, simulator_program) as bench:
        bench.start_simulator({"devices": [device]})
        transcript = bench.run_client("2\n0\n" + "7\n0\n255\n-1\n" * len(texts) + "9\n4\n").seen
    dumps = re.findall(r"📄 COMPLETE DECODED OUTPUT:\n-{40}\n(.*?)\n\nACTUAL", transcript, re.DOTALL)
    assert len(dumps) == len(texts)
    for text, dump in zip(texts, dumps):
        data = subprocess.run(["base64", "-d"], input=text.encode(), capture_output=True, check=True).stdout
        assert dump + "\n" == xxd(data), f"the dump of {len(data)} bytes differs"


main()
