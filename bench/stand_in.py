"""A private bus with the stand-in service on it."""

import contextlib
import os
import signal
import subprocess

BUS_CONFIG = """<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <type>system</type>
  <listen>unix:path={folder}/bus</listen>
  <auth>EXTERNAL</auth>
  <policy context="default">
    <allow send_destination="*"/>
    <allow receive_sender="*"/>
    <allow own="*"/>
  </policy>
  <limit name="max_message_size">134217728</limit>
  <limit name="max_incoming_bytes">1000000000</limit>
  <limit name="max_outgoing_bytes">1000000000</limit>
</busconfig>
"""


class BenchError(Exception):
    pass


@contextlib.contextmanager
def running(command, **options):
    """A child process that is gone, with its own children, when the block is left, however it is left."""
    with subprocess.Popen(command, stdout=subprocess.PIPE, bufsize=0, start_new_session=True,
                          **options) as child:
        try:
            yield child
        finally:
            if child.returncode is None:
                kill(child)


def kill(child):
    with contextlib.suppress(ProcessLookupError):
        os.killpg(child.pid, signal.SIGKILL)


@contextlib.contextmanager
def private_bus(folder):
    """A bus daemon of our own; yields the environment in which it is the system bus."""
    config = folder / "bus.conf"
    config.write_text(BUS_CONFIG.format(folder=folder))
    # The daemon complains when it may not raise its limit of open files, which it does not need.
    with running(["dbus-daemon", f"--config-file={config}", "--nofork", "--nopidfile",
                  "--print-address"], stderr=subprocess.DEVNULL) as daemon:
        address = daemon.stdout.readline().decode().strip()
        if not address:
            raise BenchError("dbus-daemon did not start")
        yield {**os.environ, "DBUS_SYSTEM_BUS_ADDRESS": address}


class Service:
    def __init__(self, process):
        self.process = process

    def send(self, command):
        self.process.stdin.write(f"{command}\n".encode())

    def expect(self, answer):
        line = self.process.stdout.readline().decode().strip()
        if line != answer:
            raise BenchError(f"stand-in service: {line or 'it ended'}")


@contextlib.contextmanager
def stand_in_service(build, options, env):
    program = build / "bench" / "stand-in-service"
    with running([program, *options.split()], stdin=subprocess.PIPE, env=env) as process:
        service = Service(process)
        service.expect("ready")
        yield service
