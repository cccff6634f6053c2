#!/usr/bin/env python3
"""Reassembles measurement and signature from the client's dumps and has openssl verify them, for a
device of each signing algorithm. Called as: FILE CLIENT SIMULATOR"""

import json
import re
import subprocess
import sys
import tempfile
from pathlib import Path

from harness import Bench

FLEET = Path(__file__).parent.parent / "simulator" / "fleets" / "signing.json"


def dumped(text):
    """The bytes of a dump, whose lines may start with an offset."""
    return bytes.fromhex(re.sub(r"(?m)^  [0-9a-f]{4,}: ", "", text))


def parts(transcript):
    """Measurement and signature as the client shows them, in the order of its analyses."""
    found = re.findall(
        r"^Measurement Size: (\d+) bytes\n(.*?)\n\n🔐 SIGNATURE DATA SECTION:\n-{40}\n"
        r"Signature Size: (\d+) bytes\nSignature \(Hex\):\n(.*?)\n\n",
        transcript,
        re.DOTALL | re.MULTILINE,
    )
    for measured, measurement, signed, signature in found:
        pair = dumped(measurement), dumped(signature)
        assert [len(part) for part in pair] == [int(measured), int(signed)]
        yield pair


def der(signature):
    """An ECDSA signature's two numbers in the form that openssl takes."""
    half = len(signature) // 2
    lines = [f"n{i}=INTEGER:0x{part.hex()}" for i, part in enumerate((signature[:half], signature[half:]))]
    with tempfile.TemporaryDirectory() as folder:
        config = Path(folder) / "asn1"
        config.write_text("asn1=SEQUENCE:pair\n[pair]\n" + "\n".join(lines) + "\n")
        output = Path(folder) / "der"
        subprocess.run(["openssl", "asn1parse", "-genconf", config, "-noout", "-out", output], check=True)
        return output.read_bytes()


def verify(signing, measurement, signature):
    key = FLEET.parent / signing["key"]
    algorithm = signing["algorithm"]
    digest = signing["hashing"].removeprefix("TPM_ALG_").replace("_", "").lower()
    options = []
    if "ECDSA" in algorithm:
        signature = der(signature)
    if not algorithm.startswith("ED"):
        options += ["-digest", digest]
    if "RSAPSS" in algorithm:
        options += ["-pkeyopt", "rsa_padding_mode:pss"]
    with tempfile.TemporaryDirectory() as folder:
        (Path(folder) / "data").write_bytes(measurement)
        (Path(folder) / "signature").write_bytes(signature)
        result = subprocess.run(
            ["openssl", "pkeyutl", "-verify", "-rawin", "-inkey", key, *options,
             "-in", Path(folder) / "data", "-sigfile", Path(folder) / "signature"],
            capture_output=True, text=True,
        )
    return result.returncode == 0 and "Verified Successfully" in result.stdout


def main():
    client_program, simulator_program = sys.argv[1:]
    devices = json.loads(FLEET.read_text())["devices"]
    devices.sort(key=lambda device: int(re.search(r"\d+$", device["path"]).group()))
    answers = "".join(f"2\n{row}\n7\n0\n255\n-1\n9\n" for row in range(len(devices))) + "4\n"
    with Bench(client_program, simulator_program) as bench:
        bench.start_simulator(FLEET)
        transcript = bench.run_client(answers).seen
    found = list(parts(transcript))
    assert len(found) == len(devices) >= 8, f"{len(found)} analyses of {len(devices)} devices"
    for device, (measurement, signature) in zip(devices, found):
        signing = device["signing"]
        assert verify(signing, measurement, signature), f"{signing}: not verified"
        forged = bytes([measurement[0] ^ 1]) + measurement[1:]
        assert not verify(signing, forged, signature), f"{signing}: a forgery passed"
        print(f"{signing['algorithm']}: {len(measurement)} + {len(signature)} bytes verified")


main()
