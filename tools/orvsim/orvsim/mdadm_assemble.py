"""mdadm --assemble and --incremental: arrays that were stopped run again."""

from __future__ import annotations

from orvsim.appliance import Appliance
from orvsim.blocks import Superblock
from orvsim.disks import Disk, Disks
from orvsim.md import use_spares
from orvsim.md_devices import array_name, disk_at, is_busy
from orvsim.md_state import (
    IN_SYNC,
    SPARE,
    Array,
    Arrays,
    Member,
    add_array,
    array_from,
    find_array,
    touch,
)
from orvsim.mdadm_words import Words
from orvsim.tools import Call, ToolError


def assemble(appliance: Appliance, words: Words, call: Call) -> int:
    """Starts an array from its members."""
    if not words.devices:
        return _assemble_all(appliance, call) if "scan" in words.flags else _nothing_given()
    path, paths = words.devices[0], words.devices[1:]
    _refuse_busy(appliance, paths)
    if find_array(appliance, array_name(path)):
        raise ToolError(f"mdadm: {path} is already in use.")
    disks = [_member_disk(appliance, member) for member in paths]
    identifiers = {disk.contents.superblock.array for disk in disks if disk.contents.superblock}
    if not disks:
        raise ToolError(f"mdadm: {path} not identified in config file.")
    if len(identifiers) > 1:
        raise ToolError(f"mdadm: superblock on {paths[-1]} doesn't match others - assembly aborted")
    return _start(appliance, array_name(path), disks, call, "run" in words.flags)


def _nothing_given() -> int:
    raise ToolError("mdadm: an md device must be given in this mode", 2)


def _refuse_busy(appliance: Appliance, paths: list[str]) -> None:
    disks = [(path, disk_at(appliance, path)) for path in paths]
    busy = [path for path, disk in disks if disk and is_busy(appliance, disk)]
    if busy:
        raise ToolError("\n".join(f"mdadm: {path} is busy - skipping" for path in busy), 2)


def _member_disk(appliance: Appliance, path: str) -> Disk:
    disk = disk_at(appliance, path)
    if not disk:
        raise ToolError(
            f"mdadm: cannot open device {path}: No such file or directory\n"
            f"mdadm: {path} has no superblock - assembly aborted"
        )
    if is_busy(appliance, disk):
        raise ToolError(f"mdadm: {path} is busy - skipping")
    if not disk.contents.superblock or disk.failed:
        raise ToolError(
            f"mdadm: no recogniseable superblock on {path}\n"
            f"mdadm: {path} has no superblock - assembly aborted"
        )
    return disk


def _assemble_all(appliance: Appliance, call: Call) -> int:
    groups: dict[str, list[Disk]] = {}
    for disk in appliance.get(Disks).present:
        superblock = disk.contents.superblock
        if superblock and not disk.failed and not is_busy(appliance, disk):
            groups.setdefault(superblock.array, []).append(disk)
    status = 0 if groups else 1
    for disks in groups.values():
        status |= _start(appliance, _superblock(disks[0]).name, disks, call)
    return status


def _superblock(disk: Disk) -> Superblock:
    assert disk.contents.superblock
    return disk.contents.superblock


def _newest(disks: list[Disk]) -> Superblock:
    return max((_superblock(disk) for disk in disks), key=lambda superblock: superblock.events)


def _members(disks: list[Disk]) -> list[Member]:
    """Who knows the latest events takes part; mdadm adds the first member last."""
    newest = _newest(disks)
    members = []
    for disk in disks:
        superblock = _superblock(disk)
        if superblock.events < newest.events - 1 and superblock.events != newest.events:
            continue
        state = IN_SYNC if superblock.in_sync and superblock.role >= 0 else SPARE
        slot = superblock.role if superblock.role >= 0 else -1
        members.append(Member(disk.name, superblock.number, slot, state))
    return members[1:] + members[:1]


def _start(
    appliance: Appliance, name: str, disks: list[Disk], call: Call, insist: bool = False
) -> int:
    newest = _newest(disks)
    array = array_from(newest, name)
    array.members = _members(disks)
    whole = array.raid_disks - array.degraded
    if array.failed:
        drives = "drive" if whole == 1 else "drives"
        call.err(
            f"mdadm: /dev/{name} assembled from {whole} {drives} - not enough to start the array.\n"
        )
        return 1
    expected = newest.letters.count("A")
    if len(array.members) < expected and not insist:
        drives = "drive" if whole == 1 else "drives"
        call.err(
            f"mdadm: /dev/{name} assembled from {whole} {drives} - need all {expected} to start it "
            "(use --run to insist).\n"
        )
        return 1
    add_array(appliance, array)
    _resume(array)
    call.err(f"mdadm: /dev/{name} has been started with {_count_text(array, whole)}.\n")
    return 0


def _count_text(array: Array, whole: int) -> str:
    text = f"{whole} drive" + ("s" if whole != 1 else "")
    if whole < array.raid_disks:
        text += f" (out of {array.raid_disks})"
    rebuilding = len([m for m in array.of_state(SPARE) if m.slot >= 0])
    spares = len(array.of_state(SPARE)) - rebuilding
    if rebuilding:
        text += f" and {rebuilding} rebuilding"
    if spares:
        text += f" and {spares} spare" + ("s" if spares != 1 else "")
    return text


def _resume(array: Array) -> None:
    """Nothing is written before somebody else writes."""
    if array.kind.redundancy:
        array.read_only = "auto"


def incremental(appliance: Appliance, words: Words, call: Call) -> int:
    """A member has appeared: its array starts when it has enough of them."""
    path = words.devices[0]
    disk = _member_disk(appliance, path)
    superblock = _superblock(disk)
    array = _array_with(appliance, superblock)
    if not array:
        array = array_from(superblock, superblock.name)
        array.active = False
        add_array(appliance, array)
    array.members.append(Member(disk.name, superblock.number, superblock.role, IN_SYNC))
    count, place = len(array.members), f"/dev/md/{array.minor}"
    needed = array.raid_disks - array.kind.may_lose(array.raid_disks)
    complete = count == array.raid_disks or "run" in words.flags and count >= needed
    if complete:
        array.active = True
        touch(appliance, array, 0)
        use_spares(appliance, array)
        call.err(f"mdadm: {path} attached to {place}, which has been started.\n")
        return 0
    call.err(f"mdadm: {path} attached to {place}, not enough to start ({count}).\n")
    return 0


def _array_with(appliance: Appliance, superblock: Superblock) -> Array | None:
    running = appliance.get(Arrays).running
    return next((array for array in running if array.identifier == superblock.array), None)
