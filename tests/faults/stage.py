"""Plays a cell: the client meets the fault while it is watched."""

import fcntl
import json
import os
import select
import time
from pathlib import Path

from faults import UNKNOWN_OBJECT, reply
from methods import METHODS, OWN_EID, PATH
from stand_in_bus import StandInBus

import harness
from harness import Bench, exe_wrapper, mask_times

PROMPT = "Please Choose the option:\n"
GOOD_ANSWERS = {method.key: reply(method.signature(), method.values()) for method in METHODS}


class Talk:
    """The client's standard input and output. While it is waited for, the stand-in bus serves it."""

    def __init__(self, process, bus=None):
        self.process = process
        self.bus = bus
        self.output = bytearray()
        self.found = 0
        self.ended = False
        fcntl.fcntl(process.output, fcntl.F_SETPIPE_SZ, 1 << 20)

    def pump(self):
        sockets = self.bus.sockets() if self.bus else []
        ready = select.select([self.process.output, *sockets], [], [], harness.DEADLINE)[0]
        if not ready:
            raise AssertionError(f"the client waits for something; output so far:\n{self.text()[-4000:]}")
        if self.process.output in ready:
            data = os.read(self.process.output, 1 << 20)
            self.ended = not data
            self.output += data
            if len(self.output) > 1 << 20:
                time.sleep(0.001)  # takes less time in the end, as more comes at once
        if self.bus:
            self.bus.serve([sock for sock in ready if sock is not self.process.output])

    def read_past(self, text, count=1):
        """Waits for `count` more times `text`, or the end of the output."""
        text = text.encode()
        for _ in range(count):
            place = self.output.find(text, self.found)
            while place < 0 and not self.ended:
                start = max(self.found, len(self.output) - len(text))
                self.pump()
                place = self.output.find(text, start)
            self.found = place + len(text)

    def read_to_end(self):
        while not self.ended:
            self.pump()

    def write(self, text):
        if not self.ended:
            self.process.write(text)

    def text(self):
        return mask_times(self.output.decode(errors="replace"))


def descriptors_left(pid, native):
    """What is open beside the standard streams; under an emulator or the like, of sockets."""
    links = []
    for entry in Path(f"/proc/{pid}/fd").iterdir():
        link = os.readlink(entry)
        if int(entry.name) > 2 and (native or link.startswith("socket:")):
            links.append(link)
    return links


# The availability check asks the bus daemon only about a device that does not answer.
NO_DEVICE = {"GetAll": {"error": ["org.freedesktop.DBus.Error.UnknownObject", "gone"]}}


def as_json(value):
    """A value of the wire as the simulator's fleet files write it."""
    if isinstance(value, bytes):
        return value.hex()
    if isinstance(value, dict):
        return {key: as_json(content) for key, content in value.items()}
    return [as_json(part) for part in value] if isinstance(value, (list, tuple)) else value


def good_rules():
    """The simulator's rules for the good reply of each item of the operations menu."""
    methods = [method for method in METHODS if method.member not in ("Get", "GetManagedObjects", "NameHasOwner")]
    return {method.key: {"reply": [method.signature(), *map(as_json, method.values())]} for method in methods}


def start_service(bench, rules):
    """The simulator with one device and with rules by member."""
    device = {
        "path": PATH,
        "preset": "bare",
        "properties": {"XMID": ["s", "CPU-12"], "DeviceEID": ["q", OWN_EID]},
        "methods": {member: rule for member, rule in rules.items() if member != "GetManagedObjects"},
    }
    objects = {member: rule for member, rule in rules.items() if member == "GetManagedObjects"}
    fleet = bench.folder / "fleet.json"
    fleet.write_text(json.dumps({"devices": [device], "methods": objects}))
    return bench.start_simulator(fleet)


def wait_for_call(bench, key):
    """Waits until the simulator has received a call of the method."""
    words = key.split()
    harness.wait_until(
        lambda: any(line.startswith(words[0] + " ") and words[-1] in line for line in bench.calls().splitlines()),
        f"a call of {key}",
    )


class Stage:
    """A client at a bus, real or the stand-in."""

    def __init__(self, cell, bench, wrapper):
        self.cell = cell
        self.bench = bench
        self.wrapper = exe_wrapper() if wrapper is None else wrapper
        self.bus = None if cell.real else StandInBus(bench.folder / "bus", self.answer)
        self.simulator = self.start_simulator() if cell.real else None

    def answer(self, connection, call):
        key = f"Get {call.texts[1]}" if call.member == "Get" else call.member
        self.act_for(key)(connection, call)

    def act_for(self, key):
        method = self.cell.method
        if key == method.key:
            return self.cell.answers
        if key == method.before_it and self.cell.given:
            return self.cell.given
        return UNKNOWN_OBJECT if key == method.before_it == "GetAll" else GOOD_ANSWERS[key]

    def start_simulator(self):
        """With the rule of the cell; GetAll fails, which the availability check needs."""
        rules = dict(NO_DEVICE)
        if self.cell.rules:
            member, *property_name = self.cell.method.key.split()
            selector = {"property": property_name[0]} if property_name else {}
            rules[member] = self.cell.rules | selector
        return start_service(self.bench, rules)

    def start_client(self):
        process = self.bench.start_client(env=self.cell.env, wrapper=self.wrapper)
        return Talk(process, self.bus)

    def play(self):
        """What differs from what the cell prescribes, as a text."""
        method, outcome = self.cell.method, self.cell.outcome
        if self.cell.before and not method.ready:
            self.cell.before(self)
        talk = self.start_client()
        talk.write(method.lead)
        if self.cell.before and method.ready:
            talk.read_past(method.ready)
            self.cell.before(self)
        talk.write(method.step + method.back_from(outcome))
        if self.cell.during:
            wait_for_call(self.bench, self.cell.method.key)
            self.cell.during(self)
        return finish(talk, method.transcript(outcome), native=not self.wrapper)


def finish(talk, expected, native):
    """Ends the client from the last prompt of `expected`, all that it prints; returns what is not as it should."""
    talk.found = 0
    talk.read_past(PROMPT, expected.count(PROMPT))
    left = [] if talk.ended else descriptors_left(talk.process.pid, native)
    talk.write("4\n")
    talk.read_to_end()
    status = talk.process.wait()
    errors = talk.process.stderr()
    complaints = [difference(expected, talk.text())]
    complaints.append(f"exit status {status}, expected 0" if status else "")
    complaints.append(f"on standard error:\n{errors}" if errors else "")
    complaints.append(f"left open: {', '.join(left)}" if left else "")
    return "\n".join(complaint for complaint in complaints if complaint)


def difference(expected, actual):
    """Where the texts part, with a few lines around, each cut to a readable length."""
    if expected == actual:
        return ""
    place = next((i for i, (a, b) in enumerate(zip(expected, actual)) if a != b), min(len(expected), len(actual)))
    start = expected.rfind("\n", 0, place) + 1
    lines = [f"the output differs at character {place} (expected {len(expected)}, got {len(actual)})"]
    for sign, text in (("-", expected), ("+", actual)):
        lines += [sign + line[:200] for line in text[start : start + 4000].splitlines()[:8]]
    return "\n".join(lines)


def play(cell, options):
    with Bench(options.client, options.simulator, policy=cell.policy, bus=cell.real) as bench:
        return Stage(cell, bench, options.wrapper).play()
