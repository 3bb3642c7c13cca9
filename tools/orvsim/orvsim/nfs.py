"""The NFS server: what it exports, and to whom."""

from __future__ import annotations

import fnmatch
import ipaddress
import re
from dataclasses import dataclass, field

from orvsim.appliance import Appliance
from orvsim.clients import Client, Request, arrival, door
from orvsim.sections import section
from orvsim.services import after_start, after_stop
from orvsim.tools import Call, ControlError, tool

_EXPORTS = "/etc/exports"


@section("nfs")
@dataclass
class Nfs:
    """What the server was told to export when it started: the clients of every path."""

    exported: dict[str, list[str]] = field(default_factory=dict)


def _unescaped(path: str) -> str:
    return re.sub(r"\\([0-7]{3})", lambda code: chr(int(code[1], 8)), path)


def exports(appliance: Appliance) -> dict[str, list[str]]:
    """The clients of every path in the configuration, each with its options."""
    found: dict[str, list[str]] = {}
    try:
        text = appliance.path(_EXPORTS).read_text(encoding="utf-8", errors="replace")
    except FileNotFoundError:
        return found
    for line in text.splitlines():
        words = line.split()
        if words and words[0].startswith("/"):
            found.setdefault(_unescaped(words[0]), []).extend(words[1:] or ["*"])
    return found


@after_start("nfs")
def _export(appliance: Appliance) -> None:
    appliance.get(Nfs).exported = exports(appliance)


@after_stop("nfs")
def _unexport(appliance: Appliance) -> None:
    appliance.get(Nfs).exported = {}


@tool("/usr/sbin/exportfs")
def exportfs(appliance: Appliance, call: Call) -> int:
    """Takes over the configuration with -r and -a, takes all back with -ua, or shows it."""
    letters = "".join(word[1:] for word in call.arguments if word.startswith("-"))
    state = appliance.get(Nfs)
    if "u" in letters:
        state.exported = {}
    elif "r" in letters or "a" in letters:
        state.exported = exports(appliance)
    else:
        for path, clients in state.exported.items():
            for client in clients:
                host = client.split("(")[0] or "<world>"
                gap = "\n\t\t" if len(path) > 14 else "\t"
                call.out(f"{path:<14}{gap}{'<world>' if host == '*' else host}\n")
    return 0


# --- clients -------------------------------------------------------------------------------------


def allows(client: str, address: str) -> bool:
    """Whether a client of an export, such as "10.1.0.0/16(rw)", is or contains the address."""
    for pattern in client.split("(")[0].split(",") if client.split("(")[0] else ["*"]:
        try:
            if ipaddress.ip_address(address) in ipaddress.ip_network(pattern, strict=False):
                return True
        except ValueError:
            if fnmatch.fnmatch(address, pattern):
                return True
    return False


def _path_of(appliance: Appliance, share: str) -> str | None:
    """The exported path of a share; a share is known by the last part of its path."""
    paths = appliance.get(Nfs).exported
    return next((path for path in paths if share in (path, path.rsplit("/", 1)[-1])), None)


@door("nfs")
def _may_enter(appliance: Appliance, request: Request) -> None:
    """A client's address must be among those that the share is exported to."""
    path = _path_of(appliance, request.share)
    if path is None:
        raise ControlError(
            f"NFS does not export '{request.share}'; 'orvctl service restart nfs' takes over"
            " changed shares"
        )
    clients = appliance.get(Nfs).exported[path]
    if not any(allows(client, request.address) for client in clients):
        raise ControlError(f"'{request.share}' is not exported to {request.address}")
    request.share = path.rsplit("/", 1)[-1]


@arrival("nfs")
def _serve(_appliance: Appliance, client: Client) -> None:
    client.user = ""  # the kernel serves all clients; it asks for no name
