"""Transcripts for the tests of spdm-report, each as FOLDER/NAME/transcript.txt."""

import itertools
import re
import sys
from pathlib import Path

HERE = Path(__file__).resolve().parent
sys.path.insert(0, str(HERE.parent))
from harness import Bench

TRANSCRIPTS = HERE.parent / "transcripts"
FLEETS = HERE.parent.parent / "simulator" / "fleets"


def write(folder, name, text):
    (folder / name).mkdir(parents=True)
    (folder / name / "transcript.txt").write_bytes(text)


def unmasked(text):
    """An expected transcript as the client would have printed it: the first call took a millisecond, the
    next two, and so on."""
    milliseconds = itertools.count(1)
    text = re.sub(b"<us>", lambda _: b"%d000" % next(milliseconds), text)
    return text.replace(b"<NONCE>", b"0123456789ABCDEF" * 4).replace(b"<nonce>", b"0123456789abcdef" * 4)


def expected(name):
    return unmasked((TRANSCRIPTS / name / "expected.txt").read_bytes())


def scenarios():
    return sorted(path.parent.name for path in TRANSCRIPTS.glob("*/expected.txt"))


def night():
    """A measurement, then the monitor with each of its signals."""
    return (HERE / "night.txt").read_bytes()


def gone():
    """The night, and then an operation on a device that has left."""
    head, menu, tail = night().rpartition(b"9: Go Back \nPlease Choose the option:\n")
    return head + menu + b"Object name not found.\n" + head[head.rindex(b"1: ReAuthenticate") :] + menu + tail


def bench(client, simulator):
    """A regression, then all suites, on the simulated bench."""
    with Bench(client, simulator) as started:
        started.start_simulator(FLEETS / "bench.json")
        process = started.start_client()
        process.write("1\n3\n0\n3\n4\n")
        process.close_input()
        return process.read_to_end().encode()
