"""pvdisplay, vgdisplay and lvdisplay, in columns for programs (-c) and in words."""

from __future__ import annotations

import os
import time

from orvsim.appliance import Appliance
from orvsim.lvm_activation import is_open, times_open
from orvsim.lvm_missing import warn_of_all_missing
from orvsim.lvm_state import (
    EXTENT_SECTORS,
    MAPPER_MAJOR,
    Group,
    Lvm,
    PhysicalVolume,
    Pool,
    devices_of_volumes,
    group_of_volume,
    missing_volumes,
    sorted_groups,
    used_extents,
)
from orvsim.lvm_words import Words, fail, read_words, size_text
from orvsim.tools import Call, tool

_EXTENT_KIB = EXTENT_SECTORS // 2
_MISSING = 0x800000


@tool("/sbin/pvdisplay")
def pvdisplay(appliance: Appliance, call: Call) -> int:
    """The physical volumes: group by group, then those of no group."""
    words = read_words(call)
    warn_of_all_missing(appliance, call)
    devices, shown = devices_of_volumes(appliance), set()
    show = _volume_columns if "colon" in words.flags else _volume_words
    for group in sorted_groups(appliance):
        for identifier in group.volumes:
            path = devices.get(identifier, "[unknown]")
            if not words.names or path in words.names:
                volume = appliance.get(Lvm).volumes[identifier]
                show(call, group, volume, path, path == "[unknown]")
                shown.add(path)
    for identifier, path in sorted(devices.items(), key=lambda item: item[1]):
        if group_of_volume(appliance, identifier) or words.names and path not in words.names:
            continue
        volume = appliance.get(Lvm).volumes.get(identifier)
        if volume:
            call.out(f'  "{path}" is a new physical volume of "{size_text(volume.size)}"\n')
            show(call, None, volume, path, False)
            shown.add(path)
    unknown = [name for name in words.names if name not in shown]
    if unknown:
        raise fail("\n".join(f'Failed to find physical volume "{name}".' for name in unknown))
    return 0


def _volume_columns(
    call: Call, group: Group | None, volume: PhysicalVolume, path: str, missing: bool
) -> None:
    if not group:
        call.out(f"  {path}::{volume.size}:-1:0:0:-1:0:0:0:0:{volume.identifier}\n")
        return
    allocatable = 8 if volume.allocatable else 0
    status = allocatable + (_MISSING if missing else 0)
    used, total = used_extents(group, volume.identifier), volume.extents
    call.out(
        f"  {path}:{group.name}:{volume.size}:-1:{status}:{allocatable}:-1:{_EXTENT_KIB}:"
        f"{total}:{total - used}:{used}:{volume.identifier}\n"
    )


def _volume_words(
    call: Call, group: Group | None, volume: PhysicalVolume, path: str, _missing: bool
) -> None:
    used = used_extents(group, volume.identifier) if group else 0
    total = volume.extents if group else 0
    rest = volume.size - total * EXTENT_SECTORS
    size = size_text(volume.size)
    if group:
        size += f" / not usable {size_text(rest)}"
        title = "  --- Physical volume ---"
    else:
        title = "  --- NEW Physical volume ---"
    free = total - used
    allocatable = "NO" if not group or not volume.allocatable else "yes"
    if allocatable == "yes" and not free:
        allocatable = "yes (but full)"
    rows = [
        ("PV Name", path),
        ("VG Name", group.name if group else ""),
        ("PV Size", size),
        ("Allocatable", allocatable + (" " if allocatable == "yes" else "")),
        ("PE Size", "4.00 MiB" if group else "0   "),
        ("Total PE", total),
        ("Free PE", free),
        ("Allocated PE", used),
        ("PV UUID", volume.identifier),
    ]
    call.out(title + "\n" + _rows(rows, 22) + "   \n")


def _rows(rows: list[tuple[str, object]], width: int) -> str:
    return "".join(f"  {title:<{width}}{value}\n" for title, value in rows)


@tool("/sbin/vgdisplay")
def vgdisplay(appliance: Appliance, call: Call) -> int:
    """The volume groups."""
    words = read_words(call)
    warn_of_all_missing(appliance, call)
    groups = {group.name: group for group in sorted_groups(appliance)}
    show = _group_columns if "colon" in words.flags else _group_words
    for name in words.names or groups:
        if name not in groups:
            raise fail(f'Volume group "{name}" not found\nCannot process volume group {name}')
        show(appliance, call, groups[name])
    return 0


def _group_numbers(appliance: Appliance, group: Group) -> tuple[int, int, int]:
    volumes = appliance.get(Lvm).volumes
    total = sum(volumes[identifier].extents for identifier in group.volumes)
    used = sum(pool.extents for pool in group.pools)
    opened = len([pool for pool in group.pools if is_open(appliance, group, pool)])
    return total, used, opened


def _group_columns(appliance: Appliance, call: Call, group: Group) -> None:
    total, used, opened = _group_numbers(appliance, group)
    volumes = len(group.volumes)
    there = volumes - len(missing_volumes(appliance, group))
    call.out(
        f"  {group.name}:r/w:772:-1:0:{len(group.pools)}:{opened}:-1:0:{volumes}:{there}:"
        f"{total * _EXTENT_KIB}:{_EXTENT_KIB}:{total}:{used}:{total - used}:{group.identifier}\n"
    )


def _group_words(appliance: Appliance, call: Call, group: Group) -> None:
    total, used, opened = _group_numbers(appliance, group)
    volumes = len(group.volumes)
    rows: list[tuple[str, object]] = [
        ("VG Name", group.name),
        ("System ID", ""),
        ("Format", "lvm2"),
        ("Metadata Areas", volumes),
        ("Metadata Sequence No", group.sequence),
        ("VG Access", "read/write"),
        ("VG Status", "resizable"),
        ("MAX LV", 0),
        ("Cur LV", len(group.pools)),
        ("Open LV", opened),
        ("Max PV", 0),
        ("Cur PV", volumes),
        ("Act PV", volumes - len(missing_volumes(appliance, group))),
        ("VG Size", size_text(total * EXTENT_SECTORS)),
        ("PE Size", "4.00 MiB"),
        ("Total PE", total),
        ("Alloc PE / Size", f"{used} / {_size_or_zero(used)}"),
        ("Free  PE / Size", f"{total - used} / {_size_or_zero(total - used)}"),
        ("VG UUID", group.identifier),
    ]
    call.out("  --- Volume group ---\n" + _rows(rows, 22) + "   \n")


def _size_or_zero(extents: int) -> str:
    return size_text(extents * EXTENT_SECTORS) if extents else "0   "


@tool("/sbin/lvdisplay")
def lvdisplay(appliance: Appliance, call: Call) -> int:
    """The pools, group by group."""
    words = read_words(call)
    warn_of_all_missing(appliance, call)
    show = _pool_columns if "colon" in words.flags else _pool_words
    for group in sorted_groups(appliance):
        for pool in group.pools:
            if _is_named(words, group, pool):
                show(appliance, call, group, pool)
    return 0


def _is_named(words: Words, group: Group, pool: Pool) -> bool:
    names = {name.removeprefix("/dev/") for name in words.names}
    return not names or bool(names & {group.name, f"{group.name}/{pool.name}"})


def _pool_columns(appliance: Appliance, call: Call, group: Group, pool: Pool) -> None:
    opened = times_open(appliance, group, pool)
    numbers = f"{MAPPER_MAJOR}:{pool.minor}" if pool.active else "-1:-1"
    call.out(
        f"  /dev/{group.name}/{pool.name}:{group.name}:3:{int(pool.active)}:-1:{opened}:"
        f"{pool.extents * EXTENT_SECTORS}:{pool.extents}:-1:0:-1:{numbers}\n"
    )


def _pool_words(appliance: Appliance, call: Call, group: Group, pool: Pool) -> None:
    stamp = time.strftime("%Y-%m-%d %H:%M:%S %z", time.localtime(pool.created))
    opened = times_open(appliance, group, pool)
    rows: list[tuple[str, object]] = [
        ("LV Path", f"/dev/{group.name}/{pool.name}"),
        ("LV Name", pool.name),
        ("VG Name", group.name),
        ("LV UUID", pool.identifier),
        ("LV Write Access", "read/write"),
        ("LV Creation host, time", f"{os.uname().nodename}, {stamp}"),
        ("LV Status", "available" if pool.active else "NOT available"),
    ]
    if pool.active:
        rows.append(("# open", opened))
    rows += [
        ("LV Size", size_text(pool.extents * EXTENT_SECTORS)),
        ("Current LE", pool.extents),
        ("Segments", len(pool.segments)),
        ("Allocation", "inherit"),
        ("Read ahead sectors", "auto"),
    ]
    if pool.active:
        rows += [
            ("- currently set to", 256),
            ("Block device", f"{MAPPER_MAJOR}:{pool.minor}"),
        ]
    call.out("  --- Logical volume ---\n" + _rows_wide(rows) + "   \n")


def _rows_wide(rows: list[tuple[str, object]]) -> str:
    return "".join(f"  {title:<22} {value}\n" for title, value in rows)
