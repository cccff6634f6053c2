"""What the monitor's tests share: the runner of their cases, and a client whose operations menu is open.

A file of cases is called as: FILE CLIENT SIMULATOR [CASE] [--wrapper COMMAND]. It runs its functions
test_..., or the one of that name alone (blanks of a name may be written as '-'). The wrapper, such as
valgrind, runs the client. FILE --list prints the names of the cases, a line each.
"""

import argparse
import difflib
import fcntl
import json
import os
import re
import sys
import termios
import time
import traceback
from collections import namedtuple
from contextlib import contextmanager
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parent.parent))

import harness  # noqa: E402
from harness import Bench, exe_wrapper, mask, wait_until  # noqa: E402
from layouts import BANNER, MAIN_MENU, OPERATIONS_MENU  # noqa: E402
from writes import other_writes  # noqa: E402

ROOT = "/com/varn/bmc/spdm/spdm"
CPU = ROOT + "/cpu"
HALC = ROOT + "/halcController"
NIC = ROOT + "/nicController"
INFO = ROOT + "/info"

DEVICE_INTERFACE = "com.varn.bmc.spdm.spdm"
INFO_INTERFACE = "com.varn.bmc.spdm.spdmInfo"
OBJECT_MANAGER = "org.freedesktop.DBus.ObjectManager"
PROPERTIES = "org.freedesktop.DBus.Properties"

# A device as the table shows it. The simulator makes the identities up from the paths.
Device = namedtuple("Device", "path eid xmid")

CPU_0 = Device(CPU + "/cpu_0", 0, "CPU-0")
CPU_12 = Device(CPU + "/cpu_12", 12, "CPU-12")
CPU_13 = Device(CPU + "/cpu_13", 13, "CPU-13")
NIC_20 = Device(NIC + "/nic_20", 20, "NIC-20")
HALC_30 = Device(HALC + "/halc_30", 30, "HALC-30")

NO_OBJECTS = "Available SPDM objects:\nNo objects found\n"
STARTED = "Press -1 to stop monitoring\n"


def device_table(*devices):
    """What selecting an activity prints, up to the question for the row."""
    text = "Available SPDM objects:\n"
    for number, device in enumerate(devices, 1):
        text += f"{number}: {device.path}\n"
    text += """

Discovered SPDM Devices:
Index | EID  | XMID            | D-Bus Path
------|------|-----------------|------------------------------------------
"""
    for row, device in enumerate(devices):
        text += f"{row:5} | {device.eid:4} | {device.xmid:>15} | {device.path}\n"
    count = len(devices)
    return text + f"{count:5} |  ALL | Run on all objects\n\nChoose the device index (0-{count}): \n"


def added_text(word, path):
    return (
        f"Received Interface {word} Signal.\n"
        f"Object Added :{path}\n"
        "subscribing to signals\n"
        f"Interface  Added handler FOR {word} is completed.\n"
    )


def removed_text(path):
    return (
        "Received Interface Removed  Signal.\n"
        f"Object removed:{path}\n"
        "Interface Removed handler is completed.\n"
    )


def info_text(number):
    return f"Received Info Signal.\nInfo Signal: {number}\nInfo handler is completed.\n"


def error_text(eid, code):
    """Of a device that is known by `eid`, or by none."""
    line = "" if eid is None else f"Received Error Signal for EID: {eid}\n"
    return line + f"Error: {code}\nError handler is completed.\n"


def progress_text(eid, progress):
    line = "" if eid is None else f"Received Certificate Progress Signal for EID: {eid}\n"
    return (
        "Received Certificate Progress Signal.\n"
        + line
        + f"Progress: {progress}\nCertificate Progress handler is completed.\n"
    )


def properties_text(eid, lines):
    line = "" if eid is None else f"Received properties changed Signal for EID: {eid}\n"
    return (
        "Received properties changed Signal.\n"
        + line
        + lines
        + "Properties change handler is completed.\n"
    )


MONITOR_RULES = [
    "type='signal',member='InterfacesAdded',path='/com/varn/bmc/spdm/spdm/cpu',"
    "interface='org.freedesktop.DBus.ObjectManager',",
    "type='signal',member='InterfacesAdded',path='/com/varn/bmc/spdm/spdm/halcController',"
    "interface='org.freedesktop.DBus.ObjectManager',",
    "type='signal',member='InterfacesAdded',path='/com/varn/bmc/spdm/spdm/nicController',"
    "interface='org.freedesktop.DBus.ObjectManager',",
    "type='signal',member='InterfacesRemoved',path='/com/varn/bmc/spdm/spdm/cpu',"
    "interface='org.freedesktop.DBus.ObjectManager',",
    "type='signal',member='InterfacesRemoved',path='/com/varn/bmc/spdm/spdm/nicController',"
    "interface='org.freedesktop.DBus.ObjectManager',",
    "type='signal',member='InterfacesRemoved',path='/com/varn/bmc/spdm/spdm/halcController',"
    "interface='org.freedesktop.DBus.ObjectManager',",
    "type='signal',member='Info',path='/com/varn/bmc/spdm/spdm/info',"
    "interface='com.varn.bmc.spdm.spdmInfo',",
]


def device_rules(path):
    return [
        f"type='signal',member='DeviceError',path='{path}',interface='com.varn.bmc.spdm.spdm',",
        f"type='signal',member='CertificateProgress',path='{path}',interface='com.varn.bmc.spdm.spdm',",
        f"type='signal',member='PropertiesChanged',path='{path}',"
        "interface='org.freedesktop.DBus.Properties',",
    ]


def signal(path, interface, member, signature="", *values):
    """The simulator's command that sends a signal."""
    written = " ".join(json.dumps(value) for value in values)
    return f"signal {path} {interface} {member} {signature} {written}"


def added(container, path):
    """The command that announces an object which the simulator need not have."""
    return signal(container, OBJECT_MANAGER, "InterfacesAdded", "oa{sa{sv}}", path, {})


def removed(container, path):
    return signal(container, OBJECT_MANAGER, "InterfacesRemoved", "oas", path, [])


def changed(path, properties):
    """The command that sends PropertiesChanged; `properties` by name, or in pairs, as [TYPE, VALUE]."""
    return signal(
        path, PROPERTIES, "PropertiesChanged", "sa{sv}as", DEVICE_INTERFACE, properties, []
    )


WireCall = namedtuple("WireCall", "sender member argument")


class Wire:
    """The method calls on the bus, as `dbus-monitor` sees them."""

    CALL = re.compile(
        r"^method call .*? sender=(\S+) .*? member=(\S+)\n(?:   string \"(.*)\"\n)?", re.MULTILINE
    )

    def __init__(self, bench):
        self.process = bench.start(
            ["dbus-monitor", "--address", bench.address, "type='method_call'"], wrapper=[]
        )
        self.process.wait_for("member=NameLost")  # from here on it sees what others receive

    def wait_for(self, condition, what):
        """Reads until `condition` holds for all calls so far, and returns them."""

        def holds():
            self.process.read_some(0.01)
            return condition(self.calls())

        wait_until(holds, f"{what} on the bus")
        return self.calls()

    def calls(self):
        """All calls so far; of the last one, the arguments may not be there yet."""
        return [WireCall(*match) for match in self.CALL.findall(self.process.seen)]

    def rules(self, member):
        return [call.argument for call in self.calls() if call.member == member]

    def wait_for_rules(self, member, count):
        """Reads until `count` calls of AddMatch or RemoveMatch were seen, and returns their rules."""
        self.wait_for(
            lambda calls: len([call for call in calls if call.member == member and call.argument])
            >= count,
            f"{count} calls of {member}",
        )
        return self.rules(member)


class Session:
    """The client as its operator sees it, the simulator, and the bus. `expect` accounts for all of the
    client's standard output, piece by piece."""

    def __init__(self, bench, devices, prefix, **streams):
        self.bench = bench
        self.echo = ""
        self.start_service(*devices)
        wrapper = programs.wrapper.split() if programs.wrapper else exe_wrapper()
        self.process = bench.start_client(wrapper=[*prefix, *wrapper], **streams)
        self.expect(BANNER + MAIN_MENU)
        self.select(0, *devices)

    def start_service(self, *devices):
        """Starts what watches the bus and the simulator, on a bus that has neither yet."""
        self.wire = Wire(self.bench)
        self.starts = 0
        fleet = self.bench.folder / "fleet.json"
        fleet.write_text(json.dumps({"devices": [{"path": device.path} for device in devices]}))
        self.simulator = self.bench.start_simulator(fleet)

    def type(self, text):
        if self.process.terminal:
            self.echo += text
        self.process.write(text)

    def command(self, *commands):
        for command in commands:
            harness.command(self.simulator, command)

    def burst(self, *commands):
        """Gives the simulator all commands at once."""
        self.simulator.write("".join(command + "\n" for command in commands))
        for _ in commands:
            end = self.simulator.wait_for("\n", self.simulator.replies)
            assert self.simulator.seen[self.simulator.replies : end] == "ok\n"
            self.simulator.replies = end

    def add(self, device, word):
        """Has the device announced and waits until the client has subscribed to its signals."""
        self.command(f"add {device.path}")
        self.expect(added_text(word, device.path))

    def remove(self, *devices):
        """Has the devices' going announced and waits until the client has forgotten them."""
        for device in devices:
            self.command(f"remove {device.path}")
            self.expect(removed_text(device.path))

    def expect(self, text):
        """Reads the client's output until it is `text`; fails as soon as it cannot become that."""
        expected = self.echo + text
        self.echo = ""
        place = 0
        end = time.monotonic() + harness.DEADLINE
        while True:
            seen = self.process.seen.replace("\r\n", "\n")
            if expected.startswith(mask(seen), place) and place + len(mask(seen)) == len(expected):
                self.process.seen = ""
                return
            # A line is taken when it is whole: in a part of one the masked number may end early.
            whole = seen[: seen.rfind("\n") + 1]
            if (
                not expected.startswith(mask(whole), place)
                or self.process.ended
                or time.monotonic() > end
            ):
                raise AssertionError(self.difference(expected[place:], mask(seen)))
            place += len(mask(whole))
            self.process.seen = seen[len(whole) :]
            self.process.read_some(0.2)

    def expect_line_by_line(self, text, others=""):
        """Like `expect`, of a client whose writes stay apart: each is a line, but for the `others`."""
        self.process.writes.clear()
        self.expect(text)
        found = other_writes(self.process.writes)
        assert found == others, f"writes of other than one line:\n{found}"

    def expect_one_of(self, *texts):
        """Like `expect`, where it is not certain which of some lines the client prints."""
        end = self.process.wait_for("\n")
        line = self.process.seen[:end]
        self.expect(line if line in texts else texts[0])

    def difference(self, expected, actual):
        lines = difflib.unified_diff(
            expected.splitlines(), actual.splitlines(), "expected", "actual", lineterm=""
        )
        ending = f"\nthe client ended with {self.process.wait()}" if self.process.ended else ""
        errors = "" if self.process.terminal else f"\nstandard error:\n{self.process.stderr()}"
        return "the output differs\n" + "\n".join(lines) + ending + errors

    def select(self, row, *devices):
        """Opens the operations menu on the device in `row` of a table that must show `devices`."""
        self.type("2\n")
        self.expect(device_table(*devices))
        self.type(f"{row}\n")
        self.expect(f"Selected device: EID={devices[row].eid}\n" + OPERATIONS_MENU)

    def go_back(self):
        self.type("9\n")
        self.expect(MAIN_MENU)

    def start_monitor(self):
        self.type("8\n")
        self.expect(STARTED)
        self.wait_for_monitor()

    def wait_for_monitor(self):
        """Waits until the bus has taken the last rule of one more monitor: no signal is missed then."""
        self.starts += 1
        self.wire.wait_for(
            lambda calls: self.wire.rules("AddMatch").count(MONITOR_RULES[-1]) == self.starts,
            "the monitor's last rule",
        )

    def stop_monitor(self):
        self.type("-1\n")
        self.expect(OPERATIONS_MENU)

    def restart_monitor(self):
        self.stop_monitor()
        self.start_monitor()

    def reopen(self, row, *devices):
        """Stops the monitor and opens the operations menu anew, like `select`."""
        self.stop_monitor()
        self.go_back()
        self.select(row, *devices)

    def leave(self, stderr=""):
        """Ends the client from the operations menu."""
        self.go_back()
        self.exit(stderr)

    def exit(self, stderr=""):
        """Ends the client from the main menu."""
        self.type("4\n")
        self.expect_end("", 0, stderr)

    def expect_end(self, text, status, stderr=""):
        self.process.read_to_end()
        self.process.ended = False  # what was read before it is still to be compared
        self.expect(text)
        errors = stderr if self.process.terminal else self.process.stderr()
        ending = f"exit status {self.process.wait()}, standard error:\n{errors}"
        assert ending == f"exit status {status}, standard error:\n{stderr}", ending

    def finish(self, stderr=""):
        """Stops the monitor and ends the client."""
        self.stop_monitor()
        self.leave(stderr)

    def menu_thread(self):
        """The fields of the menu's thread in /proc behind its name, from its state on."""
        stat = Path(f"/proc/{self.process.pid}/task/{self.process.pid}/stat").read_text()
        return stat.rsplit(")", 1)[1].split()

    def wait_until_spinning(self):
        """Waits until the menu's thread has used a tenth of a second of the processor."""

        def ticks():
            return sum(int(field) for field in self.menu_thread()[11:13])

        enough = ticks() + os.sysconf("SC_CLK_TCK") // 10
        wait_until(lambda: ticks() >= enough, "the menu's thread to spin")

    def wait_until_blocked(self):
        """Waits until the menu's thread has taken all input and sleeps."""
        wait_until(
            lambda: available(self.process.input) == 0 and self.menu_thread()[0] == "S",
            "the menu's thread to take its input",
        )


def available(pipe):
    """The bytes that are in a pipe."""
    return int.from_bytes(fcntl.ioctl(pipe, termios.FIONREAD, bytes(4)), sys.byteorder)


@contextmanager
def session(*devices, terminal=False, packets=False, prefix=(), **bus):
    """A bus, the simulator with `devices`, and the client with the operations menu of the first, on a
    terminal or with its writes apart. The words of `prefix` are a command that runs the client."""
    with Bench(programs.client, programs.simulator, **bus) as bench:
        yield Session(bench, devices or [CPU_12], prefix, terminal=terminal, packets=packets)


@contextmanager
def monitoring(*devices, **options):
    """A session in which the monitor runs."""
    with session(*devices, **options) as client:
        client.start_monitor()
        yield client


def expect_monitored(commands, expected, stderr="", devices=()):
    """Carries out the simulator's commands while the client monitors; compares all that it prints."""
    with monitoring(*devices, packets=True) as client:
        client.command(*commands)
        client.expect_line_by_line(expected)
        client.finish(stderr)


programs = None


def run_cases(functions):
    """Runs the cases among a module's names; the process's exit status says whether all passed."""
    global programs
    cases = {name: run for name, run in functions.items() if name.startswith("test_")}
    if sys.argv[1:] == ["--list"]:
        print("\n".join(name.removeprefix("test_").replace("_", "-") for name in cases))
        return
    parser = argparse.ArgumentParser()
    parser.add_argument("client")
    parser.add_argument("simulator")
    parser.add_argument("case", nargs="?")
    parser.add_argument("--wrapper")
    programs = parser.parse_args()
    if programs.case:
        name = "test_" + programs.case.replace("-", "_")
        cases = {name: cases[name]}
    failed = 0
    for name, run in cases.items():
        try:
            run()
            print("passed", name, flush=True)
        except Exception:
            failed += 1
            print("FAILED", name, flush=True)
            traceback.print_exc()
    sys.exit(1 if failed else 0)
