#!/usr/bin/env python3
"""What bash would complete for spdm-run. Called as: FILE COMPLETION RUN"""

import os
import re
import subprocess
import sys
import tempfile
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parent.parent))

from harness import exe_wrapper  # noqa: E402

COMPLETION, RUN = (os.path.abspath(argument) for argument in sys.argv[1:])

# As bash calls it for the words typed so far.
ASK = """
set -u
source "$0"
COMP_WORDS=(spdm-run "$@")
COMP_CWORD=$#
"$(complete -p spdm-run | sed 's/.*-F \\([^ ]*\\).*/\\1/')"
[ ${#COMPREPLY[@]} = 0 ] || printf '%s\\n' "${COMPREPLY[@]}"
"""


def offered(*words):
    done = subprocess.run(["bash", "--norc", "-c", ASK, COMPLETION, *words], capture_output=True, text=True, check=True)
    assert not done.stderr, done.stderr
    return sorted(done.stdout.splitlines())


def main():
    usage = subprocess.run([*exe_wrapper(), RUN, "--help"], capture_output=True, text=True, check=True).stdout
    options = sorted(re.findall(r"^  (?:-h, )?(--[a-z-]+)", usage, re.MULTILINE))
    assert offered("--") == options, offered("--")
    assert offered("suite", "--t") == ["--timeout"]
    activities = re.match(r"Usage: spdm-run (\S+) ", usage)[1].split("|")
    assert offered("") == sorted(activities)
    assert offered("--quiet", "m") == ["monitor"]
    assert offered("suite", "--device", "") == []
    assert "bash" in offered("suite", "--client", "bas")
    with tempfile.TemporaryDirectory() as folder:
        os.chdir(folder)
        Path("night two").mkdir()
        Path("nightly.txt").touch()
        assert offered("suite", "--output", "nig") == ["night two"]


if __name__ == "__main__":
    main()
