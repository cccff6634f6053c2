"""The client's writes, by which a missing or additional flush shows, and its questions."""

import json
import re
import time
from collections import Counter

from harness import DEADLINE, mask

# The ends of the client's prompts.
QUESTION = re.compile(r"(?:option:\n|\(\d+-\d+\): \n?|Slot Number: |to fetch:\n|to stop\): )")

LINE = re.compile(r"\n*[^\n]+\n")


def answer_one_by_one(client, answers):
    """Gives each answer after its prompt has come."""
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
    """Lists the writes that are not one line with the empty lines before it: a count, and the text in quotes.
    Each missing or additional flush changes the list: a line without its flush is written with the next one,
    an empty line with a flush is written alone."""
    texts = Counter(mask(write.text) for write in writes)
    return "".join(
        f"{count:2} {json.dumps(text, ensure_ascii=False)}\n"
        for text, count in texts.items()
        if not LINE.fullmatch(text)
    )
