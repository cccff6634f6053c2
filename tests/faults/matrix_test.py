#!/usr/bin/env python3
"""Plays the cells of the fault matrix: each method that the client calls meets each fault. Writes TAP."""

import argparse
import sys
import time

import document
from faults import Absent, all_cells, cell_name
from stage import play


def parse_arguments():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("client")
    parser.add_argument("simulator")
    parser.add_argument(
        "names", nargs="*", help="cells, or beginnings of their names such as GetMeasurement/; without any, all"
    )
    parser.add_argument("--wrapper", help="a command that runs the client, such as valgrind")
    parser.add_argument("--durations", action="store_true", help="say how long each cell took")
    parser.add_argument("--document", action="store_true", help=f"play all cells, then write {document.FILE.name}")
    return parser.parse_intermixed_args()


def play_all(cells, options):
    """Plays the cells, with a line of TAP for each, and returns how many failed."""
    wrapper = options.wrapper.split() if options.wrapper else None
    print(f"1..{len(cells)}", flush=True)
    failed = 0
    for number, cell in enumerate(cells, 1):
        start = time.monotonic()
        problem = play(cell, options.client, options.simulator, wrapper)
        failed += bool(problem)
        if problem:
            print("".join(f"# {line}\n" for line in problem.splitlines()), end="")
        print("not ok" if problem else "ok", number, cell_name(cell), flush=True)
        if options.durations:
            print(f"# {time.monotonic() - start:.3f} s")
    return failed


def main():
    options = parse_arguments()
    names = [""] if options.document or not options.names else options.names
    cells = [
        cell
        for cell in all_cells()
        if not isinstance(cell, Absent) and any(cell_name(cell).startswith(name) for name in names)
    ]
    if not cells:
        sys.exit(f"no cell's name begins with {' or '.join(names)}")
    failed = play_all(cells, options)
    if options.document and not failed:
        document.FILE.write_text(document.document(), encoding="utf-8")
    sys.exit(1 if failed else 0)


main()
