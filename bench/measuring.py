"""One run of a program: what it costs and what it prints."""

import os
import re
import shutil
import signal
import threading
import time
from dataclasses import dataclass

from service import BenchError, kill, running

SECONDS_FOR_ONE_RUN = 300


@dataclass
class Sample:
    cpu: float  # user and system seconds, those of child processes included
    wall: float  # seconds from start to end; with signals, from the first sent to the last shown
    output: bytes


class Conversation:
    """A running program's console."""

    def __init__(self, process, keyboard):
        self.process = process
        self.keyboard = keyboard
        self.text = bytearray()

    def type(self, text):
        os.write(self.keyboard, text.encode())

    def read(self):
        chunk = os.read(self.process.stdout.fileno(), 1 << 20)
        self.text += chunk
        return chunk

    def read_until(self, ending):
        while not self.text.endswith(ending.encode()):
            if not self.read():
                raise BenchError(f"output ended before {ending!r}")


def follow_to_the_end(_):
    """For a program that needs no more than what was typed at its start."""


def time_flood(service, signals, conversation, last):
    """Lets the service send its signals; gives the seconds until the last one is shown."""
    start = time.monotonic()
    service.flood(signals)
    conversation.read_until(last)
    wall = time.monotonic() - start
    service.expect("ok")
    return wall


def monitoring(case, service):
    """What the operator of the monitor does: announces a device and floods it, or only waits."""

    def follow(conversation):
        conversation.read_until("Press -1 to stop monitoring\n")
        wall = None
        if case.signals:
            service.add_device()
            conversation.read_until("Interface  Added handler FOR CPU is completed.\n")
            last = f"Error: {case.signals - 1}\nError handler is completed.\n"
            wall = time_flood(service, case.signals, conversation, last)
        time.sleep(case.idle)
        conversation.type("-1\n9\n4\n")
        return wall

    return follow if case.mode == "monitor" else follow_to_the_end


def run_once(command, env, typed="", follow=follow_to_the_end, **options):
    """Runs to the end. What `follow` returns counts as the wall time, unless it is nothing."""
    keyboard, typing = os.pipe()
    os.write(typing, typed.encode())
    start = time.monotonic()
    with running(command, stdin=keyboard, env=env, **options) as program:
        os.close(keyboard)
        watchdog = threading.Timer(SECONDS_FOR_ONE_RUN, kill, [program])
        watchdog.start()
        try:
            conversation = Conversation(program, typing)
            followed = follow(conversation)
            while conversation.read():
                pass
            _, status, usage = os.wait4(program.pid, 0)
            wall = time.monotonic() - start
            program.returncode = os.waitstatus_to_exitcode(status)
        finally:
            watchdog.cancel()
            os.close(typing)
    if program.returncode not in (0, -signal.SIGTERM):
        raise BenchError(f"{' '.join(map(str, command))}: exit status {program.returncode}")
    return Sample(usage.ru_utime + usage.ru_stime, followed or wall, bytes(conversation.text))


def count_instructions(run, folder):
    """Instructions of all threads, start-up included; None without valgrind. `run` takes a prefix of
    the command."""
    if not shutil.which("valgrind"):
        return None
    counts = folder / "callgrind.out"
    run(["valgrind", "-q", "--tool=callgrind", f"--callgrind-out-file={counts}"])
    return int(re.search(r"^(?:totals|summary): (\d+)", counts.read_text(), re.M)[1])


def count_writes(run, folder):
    """Calls of write(2) on standard output; None without strace."""
    if not shutil.which("strace"):
        return None
    trace = folder / "strace.out"
    run(["strace", "-f", "-qq", "-s", "0", "-e", "trace=write,writev", "-o", trace])
    return len(re.findall(r"\bwritev?\(1,", trace.read_text()))
