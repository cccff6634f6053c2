"""Conversations with the client, each answer with the writes that come before the next answer is read.
Every write(2) is compared by itself, so a line that is not flushed shows: it comes with the next one."""

import difflib
import json
import sys
import time

from harness import DEADLINE, Bench, mask


def next_writes(client, count=None):
    """The next `count` writes, or all up to the end; fewer when the end or the deadline comes before."""
    end = time.monotonic() + DEADLINE
    while (count is None or len(client.writes) < count) and not client.ended and time.monotonic() < end:
        client.read_some(0.2)
    found = [mask(write.text) for write in client.writes[:count]]
    del client.writes[:count]
    return found


def difference(expected, found, title):
    """A line for each write; empty when there is none."""
    return "\n".join(
        difflib.unified_diff(
            [repr(write) for write in expected],
            [repr(write) for write in found],
            "expected writes",
            title,
            lineterm="",
        )
    )


def compare(expected, found, session):
    differing = difference(expected, found, f"writes when answered {session}")
    if differing:
        sys.exit(differing)


def answered_at_once(client, conversation):
    """Every write there is, compared as a whole."""
    client.write("".join(f"{answer}\n" for answer, _ in conversation if answer))
    expected = [write for _, writes in conversation for write in writes]
    compare(expected, next_writes(client), "at once")


def answered_one_by_one(client, conversation):
    """No answer is given before the writes that are to come first have come."""
    expected, found = [], []
    for answer, writes in conversation:
        if answer:
            client.write(f"{answer}\n")
        expected += writes
        found += next_writes(client, len(writes))
        compare(expected, found, f"one by one, up to {answer}")
    compare(expected, found + next_writes(client), "one by one")


def check_conversation(fleet, conversation):
    """For a test's main: has the conversation with the client, in both ways, on the devices of `fleet`."""
    client_program, simulator_program = sys.argv[1:]
    with Bench(client_program, simulator_program) as bench:
        file = bench.folder / "fleet.json"
        file.write_text(json.dumps(fleet))
        bench.start_simulator(file)
        for session in (answered_at_once, answered_one_by_one):
            client = bench.start_client(packets=True)
            session(client, conversation)
            ending = (client.wait(), client.stderr())
            assert ending == (0, ""), f"exit status and standard error: {ending}"
