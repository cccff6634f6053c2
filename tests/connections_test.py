#!/usr/bin/env python3
"""Every method call that reaches the bus, by connection, as a monitor of the bus sees it: which operation
opens a connection, and what it sends on it. Called as: FILE CLIENT SIMULATOR"""

import difflib
import re
import sys

from harness import Bench

CPU, NIC = "/com/varn/bmc/spdm/spdm/cpu/cpu_12", "/com/varn/bmc/spdm/spdm/nicController/nic_20"
SERVICE = "com.varn.bmc.spdm.spdm"

FLEET = {
    "devices": [
        {"path": CPU},
        # Known, but gone when it is asked for its properties.
        {"path": NIC, "methods": {"GetAll": {"error": ["org.freedesktop.DBus.Error.UnknownObject", "gone"]}}},
    ]
}


# In the operations menu of the first device each item once; then the availability check of the second.
ANSWERS = "2\n0\n1\n2\n3\n3\n4\n4\n6\n0\n1\n-1\n7\n0\n255\n-1\n9\n" + "3\n1\n1\n" + "4\n"

def identity(path):
    return ["Hello", f'Get {path} "{SERVICE}" "XMID"', f'Get {path} "{SERVICE}" "DeviceEID"']


EXPECTED = [
    ["Hello", "GetManagedObjects /com/varn/bmc/spdm/spdm/devicemanager"],
    identity(CPU),
    identity(NIC),
    ["Hello", f"ReAuthenticate {CPU}"],
    ["Hello", f"GetCertificate {CPU}"],
    ["Hello", f"GetCertificateProperties {CPU}"],
    ["Hello", f'GetAll {CPU} "{SERVICE}"'],
    ["Hello", f"GetMeasurement {CPU}"],
    ["Hello", f'GetSignedMeasurement {CPU} ""'],
    identity(CPU),
    identity(NIC),
    ["Hello", f'GetAll {NIC} "{SERVICE}"'],
    ["Hello", f'NameHasOwner /org/freedesktop/DBus "{SERVICE}"'],
]

CALL = re.compile(r"^method call .* sender=(\S+) -> destination=(\S+) serial=\d+ path=(\S+); interface=(\S+); member=(\S+)")
DESTINATIONS = {"Hello": "org.freedesktop.DBus", "NameHasOwner": "org.freedesktop.DBus"}


def calls_by_connection(output):
    """For each connection, in the order of first calls, a list of its calls: member, path and texts."""
    connections = {}
    current = None
    for line in output.splitlines():
        call = CALL.match(line)
        if call:
            sender, destination, path, _, member = call.groups()
            assert destination == DESTINATIONS.get(member, SERVICE), line
            current = connections.setdefault(sender, [])
            current.append(member if member == "Hello" else f"{member} {path}")
        elif current and line.startswith('   string "'):
            current[-1] += " " + line.strip().removeprefix("string ")
    return list(connections.values())


def main():
    with Bench(*sys.argv[1:]) as bench:
        bench.start_simulator(FLEET)
        monitor = bench.start(["dbus-monitor", "--address", bench.address, "type='method_call'"], wrapper=[])
        monitor.wait_for("member=NameLost")  # from here on it sees what others send
        bench.run_client(ANSWERS)
        monitor.wait_for("member=NameHasOwner")
        monitor.wait_for(f'string "{SERVICE}"', monitor.seen.index("member=NameHasOwner"))
    actual = calls_by_connection(monitor.seen)
    lines = [[" | ".join(calls) for calls in side] for side in (EXPECTED, actual)]
    difference = "\n".join(difflib.unified_diff(*lines, "expected", "actual", lineterm=""))
    assert not difference, difference


main()
