#!/usr/bin/env python3
"""Exit statuses, complaints and the summary on a terminal. Called as: FILE REPORT"""

import errno
import fcntl
import gzip
import json
import os
import pty
import re
import struct
import subprocess
import sys
import tempfile
import termios
from pathlib import Path

import corpus
from harness import exe_wrapper

REPORT = [*exe_wrapper(), os.path.abspath(sys.argv[1])]
ENVIRONMENT = {name: value for name, value in os.environ.items() if name not in ("NO_COLOR", "COLUMNS", "TERM")}

# A transcript of each kind.
SCENARIOS = {
    "passed": "measurement-of-two-blocks",
    "failed": "recurring-ends-at-a-later-failure",
    "error": "bus-daemon-dies-in-mid-call",
    "incomplete": "device-index-at-end-of-input",
    "nothing": "exit-by-0",
}
WORST = {"passed": "✓ PASSED", "failed": "✗ FAILED", "error": "! ERROR: not everything was proved",
         "incomplete": "! ERROR: not everything was proved", "nothing": "? NOTHING TO JUDGE"}
STATUS = {"passed": 0, "failed": 1, "error": 1, "incomplete": 1, "nothing": 3}


def report(*arguments, **options):
    """In the folder of the transcripts."""
    return subprocess.run([*REPORT, *arguments], **{"capture_output": True, "text": True, "env": ENVIRONMENT} | options)


def expect(status, *arguments, complaint="", **options):
    done = report(*arguments, **options)
    assert done.returncode == status, f"{arguments}: status {done.returncode}, not {status}\n{done.stdout}{done.stderr}"
    assert done.stderr == complaint, f"{arguments}: {done.stderr!r}, not {complaint!r}"
    return done.stdout


def test_exit_statuses():
    for kind, status in STATUS.items():
        summary = expect(status, f"{kind}.txt")
        lines = summary.splitlines()
        assert WORST[kind] in lines[-2:], summary
        assert "1 input, 1 run, " in summary, summary
    assert expect(0, "-", stdin=open("passed.txt")) .splitlines()[-2:] == expect(0, "passed.txt").splitlines()[-2:]
    Path("empty").write_text("")
    Path("other").write_text("no transcript\n" * 3)
    for name in ("empty", "other"):
        assert expect(3, name).startswith(f"? nothing no conversation  {name}\n")


def test_the_worst_decides():
    missing = "spdm-report: missing: No such file or directory\n"
    expect(1, "passed.txt", "failed.txt", "nothing.txt")
    expect(1, "nothing.txt", "incomplete.txt")
    expect(3, "passed.txt", "nothing.txt")
    expect(2, "passed.txt", "missing", complaint=missing)
    summary = expect(2, "missing", "failed.txt", "nothing.txt", complaint=missing)
    assert "3 inputs, 2 runs" in summary and "1 input could not be read" in summary, summary
    assert "✗ FAILED" in summary, summary


def test_fail_on():
    kinds = ("failed", "error", "incomplete")
    for kind in kinds:
        for words in ("failed", "error", "incomplete", "failed,error", "error,incomplete", "deviation"):
            expect(1 if kind in words.split(",") else 0, "--fail-on", words, f"{kind}.txt")
    expect(3, "--fail-on", "failed", "error.txt", "nothing.txt")
    # Errors, some of them because the transcript stops.
    both = ["error.txt", "incomplete.txt"]
    expect(1, "--fail-on", "error", *both)
    expect(1, "--fail-on", "incomplete", *both)
    expect(0, "--fail-on", "failed", *both)


def test_usage():
    hint = " (try: spdm-report --help)\n"
    expect(2, complaint="spdm-report: INPUT is required" + hint)
    expect(2, "--json", "-", "--ndjson", "-", "passed.txt",
           complaint="spdm-report: --json and --ndjson both write to standard output" + hint)
    expect(2, "--fail-on", "some", "passed.txt",
           complaint='spdm-report: --fail-on: "some" is none of failed, error, incomplete, deviation' + hint)
    assert expect(0, "--help").startswith("Usage: spdm-report ")
    assert re.fullmatch(r"spdm-report \d+\.\d+\.\d+\n", expect(0, "--version"))
    with open("/dev/full", "w") as full:
        expect(2, "--help", stdout=full, stderr=subprocess.PIPE, capture_output=False,
               complaint="spdm-report: cannot write standard output\n")


def test_jobs_keep_the_order():
    """As many bytes as are held, and more: the first input is the one that takes longest."""
    large = corpus.expected("suite-all-tests-pass") * 60
    Path("jobs").mkdir()
    Path("jobs/00.txt").write_bytes(large)
    for number in range(1, 40):
        Path(f"jobs/{number:02}.txt").write_bytes(
            corpus.expected("suite-partial-failures") * (20 if number % 10 == 3 else 1) if number % 7 else b"nothing\n")
    Path("jobs/40.txt.gz").write_bytes(gzip.compress(large)[:-9])
    complaint = "spdm-report: jobs/40.txt.gz: the gzip data is cut short\n"
    for options in ([], ["--json", "-"], ["--junit", "-"], ["--metrics", "-"], ["--ndjson", "-"]):
        one, four = (expect(2, *options, "--jobs", jobs, "jobs", complaint=complaint) for jobs in ("1", "4"))
        assert one == four and len(one) > 10_000, options
    rows = one.splitlines()
    names = [re.search(r'"run":"jobs/(\d\d)', row)[1] for row in rows]
    assert names == sorted(names), "the rows are not in the order of the inputs"
    assert sum('"kind":"run"' in row for row in rows) >= 60 + 34 + 60


def test_conversations_of_an_input_have_names_of_their_own():
    Path("three").write_bytes(corpus.expected("measurement-of-two-blocks") * 3)
    rows = expect(0, "--ndjson", "-", "three").splitlines()
    assert re.findall(r'"kind":"run".*?"run":"(.*?)"', "\n".join(rows)) == ["three", "three#2", "three#3"]


def totals(status, *arguments, **options):
    return json.loads(expect(status, "--json", "-", *arguments, **options))["totals"]


def test_totals():
    text = Path("passed.txt").read_bytes()
    Path("open").write_bytes(text + b"a line that nobody prints, without an end")
    found = totals(0, "open", "passed.txt")
    lines = text.count(b"\n")
    assert (found["inputs"], found["runs"], found["lines"]) == (2, 2, 2 * lines + 1), found
    assert (found["bytes"], found["notes"]) == (2 * len(text) + 41, 1), found
    assert (found["nothing_to_judge"], found["unreadable"]) == (0, 0), found
    Path("short.gz").write_bytes(gzip.compress(b"no transcript")[:-4])
    found = totals(2, "short.gz", "nothing.txt", complaint="spdm-report: short.gz: the gzip data is cut short\n")
    assert (found["inputs"], found["runs"], found["nothing_to_judge"], found["unreadable"]) == (2, 1, 1, 1), found


def test_circumstances():
    Path("night/bmc7").mkdir(parents=True)
    Path("night/bmc7/transcript.txt").write_bytes(Path("passed.txt").read_bytes() * 2)
    Path("night/bmc7/run.json").write_text('{"schema": "spdm-run/1", "controller": "lab-7", "end": "complete"}')
    for folder in ("night", "night/bmc7", "night/bmc7/"):
        rows = [json.loads(row) for row in expect(0, "--ndjson", "-", folder).splitlines()]
        runs = [(row["controller"], row["run"], row["end"]) for row in rows if row["kind"] == "run"]
        assert runs == [("lab-7", f"night/bmc7/transcript.txt{number}", "complete") for number in ("", "#2")], runs


def test_unreadable_inputs():
    Path("cut.txt.gz").write_bytes(gzip.compress(Path("passed.txt").read_bytes())[:300])
    summary = expect(2, "cut.txt.gz", "passed.txt", complaint="spdm-report: cut.txt.gz: the gzip data is cut short\n")
    assert "! error   cut  transcript: it stops" in summary, summary
    Path("folder/a").mkdir(parents=True)
    Path("folder/b").mkdir()
    Path("folder/a/transcript.txt").write_bytes(Path("passed.txt").read_bytes())
    Path("folder/a/run.json").write_text("{")
    summary = expect(2, "folder", complaint="spdm-report: folder/a/run.json: no valid JSON at byte 2\n")
    assert "✓ passed" in summary and "! ERROR: not everything was read" in summary, summary
    summary = expect(3, "folder/b", "passed.txt")
    assert summary.startswith("? nothing no conversation  folder/b\n"), summary
    assert "? NOTHING TO JUDGE in a part of the input\n" in summary, summary
    expect(3, "folder/b")
    # What a name may hold does not reach a terminal.
    expect(2, "no\x1b[2J", complaint="spdm-report: no\\x1B[2J: No such file or directory\n")


def test_outputs_that_cannot_be_written():
    full = "spdm-report: cannot write standard output: No space left on device\n"
    for options in ([], ["--json", "-"], ["--ndjson", "-"], ["--junit", "-"], ["--metrics", "-"]):
        with open("/dev/full", "w") as output:
            expect(2, *options, "passed.txt", stdout=output, stderr=subprocess.PIPE, capture_output=False, complaint=full)
    expect(2, "--json", "no/such", "passed.txt", complaint="spdm-report: cannot write no/such: No such file or directory\n")
    expect(2, "--junit", "passed.txt", "passed.txt", complaint="spdm-report: cannot write passed.txt: Not a directory\n")
    # The other output is written all the same.
    with open("/dev/full", "w") as output:
        expect(2, "--json", "-", "--ndjson", "rows", "passed.txt", stdout=output, stderr=subprocess.PIPE,
               capture_output=False, complaint=full)
    assert Path("rows").read_text() == expect(0, "--ndjson", "-", "passed.txt")


def test_nobody_reads_on():
    """A closed pipe ends it, whatever there is still to read."""
    Path("endless").write_bytes(corpus.expected("suite-all-tests-pass") * 200)
    reader, writer = os.pipe()
    os.close(reader)
    broken = "spdm-report: cannot write standard output: Broken pipe\n"
    for jobs in ("1", "4"):
        expect(2, "--ndjson", "-", "--jobs", jobs, *["endless"], "passed.txt", "failed.txt", stdout=writer,
               stderr=subprocess.PIPE, capture_output=False, complaint=broken)
    os.close(writer)
    # Input without end: who writes it finds nobody who reads it.
    reader, writer = os.pipe()
    os.close(reader)
    child = subprocess.Popen([*REPORT, "--ndjson", "-", "-"], stdin=subprocess.PIPE, stdout=writer, stderr=subprocess.PIPE)
    os.close(writer)
    conversation = Path("failed.txt").read_bytes() * 100
    try:
        for _ in range(1000):
            child.stdin.write(conversation)
        raise AssertionError("it reads on")
    except BrokenPipeError:
        pass
    assert child.stderr.read().decode() == broken
    assert child.wait() == 2
    expect(2, "passed.txt", stdout=subprocess.PIPE, stderr=subprocess.PIPE, capture_output=False,
           preexec_fn=lambda: os.close(1),
           complaint="spdm-report: cannot write standard output: Bad file descriptor\n")


def on_terminal(columns, *arguments, **variables):
    """What a terminal of that width would get."""
    terminal, program = pty.openpty()
    fcntl.ioctl(program, termios.TIOCSWINSZ, struct.pack("4H", 24, columns, 0, 0))
    child = subprocess.Popen([*REPORT, *arguments], stdout=program, env=ENVIRONMENT | {"TERM": "xterm"} | variables)
    os.close(program)
    text = b""
    try:
        while some := os.read(terminal, 65536):
            text += some
    except OSError as end:
        assert end.errno == errno.EIO, end
    os.close(terminal)
    child.wait()
    return text.decode().replace("\r\n", "\n")


def test_terminals():
    def widest(text):
        return max(len(line) for line in re.sub(r"\x1b\[[0-9;]*m", "", text).splitlines())

    arguments = ("failed.txt", "incomplete.txt", "nothing.txt", "error.txt")
    plain = report(*arguments).stdout
    assert "\x1b" not in plain
    coloured = on_terminal(200, *arguments)
    assert "\x1b[1;31m✗\x1b[0m" in coloured
    assert re.sub(r"\x1b\[[0-9;]*m", "", coloured) == plain
    assert on_terminal(200, *arguments, NO_COLOR="1") == plain
    assert on_terminal(200, *arguments, TERM="dumb") == plain
    assert on_terminal(200, *arguments, NO_COLOR="") == coloured
    assert widest(plain) > 100
    for columns in (70, 80, 100):
        assert widest(on_terminal(columns, *arguments)) <= columns
    assert on_terminal(0, *arguments) == on_terminal(80, *arguments)
    assert on_terminal(0, *arguments, COLUMNS="70") == on_terminal(70, *arguments)


def main():
    with tempfile.TemporaryDirectory(prefix="spdm-report-") as folder:
        os.chdir(folder)
        for kind, scenario in SCENARIOS.items():
            Path(f"{kind}.txt").write_bytes(corpus.expected(scenario))
        for name, test in sorted(globals().items()):
            if name.startswith("test_"):
                print(name, flush=True)
                test()


if __name__ == "__main__":
    main()
