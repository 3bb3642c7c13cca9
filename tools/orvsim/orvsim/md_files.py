"""What the kernel shows of arrays: /proc/mdstat, /sys/block/mdN, the limits of the speed."""

from __future__ import annotations

from orvsim.appliance import Appliance
from orvsim.kernel_files import KernelFiles
from orvsim.md import BITMAP_SECONDS, fail_member, set_speed, start_sync, sync_done
from orvsim.disks import find_disk
from orvsim.md_state import (
    FAULTY,
    IN_SYNC,
    KIB_SECTORS,
    SPARE,
    Array,
    Arrays,
    Member,
    usable_kib,
)
from orvsim.tools import kernel_files

CHUNKS_IN_PAGE = 2048


@kernel_files
def show_arrays(appliance: Appliance, files: KernelFiles) -> None:
    """All that the kernel shows of md."""
    arrays = appliance.get(Arrays)
    files.put("/proc/mdstat", mdstat(appliance))
    folder = "/proc/sys/dev/raid/speed_limit_"
    files.put(folder + "min", f"{arrays.speed_min}\n", _set_speed_min)
    files.put(folder + "max", f"{arrays.speed_max}\n", _set_speed_max)
    for array in arrays.running:
        _show_array(appliance, files, array)


def _set_speed_min(appliance: Appliance, text: str) -> None:
    if text.isdigit():
        appliance.get(Arrays).speed_min = int(text)
        set_speed(appliance)


def _set_speed_max(appliance: Appliance, text: str) -> None:
    if text.isdigit():
        appliance.get(Arrays).speed_max = int(text)
        set_speed(appliance)


def mdstat(appliance: Appliance) -> str:
    """The text of /proc/mdstat; the newest array stands first."""
    arrays = appliance.get(Arrays)
    names = "".join(f"[{name}] " for name in arrays.personalities)
    parts = [_array_text(appliance, array) for array in reversed(arrays.running)]
    return f"Personalities : {names}\n" + "".join(parts) + "unused devices: <none>\n"


def _array_text(appliance: Appliance, array: Array) -> str:
    read_only = {"ro": "(read-only) ", "auto": "(auto-read-only) ", "": ""}[array.read_only]
    head = f"active {read_only}{array.level}" if array.active else "inactive"
    members = "".join(" " + _member_text(array, member) for member in _listed(array))
    lines = [f"{array.name} : {head}{members}"]
    lines.append(f"      {_blocks(appliance, array)} blocks super 1.2{_shape(array)}")
    if not array.active:
        return "\n".join([*lines, "       \n"])
    progress = _progress(appliance, array)
    if progress:
        lines.append(progress)
    lines.append("      " + _bitmap(appliance, array))
    return "\n".join(lines) + "\n\n" if array.bitmap_chunk else "\n".join(lines) + "\n"


def _listed(array: Array) -> list[Member]:
    """The kernel's list has the member that came last in front."""
    return list(reversed(array.members))


def _member_text(array: Array, member: Member) -> str:
    mark = "(F)" if member.state == FAULTY else ""
    if member.state == SPARE and (member.slot < 0 or not array.active):
        mark = "(S)"
    if not array.active:
        mark = "(S)"
    return f"{member.device}[{member.number}]{mark}"


def _blocks(appliance: Appliance, array: Array) -> int:
    if array.active:
        return array.size
    disks = (find_disk(appliance, member.device) for member in array.members)
    return sum(usable_kib(disk.size, array.chunk, array.data_offset) for disk in disks if disk)


def _shape(array: Array) -> str:
    if not array.active:
        return ""
    if array.level == "linear":
        return " 0k rounding"
    if array.level == "raid0":
        return f" {array.chunk}k chunks"
    level = ""
    if array.kind.parity:
        layout = 0 if array.level == "raid4" else 2
        level = f" level {array.kind.number}, {array.chunk}k chunk, algorithm {layout}"
    whole = array.raid_disks - array.degraded
    return f"{level} [{array.raid_disks}/{whole}] [{_letters(array)}]"


def _letters(array: Array) -> str:
    members = (array.in_slot(slot) for slot in range(array.raid_disks))
    return "".join("U" if member and member.state == IN_SYNC else "_" for member in members)


def _progress(appliance: Appliance, array: Array) -> str:
    if array.pending:
        return "      \tresync=PENDING"
    if not array.sync:
        return ""
    words = {"recover": "recovery", "resync": "resync", "check": "check", "repair": "resync"}
    done, total = int(sync_done(appliance, array)), max(array.used, 1)
    bar = int(20 * done / total)
    seconds = (total - done) / max(array.sync.speed, 1)
    dots = "=" * bar + ">" + "." * (20 - bar)
    permille = 1000 * done // total
    return (
        f"      [{dots}]  {words[array.sync.action]} ={permille // 10:3}.{permille % 10}% "
        f"({done}/{total}) finish={int(seconds / 60)}.{int(seconds % 60 / 6)}min "
        f"speed={int(array.sync.speed)}K/sec"
    )


def _bitmap(appliance: Appliance, array: Array) -> str:
    if not array.bitmap_chunk:
        return ""
    chunks = -(-array.used // array.bitmap_chunk)
    pages = -(-chunks // CHUNKS_IN_PAGE)
    in_use = bool(array.sync) or appliance.now() - array.last_synced < BITMAP_SECONDS
    held = pages if in_use else 0
    return f"bitmap: {held}/{pages} pages [{held * 4}KB], {array.bitmap_chunk}KB chunk"


def _show_array(appliance: Appliance, files: KernelFiles, array: Array) -> None:
    block = f"/sys/block/{array.name}"
    size = array.size * KIB_SECTORS if array.active else 0
    files.put(f"{block}/size", f"{size}\n")
    files.put(f"{block}/dev", f"9:{array.minor}\n")
    files.put(f"{block}/ro", "1\n" if array.read_only == "ro" else "0\n")
    files.device(f"/dev/{array.name}", size * 512)
    folder = f"{block}/md"
    for name, text in _attributes(array).items():
        files.put(f"{folder}/{name}", text + "\n")
    if array.active and array.kind.redundancy:
        _show_sync(appliance, files, array, folder)
    for member in array.members:
        _show_member(files, array, member, folder)


def _attributes(array: Array) -> dict[str, str]:
    texts = {
        "array_size": "default",
        "array_state": _array_state(array),
        "bitmap": "",
        "chunk_size": str(array.chunk * 1024),
        "component_size": str(array.used if array.kind.redundancy or array.active else 0),
        "consistency_policy": _policy(array),
        "fail_last_dev": "0",
        "layout": "2" if array.level in ("raid5", "raid6") else "0",
        "level": array.level if array.active else "",
        "max_read_errors": "20",
        "metadata_version": "1.2",
        "raid_disks": str(array.raid_disks),
        "reshape_direction": "forwards",
        "reshape_position": "none",
        "resync_start": "none",
        "safe_mode_delay": "0.200",
        "uuid": array.identifier,
    }
    if array.kind.parity:
        texts |= {"stripe_cache_size": "256", "stripe_cache_active": "0", "rmw_level": "1"}
    return texts


def _array_state(array: Array) -> str:
    if not array.active:
        return "inactive"
    if array.broken or array.shut and not array.read_only:
        return "broken"
    if array.failed:
        return "write-pending"
    return {"ro": "readonly", "auto": "read-auto", "": "clean"}[array.read_only]


def _policy(array: Array) -> str:
    if not array.kind.redundancy:
        return "none"
    return "bitmap" if array.bitmap_chunk else "resync"


def _show_sync(appliance: Appliance, files: KernelFiles, array: Array, folder: str) -> None:
    action = array.sync.action if array.sync else "idle"
    files.put(f"{folder}/sync_action", action + "\n", _action_setter(array.name))
    files.put(f"{folder}/degraded", f"{array.degraded}\n")
    files.put(f"{folder}/mismatch_cnt", "0\n")
    files.put(f"{folder}/last_sync_action", "none\n" if not array.last_synced else "resync\n")
    files.put(f"{folder}/sync_min", "0\n")
    files.put(f"{folder}/sync_max", "max\n")
    if array.sync:
        done = int(sync_done(appliance, array)) * KIB_SECTORS
        files.put(f"{folder}/sync_completed", f"{done} / {array.used * KIB_SECTORS}\n")
        files.put(f"{folder}/sync_speed", f"{int(array.sync.speed)}\n")
    else:
        files.put(f"{folder}/sync_completed", "none\n")
        files.put(f"{folder}/sync_speed", "none\n")


def _action_setter(name: str):
    def set_action(appliance: Appliance, text: str) -> None:
        array = next(array for array in appliance.get(Arrays).running if array.name == name)
        if text in ("check", "repair") and not array.sync:
            start_sync(appliance, array, text)
        elif text in ("idle", "frozen") and array.sync and array.sync.action != "recover":
            array.sync = None

    return set_action


def _show_member(files: KernelFiles, array: Array, member: Member, folder: str) -> None:
    place = f"{folder}/dev-{member.device}"
    state = member.state + (",write_error" if member.write_error else "")
    if member.state == FAULTY and member.slot >= 0:
        state += ",blocked"
    files.put(f"{place}/state", state + "\n", _member_setter(array.name, member.device))
    files.put(f"{place}/slot", f"{member.slot}\n" if member.slot >= 0 else "none\n")
    files.put(f"{place}/errors", "0\n")
    files.put(f"{place}/offset", f"{array.data_offset}\n")
    files.put(f"{place}/size", f"{array.used}\n")
    if member.present:
        files.link(f"{place}/block", f"../../../{member.device}")
        files.link(f"/sys/block/{member.device}/holders/{array.name}", f"../../{array.name}")
    if member.slot >= 0:
        files.link(f"{folder}/rd{member.slot}", f"dev-{member.device}")


def _member_setter(name: str, device: str):
    def set_state(appliance: Appliance, text: str) -> None:
        array = next(array for array in appliance.get(Arrays).running if array.name == name)
        member = array.member(device)
        if text == "faulty" and member:
            fail_member(appliance, array, member)

    return set_state
