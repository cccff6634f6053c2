#!/usr/bin/env python3
"""Every document and every row is valid, and both say the same. Called as: FILE CLIENT SIMULATOR REPORT"""

import json
import os
import random
import subprocess
import sys
import tempfile
from collections import defaultdict
from pathlib import Path

from jsonschema import Draft7Validator

import corpus
from harness import exe_wrapper

CLIENT, SIMULATOR, REPORT = sys.argv[1:]
SCHEMA = json.loads((corpus.HERE.parent.parent / "docs" / "report.schema.json").read_text())
ROW = {"$ref": "#/definitions/row", "definitions": SCHEMA["definitions"]}
ARRAYS = {
    "device": "devices",
    "call": "calls",
    "measurement": "measurements",
    "signed": "signed",
    "property": "properties",
    "availability": "availability",
    "test": "tests",
    "category": "categories",
    "signal": "signals",
    "note": "notes",
}
ENDS = ["complete", "timeout", "interrupted", "client-ended"]
CIRCUMSTANCES = {
    "schema": "spdm-run/1",
    "controller": "bmc-7",
    "started": "2026-03-01T22:00:00Z",
    "ended": "2026-03-02T06:00:00.25Z",
    "exit_status": 0,
}


def objects_of(schema):
    """The parts of a schema that describe objects by their fields."""
    if isinstance(schema, dict):
        if schema.get("type") == "object":
            yield schema
        for part in schema.values():
            yield from objects_of(part)


def check_closed():
    """No field may be missing, none may be added. A row's fields are those of its kind."""
    Draft7Validator.check_schema(SCHEMA)
    described = [part for part in objects_of(SCHEMA) if part is not SCHEMA["definitions"]["row"]]
    assert len(described) == 1 + 1 + 2 * (1 + len(ARRAYS)), len(described)
    for part in described:
        assert part["additionalProperties"] is False, part
        assert part["required"] == list(part["properties"]), part


def complain(errors, what):
    first = [f"{list(error.absolute_path)}: {error.message[:300]}" for error, _ in zip(errors, range(5))]
    assert not first, f"{what}:\n" + "\n".join(first)


def damaged(text, seed):
    """Bytes of any value here and there, and the end anywhere."""
    chance = random.Random(seed)
    text = bytearray(text[: chance.randrange(len(text))])
    for _ in range(len(text) // 200):
        text[chance.randrange(len(text))] = chance.randrange(256)
    return bytes(text)


def write_transcripts(folder):
    for name in corpus.scenarios():
        corpus.write(folder, name, corpus.expected(name))
    corpus.write(folder, "night", corpus.night())
    corpus.write(folder, "bench", corpus.bench(CLIENT, SIMULATOR))
    corpus.write(folder, "gone", corpus.gone())
    for end in ENDS:
        corpus.write(folder, end, corpus.night())
        (folder / end / "run.json").write_text(json.dumps(CIRCUMSTANCES | {"end": end}))
    corpus.write(folder, "twice", corpus.night() + corpus.night())
    corpus.write(folder, os.fsdecode(b'quote"backslash\\line\nend\xff'), corpus.night())
    whole = [corpus.night(), corpus.expected("suite-all-tests-pass"), corpus.expected("property-report-after-a-measurement")]
    for seed in range(30):
        corpus.write(folder, f"damaged-{seed}", damaged(whole[seed % len(whole)], seed))


def report(folder):
    """The document and the rows."""
    ndjson = folder / "rows"
    command = exe_wrapper() + [REPORT, "--json", "-", "--ndjson", ndjson, folder / "transcripts"]
    done = subprocess.run(command, stdout=subprocess.PIPE, check=False)
    assert done.returncode == 1, done.returncode
    rows = ndjson.read_bytes().decode()
    assert rows.endswith("\n")
    return json.loads(done.stdout.decode()), [json.loads(row) for row in rows[:-1].split("\n")]


def nested(rows):
    """The runs as a document has them, from the rows."""
    runs = {}
    for row in rows:
        whose = row["controller"], row["run"]
        kind = row.pop("kind")
        del row["schema"]
        if kind == "run":
            assert whose not in runs, whose
            runs[whose] = row | {name: [] for name in ARRAYS.values()}
        else:
            del row["controller"], row["run"]
            runs[whose][ARRAYS[kind]].append(row)
    return list(runs.values())


def check_order(rows):
    lines = defaultdict(list)
    for row in rows:
        lines[row["controller"], row["run"]].append(row["line"])
    for whose, numbers in lines.items():
        assert numbers == sorted(numbers), whose


def check_totals(document):
    totals, runs = document["totals"], document["runs"]
    assert totals["runs"] == len(runs) and totals["inputs"] <= len(runs), totals
    for name in ("lines", "bytes", "passed", "failed", "errors", "skipped"):
        assert totals[name] == sum(run[name] for run in runs), name
    assert totals["notes"] == sum(len(run["notes"]) for run in runs)
    assert totals["unreadable"] == 0
    assert totals["nothing_to_judge"] >= sum(run["verdict"] == "nothing" for run in runs)


check_closed()
with tempfile.TemporaryDirectory() as name:
    write_transcripts(Path(name) / "transcripts")
    document, rows = report(Path(name))
validator = Draft7Validator(ROW)
for number, row in enumerate(rows, 1):
    complain(validator.iter_errors(row), f"row {number}, {json.dumps(row)[:300]}")
complain(Draft7Validator(SCHEMA).iter_errors(document), "the document")
assert {row["kind"] for row in rows} == {"run", *ARRAYS}
assert {run["end"] for run in document["runs"]} == {None, *ENDS}
assert "unknown-device" in {call["outcome"] for run in document["runs"] for call in run["calls"]}
check_order(rows)
check_totals(document)
assert nested(rows) == document["runs"]
