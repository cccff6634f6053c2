#!/usr/bin/env python3
"""Prints "N passed, N failed" for the JUnit log that Meson writes of a test run. A TAP test is a suite with
a case for each of its results; if it ended too early, only the log beside it says so, and that counts
as one failure. A log without results prints "no test ran". The status is 0 when tests passed and none failed."""

import json
import sys
import xml.etree.ElementTree as ElementTree


def has_failed(case):
    return case.find("failure") is not None or case.find("error") is not None


try:
    report = ElementTree.parse(sys.argv[1])
except FileNotFoundError:
    sys.exit("no test ran")
suites = {suite.get("name"): list(suite.iter("testcase")) for suite in report.iter("testsuite")}
cases = [case for suite in suites.values() for case in suite]
if not cases:
    sys.exit("no test ran")
failed = sum(map(has_failed, cases))
skipped = sum(case.find("skipped") is not None for case in cases)
passed = len(cases) - failed - skipped
with open(sys.argv[1].replace(".junit.xml", ".json"), encoding="utf-8") as log:
    for test in map(json.loads, log):
        results = suites.get(f"spdm-client.{test['name']}", [])
        if results and test["result"] in ("ERROR", "TIMEOUT", "INTERRUPT") and not any(map(has_failed, results)):
            failed += 1
print(f"{passed} passed, {failed} failed" + (f", {skipped} skipped" if skipped else ""))
sys.exit(1 if failed or not passed else 0)
