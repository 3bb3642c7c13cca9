"""The command line of orvsim. `run` is what people wait for, so it loads little."""

from __future__ import annotations

import sys
from pathlib import Path

from orvsim import places, session
from orvsim.errors import ControlError


def main(words: list[str] | None = None) -> int:
    """The exit status of the command line."""
    words = sys.argv[1:] if words is None else words
    try:
        state, rest = _state_option(words)
        if rest[:1] == ["run"] and rest[1:2] not in (["-h"], ["--help"]):
            return _run(state, rest[1:])
        from orvsim.commands import run_words  # pylint: disable=import-outside-toplevel

        return run_words(words)
    except (ControlError, OSError) as error:
        print(f"orvsim: {error}", file=sys.stderr)
        return 1


def _state_option(words: list[str]) -> tuple[Path, list[str]]:
    """The appliance's folder, and what follows the option that may name it."""
    if words[:1] == ["--state"] and len(words) > 1:
        return Path(words[1]).absolute(), words[2:]
    if words and words[0].startswith("--state="):
        return Path(words[0].removeprefix("--state=")).absolute(), words[1:]
    return places.default_state(), words


def _run(state: Path, words: list[str]) -> int:
    """A command inside; the first time, in an appliance as `orvsim new` makes it."""
    if not session.is_appliance(state):
        from orvsim import creation, modules  # pylint: disable=import-outside-toplevel

        modules.load()
        creation.new(state, creation.Options())
    words = words[1:] if words[:1] == ["--"] else words
    return session.run(state, words or ["bash"])
