#!/usr/bin/python3
"""Fills the commands of orvsim, as its own parser has them, into its manual page.

orvsim_page.py PAGE.IN > PAGE; finds orvsim by PYTHONPATH.
"""

from __future__ import annotations

import argparse
import sys
from collections.abc import Iterator
from pathlib import Path

sys.dont_write_bytecode = True

from orvsim import commands, modules  # pylint: disable=wrong-import-position


def escaped(text: str) -> str:
    """Text that is safe in a line of a page."""
    return text.replace("\\", "\\e").replace("-", "\\-").replace('"', "\\(dq")


def subcommands(
    parser: argparse.ArgumentParser,
) -> Iterator[tuple[argparse.ArgumentParser, str]]:
    """The parsers below one, each with its help."""
    for action in parser._actions:  # pylint: disable=protected-access
        if isinstance(action, argparse._SubParsersAction):  # pylint: disable=protected-access
            helps = {choice.dest: choice.help or "" for choice in action._choices_actions}
            for name, below in action.choices.items():
                yield below, helps.get(name, "")


def arguments(parser: argparse.ArgumentParser) -> Iterator[tuple[str, str]]:
    """How each argument is written, and what it means."""
    formatter = argparse.HelpFormatter("")
    for action in parser._actions:  # pylint: disable=protected-access
        if isinstance(action, (argparse._HelpAction, argparse._SubParsersAction)):
            continue
        if action.help in (None, argparse.SUPPRESS):
            continue
        name = formatter._format_action_invocation(action)  # pylint: disable=protected-access
        yield name, formatter._expand_help(action)  # pylint: disable=protected-access


def usage(parser: argparse.ArgumentParser) -> str:
    """The command line without the program's name and the way to its help."""
    words = " ".join(parser.format_usage().split()).removeprefix("usage: orvsim ")
    for action in parser._actions:  # pylint: disable=protected-access
        if action.nargs == argparse.REMAINDER:
            words = words.replace("...", f"[{action.metavar} ...]")
    return words.replace("[-h] ", "").replace(" [-h]", "")


def items(parser: argparse.ArgumentParser) -> Iterator[str]:
    """The lines of every command of a parser that has none below it."""
    for below, about in subcommands(parser):
        if any(True for _ in subcommands(below)):
            yield from items(below)
            continue
        yield f'.It "{escaped(usage(below))}"'
        yield f"\\&{escaped(about[:1].upper() + about[1:])}."
        for name, meaning in arguments(below):
            yield ".br"
            yield f"\\&{escaped(name)}: {escaped(meaning)}"


def main() -> None:
    """Prints the page."""
    modules.load()
    parser = commands.command_parser()
    page = Path(sys.argv[1]).read_text(encoding="utf-8")
    sys.stdout.write(page.replace("@COMMANDS@", "\n".join(items(parser))))


main()
