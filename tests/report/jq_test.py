#!/usr/bin/env python3
"""Each example of jq in docs/report.md answers what is expected here. Called as: FILE REPORT"""

import os
import re
import subprocess
import sys
import tempfile
from pathlib import Path

import corpus
from harness import exe_wrapper

REPORT = os.path.abspath(sys.argv[1])
DOCUMENT = corpus.HERE.parent.parent / "docs" / "report.md"
NAMES = ["regression-of-two-devices", "suite-partial-failures"]

# By the example's heading.
ANSWERS = {
    "Which devices failed, and why": """\
suite-partial-failures DEV-12, line 69: Normal Measurements 2, Single Measurement Index 2: Get Measurement Failed
suite-partial-failures DEV-12, line 119: Normal Measurements 6, Multiple Measurement Indices: no answer: D-Bus error
suite-partial-failures DEV-12, line 146: Normal Measurements 8, All Measurements Retrieval (0xFF): EID Not Ready
suite-partial-failures DEV-12, line 251: Signed Measurements 6, Signed Measurement with Nonce: no answer: D-Bus error
suite-partial-failures DEV-12, line 267: Signed Measurements 7, Signed Measurement with Nonce: Get Measurement Failed
suite-partial-failures DEV-12, line 279: Signed Measurements 8, Signed Measurement with Nonce: Get Measurement Failed
suite-partial-failures DEV-12, line 422: Stress Tests 4, Single Measurement Index 1: no answer: D-Bus error
suite-partial-failures DEV-12, line 526: Stress Tests 14, Signed Measurement with Nonce: Authentication Failed
suite-partial-failures DEV-12, line 569: Stress Tests 18, Signed Measurement with Nonce: Resynchronization Required
suite-partial-failures DEV-12, line 632: Stress Tests 24, Single Measurement Index 1: no answer: D-Bus error
""",
    "Which devices did not authenticate": """\
regression-of-two-devices /com/varn/bmc/spdm/spdm/cpu/cpu_20: Failed
""",
    "The slowest calls": """\
46 ms suite-partial-failures DEV-12 GetMeasurement line 653
45 ms suite-partial-failures DEV-12 GetMeasurement line 643
44 ms suite-partial-failures DEV-12 GetMeasurement line 623
43 ms suite-partial-failures DEV-12 GetMeasurement line 613
42 ms suite-partial-failures DEV-12 GetMeasurement line 603
""",
    "Which digests a device has": f"CPU-12 1 SHA-384 {bytes(range(0x80, 0xB0)).hex()}\n",
    "How many tests of each verdict": '{"error":4,"failed":6,"passed":38,"skipped":1}\n',
    "The signals of a night": """\
74 - Info  1
77 22 InterfacesAdded  /com/varn/bmc/spdm/spdm/nicController/nic_22
83 22 PropertiesChanged ChallengeStatus In Progress
84 22 PropertiesChanged XMID NIC-2
86 22 CertificateProgress  60
90 22 DeviceError  9
93 22 InterfacesRemoved  /com/varn/bmc/spdm/spdm/nicController/nic_22
""",
    "The same from rows, without holding all of them in memory": """\
suite-partial-failures Signed Measurement with Nonce: Measurement Not Supported
""",
}


def examples():
    """The command of each section that shows one."""
    found = {}
    for section in re.split(r"^#+ ", DOCUMENT.read_text(), flags=re.M):
        for command in re.findall(r"^```sh\n(jq .*?)^```", section, re.M | re.S):
            found[section.splitlines()[0]] = command
    return found


def write_reports(folder):
    for name in NAMES:
        corpus.write(folder / "transcripts", name, corpus.expected(name))
    corpus.write(folder / "transcripts", "night", corpus.night())
    command = exe_wrapper() + [REPORT, "--json", "report.json", "--ndjson", "report.ndjson", "transcripts"]
    subprocess.run(command, cwd=folder, check=False)


def answer(folder, command):
    return subprocess.run(["sh", "-c", command], cwd=folder, check=True, stdout=subprocess.PIPE, text=True).stdout


with tempfile.TemporaryDirectory() as name:
    folder = Path(name)
    write_reports(folder)
    commands = examples()
    assert list(commands) == list(ANSWERS), list(commands)
    for heading, command in commands.items():
        got = answer(folder, command)
        assert got == ANSWERS[heading], f"{heading}\n{got}"
