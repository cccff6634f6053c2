"""The TAP that a file of cases writes."""

import argparse
import sys
import time


def argument_parser(description):
    parser = argparse.ArgumentParser(description=description)
    parser.add_argument("client")
    parser.add_argument("simulator")
    parser.add_argument("names", nargs="*", help="cases, or the beginnings of their names; without any, all")
    parser.add_argument("--wrapper", type=str.split, help="a command that runs the client, such as valgrind")
    parser.add_argument("--durations", action="store_true", help="say how long each case took")
    return parser


def told(play, *arguments):
    """What `play` returns; an exception is what differs, too, so that the other cases are played."""
    try:
        return play(*arguments)
    except Exception as problem:
        return f"{type(problem).__name__}: {problem}"


def select(cases, names):
    """The cases of these names; where there is none of a name, those whose names begin with it."""
    selected = {}
    for name in names or [""]:
        found = {name: cases[name]} if name in cases else {key: cases[key] for key in cases if key.startswith(name)}
        if not found:
            sys.exit(f"no name begins with {name}")
        selected |= found
    return selected


def run_cases(cases, options):
    """Plays those of `cases` (functions that return what differs, by name) that are wanted. Returns how many
    failed."""
    wanted = select(cases, options.names)
    print(f"1..{len(wanted)}", flush=True)
    failed = 0
    for number, (name, play) in enumerate(wanted.items(), 1):
        start = time.monotonic()
        problem = told(play, options)
        failed += bool(problem)
        if problem:
            print("".join(f"# {line}\n" for line in problem.splitlines()), end="")
            print(f"# alone: {sys.argv[0]} {options.client} {options.simulator} {name}")
        print("not ok" if problem else "ok", number, name, flush=True)
        if options.durations:
            print(f"# {time.monotonic() - start:.3f} s")
    return failed
