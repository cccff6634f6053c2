#!/usr/bin/env python3
"""Runs scripts/demo as a newcomer would, and ends it in every way: no process and no file is left.
Called without arguments. Builds what the demo builds, so it is run by hand and by CI, not by every test."""

import os
import signal
import tempfile
from pathlib import Path

from harness import Process, mask, wait_until
from layouts import BANNER, MAIN_MENU, OPERATIONS_MENU

DEMO = Path(__file__).resolve().parent.parent / "scripts/demo"
START = BANNER + MAIN_MENU
SECONDS_TO_END = 10
REQUESTS_TO_END = (signal.SIGHUP, signal.SIGINT, signal.SIGTERM)


def left_running(folder):
    """The command lines of all processes that were started with this folder for temporary files."""
    found = []
    for process in Path("/proc").glob("[0-9]*"):
        try:
            if f"TMPDIR={folder}\0".encode() in (process / "environ").read_bytes():
                found.append((process / "cmdline").read_text())
        except OSError:  # it has ended, or is somebody else's
            pass
    return found


class Demo(Process):
    """The demo, run from another folder."""

    def __init__(self, *arguments, suffix=""):
        self.folder = tempfile.TemporaryDirectory(suffix=suffix)
        super().__init__(
            ["env", "--chdir=/", DEMO, *arguments], env={"TMPDIR": self.folder.name}, wrapper=[]
        )

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.stop()
        self.folder.cleanup()

    def expect_end(self, status):
        assert self.wait(SECONDS_TO_END) == status, self.stderr()
        wait_until(lambda: not left_running(self.folder.name), "the last process's end", SECONDS_TO_END)
        assert os.listdir(self.folder.name) == []


def test_input_from_a_pipe():
    with Demo() as demo:
        demo.write("2\n0\n1\n9\n4\n")
        demo.close_input()
        output = mask(demo.read_to_end())
        assert output.startswith(START), output
        conversation = (
            f"Selected device: EID=10\n{OPERATIONS_MENU}"
            f"ReAuth Status: Passed Time taken(In us): <us>\n{OPERATIONS_MENU}{MAIN_MENU}"
        )
        assert output.endswith(conversation), output
        demo.expect_end(0)
        assert demo.stderr().endswith("building...\n"), demo.stderr()


def test_a_request_to_end(request):
    with Demo() as demo:
        demo.wait_for(START)
        os.kill(demo.pid, request)
        demo.expect_end(128 + request)


def test_a_request_to_end_what_repeats_without_end():
    with Demo() as demo:
        demo.write("2\n0\n")
        demo.close_input()
        demo.wait_for(2 * f"Invalid method.\nPlease try again...\n{OPERATIONS_MENU}")
        os.kill(demo.pid, signal.SIGTERM)
        demo.expect_end(128 + signal.SIGTERM)


def test_a_closed_terminal():
    with Demo() as demo:
        demo.wait_for(START)
        os.killpg(demo.pid, signal.SIGHUP)
        demo.expect_end(128 + signal.SIGHUP)


def test_a_folder_of_any_name():
    with Demo(suffix=" ,;&<\"'%é") as demo:
        demo.write("2\n0\n1\n9\n4\n")
        demo.wait_for("ReAuth Status: Passed")
        demo.expect_end(0)


def test_answers_to_commands():
    with Demo() as demo:
        demo.wait_for(START)
        (commands,) = Path(demo.folder.name).glob("*/commands")
        for command, answer in (
            ("help", "\nok: add PATH [PRESET]"),
            ("add /com/varn/bmc/spdm/spdm/cpu/cpu_77", ""),
            ("no such command", "\nerror: "),
        ):
            with commands.open("w") as pipe:
                pipe.write(f"{command}\n")
            wait_until(lambda: answer in demo.stderr(), f"the answer to {command}")
        assert "ok\n" not in demo.stderr(), demo.stderr()
        demo.write("4\n")
        demo.expect_end(0)


def test_a_fleet_that_is_wrong():
    with tempfile.NamedTemporaryFile("w", suffix=".json") as fleet:
        fleet.write('{"devices": 3}')
        fleet.flush()
        with Demo(fleet.name) as demo:
            demo.expect_end(1)
            lines = demo.stderr().splitlines()
            assert lines[-1] == "spdm-simulator did not start", lines
            assert lines[-2].startswith(f"{fleet.name}: devices: "), lines
            assert lines[-3] == "building...", lines


def test_a_fleet_that_is_not_there():
    with Demo("/nowhere.json") as demo:
        demo.expect_end(2)
        assert "/nowhere.json cannot be read\n" in demo.stderr(), demo.stderr()


def main():
    # Started in the background, the test may ignore signals; shells cannot trap what they inherit as ignored.
    for request in REQUESTS_TO_END:
        signal.signal(request, signal.SIG_DFL)
    for _ in range(2):
        test_input_from_a_pipe()
    for request in REQUESTS_TO_END:
        test_a_request_to_end(request)
    test_a_request_to_end_what_repeats_without_end()
    test_a_closed_terminal()
    test_a_folder_of_any_name()
    test_answers_to_commands()
    test_a_fleet_that_is_wrong()
    test_a_fleet_that_is_not_there()


if __name__ == "__main__":
    main()
