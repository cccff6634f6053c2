#!/usr/bin/env python3
"""Plays the cells of the fault matrix: each method that the client calls meets each fault. Writes TAP."""

import argparse
import sys
import time

from faults import Absent, all_cells, cell_name, method_name
from methods import METHODS
from stage import play


class ListMethods(argparse.Action):
    def __call__(self, *_):
        print("\n".join(method_name(method) for method in METHODS))
        sys.exit()


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("client")
    parser.add_argument("simulator")
    parser.add_argument("names", nargs="*", help="cells, or beginnings of their names such as GetMeasurement/; without any, all")
    parser.add_argument("--wrapper", help="a command that runs the client, such as valgrind")
    parser.add_argument("--slow", action="store_true", help="say how long each took")
    parser.add_argument("--list-methods", action=ListMethods, nargs=0, help="say how the cells' names may begin")
    options = parser.parse_intermixed_args()
    cells = [cell for cell in all_cells() if not isinstance(cell, Absent)]
    if options.names:
        cells = [cell for cell in cells if any(cell_name(cell).startswith(name) for name in options.names)]
    print(f"1..{len(cells)}", flush=True)
    failed = 0
    for number, cell in enumerate(cells, 1):
        start = time.monotonic()
        problem = play(cell, options.client, options.simulator, options.wrapper.split() if options.wrapper else None)
        failed += bool(problem)
        if problem:
            print("".join(f"# {line}\n" for line in problem.splitlines()), end="")
        print("not ok" if problem else "ok", number, cell_name(cell), flush=True)
        if options.slow:
            print(f"# {time.monotonic() - start:.3f} s")
    sys.exit(1 if failed else 0)


main()
