"""The iSCSI target: what it offers since it started, its volumes and its sessions."""

from __future__ import annotations

from dataclasses import dataclass, field

from orvsim.appliance import Appliance
from orvsim.clients import Client, Request, arrival, door, of_service
from orvsim.kernel_files import KernelFiles
from orvsim.sections import section
from orvsim.services import after_start, after_stop, is_running
from orvsim.tools import ControlError, kernel_files

_CONFIGURATION = "/etc/ietd.conf"
_INITIATOR = "iqn.1993-08.org.debian:01"
_FIRST_SESSION = 0x2000000000000  # what initiators choose begins like this


@dataclass
class Unit:
    """A logical unit of a target."""

    number: int
    path: str
    kind: str = "fileio"
    mode: str = "wb"


@dataclass
class Target:
    """A target of the configuration."""

    number: int
    name: str
    users: list[str] = field(default_factory=list)
    units: list[Unit] = field(default_factory=list)


@section("iscsi")
@dataclass
class Iscsi:
    """The targets that the daemon has read when it started."""

    targets: list[Target] = field(default_factory=list)


def _unit(words: list[str]) -> Unit | None:
    """The unit of "Lun 0 Path=/mnt/a,Type=fileio,IOMode=wb"; None when it is not whole."""
    if len(words) < 3 or not words[1].isdigit():
        return None
    options = dict(pair.split("=", 1) for pair in " ".join(words[2:]).split(",") if "=" in pair)
    settings = {key.lower(): value for key, value in options.items()}
    if "path" not in settings:
        return None
    kind, mode = settings.get("type", "fileio"), settings.get("iomode", "wt")
    return Unit(int(words[1]), settings["path"], kind, mode)


def configured(appliance: Appliance) -> list[Target]:
    """The targets of the configuration."""
    targets: list[Target] = []
    text = appliance.path(_CONFIGURATION).read_text(encoding="utf-8", errors="replace")
    for words in (line.split() for line in text.splitlines()):
        if len(words) > 1 and words[0] == "Target":
            targets.append(Target(len(targets) + 1, words[1]))
        elif targets and len(words) > 1 and words[0] == "IncomingUser":
            targets[-1].users.append(words[1])
        elif targets and words and words[0] == "Lun":
            unit = _unit(words)
            targets[-1].units += [unit] if unit else []
    return targets


@after_start("iscsi")
def _offer(appliance: Appliance) -> None:
    appliance.get(Iscsi).targets = configured(appliance)


@after_stop("iscsi")
def _withdraw(appliance: Appliance) -> None:
    appliance.get(Iscsi).targets = []


# --- clients -------------------------------------------------------------------------------------


def _share_of(target: Target) -> str:
    """The share's name: behind the ":", without the stamp of the time when it was made."""
    return target.name.rsplit(":", 1)[-1].split(".")[0]


@door("iscsi")
def _may_enter(appliance: Appliance, request: Request) -> None:
    """An initiator needs a target, and one of its users when it has some."""
    targets = appliance.get(Iscsi).targets
    found = [each for each in targets if request.share in (each.name, _share_of(each))]
    if not found:
        raise ControlError(
            f"there is no target '{request.share}'; 'orvctl service restart iscsi' takes over"
            " changed shares"
        )
    if found[0].users and request.user not in found[0].users:
        who = f"'{request.user}'" if request.user else "a client without --user"
        raise ControlError(f"{who} may not log in to '{request.share}'")
    request.share = found[0].name


@arrival("iscsi")
def _serve(_appliance: Appliance, client: Client) -> None:
    client.initiator = f"{_INITIATOR}:{client.address.replace('.', '').replace(':', '')}"


# --- the kernel's files --------------------------------------------------------------------------


def volume_text(targets: list[Target]) -> str:
    """The targets and their units, the newest first."""
    text = ""
    for target in reversed(targets):
        text += f"tid:{target.number} name:{target.name}\n"
        for unit in target.units:
            kind, mode = unit.kind, unit.mode
            text += f"\tlun:{unit.number} state:0 iotype:{kind} iomode:{mode} path:{unit.path}\n"
    return text


def session_text(targets: list[Target], clients: list[Client]) -> str:
    """The targets with their sessions and connections, the newest first."""
    sessions: dict[str, list[Client]] = {}
    for client in reversed(clients):
        sessions.setdefault(client.share, []).append(client)
    text = ""
    for target in reversed(targets):
        text += f"tid:{target.number} name:{target.name}\n"
        for client in sessions.get(target.name, ()):
            session = _FIRST_SESSION + client.number
            text += f"\tsid:{session} initiator:{client.initiator}\n"
            text += f"\t\tcid:0 ip:{client.address} state:active hd:none dd:none\n"
    return text


@kernel_files
def _write_files(appliance: Appliance, files: KernelFiles) -> None:
    """The files are there as long as the target runs."""
    if not is_running(appliance, "iscsi"):
        return
    targets = appliance.get(Iscsi).targets
    files.put("/proc/net/iet/volume", volume_text(targets))
    clients = of_service(appliance, "iscsi")
    files.put("/proc/net/iet/session", session_text(targets, clients))
