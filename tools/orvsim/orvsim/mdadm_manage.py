"""mdadm --manage, --stop, --readonly, --readwrite and --zero-superblock."""

from __future__ import annotations

import os

from orvsim.appliance import Appliance
from orvsim.disks import Disk
from orvsim.holders import holder_of
from orvsim.md import fail_member, start_sync, use_spares, written
from orvsim.md_devices import disk_at, existing_array, is_busy
from orvsim.md_state import FAULTY, IN_SYNC, SPARE, Array, Arrays, Member, touch, usable_kib
from orvsim.mdadm_words import Words
from orvsim.tools import Call, ToolError


def manage(appliance: Appliance, words: Words, call: Call) -> int:
    """Adds, removes and fails members, one after the other."""
    path = words.devices[0]
    if not words.actions:
        raise ToolError(f"mdadm: No action given for {path}" if len(words.devices) > 1 else "", 0)
    array = existing_array(appliance, path, "mdadm: error opening")
    for action, device in words.actions:
        if device.startswith("/") and not os.path.lexists(device):
            raise ToolError(f"mdadm: stat failed for {device}: No such file or directory")
        _ACTIONS[action](appliance, array, device, call)
    return 0


def _add(appliance: Appliance, array: Array, path: str, call: Call) -> None:
    disk = disk_at(appliance, path)
    if not disk:
        raise ToolError(f"mdadm: Cannot open {path}: Inappropriate ioctl for device")
    if is_busy(appliance, disk):
        raise ToolError(f"mdadm: Cannot open {path}: Device or resource busy")
    if disk.failed:
        raise ToolError(f"mdadm: Cannot open {path}: Input/output error")
    if array.kind.redundancy == 0:
        raise ToolError(
            f"mdadm: add new device failed for {path} as {array.raid_disks}: Invalid argument"
        )
    if _rejoin(appliance, array, disk):
        call.err(f"mdadm: re-added {path}\n")
        return
    _refuse_add(array, disk, path)
    array.members.append(Member(disk.name, _free_number(array), -1, SPARE))
    touch(appliance, array)
    call.err(f"mdadm: added {path}\n")
    use_spares(appliance, array)
    touch(appliance, array, 0)


def _rejoin(appliance: Appliance, array: Array, disk: Disk) -> bool:
    """With a bitmap, a former member only needs what was written meanwhile."""
    superblock = disk.contents.superblock
    if not superblock or superblock.array != array.identifier or not array.bitmap_chunk:
        return False
    slot = superblock.role
    if slot < 0 or not superblock.in_sync:
        return False
    if array.in_slot(slot):
        array.members.append(Member(disk.name, _free_number(array), -1, SPARE))
        return True
    array.members.append(Member(disk.name, superblock.number, slot, SPARE))
    start_sync(appliance, array, "recover")
    if array.sync:
        array.sync.done = array.used * 0.98
    touch(appliance, array)
    return True


def _refuse_add(array: Array, disk: Disk, path: str) -> None:
    if array.failed:
        raise ToolError(
            f"mdadm: /dev/{array.name} has failed so using --add cannot work and might destroy\n"
            f"mdadm: data on {path}.  You should stop the array and re-assemble it."
        )
    if usable_kib(disk.size, array.chunk, array.data_offset) < array.used:
        raise ToolError(f"mdadm: {path} not large enough to join array")


def _free_number(array: Array) -> int:
    return max([array.raid_disks - 1, *(member.number for member in array.members)]) + 1


def _remove(appliance: Appliance, array: Array, path: str, call: Call) -> None:
    chosen = [array.member(path.removeprefix("/dev/"))]
    if path in ("faulty", "failed"):
        chosen = list(array.of_state(FAULTY))
    elif path == "detached":
        chosen = [member for member in array.members if not member.present]
    for member in chosen:
        _remove_one(appliance, array, member, path, call)


def _remove_one(
    appliance: Appliance, array: Array, member: Member | None, path: str, call: Call
) -> None:
    if not member:
        raise ToolError(f"mdadm: hot remove failed for {path}: No such device or address")
    used = member.state == IN_SYNC or member.state == SPARE and member.slot >= 0 and array.sync
    if used:
        raise ToolError(f"mdadm: hot remove failed for {path}: Device or resource busy")
    array.members.remove(member)
    touch(appliance, array)
    call.err(f"mdadm: hot removed /dev/{member.device} from /dev/{array.name}\n")


def _fail(appliance: Appliance, array: Array, path: str, call: Call) -> None:
    member = array.member(path.removeprefix("/dev/"))
    if not member:
        raise ToolError(f"mdadm: set device faulty failed for {path}:  No such device")
    if not fail_member(appliance, array, member):
        raise ToolError(f"mdadm: set device faulty failed for {path}:  Device or resource busy", 2)
    call.err(f"mdadm: set {path} faulty in /dev/{array.name}\n")


_ACTIONS = {"add": _add, "re-add": _add, "remove": _remove, "fail": _fail}


def stop(appliance: Appliance, words: Words, call: Call) -> int:
    """Takes arrays apart; their members remember them."""
    running = [f"/dev/{array.name}" for array in appliance.get(Arrays).running]
    for path in words.devices or (running if "scan" in words.flags else []):
        array = existing_array(appliance, path, "mdadm: error opening")
        if holder_of(appliance, array.name):
            raise ToolError(
                f"mdadm: Cannot get exclusive access to {path}:Perhaps a running process, "
                "mounted filesystem or active volume group?"
            )
        touch(appliance, array, 0)
        appliance.get(Arrays).running.remove(array)
        call.err(f"mdadm: stopped {path}\n")
    return 0


def set_read_only(appliance: Appliance, words: Words, _call: Call) -> int:
    """Nothing is written to the array any more."""
    for path in words.devices:
        array = existing_array(appliance, path, "mdadm: error opening")
        if holder_of(appliance, array.name):
            raise ToolError(f"mdadm: failed to set readonly for {path}: Device or resource busy")
        array.read_only = "ro"
    return 0


def set_writable(appliance: Appliance, words: Words, _call: Call) -> int:
    """The array can be written, so what waited for that begins."""
    for path in words.devices:
        array = existing_array(appliance, path, "mdadm: error opening")
        array.read_only = "auto"
        written(appliance, array.name)
    return 0


def zero(appliance: Appliance, words: Words, call: Call) -> int:
    """The members forget their array."""
    for path in words.devices:
        disk = disk_at(appliance, path)
        if not disk:
            raise ToolError(f"mdadm: Couldn't open {path} for write - not zeroing", 2)
        if is_busy(appliance, disk):
            raise ToolError(f"mdadm: Couldn't open {path} for write - not zeroing", 2)
        if not disk.contents.superblock:
            call.err(f"mdadm: Unrecognised md component device - {path}\n")
        disk.contents.superblock = None
    return 0
