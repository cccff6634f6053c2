#!/usr/bin/env python3
"""What bash would complete. Called as: FILE COMPLETION REPORT"""

import os
import re
import subprocess
import sys
import tempfile
from pathlib import Path

import corpus  # noqa: F401, for the path to the harness
from harness import exe_wrapper

COMPLETION, REPORT = (os.path.abspath(argument) for argument in sys.argv[1:])

# As bash calls it for the words typed so far.
ASK = """
set -u
source "$0"
COMP_WORDS=(spdm-report "$@")
COMP_CWORD=$#
"$(complete -p spdm-report | sed 's/.*-F \\([^ ]*\\).*/\\1/')"
[ ${#COMPREPLY[@]} = 0 ] || printf '%s\\n' "${COMPREPLY[@]}"
"""


def offered(*words):
    done = subprocess.run(["bash", "--norc", "-c", ASK, COMPLETION, *words], capture_output=True, text=True, check=True)
    assert not done.stderr, done.stderr
    return sorted(done.stdout.splitlines())


def main():
    usage = subprocess.run([*exe_wrapper(), REPORT, "--help"], capture_output=True, text=True, check=True).stdout
    options = sorted(set(re.findall(r"^  (?:-h, )?(--[a-z-]+)", usage, re.MULTILINE)))
    assert offered("--") == options, offered("--")
    assert offered("a.txt", "--j") == ["--jobs", "--json", "--junit"]

    kinds = re.search(r"--fail-on LIST .*?commas: (.*?);", usage, re.DOTALL)[1].replace(",", "").split()
    assert offered("--fail-on", "") == sorted(kinds)
    assert offered("--fail-on", "failed,in") == ["failed,incomplete"]
    assert offered("--fail-on", "failed,error,") == sorted(f"failed,error,{kind}" for kind in kinds)
    assert offered("--jobs", "1")[0] == "1"

    with tempfile.TemporaryDirectory() as folder:
        os.chdir(folder)
        for name in ("night.txt", "night two.txt", "other"):
            Path(name).touch()
        assert offered("nig") == ["night two.txt", "night.txt"]
        assert offered("") == ["night two.txt", "night.txt", "other"]
        assert offered("--json", "o") == ["other"]


if __name__ == "__main__":
    main()
