"""The RAID controller of model KTA7120U: its disks, its arrays, and what arcadm tells of them.

The controller's disks have no device names; each of its arrays is one disk for the kernel.
"""

from __future__ import annotations

from dataclasses import dataclass, field

from orvsim.alarms import clear_alarms, raise_alarm
from orvsim.appliance import Appliance
from orvsim.disks import BAYS, Disk, Disks, find_disk, has_controller, name_of
from orvsim.kernel_files import KernelFiles
from orvsim.sections import section
from orvsim.smart import disk_attributes
from orvsim.tools import (
    kernel_files,
    on_event,
    on_new,
    on_tick,
    simulator,
    status_lines,
)

simulator("/usr/local/bin/arcadm", "arcadm")

_DESCRIPTION = "/var/lib/orv-sim/arcadm.conf"
_GIB = 1 << 30
_REBUILD_BYTES_PER_SECOND = 100e6
_STRIPE = "64K"

# How many members each level needs, how many may be lost, and what share of them holds data.
LEVELS = {"0": (2, 0), "1": (2, 1), "5": (3, 1), "6": (4, 2)}

# The names under which its disks are kept here; no kernel file shows them.
_FIRST_HIDDEN = 10000


@dataclass
class Volume:
    """An array of the controller, and the disk that it is for the kernel."""

    name: str
    level: str
    device: str
    members: list[int] = field(default_factory=list)
    rebuilt: int = 0
    rebuild_ends: float = 0.0


@section("controller")
@dataclass
class Controller:
    """The controller's arrays and hot spares; disks are meant by their channels, from 1."""

    volumes: list[Volume] = field(default_factory=list)
    spares: list[int] = field(default_factory=list)


@on_new
def _hide_disks(appliance: Appliance) -> None:
    """The names sda and so on are those of arrays."""
    if has_controller(appliance):
        for disk in appliance.get(Disks).present:
            disk.name = _hidden_name(disk)


def _hidden_name(disk: Disk) -> str:
    return name_of(_FIRST_HIDDEN + channel_of(disk))


@on_event
def _take_disk(appliance: Appliance, kind: str, subject: str) -> None:
    """A disk that is put into the bay of a member takes its place."""
    disk = find_disk(appliance, subject)
    if kind != "disk-inserted" or not has_controller(appliance) or not disk or not disk.bay:
        return
    disk.name = _hidden_name(disk)
    for volume in appliance.get(Controller).volumes:
        if channel_of(disk) in volume.members:
            _rebuild_onto(appliance, volume, disk)


def channel_of(disk: Disk) -> int:
    """Every enclosure has the channels behind those of the one before."""
    return disk.enclosure * BAYS + disk.bay


def disks_by_channel(appliance: Appliance) -> dict[int, Disk]:
    """The controller's disks."""
    return {channel_of(disk): disk for disk in appliance.get(Disks).present if disk.bay}


def is_well(disks: dict[int, Disk], channel: int) -> bool:
    """Whether there is a disk in a channel, and it works."""
    return channel in disks and not disks[channel].failed


def _lost(appliance: Appliance, volume: Volume) -> list[int]:
    disks = disks_by_channel(appliance)
    return [channel for channel in volume.members if not is_well(disks, channel)]


def state_of(appliance: Appliance, volume: Volume) -> str:
    """What the controller says of an array."""
    without = {*_lost(appliance, volume), *([volume.rebuilt] if volume.rebuilt else [])}
    lost = len(without)
    if lost > LEVELS[volume.level][1]:
        return "Failed"
    if volume.rebuilt:
        return "Rebuilding"
    return "Degraded" if lost else "Normal"


def size_of(level: str, members: list[Disk]) -> int:
    """The size of an array of these disks, in bytes."""
    smallest = min(disk.size for disk in members)
    count = {"0": len(members), "1": 1, "5": len(members) - 1, "6": len(members) - 2}[level]
    return smallest * count // _GIB * _GIB


# --- what arcadm reads ---------------------------------------------------------------------------


def usage_of(controller: Controller, channel: int) -> str:
    """What the controller uses a disk for."""
    if channel in controller.spares:
        return "Hot Spare"
    if any(channel in volume.members for volume in controller.volumes):
        return "Array Disk"
    return "Free"


def _disk_line(controller: Controller, channel: int, disk: Disk | None) -> str:
    if disk is None:
        return f"disk|{channel - 1}\n"
    state = "Failed" if disk.failed else "Normal"
    usage = usage_of(controller, channel)
    return f"disk|{channel - 1}|{disk.model}|{disk.size // _GIB}|{state}|{usage}\n"


def _volume_line(appliance: Appliance, volume: Volume) -> str:
    drive = find_disk(appliance, volume.device)
    size = drive.size // _GIB if drive else 0
    state = state_of(appliance, volume)
    channels = " ".join(map(str, volume.members))
    parts = (volume.name, volume.level, _STRIPE, state, size, volume.device, channels)
    return "raid|" + "|".join(map(str, parts)) + "\n"


def _smart_lines(appliance: Appliance, channel: int, disk: Disk) -> str:
    lines = ""
    for attribute in disk_attributes(appliance, disk):
        name = attribute.name.replace("_", " ")
        status = "FAILED" if attribute.is_failing else "OK"
        lines += f"smart|{channel - 1}|{name}|{attribute.worst}|{attribute.threshold}|{status}\n"
    return lines


@kernel_files
def _describe(appliance: Appliance, files: KernelFiles) -> None:
    """The description that arcadm shows; its disks have no files, its arrays are disks."""
    if not has_controller(appliance):
        return
    controller = appliance.get(Controller)
    disks = disks_by_channel(appliance)
    last = max([BAYS, *disks])
    text = "".join(_disk_line(controller, n, disks.get(n)) for n in range(1, last + 1))
    text += "".join(_volume_line(appliance, volume) for volume in controller.volumes)
    text += "".join(_smart_lines(appliance, n, disk) for n, disk in disks.items())
    files.put(_DESCRIPTION, text)
    for volume in controller.volumes:
        files.link(f"/dev/{volume.name}", volume.device)


# --- what goes on by itself ----------------------------------------------------------------------


@on_tick
def _watch_arrays(appliance: Appliance) -> None:
    """Takes a hot spare for a lost member, and ends rebuilds."""
    if not has_controller(appliance):
        return
    for volume in appliance.get(Controller).volumes:
        if volume.rebuilt and appliance.now() >= volume.rebuild_ends:
            volume.rebuilt = 0
        _tell_kernel(appliance, volume)
        lost = _lost(appliance, volume)
        _tell_alarm(appliance, volume)
        if lost and not volume.rebuilt and state_of(appliance, volume) == "Degraded":
            _take_spare(appliance, volume, lost[0])


def _tell_kernel(appliance: Appliance, volume: Volume) -> None:
    """An array that has failed is a disk that has failed."""
    drive = find_disk(appliance, volume.device)
    if drive:
        drive.failed = state_of(appliance, volume) == "Failed"


def _take_spare(appliance: Appliance, volume: Volume, lost: int) -> None:
    controller, disks = appliance.get(Controller), disks_by_channel(appliance)
    spares = [channel for channel in controller.spares if is_well(disks, channel)]
    if not spares:
        return
    controller.spares.remove(spares[0])
    volume.members[volume.members.index(lost)] = spares[0]
    _rebuild_onto(appliance, volume, disks[spares[0]])


def _rebuild_onto(appliance: Appliance, volume: Volume, disk: Disk) -> None:
    volume.rebuilt = channel_of(disk)
    volume.rebuild_ends = appliance.now() + disk.size / _REBUILD_BYTES_PER_SECOND


def _tell_alarm(appliance: Appliance, volume: Volume) -> None:
    state = state_of(appliance, volume)
    for each in ("Degraded", "Failed"):
        cause = f"controller {volume.name} {each}"
        if each == state:
            raise_alarm(appliance, "RAID", f"array {volume.name} is {state.lower()}", cause)
        else:
            clear_alarms(appliance, cause)


@status_lines
def _status(appliance: Appliance) -> list[str]:
    if not has_controller(appliance):
        return []
    volumes = appliance.get(Controller).volumes
    return [f"             {each.name}: {state_of(appliance, each)}" for each in volumes]
