"""What the runs of a case say of the client."""

import re
import statistics
from dataclasses import dataclass, field

from cases import TOLERANCE, Case


def mask_times(output):
    return re.sub(rb"(Time taken ?\([Ii]n us\): )-?\d+", rb"\1N", output)


def first_difference(client, yardstick):
    """None when the outputs agree but for the microseconds; otherwise where they part."""
    client, yardstick = mask_times(client), mask_times(yardstick)
    if client == yardstick:
        return None
    ours, theirs = client.split(b"\n"), yardstick.split(b"\n")
    at = next((i for i, (a, b) in enumerate(zip(ours, theirs)) if a != b),
              min(len(ours), len(theirs)))
    show = [lines[at][:120] if at < len(lines) else "(ended)" for lines in (ours, theirs)]
    return f"output differs from line {at + 1}: client {show[0]!r}, yardstick {show[1]!r}"


def median_ratio(pairs, what):
    # The runs of a pair share the machine's mood of the moment, so each is its own comparison.
    return statistics.median(getattr(ours, what) / getattr(theirs, what) for ours, theirs in pairs)


@dataclass
class Result:
    case: Case
    client: dict  # measure: amount, None where it could not be measured
    yardstick: dict
    ratios: dict  # measure: client to yardstick, None where it could not be measured
    difference: str  # where the outputs part, if they do
    tools: dict = field(default_factory=dict)  # tool: measure: client to tool

    def exceeded(self, measure):
        ratio = self.ratios[measure]
        if ratio is None:
            return False
        # Fewer writes would mean a line that was not flushed, so the number must be the same.
        return ratio != 1 if measure == "writes" else ratio > self.case.limits[measure]

    def failures(self):
        exceeded = [what for what in self.case.limits if self.exceeded(what)]
        return exceeded + ["output"] if self.difference else exceeded


def judge(case, rounds, counts):
    """The rounds of runs, by program, and the counts of client and yardstick, boiled down."""
    pairs = [(samples["client"], samples["yardstick"]) for samples in rounds]
    amounts, ratios = [dict(count) for count in counts], {}
    for what in ("cpu", "wall"):
        for who in (0, 1):
            amounts[who][what] = statistics.median(getattr(pair[who], what) for pair in pairs)
        ratios[what] = median_ratio(pairs, what)
    for what in ("instructions", "writes"):
        ours, theirs = (count[what] for count in counts)
        ratios[what] = None if ours is None else ours / theirs
    differences = (first_difference(ours.output, theirs.output) for ours, theirs in pairs)
    result = Result(case, *amounts, ratios, next(filter(None, differences), None))
    for tool in rounds[0].keys() - {"client", "yardstick"}:
        pairs = [(samples["client"], samples[tool]) for samples in rounds if tool in samples]
        result.tools[tool] = {what: median_ratio(pairs, what) for what in ("wall", "cpu")}
    return result


@dataclass
class GrowthResult:
    small: str
    large: str
    measure: str
    client: float
    yardstick: float
    limit: float

    @property
    def exceeded(self):
        return self.client > self.limit


def judge_growth(growth, results):
    """A verdict for each measure that both cases have."""
    small, large = (results.get(name) for name in (growth.small, growth.large))
    if not small or not large:
        return
    for what in TOLERANCE:
        if small.client[what] is None:
            continue
        client, yardstick = (getattr(large, side)[what] / getattr(small, side)[what]
                             for side in ("client", "yardstick"))
        yield GrowthResult(growth.small, growth.large, what, client, yardstick,
                           growth.limit_beside(yardstick, what))
