"""How healthy every disk is, and who is told about it."""

from __future__ import annotations

import argparse
import re
import zlib
from dataclasses import dataclass, field

from orvsim.alarms import clear_alarms, raise_alarm
from orvsim.appliance import Appliance
from orvsim.disks import Disk, choose_disk
from orvsim.sections import section
from orvsim.smart_attributes import Attribute, attributes_of
from orvsim.storage_alarms import place_of
from orvsim.tools import control

_HOTTEST_DISK = 55
_HOUR = 3600.0
_MOST_HOURS = 30000


@dataclass
class Health:
    """What is known of a disk's health besides what its serial number says."""

    temperature: int | None = None
    reallocated: int = 0
    pending: int = 0
    failing: bool = False


@section("smart")
@dataclass
class Smart:
    """The health of disks that have one of their own, by serial number."""

    disks: dict[str, Health] = field(default_factory=dict)


def health_of(appliance: Appliance, disk: Disk) -> Health:
    """The health of a disk; one that has failed is failing for SMART too."""
    health = appliance.get(Smart).disks.get(disk.serial, Health())
    return Health(
        temperature_of(health, disk),
        health.reallocated or (1992 if disk.failed else 0),
        health.pending or (24 if disk.failed else 0),
        health.failing or disk.failed,
    )


def temperature_of(health: Health, disk: Disk) -> int:
    """A temperature that differs from disk to disk, unless it was set."""
    if health.temperature is not None:
        return health.temperature
    return 33 + zlib.crc32(disk.serial.encode()) % 8


def disk_attributes(appliance: Appliance, disk: Disk) -> list[Attribute]:
    """The attributes that the disk reports now."""
    health = health_of(appliance, disk)
    seed = zlib.crc32(disk.serial.encode())
    hours = (int(appliance.now() // _HOUR) + seed) % _MOST_HOURS
    return attributes_of(
        seed,
        hours,
        health.temperature or 0,
        health.reallocated,
        health.pending,
    )


# --- control -------------------------------------------------------------------------------------


def _number(text: str) -> int:
    if not re.fullmatch(r"[0-9]{1,5}", text):
        raise argparse.ArgumentTypeError(f"'{text}' is not a number from 0 to 99999")
    return int(text)


def _smart_arguments(parser: argparse.ArgumentParser) -> None:
    parser.add_argument("disk", help="sdb, or its bay: 2, or 2@1 in enclosure 1")
    parser.add_argument("--temperature", type=_number, help="degrees Celsius")
    parser.add_argument("--reallocated", type=_number, help="sectors that were reallocated")
    parser.add_argument("--pending", type=_number, help="sectors that cannot be read for now")
    state = parser.add_mutually_exclusive_group()
    state.add_argument("--failing", action="store_true", help="the disk expects to fail soon")
    state.add_argument("--healthy", action="store_true", help="as it was when it was new")


@control("smart", help="change what a disk reports of its health", arguments=_smart_arguments)
def _set_health(appliance: Appliance, given: argparse.Namespace) -> str:
    disk = choose_disk(appliance, given.disk)
    disks = appliance.get(Smart).disks
    health = Health() if given.healthy else disks.get(disk.serial, Health())
    for name in ("temperature", "reallocated", "pending"):
        if getattr(given, name) is not None:
            setattr(health, name, getattr(given, name))
    health.failing = health.failing or given.failing
    if given.failing and not health.reallocated:
        health.reallocated = 1992
    disks[disk.serial] = health
    _tell_alarms(appliance, disk)
    reported = health_of(appliance, disk)
    word = "is failing" if reported.failing else "is healthy"
    return f"Disk {given.disk} {word}, {reported.temperature} degrees.\n"


def _tell_alarms(appliance: Appliance, disk: Disk) -> None:
    health = health_of(appliance, disk)
    cause = f"smart {disk.serial}"
    clear_alarms(appliance, cause)
    clear_alarms(appliance, cause + " temperature")
    where = place_of(disk)
    if health.failing:
        raise_alarm(appliance, "SMART", f"{where} expects to fail", cause)
    if (health.temperature or 0) > _HOTTEST_DISK:
        text = f"{where} has {health.temperature} degrees"
        raise_alarm(appliance, "SMART", text, cause + " temperature")
