"""What is measured, and the limits that it must keep."""

from dataclasses import dataclass, field


@dataclass(frozen=True)
class Case:
    name: str
    fleet: dict  # what the simulator has
    mode: str  # the yardstick's argument
    typed: str  # the same for the client
    limits: dict = field(default_factory=dict)  # measure: highest ratio, client to yardstick
    signals: int = 0  # sent while the monitor runs
    idle: float = 0  # seconds for which the monitor runs without a signal
    tools: bool = True  # whether the usual tools do the same


# What the client's growth may exceed the yardstick's by. Growth of time is a quotient of four medians.
TOLERANCE = {"instructions": 1.15, "cpu": 1.3}


@dataclass(frozen=True)
class Growth:
    """How much more the larger case may cost than the smaller: so many times as much, or as the
    yardstick's growth where that is more."""

    small: str
    large: str
    limit: float

    def limit_beside(self, yardstick, measure):
        return max(self.limit, TOLERANCE[measure] * yardstick)


MONITOR = "2\n0\n8\n"

CASES = [
    Case("start-1", {"devices": 1}, "start", "4\n", {"instructions": 2.9}),
    Case("start-100", {"devices": 100}, "start", "4\n", {"instructions": 1.5}),
    Case("start-1000", {"devices": 1000}, "start", "4\n", tools=False),
    Case("start-10000", {"devices": 10000}, "start", "4\n", {"instructions": 1.4, "cpu": 2.2}),
    Case("table-100", {"devices": 100}, "table", "2\n101\n4\n", {"cpu": 1.35, "instructions": 1.4},
         tools=False),
    Case("regression-100", {"devices": 100}, "regression", "1\n4\n",
         {"cpu": 1.3, "wall": 1.2, "instructions": 1.25, "writes": 1}),
    Case("signed-1MiB", {"devices": 1, "signed_bytes": 1 << 20}, "signed",
         "2\n0\n7\n0\n255\n-1\n9\n4\n", {"cpu": 1.3, "instructions": 1.45, "writes": 1}),
    Case("measurement-255x1KiB", {"devices": 1, "blocks": 255, "block_size": 1024}, "measurement",
         "2\n0\n6\n0\n255\n-1\n9\n4\n", {"cpu": 1.4, "instructions": 2.0, "writes": 1}),
    Case("monitor-20000", {"devices": 1}, "monitor", MONITOR,
         {"cpu": 1.15, "wall": 1.1, "instructions": 1.2}, signals=20000),
    Case("monitor-1000-known", {"devices": 1000}, "monitor", MONITOR,
         {"cpu": 1.15, "wall": 1.1}, signals=20000, tools=False),
    Case("monitor-idle", {"devices": 1}, "monitor", MONITOR, {"cpu": 1.15}, idle=5, tools=False),
]

GROWTHS = [
    Growth("start-1000", "start-10000", 11),
    Growth("monitor-20000", "monitor-1000-known", 1.5),
]
