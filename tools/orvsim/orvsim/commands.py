"""The commands of orvsim but `run`."""

from __future__ import annotations

import argparse
import json
import shutil
import sys
from pathlib import Path
from typing import NoReturn

from orvsim import creation, modules, places, session
from orvsim.control import add_controls
from orvsim.errors import ControlError

USAGE = 2


class _Parser(argparse.ArgumentParser):
    """Says in one line what is wrong with a command line."""

    def error(self, message: str) -> NoReturn:
        self.exit(USAGE, f"{self.prog}: {message}; see '{self.prog} --help'\n")


def command_parser() -> argparse.ArgumentParser:
    """The whole grammar; the manual page is made of it, too."""
    parser = _Parser(
        prog="orvsim", description="A simulated storage appliance that keeps its state in a folder."
    )
    parser.add_argument(
        "--state", type=Path, metavar="FOLDER", help="the appliance's folder (or ORVSIM_STATE)"
    )
    subcommands = parser.add_subparsers(metavar="COMMAND", required=True)
    _add_new(subcommands)
    run = subcommands.add_parser("run", help="run a command, or a shell, inside the appliance")
    run.add_argument("words", nargs=argparse.REMAINDER, metavar="COMMAND")
    reset = subcommands.add_parser("reset", help="back to how it was when it was new")
    reset.set_defaults(function=_reset)
    stop = subcommands.add_parser("stop", help="switch the appliance off, ending what runs in it")
    stop.set_defaults(function=_stop)
    status = subcommands.add_parser("status", help="what the appliance has and how it is")
    status.set_defaults(control="status")
    add_controls(subcommands)
    return parser


def _add_new(subcommands: argparse._SubParsersAction) -> None:
    new = subcommands.add_parser("new", help="make an appliance")
    creation.add_arguments(new)
    new.set_defaults(function=_new)


def _new(state: Path, arguments: argparse.Namespace) -> int:
    creation.new(state, creation.options(arguments), replace=arguments.force)
    return 0


def _reset(state: Path, _arguments: argparse.Namespace) -> int:
    _require(state)
    session.stop(state)
    creation.reset(state)
    return 0


def _stop(state: Path, _arguments: argparse.Namespace) -> int:
    _require(state)
    session.stop(state)
    return 0


def _require(state: Path) -> None:
    if not session.is_appliance(state):
        raise ControlError(f"no appliance in {state}; make one with: orvsim new")


def _control(state: Path, arguments: argparse.Namespace) -> int:
    _require(state)
    values = {key: value for key, value in vars(arguments).items() if key != "state"}
    result, text = session.control(state, json.dumps(values))
    if result != "ok":
        raise ControlError(text)
    sys.stdout.write(text)
    return 0


def run_words(words: list[str]) -> int:
    """The exit status of a command line."""
    modules.load()
    arguments = command_parser().parse_args(words)
    state = arguments.state.absolute() if arguments.state else places.default_state()
    try:
        function = getattr(arguments, "function", _control)
        return function(state, arguments)
    except shutil.Error as error:
        raise OSError(str(error)) from error
