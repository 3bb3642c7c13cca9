"""The appliance's network: interfaces of its own, which lead nowhere.

What stands in /etc/network/interfaces comes up when the appliance is switched on. The interfaces are
real ones of the kernel, in the appliance's network namespace.
"""

from __future__ import annotations

import fcntl
import hashlib
import ipaddress
import socket
import struct
from dataclasses import dataclass

from orvsim.appliance import Appliance
from orvsim.tools import on_new, on_start

INTERFACES = "/etc/network/interfaces"
ADDRESS = "10.1.0.1"
_ADDRESS_SIX = "fd00::1"

_INTERFACES = f"""auto lo
iface lo inet loopback

auto eth0
iface eth0 inet static
    address {ADDRESS}
    netmask 255.255.0.0
    gateway 10.1.0.254
"""

# Ethernet interfaces that every kernel may make without hardware; the first that it knows is taken.
_KINDS = ("dummy", "bridge", "veth")

_SIOCSIFFLAGS, _SIOCSIFADDR, _SIOCSIFNETMASK, _SIOCSIFHWADDR = 0x8914, 0x8916, 0x891C, 0x8924
_UP_AND_RUNNING = 0x1 | 0x40
_ETHERNET = 1


@on_new
def _put_interfaces(appliance: Appliance) -> None:
    """One interface."""
    appliance.path(INTERFACES).parent.mkdir(parents=True, exist_ok=True)
    appliance.path(INTERFACES).write_text(_INTERFACES, encoding="utf-8")


def server_address(appliance: Appliance, client: str) -> str:
    """The address of the appliance that a client reaches it at."""
    if ":" in client:
        return _ADDRESS_SIX
    own = interfaces(appliance)
    near = (each.address for each in own if _is_near(each, client))
    return next(near, own[0].address if own else ADDRESS)


def _is_near(interface: Interface, client: str) -> bool:
    try:
        network = ipaddress.ip_interface(f"{interface.address}/{interface.netmask}").network
    except ValueError:
        return False
    return ipaddress.ip_address(client) in network


# --- /etc/network/interfaces ---------------------------------------------------------------------


@dataclass
class Interface:
    """A static interface, or with ":" in its name a further address of one."""

    name: str
    address: str = ""
    netmask: str = "255.255.255.0"


_LOOPBACK = Interface("lo", "127.0.0.1", "255.0.0.0")


def configured(text: str) -> list[Interface]:
    """The interfaces of the file that have an address."""
    found: list[Interface] = []
    for words in (line.split() for line in text.splitlines()):
        if words[:1] == ["iface"] and len(words) > 1:
            found.append(Interface(words[1]))
        elif found and words[:1] == ["address"] and len(words) > 1:
            _set_address(found[-1], words[1])
        elif found and words[:1] == ["netmask"] and len(words) > 1:
            found[-1].netmask = words[1]
    return [each for each in found if each.address and each.name != "lo"]


def interfaces(appliance: Appliance) -> list[Interface]:
    """The interfaces that the appliance is to have."""
    try:
        return configured(appliance.path(INTERFACES).read_text(encoding="utf-8", errors="replace"))
    except FileNotFoundError:
        return []


def _set_address(interface: Interface, text: str) -> None:
    """Takes "10.1.0.1" or "10.1.0.1/16"."""
    interface.address = text.split("/")[0]
    if "/" in text:
        try:
            interface.netmask = str(ipaddress.ip_interface(text).netmask)
        except ValueError:
            interface.address = ""


# --- the kernel's interfaces ---------------------------------------------------------------------

_NETLINK_ROUTE = 0
_RTM_NEWLINK = 16
_REQUEST_CREATE_ACK = 0x1 | 0x4 | 0x400 | 0x200
_IFLA_IFNAME, _IFLA_LINKINFO, _IFLA_INFO_KIND = 3, 18, 1


def _attribute(kind: int, value: bytes) -> bytes:
    return struct.pack("=HH", 4 + len(value), kind) + value + bytes(-len(value) % 4)


def _make_link(name: str, kind: str) -> bool:
    """Asks the kernel for an interface; tells whether there is one now."""
    information = _attribute(_IFLA_INFO_KIND, kind.encode())
    body = struct.pack("=BBHiII", socket.AF_UNSPEC, 0, 0, 0, 0, 0)
    body += _attribute(_IFLA_IFNAME, name.encode()) + _attribute(_IFLA_LINKINFO, information)
    head = struct.pack("=IHHII", 16 + len(body), _RTM_NEWLINK, _REQUEST_CREATE_ACK, 1, 0)
    with socket.socket(socket.AF_NETLINK, socket.SOCK_RAW, _NETLINK_ROUTE) as route:
        route.send(head + body)
        answer = route.recv(4096)
    return struct.unpack("=i", answer[16:20])[0] == 0


def _mac_address(name: str) -> bytes:
    """An address that stays the same from one start to the next."""
    return b"\x00\x1b\x21" + hashlib.sha256(name.encode()).digest()[:3]


def _request(name: str, data: bytes) -> bytes:
    return struct.pack("16s24s", name.encode()[:15], data)


def _socket_address(address: str) -> bytes:
    return struct.pack("=HH4s", socket.AF_INET, 0, socket.inet_aton(address))


def _bring_up(interface: Interface) -> None:
    base = interface.name.split(":")[0]
    with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as any_socket:

        def tell(request: int, name: str, data: bytes) -> None:
            fcntl.ioctl(any_socket, request, _request(name, data))

        if base == interface.name and interface is not _LOOPBACK:
            mac = struct.pack("=H6s", _ETHERNET, _mac_address(base))
            tell(_SIOCSIFHWADDR, base, mac)
        tell(_SIOCSIFADDR, interface.name, _socket_address(interface.address))
        tell(_SIOCSIFNETMASK, interface.name, _socket_address(interface.netmask))
        tell(_SIOCSIFFLAGS, base, struct.pack("=H", _UP_AND_RUNNING))


@on_start
def _bring_up_interfaces(appliance: Appliance) -> None:
    """Brings the interfaces up that the file has; one that makes no sense stays down."""
    for interface in [_LOOPBACK, *interfaces(appliance)]:
        try:
            if interface.name == interface.name.split(":")[0]:
                any(_make_link(interface.name, kind) for kind in _KINDS)
            _bring_up(interface)
        except (OSError, ValueError) as error:
            print(f"{interface.name} stays down: {error}")
