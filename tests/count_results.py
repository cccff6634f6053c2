#!/usr/bin/env python3
"""Prints "N passed, N failed" for the JUnit log that Meson writes of a test run."""

import sys
import xml.etree.ElementTree as ElementTree

cases = list(ElementTree.parse(sys.argv[1]).iter("testcase"))
failed = sum(case.find("failure") is not None or case.find("error") is not None for case in cases)
skipped = sum(case.find("skipped") is not None for case in cases)
passed = len(cases) - failed - skipped
print(f"{passed} passed, {failed} failed" + (f", {skipped} skipped" if skipped else ""))
sys.exit(1 if failed or not passed else 0)
