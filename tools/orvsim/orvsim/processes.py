"""The list of processes: those of the services, and those that really run in the appliance."""

from __future__ import annotations

import os
import pwd
import time
from dataclasses import dataclass

from orvsim.appliance import Appliance
from orvsim.busybox import REAL_PROC
from orvsim.services import Process, processes
from orvsim.tools import Call, tool

_PAGE_KIB = os.sysconf("SC_PAGE_SIZE") // 1024
_TICKS = os.sysconf("SC_CLK_TCK")

_HEAD = "USER         PID %CPU %MEM    VSZ   RSS TTY      STAT START   TIME COMMAND\n"


@dataclass
class _Row:
    pid: int
    user: str
    command: str
    started: float
    size_kib: int = 0
    resident_kib: int = 0
    state: str = "S"
    seconds: int = 0


def _user_name(number: int) -> str:
    try:
        return pwd.getpwuid(number).pw_name
    except KeyError:
        return str(number)


def _real_row(pid: int, now: float) -> _Row | None:
    """A process that runs; None when it is gone by now."""
    folder = f"{REAL_PROC}/{pid}"
    try:
        with open(f"{folder}/stat", encoding="utf-8", errors="replace") as file:
            head, rest = file.read().rsplit(")", 1)
        with open(f"{folder}/cmdline", encoding="utf-8", errors="replace") as file:
            command = file.read().replace("\0", " ").strip()
        with open(f"{REAL_PROC}/uptime", encoding="ascii") as file:
            up = float(file.read().split()[0])
        owner = os.stat(folder).st_uid
    except (OSError, ValueError):
        return None
    fields = rest.split()
    age = up - int(fields[19]) / _TICKS
    name = head.split("(", 1)[1]
    return _Row(
        pid=pid,
        user=_user_name(owner),
        command="/sbin/init" if pid == 1 else command or f"[{name}]",
        started=now - age,
        size_kib=int(fields[20]) // 1024,
        resident_kib=int(fields[21]) * _PAGE_KIB,
        state=fields[0],
        seconds=(int(fields[11]) + int(fields[12])) // _TICKS,
    )


def _simulated_row(process: Process) -> _Row:
    is_thread = process.command.startswith("[")
    size = 0 if is_thread else 10000 + len(process.command) * 1000
    return _Row(process.pid, process.user, process.command, process.started, size, size // 8)


def _line(row: _Row, now: float) -> str:
    is_recent = now - row.started < 86400
    start = time.strftime("%H:%M" if is_recent else "%b%d", time.localtime(row.started))
    used = f"{row.seconds // 60}:{row.seconds % 60:02}"
    user = row.user if len(row.user) <= 8 else row.user[:7] + "+"
    return (
        f"{user:<8} {row.pid:>7}  0.0  0.0 {row.size_kib:>6} {row.resident_kib:>5} ?        "
        f"{row.state:<4} {start:<5} {used:>6} {row.command}\n"
    )


def list_text(appliance: Appliance) -> str:
    """What `ps aux` prints."""
    now = appliance.now()
    pids = [int(entry) for entry in os.listdir(REAL_PROC) if entry.isdigit()]
    rows = [row for row in (_real_row(pid, now) for pid in pids) if row]
    rows += map(_simulated_row, processes(appliance))
    rows.sort(key=lambda row: row.pid)
    return _HEAD + "".join(_line(row, now) for row in rows)


@tool("/usr/bin/ps")
def ps(appliance: Appliance, call: Call) -> int:  # pylint: disable=invalid-name
    """Lists all processes, whatever it is asked."""
    call.out(list_text(appliance))
    return 0
