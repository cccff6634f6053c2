"""When output reaches the reader: what each write holds, and what comes before an answer is read."""

import json
import re
import time
from collections import Counter

from harness import DEADLINE, mask

# Where the client asks: a menu, the row of a table, a slot, indices.
QUESTION = re.compile(r"(?:option:\n|\(\d+-\d+\): \n?|Slot Number: |to fetch:\n|to stop\): )")

LINE = re.compile(r"\n*[^\n]+\n")


def answer_one_by_one(client, answers):
    """Gives each answer when the client has asked for it, not before."""
    end = time.monotonic() + DEADLINE
    for number, answer in enumerate(answers.split(), 1):
        while len(QUESTION.findall(client.seen)) < number and not client.ended:
            if time.monotonic() > end:
                raise AssertionError(f"answer {number} ({answer}) was not asked for:\n{client.seen}")
            client.read_some(0.2)
        if client.ended:
            return
        client.write(answer + "\n")


def other_writes(writes):
    """The writes that are not one line with the empty lines before it: how often each comes, and its text
    in quotes. Any flush too few or too many changes them: a line that is not flushed comes with the next,
    an empty line that is flushed comes by itself."""
    texts = Counter(mask(write.text) for write in writes)
    return "".join(
        f"{count:2} {json.dumps(text, ensure_ascii=False)}\n"
        for text, count in texts.items()
        if not LINE.fullmatch(text)
    )
