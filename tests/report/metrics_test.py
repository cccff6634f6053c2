#!/usr/bin/env python3
"""What Prometheus reads agrees with the JSON document; promtool accepts it and the examples of docs/report.md.
Called as: FILE CLIENT SIMULATOR REPORT"""

import json
import math
import os
import re
import shutil
import statistics
import subprocess
import sys
import tempfile
from collections import defaultdict
from datetime import datetime
from pathlib import Path

import corpus
from harness import exe_wrapper

CLIENT, SIMULATOR, REPORT = (os.path.abspath(argument) for argument in sys.argv[1:])
DOCUMENT = corpus.HERE.parent.parent / "docs" / "report.md"
HOSTILE = "\x01\"quoted\"\\back\nslash\tø\x7f{}="
VERDICTS = {"passed": "passed", "failed": "failed", "error": "errors", "skipped": "skipped"}
SKIPPED = 77


def ended(time, controller):
    return json.dumps({"schema": "spdm-run/1", "controller": controller, "started": time, "ended": time,
                       "end": "complete", "exit_status": 0, "signal": None})


def write_transcripts(folder):
    for name in corpus.scenarios():
        corpus.write(folder, name, corpus.expected(name))
    corpus.write(folder, "bench", corpus.bench(CLIENT, SIMULATOR))
    corpus.write(folder, "several", corpus.expected("suite-partial-failures") + corpus.expected("suite-all-tests-pass"))
    corpus.write(folder, "hostile", corpus.expected("regression-of-two-devices").replace(b"/cpu_20", b"/\"\\\xff\x01_20"))
    (folder / "hostile" / "run.json").write_text(ended("2026-11-21T23:35:00.25+01:00", HOSTILE))


def report(folder, *options):
    command = [*exe_wrapper(), REPORT, *options, "transcripts"]
    return subprocess.run(command, cwd=folder, check=False, stdout=subprocess.PIPE).stdout


def parse(text):
    """Values by name and labels."""
    found = {}
    for line in text[:-1].split("\n"):
        if line.startswith("# "):
            continue
        name, labels, value = re.fullmatch(r'(\w+)\{((?:\w+="(?:\\.|[^\\"])*",?)+)\} (\S+)', line).groups()
        pairs = re.findall(r'(\w+)="((?:\\.|[^\\"])*)"', labels)
        escapes = {"\\n": "\n", '\\"': '"', "\\\\": "\\"}
        key = name, frozenset((label, re.sub(r"\\.", lambda m: escapes[m[0]], one)) for label, one in pairs)
        assert key not in found, line
        found[key] = float(value)
    return found


def check_head(text):
    """HELP and TYPE once each, before their samples, which are together."""
    names = re.findall(r"^# HELP (\w+) .+\n# TYPE \1 gauge$", text, re.M)
    assert len(names) == 7 == len(set(names)) and text.count("# ") == 14, names
    assert all(name.startswith("spdm_") for name in names)
    order = [name for name in re.findall(r"^(?:# HELP )?(\w+)", text, re.M)]
    assert [name for i, name in enumerate(order) if i == 0 or order[i - 1] != name] == names


def plain(text):
    return re.sub("[\x00-\x08\x0b\x0c\x0e-\x1f]", "\ufffd", text)


def samples_of(run):
    """Those that the document tells."""
    controller = "controller", plain(run["controller"])
    for verdict in [*VERDICTS, "nothing"]:
        labels = frozenset({controller, ("verdict", verdict)})
        yield ("spdm_controller_verdict", labels), run["verdict"] == verdict
        if verdict != "nothing":
            yield ("spdm_controller_checks", labels), run[VERDICTS[verdict]]
    if run["ended"]:
        yield ("spdm_run_end_timestamp_seconds", frozenset({controller})), math.floor(
            datetime.fromisoformat(run["ended"].replace(".25", "")).timestamp())
    last = {device["eid"]: device for device in run["devices"]}
    times = defaultdict(list)
    for call in run["calls"]:
        if call["microseconds"] is not None and call["operation"]:
            times[call["eid"], call["operation"]].append(call["microseconds"])
    for (eid, operation), samples in times.items():
        device = last[eid]
        labels = frozenset({controller, ("eid", "" if eid is None else str(eid)), ("path", plain(device["path"] or "")),
                            ("xmid", plain(device["xmid"] or "")), ("operation", operation)})
        yield ("spdm_call_median_seconds", labels), statistics.median(samples) / 1e6
        nearest = sorted(samples)[math.ceil(0.95 * len(samples)) - 1]
        yield ("spdm_call_95th_percentile_seconds", labels), nearest / 1e6


def check_devices(found, runs):
    """The devices' checks are at most the controller's; a device has one verdict, which its checks allow."""
    verdicts = defaultdict(dict)
    checks = defaultdict(dict)
    for (name, labels), value in found.items():
        labels = dict(labels)
        if name.startswith("spdm_device_"):
            of_device = checks if name.endswith("checks") else verdicts
            key = tuple(labels[label] for label in ("controller", "eid", "path", "xmid"))
            of_device[key][labels["verdict"]] = value
    assert verdicts.keys() == checks.keys() and len(verdicts) > 50, len(verdicts)
    for key, counts in checks.items():
        [verdict] = [verdict for verdict, is_so in verdicts[key].items() if is_so == 1]
        assert sum(verdicts[key].values()) == 1
        worst = next((word for word in ("failed", "error") if counts[word]), None)
        assert verdict == worst or (worst is None and verdict in ("passed", "skipped")), key
    for run in runs.values():
        whose = plain(run["controller"])
        for verdict, field in VERDICTS.items():
            assert sum(counts[verdict] for key, counts in checks.items() if key[0] == whose) <= run[field], whose


def check_values(folder):
    document = json.loads(report(folder, "--json", "-", "--metrics", "spdm.prom"))
    text = (folder / "spdm.prom").read_bytes().decode()
    check_head(text)
    found = parse(text)
    last_runs = {run["controller"]: run for run in document["runs"]}
    assert len(last_runs) < len(document["runs"])
    expected = dict(sample for run in last_runs.values() for sample in samples_of(run))
    got = {key: value for key, value in found.items() if not key[0].startswith("spdm_device_")}
    assert got == expected, [(key, got.get(key), expected.get(key)) for key in got.keys() | expected.keys()
                             if got.get(key) != expected.get(key)][:5]
    assert sum(name == "spdm_call_median_seconds" for name, _ in got) > 100
    check_devices(found, last_runs)
    assert report(folder, "--metrics", "-").decode() == text


def promtool(*arguments, **options):
    done = subprocess.run(["promtool", *arguments], stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True,
                          check=False, **options)
    assert done.returncode == 0, done.stdout
    return done.stdout


CPU = 'controller="two",eid="20",path="/com/varn/bmc/spdm/spdm/cpu/cpu_20"'
DEVICE = 'controller="night",eid="12",path="/com/varn/bmc/spdm/spdm/cpu/cpu_12",xmid="DEV-12"'
# By the example's heading: labels and value after two days.
ANSWERS = {
    "Devices that failed": [
        ('spdm_device_verdict{%s,verdict="failed"}' % CPU, 1),
        ('spdm_device_verdict{%s,verdict="failed"}' % DEVICE, 1),
    ],
    "Controllers that nobody tested for a day": [('{controller="night"}', 172800), ('{controller="two"}', 172800)],
    # ReAuthenticate takes 1 ms on the others, GetMeasurement 1, 4 and 9 ms.
    "Devices that take more than twice as long as the others": [
        ('spdm_call_median_seconds{%s,operation="ReAuthenticate"}' % CPU, 0.006),
        ('spdm_call_median_seconds{%s,operation="GetMeasurement"}' % DEVICE, 0.025),
    ],
}
ALERTS = [
    {"exp_labels": {"severity": "warning", "controller": "night", "eid": "12", "xmid": "DEV-12"},
     "exp_annotations": {"summary": "night: EID 12 DEV-12 did not pass its checks"}},
    {"exp_labels": {"severity": "warning", "controller": "two", "eid": "20"},
     "exp_annotations": {"summary": "two: EID 20  did not pass its checks"}},
]


def examples(language):
    """By the heading of their section."""
    found = {}
    for section in re.split(r"^#+ ", DOCUMENT.read_text(), flags=re.M):
        for text in re.findall(rf"^```{language}\n(.*?)^```", section, re.M | re.S):
            found[section.splitlines()[0]] = text
    return found


def series(text):
    return [{"series": line.rsplit(" ", 1)[0], "values": line.rsplit(" ", 1)[1] + "+0x3000"}
            for line in text.splitlines() if not line.startswith("#")]


def check_examples(folder):
    """Of three controllers, of which one ended two days later than the others."""
    corpus.write(folder / "transcripts", "two", corpus.expected("regression-of-two-devices"))
    corpus.write(folder / "transcripts", "night", corpus.expected("suite-partial-failures"))
    corpus.write(folder / "transcripts", "whole", corpus.expected("measurement-of-two-blocks"))
    for name, day in (("two", 1), ("night", 1), ("whole", 3)):
        (folder / "transcripts" / name / "run.json").write_text(ended(f"1970-01-{day:02}T00:00:00Z", name))
    queries = examples("promql")
    assert queries.keys() == ANSWERS.keys(), queries.keys()
    [rules] = examples("yaml").values()
    (folder / "rules.yml").write_text(rules)
    test = {
        "rule_files": ["rules.yml"],
        "evaluation_interval": "1m",
        "tests": [{
            "interval": "1m",
            "input_series": series(report(folder, "--metrics", "-").decode()),
            "promql_expr_test": [
                {"expr": query, "eval_time": "48h",
                 "exp_samples": [{"labels": labels, "value": value} for labels, value in ANSWERS[heading]]}
                for heading, query in queries.items()],
            "alert_rule_test": [
                {"alertname": "SpdmDeviceNotPassed", "eval_time": "5m", "exp_alerts": []},
                {"alertname": "SpdmDeviceNotPassed", "eval_time": "15m", "exp_alerts": ALERTS},
            ],
        }],
    }
    (folder / "test.yml").write_text(json.dumps(test))
    promtool("check", "rules", "rules.yml", cwd=folder)
    promtool("test", "rules", "test.yml", cwd=folder)


with tempfile.TemporaryDirectory() as name:
    write_transcripts(Path(name) / "transcripts")
    check_values(Path(name))
    if not shutil.which("promtool"):
        print("promtool is missing (Debian package prometheus): the format and the examples are not checked")
        sys.exit(SKIPPED)
    with open(Path(name) / "spdm.prom") as metrics:
        assert promtool("check", "metrics", stdin=metrics) == ""
with tempfile.TemporaryDirectory() as name:
    check_examples(Path(name))
