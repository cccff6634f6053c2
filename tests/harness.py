"""A bus daemon, the simulator and the client as processes of a test, each stopped with it."""

import ctypes
import json
import os
import pty
import re
import select
import shlex
import shutil
import signal
import socket
import struct
import subprocess
import tempfile
import time
from collections import namedtuple
from pathlib import Path

DEADLINE = float(os.environ.get("SPDM_TEST_DEADLINE", "60"))

BUS_CONFIG = """<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <type>session</type>
  <listen>unix:path={folder}/bus</listen>
  <auth>EXTERNAL</auth>
  <policy context="default">
    <allow send_destination="*" eavesdrop="true"/>
    <allow receive_sender="*" eavesdrop="true"/>
    <allow own="*"/>
    {policy}
  </policy>
  <limit name="max_incoming_bytes">1000000000</limit>
  <limit name="max_outgoing_bytes">1000000000</limit>
  <limit name="max_message_size">134217728</limit>
  <limit name="max_match_rules_per_connection">100000</limit>
  <limit name="max_completed_connections">1000</limit>
  {limits}
</busconfig>
"""


def exe_wrapper():
    """The emulator's command where the programs under test are built for another machine."""
    return shlex.split(os.environ.get("MESON_EXE_WRAPPER", ""))


def wait_until(condition, what, deadline=None):
    """Polls `condition` until it holds; fails with `what` at the deadline."""
    end = time.monotonic() + (deadline or DEADLINE)
    while not condition():
        if time.monotonic() > end:
            raise AssertionError(f"timeout while waiting for {what}")
        time.sleep(0.005)


LIBC = ctypes.CDLL(None)
PR_SET_PDEATHSIG = 1
SO_TIMESTAMPNS = 35


def end_with_parent():
    """In a child: a test that is killed leaves nothing running."""
    LIBC.prctl(PR_SET_PDEATHSIG, signal.SIGKILL)


# The text of one write(2), and its time in seconds: the kernel's, so that a late reader does not matter.
Write = namedtuple("Write", "text time")


class Process:
    """A child with pipes, or a terminal, for its streams. Its output collects in `seen`; with `packets`
    each write(2) also collects in `writes`."""

    def __init__(self, command, env=None, terminal=False, wrapper=None, packets=False):
        streams = {}
        self.packets, self.writes = None, []
        if terminal:
            self.input, slave = pty.openpty()
            self.output = self.input
            streams = {"stdin": slave, "stdout": slave, "stderr": slave}
        else:
            stdin, self.input = os.pipe()
            self.output, stdout = self.packet_socket() if packets else os.pipe()
            self.errors = tempfile.TemporaryFile()
            streams = {"stdin": stdin, "stdout": stdout, "stderr": self.errors}
        self.terminal = terminal
        self.child = subprocess.Popen(
            (exe_wrapper() if wrapper is None else wrapper) + [str(part) for part in command],
            env=dict(os.environ, **(env or {})),
            **streams,
            start_new_session=True,
            preexec_fn=end_with_parent,
        )
        for descriptor in {value for value in streams.values() if isinstance(value, int)}:
            os.close(descriptor)
        self.seen = ""
        self.pending = b""
        self.ended = False

    @property
    def pid(self):
        return self.child.pid

    def packet_socket(self):
        """Like a pipe that keeps writes apart and takes the time of each."""
        self.packets, sender = socket.socketpair(socket.AF_UNIX, socket.SOCK_SEQPACKET)
        self.packets.setsockopt(socket.SOL_SOCKET, SO_TIMESTAMPNS, 1)
        return os.dup(self.packets.fileno()), sender.detach()

    def write(self, text):
        os.write(self.input, text.encode() if isinstance(text, str) else text)

    def close_input(self):
        if self.input is not None and not self.terminal:
            os.close(self.input)
            self.input = None

    def read_some(self, timeout):
        """Appends the next output to `seen`, if any comes within `timeout` seconds."""
        if self.ended or not select.select([self.output], [], [], timeout)[0]:
            return
        try:
            data = self.read_packet() if self.packets else os.read(self.output, 1 << 16)
        except OSError:  # a terminal whose other side is gone
            data = b""
        self.ended = not data
        self.pending += data
        text, self.pending = split_utf8(self.pending)
        self.seen += text

    def read_packet(self):
        data, notes, *_ = self.packets.recvmsg(1 << 16, 64)
        for _, _, note in notes:
            seconds, nanoseconds = struct.unpack("qq", note)
            self.writes.append(Write(data.decode(errors="replace"), seconds + nanoseconds / 1e9))
        return data

    def wait_for(self, text, start=0, deadline=None):
        """Reads until the output holds `text` after `start`; returns the place after it."""
        end = time.monotonic() + (deadline or DEADLINE)
        while True:
            place = self.seen.find(text, start)
            if place >= 0:
                return place + len(text)
            if self.ended or time.monotonic() > end:
                raise AssertionError(f"no {text!r} in the output; so far:\n{self.seen}")
            self.read_some(0.2)

    def read_to_end(self, deadline=None):
        end = time.monotonic() + (deadline or DEADLINE)
        while not self.ended:
            if time.monotonic() > end:
                raise AssertionError(f"no end of output; so far:\n{self.seen[-4000:]}")
            self.read_some(0.2)
        return self.seen

    def read_lines(self, count, deadline=None):
        """The first `count` lines of the output; the process need not end."""
        end = time.monotonic() + (deadline or DEADLINE)
        while self.seen.count("\n") < count and not self.ended:
            if time.monotonic() > end:
                raise AssertionError(f"fewer than {count} lines; so far:\n{self.seen}")
            self.read_some(0.2)
        return "".join(self.seen.splitlines(keepends=True)[:count])

    def wait(self, deadline=None):
        """The exit status; negative for a signal."""
        return self.child.wait(deadline or DEADLINE)

    def running(self):
        return self.child.poll() is None

    def stderr(self):
        self.errors.seek(0)
        return self.errors.read().decode(errors="replace")

    def stop(self):
        if self.running():
            try:
                os.killpg(self.child.pid, signal.SIGKILL)
            except ProcessLookupError:
                pass
            self.child.wait()
        for descriptor in {self.input, self.output} - {None}:
            os.close(descriptor)
        self.input = self.output = None
        if self.packets:
            self.packets.close()
        if not self.terminal:
            self.errors.close()


def split_utf8(data):
    """The text of `data`, and the bytes of an incomplete character at its end."""
    for kept in range(min(3, len(data)) + 1):
        try:
            return data[: len(data) - kept].decode(), data[len(data) - kept :]
        except UnicodeDecodeError:
            continue
    return data.decode(errors="replace"), b""


class Bench:
    """A private bus and the processes that a test starts on it. Use it in a `with` statement."""

    def __init__(self, client, simulator, policy="", bus=True, limits=""):
        self.client_program = client
        self.simulator_program = simulator
        self.folder = Path(tempfile.mkdtemp(prefix="spdm-test-"))
        self.address = f"unix:path={self.folder}/bus"
        self.policy = policy
        self.limits = limits
        self.processes = []
        self.daemon = None
        self.log = self.folder / "calls.log"
        if bus:
            self.start_bus()

    def __enter__(self):
        return self

    def __exit__(self, *_):
        for process in reversed(self.processes):
            process.stop()
        shutil.rmtree(self.folder)

    def start(self, command, **options):
        env = dict(options.pop("env", {}), DBUS_SYSTEM_BUS_ADDRESS=self.address)
        process = Process(command, env=env, **options)
        self.processes.append(process)
        return process

    def start_bus(self):
        config = self.folder / "bus.conf"
        config.write_text(BUS_CONFIG.format(folder=self.folder, policy=self.policy, limits=self.limits))
        self.daemon = self.start(
            ["dbus-daemon", f"--config-file={config}", "--nofork", "--print-address"], wrapper=[]
        )
        self.daemon.wait_for("\n")

    def stop_bus(self):
        # Unlinked first: a dying daemon's socket still takes connections.
        (self.folder / "bus").unlink()
        self.daemon.child.kill()
        self.daemon.wait()

    def start_simulator(self, fleet):
        """`fleet` is a file, or what one holds."""
        if isinstance(fleet, dict):
            content, fleet = fleet, self.folder / "fleet.json"
            fleet.write_text(json.dumps(content))
        simulator = self.start([self.simulator_program, "--log", self.log, fleet])
        try:
            simulator.wait_for("ready\n")
        except AssertionError:
            raise AssertionError(f"the simulator did not start: {simulator.stderr()}") from None
        simulator.replies = len(simulator.seen)
        return simulator

    def start_client(self, **options):
        return self.start([self.client_program], **options)

    def run_client(self, answers, **options):
        """The client, ended after these answers without a complaint; `seen` holds its output."""
        client = self.start_client(**options)
        client.write(answers)
        client.close_input()
        client.read_to_end()
        assert (client.wait(), client.stderr()) == (0, ""), (client.wait(), client.stderr())
        return client

    def calls(self):
        """The calls that the simulator has logged, a line each."""
        return self.log.read_text() if self.log.exists() else ""


def next_reply(simulator):
    """The simulator's next line: its reply to a command."""
    start, simulator.replies = simulator.replies, simulator.wait_for("\n", simulator.replies)
    return simulator.seen[start : simulator.replies].rstrip("\n")


def command(simulator, text):
    """Gives the simulator a command and waits until it is carried out."""
    simulator.write(text + "\n")
    reply = next_reply(simulator)
    assert reply == "ok", f"{text}: {reply}"


def wait_for_signal(simulator, client):
    """Sends signals until the client prints one: its monitor may not be ready for the first."""

    def informed():
        command(simulator, "info 7")
        client.read_some(0.1)
        return "Info Signal: 7\n" in client.seen

    wait_until(informed, "a signal")


def mask_times(text):
    return re.sub(r"(Time taken ?\([Ii]n us\): )-?\d+", r"\1<us>", text)


def mask(text):
    """Replaces what differs from run to run: microseconds and nonces (by their case), on the screen and in the
    log of calls."""
    text = mask_times(text)
    place = r'((?:32-byte nonce|\(lowercase\)|Nonce): |GetSignedMeasurement .* ")'
    text = re.sub(place + r"[0-9A-F]{64}(?![0-9A-Za-z])", r"\1<NONCE>", text)
    return re.sub(place + r"[0-9a-f]{64}(?![0-9A-Za-z])", r"\1<nonce>", text)
