"""Temperatures, fans and power supply, in the files that the platform services keep."""

from __future__ import annotations

import argparse
import os
import re
import time
from pathlib import Path

from orvsim.alarms import clear_alarms, raise_alarm
from orvsim.appliance import Appliance
from orvsim.tools import ControlError, control, on_new, simulator

START_TIME_FILE = "/etc/nas_start_time.conf"
_STATE_FILES = ("/tmp/nas_state.conf", "/var/run/sys_state")
_POWER_FILE = "/var/lib/orv-sim/power"
_HOTTEST = 60

simulator("/usr/local/bin/pwstate", "pwstate")


@on_new
def put_start_time(appliance: Appliance) -> None:
    """Writes down that the appliance starts now."""
    text = time.strftime("%Y-%m-%d %H:%M:%S\n", time.localtime(appliance.now()))
    appliance.path(START_TIME_FILE).write_text(text, encoding="ascii")


def readings(appliance: Appliance) -> dict[str, str]:
    """What every sensor says."""
    try:
        text = appliance.path(_STATE_FILES[0]).read_text(encoding="utf-8", errors="replace")
    except FileNotFoundError:
        return {}
    pairs = (line.split("=", 1) for line in text.splitlines() if "=" in line)
    return {key.strip(): value.strip() for key, value in pairs}


def _with_reading(text: str, name: str, value: str) -> str:
    line = re.compile(rf"^{re.escape(name)}=.*$", re.MULTILINE)
    return line.sub(f"{name}={value}", text)


def _replace(place: Path, text: str) -> None:
    new = place.with_name(place.name + ".new")
    new.write_text(text, encoding="utf-8")
    os.replace(new, place)


def set_reading(appliance: Appliance, name: str, value: str) -> None:
    """Changes what a sensor says, everywhere; what is wrong raises an alarm."""
    for path in _STATE_FILES:
        place = appliance.path(path)
        _replace(place, _with_reading(place.read_text(encoding="utf-8"), name, value))
    if name == "power":
        appliance.path(_POWER_FILE).write_text(value + "\n", encoding="utf-8")
    wrong = _what_is_wrong(name, value)
    if wrong:
        raise_alarm(appliance, *wrong, cause=f"sensor {name}")
    else:
        clear_alarms(appliance, f"sensor {name}")


def _what_is_wrong(name: str, value: str) -> tuple[str, str] | None:
    """The name and the text of the alarm that a reading raises."""
    if name.startswith("fan") and int(value) == 0:
        return "Fan", f"fan {name.removeprefix('fan')} stands still"
    if name.startswith("temp") and int(value) > _HOTTEST:
        return "Temperature", f"{value} degrees are more than {_HOTTEST}"
    if name == "power" and value != "normal":
        return "Power", f"the power supply is {value}"
    return None


# --- control -------------------------------------------------------------------------------------


def _set_arguments(parser: argparse.ArgumentParser) -> None:
    parser.add_argument("name", help="temp, temp(cpu), fan1 and so on, power")
    parser.add_argument("value", help="a number; of power a word, such as normal or failed")


@control("sensor", "set", help="set what a sensor says", arguments=_set_arguments)
def _set(appliance: Appliance, given: argparse.Namespace) -> str:
    known = readings(appliance)
    if given.name not in known:
        raise ControlError(f"there is no sensor '{given.name}', only {', '.join(known)}")
    form = r"[a-z]{1,31}" if given.name == "power" else r"[0-9]{1,6}"
    if not re.fullmatch(form, given.value):
        what = "a word in small letters" if given.name == "power" else "a number"
        raise ControlError(f"'{given.value}' is not {what}")
    set_reading(appliance, given.name, given.value)
    return f"{given.name} is {given.value}.\n"


@control("sensor", "list", help="show what the sensors say")
def _list(appliance: Appliance, _given: argparse.Namespace) -> str:
    return "".join(f"{name} {value}\n" for name, value in readings(appliance).items())
