#!/usr/bin/env python3
"""What bash would complete for spdm-run. Called as: FILE COMPLETION RUN"""

import functools
import os
import re
import sys
import tempfile
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parent.parent))

import completion  # noqa: E402

COMPLETION, RUN = (os.path.abspath(argument) for argument in sys.argv[1:])


def main():
    offered = functools.partial(completion.offered, COMPLETION, "spdm-run")
    usage, options = completion.usage_of(RUN)
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
