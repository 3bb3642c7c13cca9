"""The alarms that disks and arrays raise, and that end when they are well again."""

from __future__ import annotations

from orvsim.alarms import clear_alarms, raise_alarm
from orvsim.appliance import Appliance
from orvsim.disks import find_disk
from orvsim.tools import on_event

# The name of the alarm, and its text; subjects are disks (sdb) and arrays (md0).
_RAISES = {
    "disk-failed": ("Disk", "{} failed"),
    "disk-pulled": ("Disk", "{} was pulled out"),
    "array-degraded": ("RAID", "array {} is degraded"),
    "array-failed": ("RAID", "array {} has failed"),
}
_ENDS = {
    "disk-inserted": ("disk-failed", "disk-pulled"),
    "rebuild-finished": ("array-degraded",),
}


def _called(appliance: Appliance, subject: str) -> str:
    """The bay of a disk, which is what people know it by; an array's name."""
    disk = find_disk(appliance, subject)
    if disk is None or not disk.bay:
        return subject
    enclosure = f" of enclosure {disk.enclosure}" if disk.enclosure else ""
    return f"disk {disk.bay}{enclosure} ({subject})"


@on_event
def _tell(appliance: Appliance, kind: str, subject: str) -> None:
    if kind in _RAISES:
        name, text = _RAISES[kind]
        text = text.format(_called(appliance, subject))
        raise_alarm(appliance, name, text, cause=f"{kind} {subject}")
    for ended in _ENDS.get(kind, ()):
        clear_alarms(appliance, f"{ended} {subject}")
