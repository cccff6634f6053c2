#!/usr/bin/env python3
"""Plays the cells of the fault matrix: each method that the client calls meets each fault. Writes TAP."""

import sys
from functools import partial

import document
from faults import Absent, all_cells, cell_name
from stage import play
from tap import argument_parser, run_cases


def main():
    parser = argument_parser(__doc__)
    parser.add_argument("--document", action="store_true", help=f"play all cells, then write {document.FILE.name}")
    options = parser.parse_intermixed_args()
    if options.document and options.names:
        parser.error("the document needs all cells")
    cells = [cell for cell in all_cells() if not isinstance(cell, Absent)]
    failed = run_cases({cell_name(cell): partial(play, cell) for cell in cells}, options)
    if options.document and not failed:
        document.FILE.write_text(document.document(), encoding="utf-8")
    sys.exit(1 if failed else 0)


main()
