"""Command lines and sizes of the LVM tools."""

from __future__ import annotations

import math
import re
from dataclasses import dataclass, field

from orvsim.lvm_state import EXTENT_SECTORS
from orvsim.tools import Call, ToolError

# What LVM ends with when a command was understood and failed, and when it was not understood.
FAILED = 5
MISUSED = 3

_WITH_VALUE = {
    "-L": "size", "--size": "size",
    "-l": "extents", "--extents": "extents",
    "-n": "name", "--name": "name",
    "-u": "uuid", "--uuid": "uuid",
    "-o": "options", "--options": "options",
    "-O": "sort", "--sort": "sort",
    "-S": "select", "--select": "select",
    "-a": "activate", "--activate": "activate",
    "-x": "allocatable", "--allocatable": "allocatable",
    "-f": "file", "--file": "file",
    "-s": "extent_size", "--physicalextentsize": "extent_size",
    "--units": "units", "--separator": "separator", "-W": "wipe", "--wipesignatures": "wipe",
    "--restorefile": "restorefile",
}  # fmt: skip

_FLAGS = {
    "-c": "colon", "--colon": "colon",
    "-q": "quiet", "--quiet": "quiet",
    "-v": "verbose", "--verbose": "verbose",
    "-y": "yes", "--yes": "yes",
    "-f": "force", "--force": "force", "-ff": "force",
    "--noheadings": "noheadings", "--nosuffix": "nosuffix", "--norestorefile": "norestorefile",
    "-t": "test", "--test": "test", "-d": "debug", "-P": "partial", "-r": "resize",
    "--aligned": "aligned", "--unquoted": "unquoted", "--nameprefixes": "prefixes",
}  # fmt: skip


@dataclass
class Words:
    """The options and the names of a command line."""

    values: dict[str, str] = field(default_factory=dict)
    flags: set[str] = field(default_factory=set)
    names: list[str] = field(default_factory=list)


def read_words(call: Call) -> Words:
    """Reads a command line as the LVM tools do."""
    words, rest = Words(), list(call.arguments)
    values = {key: value for key, value in _WITH_VALUE.items() if _takes_value(call.name, key)}
    while rest:
        word = rest.pop(0)
        name, equals, value = word.partition("=") if word.startswith("--") else (word, "", "")
        short = word[:2]
        if name in values:
            if not equals and not rest:
                raise _unknown(call, f"option requires an argument -- '{name.lstrip('-')}'")
            words.values[values[name]] = value if equals else rest.pop(0)
        elif name in _FLAGS:
            words.flags.add(_FLAGS[name])
        elif short in values and not word.startswith("--") and len(word) > 2:
            words.values[values[short]] = word[2:]
        elif short in _FLAGS and not word.startswith("--") and len(word) > 2:
            words.flags.add(_FLAGS[short])
            rest.insert(0, "-" + word[2:])
        elif word.startswith("-"):
            raise _unknown(call, _strange(word))
        else:
            words.names.append(word)
    return words


def _takes_value(tool: str, option: str) -> bool:
    """-f and -s mean something else to some tools; -a takes a value only where it activates."""
    if option == "-f":
        return tool == "vgcfgrestore"
    if option == "-s":
        return tool == "vgcreate"
    return option != "-a" or tool in ("vgchange", "lvchange", "lvcreate")


def _strange(word: str) -> str:
    if word.startswith("--"):
        return f"unrecognized option '{word}'"
    return f"invalid option -- '{word[1]}'"


def _unknown(call: Call, text: str) -> ToolError:
    return ToolError(f"{call.name}: {text}\n  Error during parsing of command line.", MISUSED)


def fail(text: str) -> ToolError:
    """A command that failed, with its words on standard error."""
    return ToolError("\n".join("  " + line for line in text.split("\n")), FAILED)


def say(call: Call, words: Words, text: str) -> None:
    """A success; --quiet leaves it out."""
    if "quiet" not in words.flags:
        call.out(f"  {text}\n")


_UNITS = "bskmgtpe"


def size_in_sectors(text: str) -> int:
    """Sectors of "2G", "512m" or, in MiB, "512"."""
    match = re.fullmatch(r"\+?(\d+(?:\.\d+)?)([bskmgtpe]?)(?:i?b)?", text.lower())
    if not match:
        raise ToolError(
            f"  Invalid argument for --size: {text}\n  Error during parsing of command line.",
            MISUSED,
        )
    factors = {"b": 1 / 512, "s": 1.0, "k": 2.0}
    unit = match[2] or "m"
    factor = factors.get(unit) or 2.0 * 1024 ** (_UNITS.index(unit) - 2)
    return math.ceil(float(match[1]) * factor)


def extents_of(sectors: int) -> int:
    """Whole extents for so many sectors."""
    return -(-sectors // EXTENT_SECTORS)


def size_text(sectors: int) -> str:
    """ "20.00 GiB"; "<20.00 GiB" for what is a little less."""
    size, unit = float(sectors) * 512, "B"
    for unit in ("B", "KiB", "MiB", "GiB", "TiB", "PiB"):
        if size < 1024 or unit == "PiB":
            break
        size /= 1024
    if unit == "B":
        return f"{int(size)} B"
    shown = f"{size:.2f}"
    return f"{'<' if float(shown) > size else ''}{shown} {unit}"
