"""The FTP server: whom it lets in, and how many."""

from __future__ import annotations

from dataclasses import dataclass

from orvsim.accounts import find_user
from orvsim.appliance import Appliance
from orvsim.clients import Client, Request, arrival, door, of_service
from orvsim.sections import section
from orvsim.services import after_start, new_process
from orvsim.tools import ControlError

_CONFIGURATION = "/etc/vsftpd.conf"
_COMMAND = "/usr/sbin/vsftpd"


@section("ftp")
@dataclass
class Ftp:
    """The limits that the server has read when it started; 0 is none."""

    max_clients: int = 0
    max_per_address: int = 0


def _limit(appliance: Appliance, key: str) -> int:
    text = appliance.path(_CONFIGURATION).read_text(encoding="utf-8", errors="replace")
    values = [line.split("=", 1)[1] for line in text.splitlines() if line.startswith(key + "=")]
    return int(values[-1]) if values and values[-1].strip().isdigit() else 0


@after_start("ftp")
def _read_limits(appliance: Appliance) -> None:
    limits = appliance.get(Ftp)
    limits.max_clients = _limit(appliance, "max_clients")
    limits.max_per_address = _limit(appliance, "max_per_ip")


@door("ftp")
def _may_enter(appliance: Appliance, request: Request) -> None:
    """A client needs an account, and room within the limits."""
    if request.share:
        raise ControlError("a client of ftp names no share: it sees what its user may")
    if not request.user:
        raise ControlError("a client of ftp needs --user")
    if find_user(appliance, request.user) is None:
        raise ControlError("530 Login incorrect.")
    limits, connected = appliance.get(Ftp), of_service(appliance, "ftp")
    if 0 < limits.max_clients <= len(connected):
        raise ControlError("421 There are too many connected users, please try later.")
    of_address = [each for each in connected if each.address == request.address]
    if 0 < limits.max_per_address <= len(of_address):
        raise ControlError("421 There are too many connections from your internet address.")


@arrival("ftp")
def _serve(appliance: Appliance, client: Client) -> None:
    client.processes = [
        new_process(appliance, "vsftpd", _COMMAND),
        new_process(appliance, "vsftpd", _COMMAND, client.user),
    ]
