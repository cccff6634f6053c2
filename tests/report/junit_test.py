#!/usr/bin/env python3
"""What a build server reads agrees with the JSON document. Called as: FILE CLIENT SIMULATOR REPORT"""

import json
import os
import subprocess
import sys
import tempfile
from collections import Counter
from pathlib import Path
from xml.etree import ElementTree

from junitparser import Error, Failure, JUnitXml, Skipped

import corpus
from harness import exe_wrapper

CLIENT, SIMULATOR, REPORT = (os.path.abspath(argument) for argument in sys.argv[1:])
VERDICTS = {Failure: "failed", Error: "error", Skipped: "skipped"}
# Forbidden in XML, an end of CDATA, no UTF-8, a surrogate, U+FFFE.
HOSTILE = b"\x00\x01\x1b]]>\xff\xc3\xed\xa0\x80\xef\xbf\xbe\xef\xbf\xbf<&\"'--&#1;&#01;\x7f"


def write_transcripts(folder):
    for name in corpus.scenarios():
        corpus.write(folder, name, corpus.expected(name))
    corpus.write(folder, "bench", corpus.bench(CLIENT, SIMULATOR))
    corpus.write(folder, "twice.of one", corpus.night() + corpus.night())
    corpus.write(folder, "nothing", b"no transcript\n")
    regression = corpus.expected("regression-of-two-devices")
    corpus.write(folder, "hostile", regression.replace(b"Failed", HOSTILE).replace(b"/cpu_20", b"/" + HOSTILE + b"_20")
                 + HOSTILE + b"\n" + regression)
    partial = corpus.expected("suite-partial-failures")
    corpus.write(folder, "hostile-suite", partial.replace(b"DEV-12", HOSTILE).replace(b"Index 2", HOSTILE))
    corpus.write(folder, "hostile-name", regression)
    (folder / "hostile-name" / "run.json").write_text(json.dumps(
        {"schema": "spdm-run/1", "controller": "\x01]]>/../\"<\ufffe\n", "started": "2026-11-21T22:00:00Z",
         "ended": "2026-11-21T22:35:00Z", "end": "timeout", "exit_status": None, "signal": 15}))


def report(folder, *options):
    command = [*exe_wrapper(), REPORT, *options, "transcripts"]
    return subprocess.run(command, cwd=folder, check=False, stdout=subprocess.PIPE)


def counts_of(element):
    return {"tests": element.tests, "failed": element.failures, "errors": element.errors, "skipped": element.skipped}


def sums(runs):
    total = {name: sum(run[name] for run in runs) for name in ("failed", "errors", "skipped")}
    return {"tests": sum(total.values()) + sum(run["passed"] for run in runs)} | total


def verdict_of(case):
    """One result at most, its reason in both places."""
    if not case.result:
        return "passed"
    [result] = case.result
    assert result.message and result.text.startswith(result.message), case.name
    assert len(result.message) <= 1000
    return VERDICTS[type(result)]


def check_document(document, runs):
    """Totals, as written and as counted again; names. Returns the cases by class and name."""
    cases = {}
    found = Counter()
    for suite in document:
        written = counts_of(suite)
        assert any(one.name == "signatures" and one.value == "not verified" for one in suite.properties()), suite.name
        for case in suite:
            key = case.classname, case.name
            assert key not in cases, key
            cases[key] = case
            found[verdict_of(case)] += 1
            assert case.classname.count(".") == 2 and case.name, key
            assert case._elem.get("file") and int(case._elem.get("line")) > 0, key
        suite.update_statistics()
        assert counts_of(suite) == written, suite.name
    written = counts_of(document)
    assert written == sums(runs), (written, sums(runs))
    document.update_statistics()
    assert counts_of(document) == written
    assert [found[name] for name in ("failed", "error", "skipped")] == list(written.values())[1:]
    return cases


def check_tests(cases, run):
    """Each test of the JSON document is a case with its verdict; the times are those of the calls."""
    for test in run["tests"]:
        name = f"{test['category']} {test['ordinal']}: {test['name']}"
        device = f"{test['xmid']} (EID {test['eid']})"
        [case] = [case for (class_name, case_name), case in cases.items()
                  if class_name.endswith(f".{device}.{test['category']}")
                  and (case_name == name or case_name.startswith(name + ", slot"))]
        assert verdict_of(case) == test["verdict"], name
        assert test["reason"] is None or case.result[0].message == test["reason"], name
    microseconds = sum(call["microseconds"] or 0 for call in run["calls"])
    assert microseconds > 0
    assert round(sum(float(case.time or 0) for case in cases.values()) * 1e6) == microseconds


def check_xml(path):
    """By a parser that is strict about characters."""
    data = path.read_bytes()
    assert len(data) < 10_000_000
    ElementTree.fromstring(data)
    text = data.decode()
    assert not set(text) & {chr(code) for code in [*range(32), 0xFFFE, 0xFFFF]} - set("\n"), path


with tempfile.TemporaryDirectory() as name:
    folder = Path(name)
    write_transcripts(folder / "transcripts")
    done = report(folder, "--json", "-", "--junit", "results")
    assert done.returncode == 1, done.returncode
    runs = json.loads(done.stdout)["runs"]
    files = sorted((folder / "results").iterdir())
    controllers = {run["controller"] for run in runs} | {"nothing"}
    assert len(files) == len(controllers) and all(file.name[0] != "." for file in files)
    assert {"bench.xml", "twice.of_one.xml", "nothing.xml", "_____.._______.xml"} <= {file.name for file in files}, files
    by_controller = {}
    for run in runs:
        by_controller.setdefault(run["controller"], []).append(run)
    compared = 0
    for file in files:
        check_xml(file)
        document = JUnitXml.fromfile(str(file))
        of_file = by_controller.get(file.stem, [])
        if not of_file and file.stem != "nothing":
            of_file = [run for run in runs if run["controller"] == {
                "twice.of_one": "twice.of one"}.get(file.stem, "\x01]]>/../\"<\ufffe\n")]
            assert of_file, file
        cases = check_document(document, of_file)
        if file.stem in ("bench", "suite-all-tests-pass"):
            [run] = of_file
            check_tests(cases, run)
            compared += len(run["tests"])
    assert compared > 300, compared

    report(folder, "--junit", "all.xml")
    check_xml(folder / "all.xml")
    everything = check_document(JUnitXml.fromfile(str(folder / "all.xml")), runs)
    assert any(name.startswith("run 2: ") for _, name in everything)
    assert not any("left out" in key for key in everything)
    assert report(folder, "--junit", "-").stdout == (folder / "all.xml").read_bytes()
