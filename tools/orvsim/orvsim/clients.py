"""The clients that are connected to the sharing services."""

from __future__ import annotations

import argparse
import ipaddress
from collections.abc import Callable
from dataclasses import dataclass, field

from orvsim import services
from orvsim.appliance import Appliance
from orvsim.sections import section
from orvsim.services import SERVICES, Process
from orvsim.tools import ControlError, control, status_lines

_FIRST_PORT = 40000
_LAST_PORT = 60999
_CLIENT_NETWORK = ipaddress.ip_network("10.1.0.0/16")
_FIRST_CLIENT = 7


@dataclass
class Client:
    """One connection of a client to a service."""

    number: int
    service: str
    share: str
    user: str
    address: str
    port: int
    since: float
    initiator: str = ""
    processes: list[Process] = field(default_factory=list)


@section("clients")
@dataclass
class Clients:
    """Who is connected, in the order in which they came."""

    connected: list[Client] = field(default_factory=list)
    last_number: int = 0


@dataclass
class Request:
    """What a client wants, as it was asked for on the command line."""

    service: str
    share: str
    user: str
    address: str


# Of each service: refuses a client that it would not serve, and completes what is recorded.
Door = Callable[[Appliance, Request], None]
Arrival = Callable[[Appliance, Client], None]
_DOORS: dict[str, Door] = {}
_ARRIVALS: dict[str, Arrival] = {}


def door(service: str) -> Callable[[Door], Door]:
    """Registers the check of a service: whom it lets in, by ControlError."""
    return lambda check: _DOORS.setdefault(service, check)


def arrival(service: str) -> Callable[[Arrival], Arrival]:
    """Registers what a service does about a client that has come in."""
    return lambda hook: _ARRIVALS.setdefault(service, hook)


def of_service(appliance: Appliance, service: str) -> list[Client]:
    """The clients of a service."""
    return [each for each in appliance.get(Clients).connected if each.service == service]


@services.has_processes
def client_processes(appliance: Appliance) -> list[Process]:
    """The processes that serve clients."""
    return [process for each in appliance.get(Clients).connected for process in each.processes]


def _free_address(appliance: Appliance) -> str:
    """An address in the appliance's network for a client that names none."""
    taken = {each.address for each in appliance.get(Clients).connected}
    hosts = (_CLIENT_NETWORK[n] for n in range(_FIRST_CLIENT, _CLIENT_NETWORK.num_addresses - 1))
    return next(str(host) for host in hosts if str(host) not in taken)


def connect(appliance: Appliance, request: Request) -> Client:
    """Lets a client in; ControlError when the service does not."""
    if not services.is_running(appliance, request.service):
        raise ControlError(f"{request.service} does not run; 'orvctl service start' starts it")
    request.address = request.address or _free_address(appliance)
    _DOORS[request.service](appliance, request)
    clients = appliance.get(Clients)
    clients.last_number += 1
    port = _FIRST_PORT + clients.last_number * 2 % (_LAST_PORT - _FIRST_PORT)
    client = Client(
        number=clients.last_number,
        service=request.service,
        share=request.share,
        user=request.user,
        address=request.address,
        port=port,
        since=appliance.now(),
    )
    _ARRIVALS[request.service](appliance, client)
    clients.connected.append(client)
    return client


def disconnect(appliance: Appliance, goes: Callable[[Client], bool]) -> list[Client]:
    """Ends the connections of the clients that go; they are returned."""
    clients = appliance.get(Clients)
    gone = [each for each in clients.connected if goes(each)]
    clients.connected = [each for each in clients.connected if not goes(each)]
    return gone


def _forget_clients(service: str) -> None:
    @services.after_stop(service)
    def forget(appliance: Appliance) -> None:
        disconnect(appliance, lambda client: client.service == service)


for _service in SERVICES:
    _forget_clients(_service)


# --- control -------------------------------------------------------------------------------------


def line_of(client: Client) -> str:
    """A client, in one line."""
    what = f"{client.service} {client.share}".rstrip()
    return f"client {client.number}: {client.address} {client.user or '-'} on {what}"


def _address(text: str) -> str:
    try:
        return str(ipaddress.ip_address(text))
    except ValueError:
        raise argparse.ArgumentTypeError(f"'{text}' is no IP address") from None


def _count(text: str) -> int:
    if not text.isdigit() or not 1 <= int(text) <= 1000:
        raise argparse.ArgumentTypeError(f"'{text}' is not a number from 1 to 1000")
    return int(text)


def _connect_arguments(parser: argparse.ArgumentParser) -> None:
    parser.add_argument("service", choices=SERVICES)
    parser.add_argument("share", nargs="?", default="", help="not of ftp: there all are one")
    parser.add_argument("--user", default="", help="who logs in")
    parser.add_argument("--address", type=_address, help="an IP address; the next free one without")
    parser.add_argument("--count", type=_count, default=1, help="so many at once, 1 to 1000")


@control("client", "connect", help="connect a client to a share", arguments=_connect_arguments)
def _connect(appliance: Appliance, given: argparse.Namespace) -> str:
    let_in: list[Client] = []
    try:
        for _ in range(given.count):
            request = Request(given.service, given.share, given.user, given.address or "")
            let_in.append(connect(appliance, request))
    except ControlError:
        numbers = {client.number for client in let_in}
        disconnect(appliance, lambda client: client.number in numbers)
        raise
    return "".join(f"Connected {line_of(client)}.\n" for client in let_in)


def _disconnect_arguments(parser: argparse.ArgumentParser) -> None:
    parser.add_argument("number", nargs="*", type=int, help="numbers of 'orvsim client list'")
    parser.add_argument("--service", choices=SERVICES, help="all clients of this service")
    parser.add_argument("--all", action="store_true", help="all clients")


@control("client", "disconnect", help="disconnect clients", arguments=_disconnect_arguments)
def _disconnect(appliance: Appliance, given: argparse.Namespace) -> str:
    if not (given.number or given.service or given.all):
        raise ControlError("name a client's number, --service or --all")
    known = {each.number for each in appliance.get(Clients).connected}
    unknown = [number for number in given.number if number not in known]
    if unknown:
        raise ControlError(f"there is no client {unknown[0]}")
    gone = disconnect(
        appliance,
        lambda each: given.all or each.service == given.service or each.number in given.number,
    )
    return "".join(f"Disconnected {line_of(each)}.\n" for each in gone)


@control("client", "list", help="show the connected clients")
def _list(appliance: Appliance, _given: argparse.Namespace) -> str:
    return "".join(line_of(each) + "\n" for each in appliance.get(Clients).connected)


@status_lines
def _clients_line(appliance: Appliance) -> list[str]:
    return [f"{'clients':<12} {len(appliance.get(Clients).connected)}"]
