"""Alarms, and the daemon that tells clients of its socket about them."""

from __future__ import annotations

import argparse
import os
import socket
import subprocess
import threading
from dataclasses import dataclass, field

from orvsim.appliance import Appliance
from orvsim.sections import section
from orvsim.tools import ControlError, control, on_new, on_start, status_lines

_SOCKET = "/dev/alarm.socket"
_DAEMON = "/run/orvsim/simulators/alarmd"
_FILE = "/var/lib/orv-sim/alarms"
_MOST = 255  # the daemon says in one byte how many there are
_NAME_SIZE, _TEXT_SIZE = 64, 256


@dataclass
class Alarm:
    """An alarm; `cause` is what it is cleared by when that is over."""

    number: int
    time: int
    name: str
    text: str
    cause: str = ""


@section("alarms")
@dataclass
class Alarms:
    """The current alarms, in the order in which they were raised."""

    current: list[Alarm] = field(default_factory=list)
    last_number: int = 0
    daemon_runs: bool = True


def raise_alarm(appliance: Appliance, name: str, text: str, cause: str = "") -> Alarm:
    """Raises an alarm; one that is there already for the same cause stays as it is."""
    alarms = appliance.get(Alarms)
    for alarm in alarms.current:
        if cause and alarm.cause == cause:
            return alarm
    alarms.last_number += 1
    alarm = Alarm(alarms.last_number, int(appliance.now()), name, text, cause)
    alarms.current.append(alarm)
    _write(appliance)
    return alarm


def clear_alarms(appliance: Appliance, cause: str) -> None:
    """Clears the alarms of a cause that is over."""
    alarms = appliance.get(Alarms)
    kept = [alarm for alarm in alarms.current if alarm.cause != cause]
    if len(kept) < len(alarms.current):
        alarms.current = kept
        _write(appliance)


@on_new
def _write(appliance: Appliance) -> None:
    """Tells the daemon, which reads its file for every client anew."""
    place = appliance.path(_FILE)
    place.parent.mkdir(parents=True, exist_ok=True)
    current = appliance.get(Alarms).current[-_MOST:]
    new = place.with_name(place.name + ".new")
    lines = [f"{alarm.number}|{alarm.time}|{alarm.name}|{alarm.text}\n" for alarm in current]
    new.write_text("".join(lines), encoding="utf-8")
    os.replace(new, place)


# --- the daemon ----------------------------------------------------------------------------------


class _Daemon:
    """Listens while the daemon is to run; every client is answered by a process of its own."""

    def __init__(self) -> None:
        self.listener: socket.socket | None = None

    def follow(self, appliance: Appliance) -> None:
        """Starts or ends listening."""
        runs = appliance.get(Alarms).daemon_runs
        if runs and self.listener is None:
            self._start()
        elif not runs and self.listener is not None:
            os.remove(_SOCKET)
            # Wakes the thread that waits for clients; closing alone would not.
            self.listener.shutdown(socket.SHUT_RDWR)
            self.listener = None

    def _start(self) -> None:
        self.listener = socket.socket(socket.AF_UNIX, socket.SOCK_STREAM)
        self.listener.bind(_SOCKET)
        self.listener.listen(64)
        threading.Thread(target=_accept_clients, args=(self.listener,), daemon=True).start()


def _accept_clients(listener: socket.socket) -> None:
    while True:
        try:
            client, _ = listener.accept()
        except OSError:
            listener.close()
            return
        with client:
            subprocess.Popen([_DAEMON, "--answer"], stdin=client.fileno(), close_fds=True)


_DAEMON_OF_SERVER = _Daemon()


@on_start
def _start_daemon(appliance: Appliance) -> None:
    _DAEMON_OF_SERVER.follow(appliance)


# --- control -------------------------------------------------------------------------------------


def _checked(what: str, text: str, size: int, unfit: str) -> str:
    if not text or len(text.encode()) >= size or any(c in unfit or ord(c) < 32 for c in text):
        raise ControlError(f"the {what} has 1 to {size - 1} bytes in one line, without {unfit!r}")
    return text


def _raise_arguments(parser: argparse.ArgumentParser) -> None:
    parser.add_argument("name", help="what raises it, such as Fan")
    parser.add_argument("text", help="what is wrong, such as 'fan 1 stands still'")


@control("alarm", "raise", help="raise an alarm", arguments=_raise_arguments)
def _raise(appliance: Appliance, given: argparse.Namespace) -> str:
    name = _checked("name", given.name, _NAME_SIZE, "|")
    text = _checked("text", given.text, _TEXT_SIZE, "\n")
    if len(appliance.get(Alarms).current) >= _MOST:
        raise ControlError(f"there are {_MOST} alarms; the daemon knows no more")
    return f"Raised alarm {raise_alarm(appliance, name, text).number}.\n"


def _clear_arguments(parser: argparse.ArgumentParser) -> None:
    parser.add_argument("number", nargs="*", type=int, help="numbers of 'orvsim alarm list'")
    parser.add_argument("--all", action="store_true", help="all alarms")


@control("alarm", "clear", help="clear alarms", arguments=_clear_arguments)
def _clear(appliance: Appliance, given: argparse.Namespace) -> str:
    alarms = appliance.get(Alarms)
    if not given.number and not given.all:
        raise ControlError("name the number of an alarm, or --all")
    unknown = set(given.number) - {alarm.number for alarm in alarms.current}
    if unknown:
        raise ControlError(f"there is no alarm {min(unknown)}")
    stays = [each for each in alarms.current if not (given.all or each.number in given.number)]
    cleared = len(alarms.current) - len(stays)
    alarms.current = stays
    _write(appliance)
    return f"Cleared {cleared} alarm{'' if cleared == 1 else 's'}.\n"


@control("alarm", "list", help="show the current alarms")
def _list(appliance: Appliance, _given: argparse.Namespace) -> str:
    current = appliance.get(Alarms).current
    return "".join(f"alarm {alarm.number}: {alarm.name}: {alarm.text}\n" for alarm in current)


def _daemon_arguments(parser: argparse.ArgumentParser) -> None:
    parser.add_argument("switch", choices=("on", "off"))


@control("alarm", "daemon", help="end or start the alarm daemon", arguments=_daemon_arguments)
def _set_daemon(appliance: Appliance, given: argparse.Namespace) -> str:
    appliance.get(Alarms).daemon_runs = given.switch == "on"
    if appliance.running:
        _DAEMON_OF_SERVER.follow(appliance)
    return f"The alarm daemon is {given.switch}.\n"


@status_lines
def _alarm_lines(appliance: Appliance) -> list[str]:
    alarms = appliance.get(Alarms)
    silent = "" if alarms.daemon_runs else ", the daemon is off"
    lines = [f"{'alarms':<12} {len(alarms.current)}{silent}"]
    return lines + [f"{'':<12} {alarm.name}: {alarm.text}" for alarm in alarms.current]
