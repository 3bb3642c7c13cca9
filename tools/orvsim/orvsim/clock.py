"""The appliance's clock: moved on, set, or made faster."""

from __future__ import annotations

import argparse
import datetime
import re
import time

from orvsim.appliance import Appliance, Clock
from orvsim.tools import ControlError, control, status_lines

_UNITS = {"s": 1, "m": 60, "min": 60, "h": 3600, "d": 86400}


def _arguments(parser: argparse.ArgumentParser) -> None:
    parser.add_argument("--rate", type=float, help="how fast time passes: 60 is a minute a second")
    parser.add_argument("--advance", metavar="TIME", help="moves time on, such as 30s, 10m, 2h, 1d")
    parser.add_argument("--set", metavar="TIME", help='such as "2026-05-04 12:00:00"')
    parser.add_argument("--reset", action="store_true", help="back to the host's time")


@control(
    "clock", help="show the appliance's clock, or change how time passes", arguments=_arguments
)
def clock(appliance: Appliance, arguments: argparse.Namespace) -> str:
    """Rebuilds follow this clock. The host's is never touched."""
    if arguments.reset:
        appliance.set_clock(time.time(), 1.0)
    if arguments.set:
        appliance.set_clock(_moment(arguments.set))
    if arguments.advance:
        appliance.set_clock(appliance.now() + _duration(arguments.advance))
    if arguments.rate is not None:
        if not 0 < arguments.rate <= 1e6:
            raise ControlError("the rate is more than 0 and at most 1000000")
        appliance.set_clock(rate=arguments.rate)
    return _text(appliance) + "\n"


def _moment(text: str) -> float:
    try:
        return datetime.datetime.fromisoformat(text).timestamp()
    except ValueError as error:
        raise ControlError(f"'{text}' is no time; write 2026-05-04 12:00:00") from error


def _duration(text: str) -> float:
    match = re.fullmatch(r"(\d+(?:\.\d+)?)(s|m|min|h|d)", text)
    if not match:
        raise ControlError(f"'{text}' is no duration; write 30s, 10m, 2h or 1d")
    return float(match[1]) * _UNITS[match[2]]


def _text(appliance: Appliance) -> str:
    now = time.strftime("%Y-%m-%d %H:%M:%S", time.localtime(appliance.now()))
    rate = appliance.get(Clock).rate
    return now if rate == 1 else f"{now}, {rate:g} times as fast"


@status_lines
def status(appliance: Appliance) -> list[str]:
    """The time there."""
    return [f"clock        {_text(appliance)}"]
