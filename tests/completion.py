"""What bash would complete."""

import re
import subprocess

from harness import exe_wrapper

# As bash calls it for the words typed so far.
ASK = """
set -u
source "$0"
COMP_WORDS=("$@")
COMP_CWORD=$(($# - 1))
"$(complete -p "$1" | sed 's/.*-F \\([^ ]*\\).*/\\1/')"
[ ${#COMPREPLY[@]} = 0 ] || printf '%s\\n' "${COMPREPLY[@]}"
"""


def offered(completion, program, *words):
    """What the file `completion` offers in the place of the last word."""
    command = ["bash", "--norc", "-c", ASK, completion, program, *words]
    done = subprocess.run(command, capture_output=True, text=True, check=True)
    assert not done.stderr, done.stderr
    return sorted(done.stdout.splitlines())


def usage_of(executable):
    """The program's help, and the options in it."""
    usage = subprocess.run([*exe_wrapper(), executable, "--help"], capture_output=True, text=True, check=True).stdout
    return usage, sorted(set(re.findall(r"^  (?:-h, )?(--[a-z-]+)", usage, re.MULTILINE)))
