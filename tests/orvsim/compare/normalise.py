#!/usr/bin/python3
"""Takes out of a scenario's output what differs from run to run: times, identifiers, speeds.

    normalise.py FILE

A line of the output that is compared stays a line, so that differences can be shown side by side.
"""

from __future__ import annotations

import re
import sys
from pathlib import Path

_DAY = r"(?:Mon|Tue|Wed|Thu|Fri|Sat|Sun)"
_MONTH = r"(?:Jan|Feb|Mar|Apr|May|Jun|Jul|Aug|Sep|Oct|Nov|Dec)"

RULES = [
    # identifiers: of LVM, of md (in words, as one, and as file systems have theirs)
    (r"\b[0-9A-Za-z]{6}-(?:[0-9A-Za-z]{4}-){5}[0-9A-Za-z]{6}\b", "<lvm-id>"),
    (r"\b[0-9a-f]{8}(?::[0-9a-f]{8}){3}\b", "<md-id>"),
    (r"\b[0-9a-f]{8}-(?:[0-9a-f]{4}-){3}[0-9a-f]{12}\b", "<uuid>"),
    (r"(Checksum : )[0-9a-f]+", r"\1<n>"),
    (r"(Events : )\d+", r"\1<n>"),
    (r"(seqno = )\d+", r"\1<n>"),
    # times
    (rf"{_DAY} {_MONTH} [ \d]\d \d\d:\d\d:\d\d \d{{4}}", "<time>"),
    (r"\d{4}-\d\d-\d\d \d\d:\d\d:\d\d [+-]\d{4}", "<time>"),
    (r"(creation_time = )\d+", r"\1<n>"),
    # how far and how fast a rebuild is
    (r"\[=*>\.*\]", "[<bar>]"),
    (r"= *\d+\.\d% \(\d+/(\d+)\) finish=[\d.]+min speed=\d+K/sec", r"= <n>% (<n>/\1)"),
    (r"((?:Rebuild|Resync|Check) Status : )\d+%", r"\1<n>%"),
    (r"bitmap: \d+/(\d+) pages \[\d+KB\]", r"bitmap: <n>/\1 pages"),
    # the machine
    (r"(creation_host = \"orv\"\t# Linux orv ).*", r"\1<kernel>"),
    (r"/usr/lib/orv/mdadm:", "mdadm:"),
    (r"\[x86_64-linux-\S+\]", "[<kernel>]"),
    # disks that can discard are emptied by mkfs.xfs
    (r"^1\| Discarding blocks\.\.\.Done\.\n", ""),
    # what the runner of the virtual machine says itself
    (r"^== .*\n", ""),
    # what a file system uses itself
    (r"^(1\| Filesystem) .* (Use% Mounted on)", r"\1 ... \2"),
    (r"^(1\| /dev/mapper/\S+ +)\d+ +\d+ +\d+ +\d+%", r"\1<n> <n> <n> <n>%"),
]


def normalise(text: str) -> str:
    """The text with a mark in the place of everything that is different each time."""
    for pattern, replacement in RULES:
        text = re.sub(pattern, replacement, text, flags=re.MULTILINE)
    return text


if __name__ == "__main__":
    sys.stdout.write(normalise(Path(sys.argv[1]).read_text(encoding="utf-8")))
