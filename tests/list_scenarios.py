#!/usr/bin/env python3
"""Prints the names of the scenarios in a folder, a line each."""

import sys
from pathlib import Path

print("\n".join(sorted(path.parent.name for path in Path(sys.argv[1]).glob("*/input"))))
