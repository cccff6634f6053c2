#!/usr/bin/env python3
"""Fails when docs/faults.md is not what the table gives, or meson.build lacks a method.
Called as: FILE METHOD..."""

import difflib
import sys

from document import FILE, document
from faults import method_name
from methods import METHODS

difference = "\n".join(
    difflib.unified_diff(
        FILE.read_text(encoding="utf-8").splitlines(), document().splitlines(), str(FILE), "the table", lineterm=""
    )
)
if difference:
    sys.exit(difference + "\nto write it again: tests/faults/matrix_test.py --document CLIENT SIMULATOR")
methods = [method_name(method) for method in METHODS]
if sys.argv[1:] != methods:
    sys.exit(f"meson.build lists {sys.argv[1:]}, the table has {methods}")
