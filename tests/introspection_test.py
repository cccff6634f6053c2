#!/usr/bin/env python3
"""Compares what the simulator's objects say of themselves with the contract in the documents, both
ways: interfaces, methods, signals, properties. Called as: FILE CLIENT SIMULATOR"""

import difflib
import json
import subprocess
import sys
from pathlib import Path
from xml.etree import ElementTree

from harness import Bench

TREE = Path(__file__).resolve().parent.parent
CONTRACT = TREE / "docs/com.varn.bmc.spdm.spdm.xml"
FLEET = TREE / "simulator/fleets/bench.json"

NAME = "com.varn.bmc.spdm.spdm"
ROOT = "/com/varn/bmc/spdm/spdm/"
DEVICE, INFO = "com.varn.bmc.spdm.spdm", "com.varn.bmc.spdm.spdmInfo"
MANAGER, PROPERTIES = "org.freedesktop.DBus.ObjectManager", "org.freedesktop.DBus.Properties"
# Every D-Bus object has these; the contract leaves them out.
COMMON = {"org.freedesktop.DBus.Introspectable", "org.freedesktop.DBus.Peer"}


def arguments(member, default):
    words = [f"{arg.get('direction', default)} {arg.get('type')} {arg.get('name')}" for arg in member.iter("arg")]
    return "(" + ", ".join(words) + ")"


def describe(member):
    """A member in one line; the order of its arguments counts."""
    head = f"{member.tag} {member.get('name')}"
    if member.tag == "property":
        return f"{head} {member.get('type')} {member.get('access')}"
    return head + arguments(member, "in" if member.tag == "method" else "out")


def interfaces(text):
    """The sorted members of each interface of an introspection document, by the interface's name."""
    found = {}
    for interface in ElementTree.fromstring(text).iter("interface"):
        name = interface.get("name")
        if name in found:
            raise AssertionError(f"{name} is described twice")
        found[name] = sorted(describe(member) for member in interface)
    return found


def lines(members):
    """Interfaces as lines to compare; an interface without members still has its own line."""
    return [line for name in sorted(members) for line in [name, *(f"{name} {member}" for member in members[name])]]


def introspect(address, path):
    command = ["busctl", f"--address={address}", "introspect", "--xml-interface", NAME, path]
    return subprocess.run(command, capture_output=True, check=True, text=True).stdout


def objects():
    """Every object of the service with the interfaces that it must have."""
    expected = {device["path"]: {DEVICE, PROPERTIES} for device in json.loads(FLEET.read_text())["devices"]}
    expected[ROOT + "info"] = {INFO, PROPERTIES}
    for container in ["devicemanager", "cpu", "halcController", "nicController"]:
        expected[ROOT + container] = {MANAGER, PROPERTIES}
    return expected


def difference(contract, path, names, text):
    expected = lines({name: contract[name] for name in names})
    actual = lines({name: members for name, members in interfaces(text).items() if name not in COMMON})
    return list(difflib.unified_diff(expected, actual, str(CONTRACT.relative_to(TREE)), path, lineterm=""))


def main():
    client, simulator = sys.argv[1:]
    contract = interfaces(CONTRACT.read_text())
    needed = {DEVICE, INFO, MANAGER, PROPERTIES}
    if set(contract) != needed or not all(contract.values()):
        sys.exit(f"{CONTRACT} describes {sorted(contract)}, expected are {sorted(needed)}, none of them empty")
    with Bench(client, simulator) as bench:
        bench.start_simulator(FLEET)
        differences = [
            line
            for path, names in objects().items()
            for line in difference(contract, path, names, introspect(bench.address, path))
        ]
    if differences:
        sys.exit("\n".join(differences))


main()
