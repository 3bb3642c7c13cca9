"""busybox: which processes there are is asked with it; its other applets are the real programs."""

from __future__ import annotations

import os

from orvsim.appliance import Appliance
from orvsim.services import processes
from orvsim.tools import Call, ExecInstead, tool

# The processes that are not simulated; the appliance's /proc has a place for its own files.
REAL_PROC = "/run/orvsim/proc"

_BUSYBOX = "BusyBox v1.35.0 (Debian 1:1.35.0-4+deb12u1+b1) multi-call binary."
_PIDOF_USAGE = f"""{_BUSYBOX}

Usage: pidof [NAME]...

List PIDs of all processes with names that match NAMEs
"""


def _other_pids(name: str) -> list[int]:
    """Programs of that name which really run in the appliance, as a management daemon may."""
    found = []
    for entry in os.listdir(REAL_PROC):
        if not entry.isdigit():
            continue
        try:
            with open(f"{REAL_PROC}/{entry}/comm", encoding="utf-8", errors="replace") as file:
                if file.read().rstrip("\n") == name[:15]:
                    found.append(int(entry))
        except OSError:
            continue
    return found


def pids_of(appliance: Appliance, name: str) -> list[int]:
    """The processes of that name, the newest first."""
    simulated = [each.pid for each in processes(appliance) if each.name == name]
    return sorted(simulated + _other_pids(name), reverse=True)


def pidof(appliance: Appliance, call: Call) -> int:
    """What busybox says about processes with some names."""
    for word in call.arguments:
        if word.startswith("-") and len(word) > 1:
            call.err(f"pidof: invalid option -- '{word[1]}'\n{_PIDOF_USAGE}")
            return 1
    pids = [pid for name in call.arguments for pid in pids_of(appliance, os.path.basename(name))]
    if not pids:
        return 1
    call.out(" ".join(str(pid) for pid in pids) + "\n")
    return 0


@tool("/bin/busybox")
def busybox(appliance: Appliance, call: Call) -> int:
    """The applets that know the simulated appliance; for others the real programs are run."""
    if not call.arguments:
        call.out(f"{_BUSYBOX}\n\nUsage: busybox [function [arguments]...]\n")
        return 0
    applet, arguments = call.arguments[0], call.arguments[1:]
    if applet == "pidof":
        return pidof(appliance, Call("pidof", arguments, call.folder, call.input, call.output))
    for folder in ("/usr/local/sbin", "/usr/local/bin", "/usr/sbin", "/usr/bin"):
        if os.path.basename(applet) == applet and os.access(f"{folder}/{applet}", os.X_OK):
            raise ExecInstead(f"{folder}/{applet}", arguments)
    call.err(f"{applet}: applet not found\n")
    return 127
