"""The alarms that disks and arrays raise, and that end when they are well again."""

from __future__ import annotations

from orvsim.alarms import Alarms, clear_alarms, raise_alarm
from orvsim.appliance import Appliance
from orvsim.disks import Disk, Disks
from orvsim.md_state import Arrays
from orvsim.tools import on_event, on_tick

# The name of the alarm, and its text; subjects are disks (sdb) and arrays (md0).
_DISK_ALARMS = {"disk-failed": "{} failed", "disk-pulled": "{} was pulled out"}
_ARRAY_ALARMS = {
    "array-degraded": "array {} is degraded",
    "array-failed": "array {} has failed",
}


def _find(appliance: Appliance, name: str) -> Disk | None:
    """A disk that is there, or the last one of that name that was pulled out."""
    disks = appliance.get(Disks)
    found = [disk for disk in [*disks.present, *reversed(disks.pulled)] if disk.name == name]
    return found[0] if found else None


def place_of(disk: Disk) -> str:
    """What people know a disk by: its bay."""
    if not disk.bay:
        return f"disk {disk.name}"
    return f"disk {disk.bay}" + (f" of enclosure {disk.enclosure}" if disk.enclosure else "")


@on_event
def _tell_of_disk(appliance: Appliance, kind: str, subject: str) -> None:
    disk = _find(appliance, subject)
    if disk is None:
        return
    place = place_of(disk)
    if kind in _DISK_ALARMS:
        raise_alarm(appliance, "Disk", _DISK_ALARMS[kind].format(place), cause=f"{kind} {place}")
    if kind == "disk-inserted" and not disk.failed:
        for ended in _DISK_ALARMS:
            clear_alarms(appliance, f"{ended} {place}")


@on_event
def _tell_of_array(appliance: Appliance, kind: str, subject: str) -> None:
    if kind in _ARRAY_ALARMS:
        text = _ARRAY_ALARMS[kind].format(subject)
        raise_alarm(appliance, "RAID", text, cause=f"{kind} {subject}")
    if kind == "rebuild-finished":
        clear_alarms(appliance, f"array-degraded {subject}")


@on_tick
def _forget_stopped_arrays(appliance: Appliance) -> None:
    """An array that is there no more, alarms nobody."""
    names = {array.name for array in appliance.get(Arrays).running}
    for alarm in list(appliance.get(Alarms).current):
        kind, _, name = alarm.cause.partition(" ")
        if kind in _ARRAY_ALARMS and name not in names:
            clear_alarms(appliance, alarm.cause)
