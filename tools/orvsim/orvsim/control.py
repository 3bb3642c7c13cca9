"""The subcommands that change or ask an appliance, running or at rest."""

from __future__ import annotations

import argparse
import traceback

from orvsim.appliance import Appliance
from orvsim.tools import CONTROLS, STATUS, ControlError


def add_controls(subcommands: argparse._SubParsersAction) -> None:
    """Gives the parser every registered subcommand; several words are a tree."""
    groups: dict[str, argparse._SubParsersAction] = {}
    for entry in CONTROLS:
        place = subcommands
        if len(entry.words) > 1:
            first = entry.words[0]
            if first not in groups:
                group = subcommands.add_parser(first, help=f"see orvsim {first} --help")
                groups[first] = group.add_subparsers(metavar="VERB", required=True)
            place = groups[first]
        parser = place.add_parser(entry.words[-1], help=entry.help, description=entry.help)
        entry.arguments(parser)
        parser.set_defaults(control=" ".join(entry.words))


def run_control(appliance: Appliance, arguments: dict) -> tuple[str, str]:
    """("ok", what is printed) or ("error", why not)."""
    words = tuple(arguments["control"].split(" "))
    if words == ("status",):
        return "ok", status(appliance)
    entry = next(entry for entry in CONTROLS if entry.words == words)
    try:
        return "ok", entry.run(appliance, argparse.Namespace(**arguments))
    except ControlError as error:
        return "error", str(error)
    except Exception:  # pylint: disable=broad-except
        traceback.print_exc()
        return "error", traceback.format_exc(limit=-2)


def status(appliance: Appliance) -> str:
    """What `orvsim status` tells of the appliance."""
    lines = [line for function in STATUS for line in function(appliance)]
    return "".join(line + "\n" for line in lines)
