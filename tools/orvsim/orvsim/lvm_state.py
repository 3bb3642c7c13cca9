"""LVM: physical volumes, groups, pools (logical volumes) and where their extents are."""

from __future__ import annotations

import random
import string
from dataclasses import dataclass, field
from pathlib import Path

from orvsim.appliance import Appliance
from orvsim.blocks import SECTOR, Contents
from orvsim.disks import Disks
from orvsim.holders import RAM_DISKS, device_contents
from orvsim.md_state import Arrays, find_array
from orvsim.sections import section

EXTENT_SECTORS = 8192
EXTENT_BYTES = EXTENT_SECTORS * SECTOR
DEFAULT_START = 2048
MAPPER_MAJOR = 252


@dataclass
class PhysicalVolume:
    """A physical volume; sizes in sectors. Which device it is stands on the device."""

    identifier: str = ""
    size: int = 0
    start: int = DEFAULT_START
    allocatable: bool = True
    device_hint: str = ""

    @property
    def extents(self) -> int:
        return max(0, (self.size - self.start) // EXTENT_SECTORS)


@dataclass
class Segment:
    """Consecutive extents of a pool on a volume."""

    volume: str = ""
    first: int = 0
    count: int = 0


@dataclass
class Pool:
    """A logical volume."""

    name: str = ""
    identifier: str = ""
    created: float = 0.0
    segments: list[Segment] = field(default_factory=list)
    minor: int = -1
    contents: Contents = field(default_factory=Contents)

    @property
    def extents(self) -> int:
        return sum(segment.count for segment in self.segments)

    @property
    def bytes(self) -> int:
        return self.extents * EXTENT_BYTES

    @property
    def active(self) -> bool:
        return self.minor >= 0


@dataclass
class Group:
    """A volume group."""

    name: str = ""
    identifier: str = ""
    sequence: int = 1
    volumes: list[str] = field(default_factory=list)
    pools: list[Pool] = field(default_factory=list)

    def pool(self, name: str) -> Pool | None:
        """The pool with this name."""
        return next((pool for pool in self.pools if pool.name == name), None)


@section("lvm")
@dataclass
class Lvm:
    """All volumes by identifier, all groups, and the groups as their backups have them."""

    volumes: dict[str, PhysicalVolume] = field(default_factory=dict)
    groups: list[Group] = field(default_factory=list)
    backups: dict[str, Group] = field(default_factory=dict)


def new_volume_identifier() -> str:
    """An identifier as LVM makes them."""
    letters = string.ascii_letters + string.digits
    text = "".join(random.choices(letters, k=32))
    cuts = (0, 6, 10, 14, 18, 22, 26, 32)
    return "-".join(text[begin:end] for begin, end in zip(cuts, cuts[1:]))


def device_names(appliance: Appliance) -> list[str]:
    """Every disk and array that can be read."""
    arrays = [array.name for array in appliance.get(Arrays).running if not array.failed]
    disks = [disk.name for disk in appliance.get(Disks).present if not disk.failed]
    return sorted([*arrays, *disks, *RAM_DISKS])


def devices_of_volumes(appliance: Appliance, group: Group | None = None) -> dict[str, str]:
    """The device of every physical volume that is there, or of a group's: identifier to path."""
    found: dict[str, str] = {}
    for name in device_names(appliance):
        contents = device_contents(appliance, name)
        if contents and contents.volume and (not group or contents.volume in group.volumes):
            found[contents.volume] = f"/dev/{name}"
    return found


def find_group(appliance: Appliance, name: str) -> Group | None:
    """The group with this name."""
    return next((group for group in sorted_groups(appliance) if group.name == name), None)


def group_of_volume(appliance: Appliance, identifier: str) -> Group | None:
    """The group that a volume belongs to."""
    for group in appliance.get(Lvm).groups:
        if identifier in group.volumes:
            return group
    return None


def sorted_groups(appliance: Appliance) -> list[Group]:
    """The groups in the order in which LVM lists them; one without any volume is unknown."""
    there = devices_of_volumes(appliance)
    known = [group for group in appliance.get(Lvm).groups if there.keys() & set(group.volumes)]
    return sorted(known, key=lambda group: group.name)


def used_extents(group: Group, identifier: str) -> int:
    """How many extents of a volume belong to pools."""
    segments = (segment for pool in group.pools for segment in pool.segments)
    return sum(segment.count for segment in segments if segment.volume == identifier)


def free_areas(appliance: Appliance, group: Group) -> list[Segment]:
    """What no pool has of the volumes that may be used, the largest area first."""
    areas = []
    for identifier in group.volumes:
        volume = appliance.get(Lvm).volumes[identifier]
        if volume.allocatable:
            areas += _free_of_volume(group, volume)
    return sorted(areas, key=lambda area: -area.count)


def _free_of_volume(group: Group, volume: PhysicalVolume) -> list[Segment]:
    taken = sorted(
        (segment.first, segment.count)
        for pool in group.pools
        for segment in pool.segments
        if segment.volume == volume.identifier
    )
    areas, position = [], 0
    for first, count in [*taken, (volume.extents, 0)]:
        if first > position:
            areas.append(Segment(volume.identifier, position, first - position))
        position = first + count
    return areas


def free_extents(appliance: Appliance, group: Group) -> int:
    """How many extents new pools can have."""
    return sum(area.count for area in free_areas(appliance, group))


def allocate(
    appliance: Appliance, group: Group, count: int, after: Pool | None = None
) -> list[Segment]:
    """That many free extents; a pool that grows goes on where it ends, if it can."""
    areas = free_areas(appliance, group)
    if after and after.segments:
        last = after.segments[-1]
        end = (last.volume, last.first + last.count)
        areas.sort(key=lambda area: (area.volume, area.first) != end)
    chosen = []
    for area in areas:
        if count <= 0:
            break
        part = Segment(area.volume, area.first, min(area.count, count))
        chosen.append(part)
        count -= part.count
    return chosen


def add_segments(pool: Pool, segments: list[Segment]) -> None:
    """Makes the pool longer; what follows directly joins the last segment."""
    for segment in segments:
        last = pool.segments[-1] if pool.segments else None
        if last and (last.volume, last.first + last.count) == (segment.volume, segment.first):
            last.count += segment.count
        else:
            pool.segments.append(segment)


def mapper_name(group: str, pool: str) -> str:
    """The name of a pool's device below /dev/mapper."""
    return f"{group.replace('-', '--')}-{pool.replace('-', '--')}"


def find_pool(appliance: Appliance, path: str) -> tuple[Group, Pool] | None:
    """The pool behind "/dev/vg1/data", "vg1/data", "/dev/mapper/vg1-data" or "/dev/dm-0"."""
    name = path.removeprefix("/dev/")
    for group in appliance.get(Lvm).groups:
        for pool in group.pools:
            mapper = mapper_name(group.name, pool.name)
            if name in (f"{group.name}/{pool.name}", f"mapper/{mapper}", f"dm-{pool.minor}"):
                return group, pool
    return None


def device_file(appliance: Appliance, pool: Pool) -> Path:
    """The file behind a pool's device."""
    return appliance.folder / "volumes" / f"{pool.identifier}.device"


def stripe_start(appliance: Appliance, device: str) -> int:
    """Where extents begin: at a whole stripe of an array, at 1 MiB of anything else."""
    array = find_array(appliance, device)
    if not array or not array.chunk:
        return DEFAULT_START
    stripe = array.chunk * 2 * array.kind.data_members(array.raid_disks)
    return DEFAULT_START if DEFAULT_START % stripe == 0 else stripe


def missing_volumes(appliance: Appliance, group: Group) -> list[str]:
    """Volumes of the group whose device is not there."""
    there = devices_of_volumes(appliance)
    return [identifier for identifier in group.volumes if identifier not in there]
