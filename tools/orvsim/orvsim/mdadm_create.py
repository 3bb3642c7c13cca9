"""mdadm --create."""

from __future__ import annotations

import re
import time

from orvsim.appliance import Appliance
from orvsim.blocks import Superblock, new_identifier
from orvsim.disks import Disk
from orvsim.md import start_sync, use_spares
from orvsim.md_devices import array_name, disk_at, is_busy
from orvsim.md_state import (
    IN_SYNC,
    LEVELS,
    SPARE,
    Array,
    Arrays,
    Level,
    Member,
    add_array,
    data_offset,
    find_array,
    touch,
    usable_kib,
)
from orvsim.mdadm_words import Words
from orvsim.tools import Call, ToolError

_NAMES = {"5": "raid5", "0": "raid0", "1": "raid1", "6": "raid6", "4": "raid4"}
_NAMES |= {"stripe": "raid0", "mirror": "raid1", "-1": "linear"}

DEFAULT_CHUNK = 512
BITMAP_CHUNK = 65536
LARGE_KIB = 100 << 20


def create(appliance: Appliance, words: Words, call: Call) -> int:
    """Makes an array of new members and starts it."""
    level, count, paths = _wanted(words)
    name = array_name(words.devices[0])
    _refuse_name(words.devices[0], name)
    chunk = int(words.values.get("chunk", DEFAULT_CHUNK)) if level.striped else 0
    disks = _checked_disks(appliance, level, paths, words, call)
    _refuse_array(appliance, words.devices[0], name)
    call.err("mdadm: Defaulting to version 1.2 metadata\n")
    array = _new_array(appliance, name, level, chunk, count, disks)
    _set_bitmap(array, words)
    _place_members(array, paths, count, words)
    _keep_data(appliance, array, disks)
    add_array(appliance, array)
    touch(appliance, array, 0)
    _first_sync(appliance, array, words)
    call.err(f"mdadm: array {words.devices[0]} started.\n")
    return 0


def _wanted(words: Words) -> tuple[Level, int, list[str]]:
    if not words.devices:
        raise ToolError("mdadm: an md device must be given in this mode", 2)
    text = words.values.get("level", "")
    level = LEVELS.get(_NAMES.get(text, text))
    if "level" in words.values and not level:
        raise ToolError(f"mdadm: invalid raid level: {text}", 2)
    if not level:
        raise ToolError("mdadm: a RAID level is needed to create an array.")
    if "members" not in words.values:
        raise ToolError("mdadm: a number of --raid-devices must be given to create an array")
    count = words.number("members", "invalid number of raid devices")
    spares = int(words.values.get("spares", 0))
    paths = words.devices[1:]
    if count == 1 and "force" not in words.flags:
        raise ToolError(
            "mdadm: '1' is an unusual number of drives for an array, so it is probably\n"
            "     a mistake.  If you really mean it you will need to specify --force before\n"
            "     setting the number of drives.",
            2,
        )
    if count < level.fewest:
        raise ToolError(
            f"mdadm: at least {level.fewest} raid-devices needed for level {level.number}"
        )
    if len(paths) > count + spares:
        raise ToolError(
            f"mdadm: You have listed more devices ({len(paths)}) than are in the array({count})!"
        )
    if len(paths) < count:
        raise ToolError(
            "mdadm: You haven't given enough devices (real or missing) to create this array"
        )
    return level, count, paths


def _refuse_name(path: str, name: str) -> None:
    if not re.fullmatch(r"md\d{1,3}", name):
        raise ToolError(f"mdadm: {path} is an invalid name for an md device.")


def _refuse_array(appliance: Appliance, path: str, name: str) -> None:
    if find_array(appliance, name):
        raise ToolError(
            f"mdadm: Fail to create {name} when using /sys/module/md_mod/parameters/new_array, "
            f"fallback to creation via node\nmdadm: {path} is already in use."
        )


_BOOT_NOTE = """mdadm: Note: this array has metadata at the start and
    may not be suitable as a boot device.  If you plan to
    store '/boot' on this device please ensure that
    your boot-loader understands md/v1.x metadata, or use
    --metadata=0.90
"""


def _checked_disks(
    appliance: Appliance, level: Level, paths: list[str], words: Words, call: Call
) -> list[Disk]:
    """The members; what mdadm finds on them is said on the way."""
    noted = level.name != "raid1" or "metadata" in words.values
    disks = []
    for path in paths:
        if path == "missing":
            continue
        disk = disk_at(appliance, path)
        if disk:
            disks.append(_checked_disk(appliance, disk, path))
            _warn_of_use(disk, call)
        if not noted:
            call.err(_BOOT_NOTE)
            noted = True
        if not disk:
            raise ToolError(f"mdadm: cannot open {path}: No such file or directory", 2)
    return disks


def _checked_disk(appliance: Appliance, disk: Disk, path: str) -> Disk:
    if is_busy(appliance, disk) or disk.failed:
        why = "Input/output error" if disk.failed else "Device or resource busy"
        raise ToolError(f"mdadm: cannot open {path}: {why}", 2)
    return disk


def _warn_of_use(disk: Disk, call: Call) -> None:
    superblock, path = disk.contents.superblock, f"/dev/{disk.name}"
    if superblock:
        made = time.ctime(superblock.created)
        call.err(f"mdadm: {path} appears to be part of a raid array:\n")
        call.err(f"       level={superblock.level} devices={superblock.raid_disks} ctime={made}\n")
    if disk.contents.file_system:
        kind = disk.contents.file_system.kind
        call.err(f"mdadm: {path} appears to contain a {kind} file system\n")


def _new_array(
    appliance: Appliance, name: str, level: Level, chunk: int, count: int, disks: list[Disk]
) -> Array:
    now = appliance.now()
    usable = [usable_kib(disk.size, chunk) for disk in disks]
    used = min(usable)
    array = Array(name, new_identifier(), level.name, count, created=now, updated=now)
    if level.striped:
        array.chunk = chunk
    array.data_offset = max(data_offset(disk.size, chunk) for disk in disks)
    if level.redundancy:
        array.used, array.size = used, used * level.data_members(count)
    else:
        array.size = sum(usable)
    return array


def _set_bitmap(array: Array, words: Words) -> None:
    wanted = words.values.get("bitmap", "")
    large = not wanted and array.used > LARGE_KIB
    if array.kind.redundancy and (wanted == "internal" or large):
        array.bitmap_chunk = int(words.values.get("bitmap_chunk", BITMAP_CHUNK))


def _place_members(array: Array, paths: list[str], count: int, words: Words) -> None:
    """A new RAID 4 or 5 is rebuilt onto its last member, so that its parity need not be read."""
    whole = {"assume_clean", "force", "foreground"} & words.flags or "missing" in paths
    rebuilt = count - 1 if array.level in ("raid4", "raid5") and not whole else -1
    for slot, path in enumerate(paths):
        if path == "missing":
            continue
        device = path.removeprefix("/dev/")
        if slot >= count:
            array.members.append(Member(device, slot + (rebuilt >= 0), -1, SPARE))
        elif slot == rebuilt:
            array.members.append(Member(device, count, slot, SPARE))
        else:
            array.members.append(Member(device, slot, slot, IN_SYNC))


def _keep_data(appliance: Appliance, array: Array, disks: list[Disk]) -> None:
    """Made anew over the same disks in the same order, an array still has its data."""
    before = [disk.contents.superblock for disk in disks]
    if not all(before) or not before:
        return
    known: list[Superblock] = [superblock for superblock in before if superblock]
    first = known[0]
    same_shape = (first.level, first.raid_disks, first.chunk) == (
        array.level,
        array.raid_disks,
        array.chunk,
    )
    in_order = [superblock.role for superblock in known] == list(range(len(known)))
    contents = appliance.get(Arrays).contents
    if same_shape and in_order and {superblock.array for superblock in known} == {first.array}:
        if first.array in contents:
            contents[array.identifier] = contents.pop(first.array)


def _first_sync(appliance: Appliance, array: Array, words: Words) -> None:
    if not array.kind.redundancy or {"assume_clean", "foreground"} & words.flags:
        array.synced = True
        return
    if array.level in ("raid4", "raid5") and "force" not in words.flags:
        use_spares(appliance, array)
    elif not array.degraded:
        start_sync(appliance, array, "resync")
