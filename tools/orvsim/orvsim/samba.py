"""Samba: its shares, and its clients as smbstatus shows them."""

from __future__ import annotations

import functools
import time
from pathlib import Path

from orvsim.accounts import records
from orvsim.appliance import Appliance
from orvsim.clients import Client, Request, arrival, door, of_service
from orvsim.services import Services, new_process
from orvsim.smb_passwords import has_password
from orvsim.tools import Call, ControlError, tool

_VERSION = "4.17.12-Debian"
_CONFIGURATION = "/etc/samba/smb.conf"
_CONTROL_SHARE = "IPC$"


# --- shares --------------------------------------------------------------------------------------


def shares(appliance: Appliance) -> dict[str, dict[str, str]]:
    """The settings of every share, by the name in lower case, as Samba looks for it."""
    place = appliance.path(_CONFIGURATION)
    return _shares_in(str(place), place.stat().st_mtime_ns)


@functools.lru_cache(maxsize=1)
def _shares_in(path: str, _changed: int) -> dict[str, dict[str, str]]:
    """The same; many clients that come one after the other find them read already."""
    found: dict[str, dict[str, str]] = {}
    settings: dict[str, str] = {}
    text = Path(path).read_text(encoding="utf-8", errors="replace")
    for line in map(str.strip, text.splitlines()):
        if line.startswith("[") and line.endswith("]"):
            settings = found.setdefault(line[1:-1].strip().lower(), {"name": line[1:-1].strip()})
        elif "=" in line and line[0] not in "#;":
            key, value = line.split("=", 1)
            settings[key.strip().lower()] = value.strip()
    return {name: values for name, values in found.items() if name != "global"}


@door("samba")
def _may_enter(appliance: Appliance, request: Request) -> None:
    """A client needs a share, a password, and a place on the share's list of users."""
    if not request.user:
        raise ControlError("a client of samba needs --user")
    if not has_password(appliance, request.user):
        raise ControlError(f"Samba has no user '{request.user}'; 'orvctl user add' adds one")
    if request.share in ("", _CONTROL_SHARE):
        request.share = _CONTROL_SHARE
        return
    share = shares(appliance).get(request.share.lower())
    if share is None:
        raise ControlError(f"Samba has no share '{request.share}'")
    users = share.get("valid users", "").replace(",", " ").split()
    if users and request.user not in users:
        raise ControlError(f"'{request.user}' is no valid user of '{request.share}'")
    request.share = share["name"]


@arrival("samba")
def _serve(appliance: Appliance, client: Client) -> None:
    client.processes = [new_process(appliance, "smbd", "/usr/sbin/smbd -D")]


# --- smbstatus -----------------------------------------------------------------------------------

_SESSION = "{:<7} {:<12} {:<12} {:<41} {:<17} {:<20} {:<21}\n"
_SESSION_HEAD = _SESSION.format(
    "PID", "Username", "Group", "Machine", "Protocol Version", "Encryption", "Signing"
)
_CONNECTION = "{:<12} {:<7} {:<13} {:<32} {:<12} {:<12}\n"
_CONNECTION_HEAD = _CONNECTION.format(
    "Service", "pid", "Machine", "Connected at", "Encryption", "Signing"
)
_SESSION_RULER = "-" * 136 + "\n"
_CONNECTION_RULER = "-" * 93 + "\n"


def _groups(appliance: Appliance) -> dict[str, str]:
    """The name of every user's own group."""
    names = {group[2]: group[0] for group in records(appliance, "/etc/group") if len(group) > 2}
    users = (user for user in records(appliance, "/etc/passwd") if len(user) > 3)
    return {user[0]: names.get(user[3], user[3]) for user in users}


def _machine(client: Client) -> str:
    family = "ipv6" if ":" in client.address else "ipv4"
    return f"{client.address} ({family}:{client.address}:{client.port})"


def session_row(client: Client, group: str) -> str:
    """A row of the table of processes."""
    pid = client.processes[0].pid
    machine = _machine(client)
    signing = "partial(AES-128-GMAC)"
    return _SESSION.format(pid, client.user, group, machine, "SMB3_11", "-", signing)


def connection_row(client: Client) -> str:
    """A row of the table of services."""
    since = time.strftime("%a %b %e %H:%M:%S %Y %Z", time.localtime(client.since))
    pid = client.processes[0].pid
    return _CONNECTION.format(client.share, pid, client.address, since, "-", "-")


def sessions_text(clients: list[Client], groups: dict[str, str]) -> str:
    """The table of processes."""
    head = f"\nSamba version {_VERSION}\n{_SESSION_HEAD}{_SESSION_RULER}"
    return head + "".join(session_row(each, groups.get(each.user, each.user)) for each in clients)


def connections_text(clients: list[Client]) -> str:
    """The table of services."""
    rows = "".join(connection_row(each) for each in clients)
    return "\n" + _CONNECTION_HEAD + _CONNECTION_RULER + rows + "\n"


_USAGE = """Usage: [-?pvLSNbPRBnjfV] [-?|--help] [--usage] [-p|--processes]
        [-v|--verbose] [-L|--locks] [-S|--shares] [-N|--notify]
        [-u|--user=STRING] [-b|--brief] [-P|--profile] [-R|--profile-rates]
        [-B|--byterange] [-n|--numeric] [-j|--json] [-f|--fast]
        [--resolve-uids] [-d|--debuglevel=DEBUGLEVEL] [--debug-stdout]
        [-s|--configfile=CONFIGFILE] [--option=name=value]
        [-l|--log-basename=LOGFILEBASE] [--leak-report] [--leak-report-full]
        [-V|--version]
"""

# Which tables an option asks for: processes, services, locks.
_TABLES = {
    "-p": "p",
    "--processes": "p",
    "-b": "p",
    "--brief": "p",
    "-S": "s",
    "--shares": "s",
    "-L": "l",
    "--locks": "l",
}


@tool("/usr/bin/smbstatus")
def smbstatus(appliance: Appliance, call: Call) -> int:
    """Shows the clients; without a word on the command line, all there is to know."""
    unknown = [word for word in call.arguments if word not in _TABLES]
    if unknown:
        call.err(f"\nInvalid option {unknown[0]}: unknown option\n\n{_USAGE}")
        return 1
    tables = {_TABLES[word] for word in call.arguments} or {"p", "s", "l"}
    clients = of_service(appliance, "samba")
    if "p" in tables:
        call.out(sessions_text(clients, _groups(appliance)))
    if "s" in tables:
        call.out(connections_text(clients))
    if "l" in tables:
        _tell_locks(appliance, call)
    return 0


def _tell_locks(appliance: Appliance, call: Call) -> None:
    """No file is ever locked; a Samba that never ran does not even know that."""
    if not appliance.get(Services).smb_has_run:
        call.err("/run/samba/locking.tdb not initialised\n")
        call.err("This is normal if an SMB client has never connected to your server.\n")
        return
    call.err("No locked files\n")
    call.out("\n")
