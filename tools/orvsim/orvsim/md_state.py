"""md arrays: what they are made of, how large they are, how well they are."""

from __future__ import annotations

from dataclasses import dataclass, field

from orvsim.appliance import Appliance
from orvsim.blocks import SECTOR, Contents, Superblock, new_identifier
from orvsim.disks import Disk, find_disk
from orvsim.sections import section

IN_SYNC, SPARE, FAULTY = "in_sync", "spare", "faulty"
KIB_SECTORS = 2


@dataclass(frozen=True)
class Level:
    """What the kernel and mdadm know of a RAID level."""

    name: str
    number: int
    fewest: int
    redundancy: int = 0
    parity: int = 0
    striped: bool = True

    def may_lose(self, members: int) -> int:
        """How many of so many members may be missing."""
        return members - 1 if self.name == "raid1" else self.redundancy

    def data_members(self, members: int) -> int:
        """How many members' worth of data so many members hold."""
        return 1 if self.name == "raid1" else members - self.parity


LEVELS = {
    level.name: level
    for level in (
        Level("linear", -1, 1, striped=False),
        Level("raid0", 0, 1),
        Level("raid1", 1, 1, 1, striped=False),
        Level("raid4", 4, 2, 1, 1),
        Level("raid5", 5, 2, 1, 1),
        Level("raid6", 6, 4, 2, 2),
    )
}


@dataclass
class Member:
    """A device of an array; slot -1 is no place among the members."""

    device: str = ""
    number: int = 0
    slot: int = -1
    state: str = IN_SYNC
    write_error: bool = False
    present: bool = True


@dataclass
class Sync:
    """A rebuild or check that runs: `done` KiB at the appliance's time `since`."""

    action: str = "recover"
    since: float = 0.0
    done: float = 0.0
    speed: float = 0.0


@dataclass
class Array:
    """An array. `used` is what it uses of every member, in KiB; `size` is what it offers."""

    name: str = ""
    identifier: str = ""
    level: str = ""
    raid_disks: int = 0
    chunk: int = 0
    used: int = 0
    size: int = 0
    data_offset: int = 0
    bitmap_chunk: int = 0
    created: float = 0.0
    updated: float = 0.0
    events: int = 0
    members: list[Member] = field(default_factory=list)
    sync: Sync | None = None
    active: bool = True
    read_only: str = ""
    synced: bool = False
    shut: bool = False
    last_synced: float = 0.0

    @property
    def kind(self) -> Level:
        return LEVELS[self.level]

    @property
    def minor(self) -> int:
        return int(self.name.removeprefix("md"))

    def of_state(self, state: str) -> list[Member]:
        """The members in this state."""
        return [member for member in self.members if member.state == state]

    def in_slot(self, slot: int) -> Member | None:
        """The member in this place."""
        return next((member for member in self.members if member.slot == slot), None)

    def member(self, device: str) -> Member | None:
        """The member that is this device."""
        return next((member for member in self.members if member.device == device), None)

    @property
    def degraded(self) -> int:
        """How many places have no member in sync."""
        return self.raid_disks - len([m for m in self.of_state(IN_SYNC) if m.slot >= 0])

    @property
    def broken(self) -> bool:
        """Has a member of an array without redundancy gone?"""
        return self.kind.redundancy == 0 and any(not member.present for member in self.members)

    @property
    def pending(self) -> bool:
        """Does the first synchronisation wait for the array to be written?"""
        protected = self.kind.redundancy > 0 and not self.degraded
        return self.read_only == "auto" and protected and not self.synced

    @property
    def failed(self) -> bool:
        """Is data lost?"""
        return self.degraded > self.kind.may_lose(self.raid_disks) or self.broken


@section("arrays")
@dataclass
class Arrays:
    """All arrays that run, in the order in which they came, and the kernel's knowledge about md."""

    running: list[Array] = field(default_factory=list)
    contents: dict[str, Contents] = field(default_factory=dict)
    personalities: list[str] = field(default_factory=list)
    speed_min: int = 1000
    speed_max: int = 200000


PERSONALITIES = {
    "raid0": ("raid0",),
    "raid1": ("raid1",),
    "linear": ("linear",),
    "raid4": ("raid6", "raid5", "raid4"),
    "raid5": ("raid6", "raid5", "raid4"),
    "raid6": ("raid6", "raid5", "raid4"),
}


def add_array(appliance: Appliance, array: Array) -> None:
    """The array runs from now on."""
    arrays = appliance.get(Arrays)
    arrays.running.append(array)
    for name in PERSONALITIES[array.level]:
        if name not in arrays.personalities:
            arrays.personalities.append(name)


def find_array(appliance: Appliance, name: str) -> Array | None:
    """The array with this device name."""
    return next((array for array in appliance.get(Arrays).running if array.name == name), None)


def array_of(appliance: Appliance, device: str) -> Array | None:
    """The array that a device is a member of."""
    for array in appliance.get(Arrays).running:
        if array.member(device):
            return array
    return None


def data_offset(device_size: int, chunk: int) -> int:
    """Where mdadm 4.2 lets the data begin, in sectors: room for bitmap and later reshapes."""
    sectors = device_size // SECTOR
    if sectors - 128 >= 200 * 1024 * 1024 * 2:
        bitmap_space = 256
    elif sectors - 8 > 8 * 1024 * 1024 * 2:
        bitmap_space = 128
    else:
        bitmap_space = 8
    headroom = 128 * 1024 * 2
    while headroom << 10 > sectors and (not chunk or headroom > chunk * 4):
        headroom >>= 1
    megabyte = 2048
    offset = 24 + bitmap_space + headroom
    return (offset + megabyte - 1) // megabyte * megabyte


def usable_kib(device_size: int, chunk: int, offset: int = 0) -> int:
    """How much of a device an array can use."""
    kib = (device_size // SECTOR - (offset or data_offset(device_size, chunk))) // KIB_SECTORS
    return kib // chunk * chunk if chunk else kib


def touch(appliance: Appliance, array: Array, events: int = 1) -> None:
    """The array's superblocks are written to all members that are well."""
    array.events += events
    array.updated = appliance.now()
    for member in array.members:
        disk = find_disk(appliance, member.device)
        if disk and member.state != FAULTY:
            write_superblock(disk, array, member)


# What an array and the superblock of a member both say.
_SHARED = (
    "name level raid_disks chunk used size data_offset bitmap_chunk created synced events updated"
).split()


def write_superblock(disk: Disk, array: Array, member: Member) -> None:
    """The disk remembers what it is in the array."""
    superblock = disk.contents.superblock
    if not superblock or superblock.array != array.identifier:
        superblock = Superblock(array.identifier, new_identifier())
    superblock.role, superblock.number = member.slot, member.number
    superblock.in_sync = member.state == IN_SYNC
    superblock.letters = member_letters(array)
    for name in _SHARED:
        setattr(superblock, name, getattr(array, name))
    disk.contents.wipe()
    disk.contents.superblock = superblock


def array_from(superblock: Superblock, name: str) -> Array:
    """The array that a member's superblock tells of, without members."""
    array = Array(name, superblock.array)
    for shared in _SHARED[1:]:
        setattr(array, shared, getattr(superblock, shared))
    return array


def contents_of(appliance: Appliance, array: Array) -> Contents:
    """What stands on the array; it outlives the array's being stopped."""
    return appliance.get(Arrays).contents.setdefault(array.identifier, Contents())


def member_letters(array: Array) -> str:
    """ "AA.A": which places have a member."""
    present = {member.slot for member in array.members if member.state != FAULTY}
    return "".join("A" if slot in present else "." for slot in range(array.raid_disks))
