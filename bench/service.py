"""A private bus with the simulator on it: fast enough, as a program's time on the processor is its own."""

import base64
import contextlib
import json
import os
import signal
import subprocess
import time

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


CPU = "/com/varn/bmc/spdm/spdm/cpu/cpu_"
BOOLS = [
    "Certificate", "ChallengeAuthRespSupport", "Measurement", "Encryption", "SignedMeasurement", "DeviceChallengeStatus",
    "DeviceCertStatus", "DeviceAllowed", "Preferred", *(f"CertificateSlot{slot}" for slot in range(8)),
]
TEXTS = {
    "Version": "1.2", "MeasurementSpecification": "DMTF", "MeasurementSummaryType": "All",
    "MeasurementSummary": "b1iCUn5sSVYYbPrhYgvSzkPJUJvBV9vE0ryPVkyEZoQy0V4gXFzzFpX4Mv4Lq2cC",
    "MeasurementSummaryHashAlgorithm": "TPM_ALG_SHA_384",
}
PROPERTIES = {"ChallengeStatus": ["u", 1], "PhyBinding": ["q", 3],
              **{name: ["b", True] for name in BOOLS},
              **{name: ["s", value] for name, value in TEXTS.items()}}


def pattern(size):
    return bytes((i * 37 + (i >> 8)) % 256 for i in range(size))


def make_fleet(devices, blocks=5, block_size=48, signed_bytes=256):
    """Devices that differ in their number alone, and always answer with success."""
    data = pattern(block_size).hex()
    signed = base64.b64encode(pattern(signed_bytes)).decode()
    methods = {
        "ReAuthenticate": {"reply": ["u", 1]},
        "GetCertificate": {"reply": ["qs", 0, "/var/lib/spdm/slot_0.pem"]},
        "GetCertificateProperties": {"reply": ["u", 0]},
        "GetMeasurement": {
            "reply": ["qqa(qayuq)", 0, blocks, [[index, data, 4, 1] for index in range(1, blocks + 1)]]},
        "GetSignedMeasurement": {"reply": ["ussss", 0, signed, "TPM_ALG_SHA_384", "ECDSA-P384", "1.2"]},
    }
    return {"devices": [
        {"path": f"{CPU}{number}", "preset": "bare",
         "properties": {"DeviceEID": ["q", number], "XMID": ["s", f"CPU_{number}"],
                        "NumMeasurements": ["q", blocks], **PROPERTIES},
         # More devices than a hundred are only ever listed.
         **({"methods": methods} if devices <= 100 else {})}
        for number in range(1, devices + 1)]}


SECONDS_FOR_THE_MONITOR = 60


class Service:
    def __init__(self, process, env):
        self.process = process
        self.env = env

    def send(self, command):
        self.process.stdin.write(f"{command}\n".encode())

    def expect(self, answer):
        line = self.process.stdout.readline().decode().strip()
        if line != answer:
            raise BenchError(f"simulator: {line or 'it ended'}")

    def add_device(self):
        """Announces the first device once the monitor has made the last of its own subscriptions."""
        for _ in range(SECONDS_FOR_THE_MONITOR * 100):
            rules = subprocess.run(
                ["dbus-send", "--system", "--print-reply", "--dest=org.freedesktop.DBus", "/org/freedesktop/DBus",
                 "org.freedesktop.DBus.Debug.Stats.GetAllMatchRules"], env=self.env, stdout=subprocess.PIPE, check=True)
            if b"member='Info'" in rules.stdout:
                break
            time.sleep(0.01)
        else:
            raise BenchError("nobody monitors the service")
        self.send("add " + json.dumps(make_fleet(1)["devices"][0]))
        self.expect("ok")

    def flood(self, signals):
        self.send(f"flood {CPU}1 {signals}")


@contextlib.contextmanager
def simulator(build, fleet, env, folder):
    file = folder / "fleet.json"
    file.write_text(json.dumps(make_fleet(**fleet)))
    with running([build / "spdm-simulator", file], stdin=subprocess.PIPE, env=env) as process:
        service = Service(process, env)
        service.expect("ready")
        yield service
