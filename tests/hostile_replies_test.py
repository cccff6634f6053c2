#!/usr/bin/env python3
"""The client's whole output for replies of extreme sizes, compared with a layout told here once more.
Called as: FILE CLIENT SIMULATOR"""

import base64
import json
import os
import subprocess
import sys

from harness import Bench, exe_wrapper, mask

PATH = "/com/varn/bmc/spdm/spdm/cpu/cpu_12"


def dump(data, position=0):
    """Lines end on the positions of the whole; offsets count from the start of `data`."""
    first = -position % 16
    lines = [data[:first].hex(" ")] if first else []
    lines += [f"  {i:04x}: {data[i:i + 16].hex(' ')}" for i in range(first, len(data), 16)]
    return "".join(line + " \n" for line in lines)


def run(client, simulator, methods, answers):
    """The client's output between the item's last prompt and the next menu."""
    device = {"path": PATH, "preset": "bare", "properties": {"XMID": ["s", "X"], "DeviceEID": ["q", 12]}, "methods": methods}
    with Bench(client, simulator) as bench:
        fleet = bench.folder / "fleet.json"
        fleet.write_text(json.dumps({"devices": [device]}))
        bench.start_simulator(fleet)
        output = subprocess.run(
            exe_wrapper() + [client],
            input=f"2\n0\n{answers}0\n-1\n9\n4\n".encode(),
            env=dict(os.environ, DBUS_SYSTEM_BUS_ADDRESS=bench.address),
            capture_output=True,
            check=True,
        )
    assert output.stderr == b"", output.stderr
    text = output.stdout.decode()
    start = text.index("fetch:\n") + len("fetch:\n")
    return mask(text[start : text.index("1: ReAuthenticate", start)])


def expect(actual, expected):
    if actual == expected:
        return
    place = next((i for i, (a, e) in enumerate(zip(actual, expected)) if a != e), min(len(actual), len(expected)))
    raise AssertionError(
        f"differs at {place} of {len(actual)}/{len(expected)}:\n{actual[place - 80 : place + 80]!r}\n"
        f"expected:\n{expected[place - 80 : place + 80]!r}"
    )


def measurement_text(blocks):
    text = (
        f"DEBUG: Calling D-Bus method on object: {PATH}\nDEBUG: Reading D-Bus reply...\nDEBUG: Read status: 0\n"
        f"DEBUG: Read NumMeasurements: 1\nDEBUG: Read measurement data, size: {len(blocks)}\n"
        "Get Measurement Status: 0 (Success) NumMeasurements: 1 Time taken (in us): <us>\n"
        "\n📊 DETAILED MEASUREMENT DATA ANALYSIS\n" + "=" * 60 + "\n"
    )
    for number, data in enumerate(blocks, 1):
        text += f"\n📋 MEASUREMENT BLOCK {number}\n" + "-" * 40
        text += f"\nIndex:         1\nAlgorithm:     2\nType:          3\nData Size:     {len(data)} bytes\nData (Hex):\n"
        text += dump(data) + "\n"
    return text


def check_measurements(programs, size, count):
    reply = ["qqa(qayuq)", 0, 1, {"repeat": [1, {"repeat": "5a", "times": size}, 2, 3], "times": count}]
    actual = run(*programs, {"GetMeasurement": {"reply": reply}}, "6\n")
    expect(actual, measurement_text([b"\x5a" * size] * count))


def signed_head(text):
    return (
        f"DEBUG: Calling D-Bus signed measurement method on object: {PATH}\n"
        "DEBUG: Reading D-Bus signed measurement reply...\nDEBUG: Read status: 0\n"
        f"DEBUG: Read signed measurement data, length: {len(text)}\n"
        f"Get Signed Measurement Status: 0 (Success) Signed Measurements: {text} Hashing Algorithm: SHA-512 "
        "Signing Algorithm: ED448 Version: 1.2 Time taken(In us): <us>\n"
        "\n🔍 VALIDATING SIGNED MEASUREMENT STRUCTURE...\n"
    )


def signed_text(text):
    data = base64.b64decode(text)
    size = len(data) - 114
    rule = "-" * 40 + "\n"
    return (
        signed_head(text) + "✅ VALIDATION: Signed measurement structure appears valid\n"
        f"   • Total size: {len(data)} bytes\n   • Expected signature size: 114 bytes\n"
        f"   • Estimated measurement data: {size} bytes\n"
        "\n🔐 DETAILED SIGNED MEASUREMENT DATA ANALYSIS\n" + "=" * 60 + "\n"
        f"Hashing Algorithm: SHA-512\nSigning Algorithm: ED448\nTotal Data Size:   {len(text)} bytes\n"
        f"Signed Data (Base64 - Received):\n  {text}\nDecoded Size: {len(data)} bytes\n"
        f"\n📄 COMPLETE DECODED OUTPUT:\n{rule}{dump(data)}"
        f"\nACTUAL MEASUREMENT DATA SECTION:\n{rule}Measurement Size: {size} bytes\n{dump(data[:size])}"
        f"\n🔐 SIGNATURE DATA SECTION:\n{rule}Signature Size: 114 bytes\nSignature (Hex):\n{dump(data[size:], size)}\n"
    )


def check_signed(programs, piece, times, expected):
    reply = ["ussss", 0, {"repeat": piece, "times": times}, "SHA-512", "ED448", "1.2"]
    actual = run(*programs, {"GetSignedMeasurement": {"reply": reply}}, "7\n")
    expect(actual, expected(piece * times))


def one_byte(text):
    return (
        signed_head(text) + "⚠️  VALIDATION: Data size (0 bytes) smaller than expected signature size (114 bytes)\n"
        "❌ VALIDATION FAILED: Signed measurement structure is invalid\n⚠️  WARNING: This may indicate:\n"
        "   • Device did not include signature in last measurement\n   • Signature algorithm mismatch\n"
        "   • Data corruption or truncation\n   • Device firmware issue\n"
        f"\nRaw data (first 80 chars): {text}\n"
    )


def main():
    programs = sys.argv[1:]
    check_measurements(programs, size=1 << 20, count=1)
    check_measurements(programs, size=3, count=10_000)
    check_signed(programs, "Q", 1, one_byte)
    check_signed(programs, "QUJDRGFi", 1 << 21, signed_text)


main()
