#!/usr/bin/env python3
"""Every case of the files beside this one must stand in their meson.build, and nothing else."""

import re
import sys
from pathlib import Path

FOLDER = Path(__file__).parent


def defined_cases():
    return {
        (file.name.removesuffix("_test.py"), name.replace("_", "-"))
        for file in FOLDER.glob("*_test.py")
        for name in re.findall(r"^def test_(\w+)", file.read_text(), re.MULTILINE)
    }


def listed_cases():
    lists = re.findall(r"'(\w+)': \[(.*?)\]", (FOLDER / "meson.build").read_text(), re.DOTALL)
    return {(theme, name) for theme, rows in lists for name in re.findall(r"'(.*?)'", rows)}


for theme, name in sorted(defined_cases() ^ listed_cases()):
    print(theme, name, "is not listed" if (theme, name) in defined_cases() else "is not defined")
sys.exit(defined_cases() != listed_cases())
