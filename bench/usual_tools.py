"""The same work done by hand: one process of a D-Bus tool a call, base64 and xxd in a shell."""

import re
import shutil
import time
from dataclasses import dataclass

from measuring import follow_to_the_end, run_once, time_flood
from service import BenchError

SERVICE = "com.varn.bmc.spdm.spdm"
ROOT = "/com/varn/bmc/spdm/spdm"
FIRST_DEVICE = f"{ROOT}/cpu/cpu_1"
SIGNATURE_SIZE = 96
SECONDS_TO_SUBSCRIBE = 0.5

GET_OBJECTS = ("org.freedesktop.DBus.ObjectManager", "GetManagedObjects")


@dataclass(frozen=True)
class Tool:
    name: str
    call: str  # of a member of an interface at a path, which the arguments follow
    arguments: dict  # of each method but those without any
    text: str  # filters the first text out of a reply
    blocks: str  # filters the blocks' bytes out of a reply, as a line of hexadecimal digits for each
    monitor: str
    ready: str  # what the monitor prints when it has subscribed
    shown: str  # how it shows a number

    def make_call(self, path, interface, member):
        command = self.call.format(path=path, interface=interface, member=member)
        return f"{command} {self.arguments.get(member, '')}"


TOOLS = [
    Tool(
        "busctl",
        f"busctl --system call {SERVICE} {{path}} {{interface}} {{member}}",
        {
            "GetCertificate": "q 0",
            "GetCertificateProperties": "u 0",
            "GetMeasurement": "qaq 0 1 255",
            "GetSignedMeasurement": "aqqs 1 255 0 ''",
        },
        "cut -d'\"' -f2",
        """awk '{ for (at = 5; at < NF; at += 4 + size) { size = $(at + 1); line = ""
            for (i = 2; i < 2 + size; ++i) line = line sprintf("%02x", $(at + i)); print line } }'""",
        f"busctl --system monitor {SERVICE} 2>&1",
        "Monitoring bus message stream.\n",
        "          UINT16 {};\n  }};\n\n",
    ),
    Tool(
        "gdbus",
        f"gdbus call --system --dest {SERVICE} --object-path {{path}} --method {{interface}}.{{member}}",
        {
            "GetCertificate": "'uint16 0'",
            "GetCertificateProperties": "'uint32 0'",
            "GetMeasurement": "'uint16 0' '[uint16 255]'",
            "GetSignedMeasurement": "'[uint16 255]' 'uint16 0' ''",
        },
        'cut -d"\'" -f2',
        "grep -o '0x[^]]*' | sed 's/0x//g; s/, //g'",
        f"gdbus monitor --system --dest {SERVICE}",
        " is owned by :1.0\n",
        "(uint16 {},)\n",
    ),
    Tool(
        "dbus-send",
        f"dbus-send --system --print-reply --dest={SERVICE} {{path}} {{interface}}.{{member}}",
        {
            "GetCertificate": "uint16:0",
            "GetCertificateProperties": "uint32:0",
            "GetMeasurement": "uint16:0 array:uint16:255",
            "GetSignedMeasurement": "array:uint16:255 uint16:0 string:",
        },
        "sed -n 's/^   string \"//; t first; d; : first; s/\"$//p; q'",
        """awk '/^ *\\]/ && inside { print line; inside = 0 } inside { gsub(" ", ""); line = line $0 }
            /array of bytes/ { inside = 1; line = "" }'""",
        f"dbus-monitor --system \"type='signal',sender='{SERVICE}'\"",
        'member=NameLost\n   string ":1.{}"\n',
        "   uint16 {}\n",
    ),
]


def start(tool):
    return tool.make_call(f"{ROOT}/devicemanager", *GET_OBJECTS)


def regression(tool):
    """The five calls for each device that the tree holds; their replies stay as the tool prints them."""
    members = ("ReAuthenticate", "GetCertificate", "GetCertificateProperties", "GetMeasurement",
               "GetSignedMeasurement")
    calls = "\n".join(tool.make_call("$path", SERVICE, member) for member in members)
    return f"""{start(tool)} >objects
for path in $(grep -o '{ROOT}/cpu/cpu_[0-9]*' objects); do
{calls}
done"""


def signed(tool):
    """The reply, the decoded bytes, and these again, split into measurement and signature."""
    return f"""{tool.make_call(FIRST_DEVICE, SERVICE, "GetSignedMeasurement")} >reply
cat reply
{{ {tool.text}; }} <reply | base64 -d >bytes
xxd -g 1 bytes
head -c -{SIGNATURE_SIZE} bytes | xxd -g 1
tail -c {SIGNATURE_SIZE} bytes | xxd -g 1"""


def measurement(tool):
    """A dump of each block."""
    return f"""{tool.make_call(FIRST_DEVICE, SERVICE, "GetMeasurement")} >reply
{{ {tool.blocks}; }} <reply >blocks
while read -r block; do
    echo "$block" | xxd -r -p | xxd -g 1
done <blocks"""


SCRIPTS = {"start": start, "regression": regression, "signed": signed, "measurement": measurement}

# What the output must hold, and how often, for the case's work to have been done.
DUMP_LINE = rb"^[0-9a-f]{8}: "
PROOFS = {
    "start-1": (rb"/cpu/cpu_\d", 1),
    "start-100": (rb"/cpu/cpu_\d", 100),
    "start-10000": (rb"/cpu/cpu_\d", 10_000),
    "regression-100": (rb"ECDSA-P384", 100),
    "signed-1MiB": (DUMP_LINE, 2 * (1 << 20) // 16),
    "measurement-255x1KiB": (DUMP_LINE, 255 * 1024 // 16),
    "monitor-20000": (rb"DeviceError", 20_000),
}


def missing_programs():
    return [name for name in ("busctl", "gdbus", "dbus-send", "dbus-monitor", "base64", "xxd")
            if not shutil.which(name)]


def usable_tools():
    missing = missing_programs()
    if "base64" in missing or "xxd" in missing:
        return []
    return [tool for tool in TOOLS if tool.name not in missing
            and tool.monitor.split()[0] not in missing]


def flooded(tool, case, service):
    def follow(conversation):
        while not re.search(re.escape(tool.ready).replace(r"\{\}", r"\d+").encode(),
                            conversation.text):
            if not conversation.read():
                raise BenchError(f"{tool.monitor} ended: {conversation.text.decode()}")
        # gdbus subscribes only after it has said so. What it missed would be missed in the proof.
        time.sleep(SECONDS_TO_SUBSCRIBE)
        wall = time_flood(service, case.signals, conversation, tool.shown.format(case.signals - 1))
        conversation.process.terminate()
        return wall

    return follow


def run_tool(tool, case, service, env, folder):
    """The tool's run of a case, which must have done the work."""
    follow = follow_to_the_end
    if case.signals:
        script, follow = f"exec {tool.monitor}", flooded(tool, case, service)
    else:
        script = SCRIPTS[case.mode](tool)
    sample = run_once(["sh", "-e", "-c", script], env, follow=follow, cwd=folder)
    pattern, count = PROOFS[case.name]
    found = len(re.findall(pattern, sample.output, re.M))
    if found != count:
        raise BenchError(f"{case.name} by {tool.name}: {found} of {count} in the output")
    return sample
