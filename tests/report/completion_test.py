#!/usr/bin/env python3
"""What bash would complete for spdm-report. Called as: FILE COMPLETION REPORT"""

import functools
import os
import re
import sys
import tempfile
from pathlib import Path

import corpus  # noqa: F401, for the path to the harness
import completion

COMPLETION, REPORT = (os.path.abspath(argument) for argument in sys.argv[1:])


def main():
    offered = functools.partial(completion.offered, COMPLETION, "spdm-report")
    usage, options = completion.usage_of(REPORT)
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
