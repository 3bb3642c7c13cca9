"""Connections as netstat shows them."""

from __future__ import annotations

import ipaddress

from orvsim.appliance import Appliance
from orvsim.clients import Client, Clients
from orvsim.network import server_address
from orvsim.tools import Call, tool

# The ports of the services, as /etc/services names them.
_PORTS = {
    "samba": ("microsoft-ds", 445),
    "nfs": ("nfs", 2049),
    "ftp": ("ftp", 21),
    "iscsi": ("iscsi-target", 3260),
}
_LONGEST = 22  # of an address with its port; the host is cut

_HEAD = (
    "Active Internet connections (w/o servers)\n"
    "Proto Recv-Q Send-Q Local Address           Foreign Address         State      \n"
)


def _names(appliance: Appliance) -> dict[str, str]:
    """The names that the appliance has for addresses."""
    names: dict[str, str] = {}
    try:
        text = appliance.path("/etc/hosts").read_text(encoding="utf-8", errors="replace")
    except FileNotFoundError:
        return names
    for line in text.splitlines():
        words = line.split("#")[0].split()
        if len(words) > 1:
            names.setdefault(words[0], words[1])
    return names


def _place(host: str, port: str) -> str:
    return host[: max(0, _LONGEST - len(port))] + ":" + port


def row(client: Client, local: str, foreign: str, numeric: bool = False) -> str:
    """The line of a client's connection."""
    name, port = _PORTS[client.service]
    is_six = ipaddress.ip_address(client.address).version == 6
    here = _place(local, str(port) if numeric else name)
    there = _place(foreign, str(client.port))
    return f"{'tcp6' if is_six else 'tcp':<4}  {0:>6} {0:>6} {here:<23} {there:<23} ESTABLISHED\n"


@tool("/usr/bin/netstat")
def netstat(appliance: Appliance, call: Call) -> int:
    """Shows the connections of all clients."""
    letters = "".join(word[1:] for word in call.arguments if not word.startswith("--"))
    numeric = "n" in letters or "--numeric" in call.arguments
    names = {} if numeric else _names(appliance)
    call.out(_HEAD)
    for client in appliance.get(Clients).connected:
        own = server_address(appliance, client.address)
        call.out(
            row(client, names.get(own, own), names.get(client.address, client.address), numeric)
        )
    return 0
