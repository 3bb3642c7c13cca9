"""Who uses a block device: an array, the active pools of a volume group, or a mount."""

from __future__ import annotations

from collections.abc import Callable
from dataclasses import dataclass, field

from orvsim.appliance import Appliance
from orvsim.blocks import Contents
from orvsim.disks import find_disk
from orvsim.md_state import array_of, contents_of, find_array
from orvsim.sections import section

# Others that hold devices, by their modules: a function from a device name to who holds it.
HOLDERS: list[Callable[[Appliance, str], str | None]] = []


RAM_DISKS = ("ram0", "ram1")
RAM_DISK_SIZE = 2 << 30


@section("ram_disks")
@dataclass
class RamDisks:
    """The kernel's RAM disks, which stand for lost arrays when a group is repaired."""

    contents: dict[str, Contents] = field(default_factory=dict)


def holder_of(appliance: Appliance, device: str) -> str | None:
    """Who holds the device, if anybody does."""
    array = array_of(appliance, device)
    if array:
        return array.name
    for function in HOLDERS:
        holder = function(appliance, device)
        if holder:
            return holder
    return None


def device_contents(appliance: Appliance, device: str) -> Contents | None:
    """What stands on a disk or an array."""
    disk = find_disk(appliance, device)
    if disk:
        return None if disk.failed else disk.contents
    if device in RAM_DISKS:
        return appliance.get(RamDisks).contents.setdefault(device, Contents())
    array = find_array(appliance, device)
    return contents_of(appliance, array) if array and array.active else None


def device_size(appliance: Appliance, device: str) -> int:
    """Bytes of a disk or an array."""
    disk = find_disk(appliance, device)
    if disk:
        return disk.size
    if device in RAM_DISKS:
        return RAM_DISK_SIZE
    array = find_array(appliance, device)
    return array.size * 1024 if array else 0
