#!/usr/bin/env python3
"""spdm-run with the client and the simulator, and with clients that fail. Called as: FILE CLIENT SIMULATOR RUN REPORT"""

import json
import os
import re
import shlex
import signal
import subprocess
import sys
import time
from pathlib import Path

TESTS = Path(__file__).resolve().parent.parent
sys.path.insert(0, str(TESTS))

from harness import Bench, command, exe_wrapper, wait_until  # noqa: E402

CLIENT, SIMULATOR, RUN, REPORT = (os.path.abspath(argument) for argument in sys.argv[1:])
FLEETS = TESTS.parent / "simulator" / "fleets"
DEVICES = ["10", "11", "12", "20", "21", "30", "31"]
CLIENT_COMMAND = shlex.join([*exe_wrapper(), CLIENT])
MENU = "1: Regression Test\\n2: Normal Test\\n3: Measurement Test Suite\\n4: Exit \\nPlease Choose the option:\\n"
LEFT_OVER = f"86399.{os.getpid()}"  # the argument of a sleep(1) that only this test starts
NO_COLOR = {"NO_COLOR": "1"}


def arguments(activity, *options, client=CLIENT_COMMAND):
    return [RUN, *activity.split(), "--client", client, "--controller", "bmc7", *options]


class Result:
    """What a run that has ended left."""

    def __init__(self, folder, status, summary, complaint):
        self.folder, self.status, self.summary, self.complaint = Path(folder), status, summary, complaint
        self.bytes = (self.folder / "transcript.txt").read_bytes()
        self.transcript = self.bytes.decode(errors="replace")
        self.run = json.loads((self.folder / "run.json").read_text())
        self.answers = [answer["text"] for answer in self.run["answers"]]

    def expect(self, **members):
        found = {name: self.run[name] for name in members}
        assert found == members, found
        return self

    def complains(self, text):
        lines = [line for line in self.complaint.splitlines() if not line.startswith("spdm-run: device ")]
        assert lines == [f"spdm-run: {text}"], self.complaint
        assert self.run["problem"] == text, self.run["problem"]
        return self


def run(bench, activity, *options, folder="out", client=CLIENT_COMMAND):
    """Runs to the end."""
    path = bench.folder / folder
    process = bench.start([*arguments(activity, client=client), "--output", path, *options], env=NO_COLOR)
    process.read_to_end()
    return Result(path, process.wait(), process.seen, process.stderr())


def stop(process, number, folder):
    process.child.send_signal(number)
    process.read_to_end()
    return Result(folder, process.wait(), process.seen, process.stderr())


def require_nothing_left():
    found = subprocess.run(["pgrep", "-f", f"^sleep {LEFT_OVER}"], capture_output=True, text=True).stdout
    assert not found, f"left behind: {found}"


def reports_the_same(result):
    """spdm-report on the folder."""
    done = subprocess.run([*exe_wrapper(), REPORT, result.folder], capture_output=True, text=True,
                          env={**os.environ, **NO_COLOR})
    return done.stdout == result.summary and done.returncode == result.status


def rows(result):
    """The summary's verdicts by EID."""
    return dict(re.findall(r"^ +(\d+) .*? [✓✗!-] (\w+)", result.summary, re.MULTILINE))


def test_suite_on_all(bench):
    result = run(bench, "suite").expect(
        schema="spdm-run/1", controller="bmc7", client=CLIENT_COMMAND, end="complete", problem=None, exit_status=0,
        signal=None)
    assert result.status == 1, result.status
    expected = dict.fromkeys(DEVICES, "passed") | {"12": "failed", "21": "skipped"}
    assert rows(result) == expected, result.summary
    assert reports_the_same(result)
    assert result.answers == ["3", "7", "4"]
    expected = [f"spdm-run: device {number} of 7 (EID {eid})" for number, eid in enumerate(DEVICES, 1)]
    assert result.complaint.splitlines() == expected, result.complaint
    assert sorted(os.listdir(result.folder)) == ["run.json", "transcript.txt"]

    # Each answer went out when its prompt was the end of the output.
    data = result.bytes
    for answer, prompt in zip(result.run["answers"], (b"option:\n", b"(0-7): \n", b"option:\n")):
        assert data[: answer["offset"]].endswith(prompt), answer
    times = result.run["reads"]
    assert times == sorted(times) and times[0][0] == 0 and times[-1][0] < len(data), times
    started, ended = result.run["started"], result.run["ended"]
    assert re.fullmatch(r"\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{3}Z", started) and started < ended, (started, ended)


def test_other_activities(bench):
    for activity, answers in {
        "regression": ["1", "4"],
        "properties": ["2", "7", "4"],
        "suite --device 31 --device 12": ["3", "6", "1", "3", "2", "1", "4"],
        "properties --device 12": ["2", "2", "1", "4", "9", "4"],
    }.items():
        result = run(bench, activity, "--quiet", folder=activity).expect(end="complete", exit_status=0)
        assert (result.status, result.complaint, result.answers) == (1, "", answers), (activity, result.answers)
        assert reports_the_same(result), activity
        assert "✗ failed" in result.summary and "EID 12" in result.summary, result.summary
    assert "DEVICE EID:  31 " in run(bench, "suite --device 31", folder="one").transcript


def test_unknown_device(bench):
    result = run(bench, "suite --device 12 --device 99").expect(end="interrupted", signal=signal.SIGTERM)
    result.complains("the client offers no device with EID 99, only 10, 11, 12, 20, 21, 30, 31")
    assert result.status == 3
    assert result.answers == ["3"]


def test_monitor_for_a_time(bench):
    result = run(bench, "monitor --for 1").expect(end="complete", exit_status=0)
    assert (result.status, result.answers) == (0, ["2", "0", "8", "-1", "9", "4"]), result.answers
    sent = {answer["text"]: answer["ms"] for answer in result.run["answers"]}
    assert 1000 <= sent["-1"] - sent["8"] < 20000, sent


def test_monitor_until_a_signal(bench, simulator):
    for number in (signal.SIGINT, signal.SIGTERM):
        folder = bench.folder / number.name
        process = bench.start([*arguments("monitor --device 12"), "--timeout", "1", "--output", folder], env=NO_COLOR)

        def shown():
            command(simulator, "info 7")
            time.sleep(0.05)
            part = folder / "transcript.txt.part"
            return part.exists() and "Info Signal: 7" in part.read_text()

        wait_until(shown, "a signal in the transcript")
        time.sleep(1.5)  # longer than the timeout, which does not count here
        result = stop(process, number, folder).expect(end="complete", exit_status=0)
        assert (result.status, result.answers) == (0, ["2", "2", "8", "-1", "9", "4"]), (result.status, result.complaint)
        # The reads tell when a signal came.
        offset = result.transcript.encode().index(b"Info Signal: 7")
        assert [ms for place, ms in result.run["reads"] if place <= offset][-1] > 0


def test_interruption(bench):
    client = f"echo here; sleep {LEFT_OVER}; echo never"
    for number in (signal.SIGINT, signal.SIGTERM, signal.SIGHUP):
        folder = bench.folder / number.name
        process = bench.start([*arguments("suite", client=client), "--output", folder], env=NO_COLOR)
        part = folder / "transcript.txt.part"
        wait_until(lambda: part.exists() and part.read_text() == "here\n", "output")
        result = stop(process, number, folder).expect(end="interrupted", exit_status=None, signal=signal.SIGTERM)
        result.complains(f"interrupted by signal {int(number)}")
        assert (result.status, result.transcript) == (128 + number, "here\n")
        require_nothing_left()


def test_interruption_of_a_client_that_ignores_it(bench):
    client = f"trap '' TERM; echo here; sleep {LEFT_OVER} & wait; sleep {LEFT_OVER}"
    folder = bench.folder / "out"
    process = bench.start([*arguments("suite", client=client), "--output", folder], env=NO_COLOR)
    part = folder / "transcript.txt.part"
    wait_until(lambda: part.exists() and part.read_text() == "here\n", "output")
    result = stop(process, signal.SIGINT, folder).expect(end="interrupted", signal=signal.SIGKILL)
    assert result.status == 130
    require_nothing_left()


def test_kill_leaves_nothing_running(bench):
    folder = bench.folder / "out"
    process = bench.start([*arguments("suite", client=f"exec sleep {LEFT_OVER}"), "--output", folder])
    wait_until(lambda: subprocess.run(["pgrep", "-f", f"^sleep {LEFT_OVER}"], capture_output=True).stdout, "the client")
    process.child.kill()
    process.wait()
    wait_until(lambda: not subprocess.run(["pgrep", "-f", f"^sleep {LEFT_OVER}"], capture_output=True).stdout,
               "the client's end")
    assert json.loads((folder / "run.json").read_text())["end"] == "interrupted"


def test_timeout(bench):
    client = f"echo Password; sleep {LEFT_OVER}"
    result = run(bench, "suite", "--timeout", "1", client=client).expect(end="timeout", signal=signal.SIGTERM)
    result.complains("the client printed nothing for 1 s; expected was its main menu; its last line: Password")
    assert result.status == 3
    require_nothing_left()


def test_failing_clients(bench):
    menu = f"printf '{MENU}'; read answer"
    for name, client, members, complaint in (
        ("missing", "/nowhere/client", {"end": "client-ended", "exit_status": 127},
         "the client cannot be started; its last line: sh: 1: /nowhere/client: not found"),
        ("at-once", "true", {"end": "client-ended", "exit_status": 0},
         "the client ended with status 0 where its main menu was expected"),
        ("middle", f"{menu}; echo last", {"end": "client-ended", "exit_status": 0},
         "the client ended with status 0 where its question for the device index was expected; its last line: last"),
        ("status", f"{menu}; {menu}; echo broken >&2; exit 7", {"end": "client-ended", "exit_status": 7},
         "the client shows its main menu instead of its question for the device index"),
        ("killed", f"{menu}; kill -9 $$", {"end": "client-ended", "signal": 9}, "the client died of signal 9"),
        ("unexpected", f"printf '9: Other\\n{MENU}{MENU}'; sleep {LEFT_OVER}", {"end": "interrupted", "signal": 15},
         "the client shows its main menu instead of its question for the device index"),
        ("closed", f"exec >&- 2>&-; sleep {LEFT_OVER}", {"end": "timeout", "signal": 15},
         "the client printed nothing for 2 s; expected was its main menu"),
    ):
        result = run(bench, "suite", "--timeout", "2", folder=name, client=client)
        if name == "status":  # It may end before it is ended.
            assert result.run["problem"] == complaint and result.status == 3, result.run
            continue
        result.expect(**members).complains(complaint)
        assert result.status == 3, (name, result.status)
        require_nothing_left()
    assert (bench.folder / "missing" / "stderr.txt").read_text() == "sh: 1: /nowhere/client: not found\n"


def test_status_after_a_complete_conversation(bench):
    menu = f"printf '{MENU}'; read answer"
    result = run(bench, "regression", client=f"{menu}; {menu}; echo broken >&2; exit 255")
    result.expect(end="client-ended", exit_status=255)
    result.complains("the client ended with status 255; its last line: broken")
    assert (result.status, result.answers) == (3, ["1", "4"])


def test_floods(bench):
    for name, client, stream in (
        ("output", "yes", "transcript.txt"),
        ("menus", f"while :; do printf '{MENU}'; done", "transcript.txt"),
        ("line", "tr '\\0' x </dev/zero", "transcript.txt"),
        ("errors", "yes >&2", "stderr.txt"),
    ):
        result = run(bench, "suite", "--max-output", "100000", folder=name, client=client).expect(end="interrupted")
        assert result.status == 3, name
        size = (result.folder / stream).stat().st_size
        if name == "menus":
            result.complains("the client shows its main menu instead of its question for the device index")
        else:
            result.complains("the client printed more than 100000 bytes" +
                             (" to its standard error" if name == "errors" else ""))
            assert size == 100000, size


def test_descendants_end_with_the_client(bench):
    menu = f"printf '{MENU}'; read answer"
    result = run(bench, "regression", client=f"sleep {LEFT_OVER} & {menu}; {menu}; exit 0")
    result.expect(end="complete", exit_status=0)
    require_nothing_left()


def test_output_is_kept_byte_for_byte(bench):
    menu = f"printf '{MENU}'; read answer"
    result = run(bench, "regression", client=f"printf 'a\\000\\377\\r\\n'; {menu}; {menu}; printf end")
    menu_bytes = MENU.replace("\\n", "\n").encode()
    assert result.bytes == b"a\0\xff\r\n" + 2 * menu_bytes + b"end", result.bytes


def test_results_are_not_overwritten(bench):
    first = run(bench, "regression", "--quiet")
    again = bench.start([*arguments("regression"), "--output", first.folder])
    again.read_to_end()
    assert again.wait() == 2
    assert again.stderr() == f"spdm-run: {first.folder} holds a result (transcript.txt); --force overwrites it\n"
    assert json.loads((first.folder / "run.json").read_text()) == first.run
    forced = run(bench, "properties", "--force").expect(end="complete")
    assert forced.answers == ["2", "7", "4"]


def test_full_disk(bench):
    """A limit on the size of files stands for the full disk."""
    folder = bench.folder / "out"
    script = "trap '' XFSZ; ulimit -f 64; exec \"$@\""  # Of 512 bytes each.
    process = bench.start(["sh", "-c", script, "sh", *exe_wrapper(), *arguments("suite"), "--output", folder],
                          env=NO_COLOR, wrapper=[])
    process.read_to_end()
    result = Result(folder, process.wait(), process.seen, process.stderr()).expect(end="interrupted")
    result.complains(f"cannot write {folder}/transcript.txt: File too large")
    assert result.status == 2, result.status
    assert len(result.bytes) == 64 * 512, len(result.bytes)


def test_default_folder(bench):
    process = bench.start(["sh", "-c", "cd \"$0\" && exec \"$@\"", bench.folder, *exe_wrapper(),
                           *arguments("regression"), "--quiet"], wrapper=[])
    process.read_to_end()
    process.wait()
    name = re.fullmatch(r"spdm-run: writes to (bmc7-\d{8}T\d{6}Z)\n", process.stderr())
    assert name, process.stderr()
    assert Result(bench.folder / name[1], 0, "", "").run["end"] == "complete"


def test_folder_with_a_sign_as_its_name(bench):
    """Without input: the summary is that of the folder."""
    process = bench.start(["sh", "-c", "cd \"$0\" && exec \"$@\"", bench.folder, *exe_wrapper(),
                           *arguments("regression"), "--output", "-"], wrapper=[], env=NO_COLOR)
    process.close_input()
    process.read_to_end()
    assert (process.wait(), "1 failed" in process.seen) == (1, True), process.seen


def test_progress_on_a_terminal(bench):
    for width in (100, 30):
        folder = bench.folder / str(width)
        process = bench.start([*arguments("suite"), "--output", folder], terminal=True,
                              env={"TERM": "xterm", "COLUMNS": str(width), **NO_COLOR})
        output = process.read_to_end()
        assert process.wait() == 1
        draws = re.findall(r"\r([^\r\n]*?)\x1b\[K", output)
        assert draws[-1] == "", draws
        assert all(len(text) < width for text in draws), max(draws, key=len)
        assert any(text.startswith("device 3 of 7 (EID 12), ") for text in draws), draws
        if width == 100:
            pattern = r"device 7 of 7 \(EID 31\), Stress Tests, \d+ of \d+ tests, 0:\d\d, about 0:\d\d left"
            assert any(re.fullmatch(pattern, text) for text in draws), draws
            # As many tests were expected as the device has in the end.
            expected = {text.split(" of ")[2].split()[0] for text in draws if "(EID 31), Stress" in text}
            total = (folder / "transcript.txt").read_text().rsplit("Total Individual Tests: ", 1)[1].split()[0]
            assert expected == {total}, (expected, total)
        assert "FAILED" in output.rsplit("\x1b[K", 1)[1], output


def test_usage(bench):
    for words, status, complaint in (
        ([], 2, "spdm-run: ACTIVITY is required (try: spdm-run --help)\n"),
        (["suite", "--output", "/dev/null/x"], 2, "spdm-run: cannot create /dev/null/x: Not a directory\n"),
    ):
        process = bench.start([RUN, *words])
        process.read_to_end()
        assert (process.wait(), process.stderr()) == (status, complaint), process.stderr()


def main():
    for name, test in list(globals().items()):
        if not name.startswith("test_"):
            continue
        with Bench(CLIENT, SIMULATOR) as bench:
            simulator = bench.start_simulator(FLEETS / "bench.json")
            try:
                test(*[bench, simulator][: test.__code__.co_argcount])
            except Exception:
                print(f"in {name}:", file=sys.stderr)
                raise


if __name__ == "__main__":
    main()
