"""How large the simulated file systems are and how full; df and blkid tell it."""

from __future__ import annotations

import os
import time
from pathlib import Path

from orvsim.appliance import Appliance
from orvsim.blocks import FileSystem
from orvsim.devices import contents_at
from orvsim.file_system_state import Mount, Mounts
from orvsim.mkfs import BLOCK, log_blocks
from orvsim.mounts import mount_at, mount_below
from orvsim.tools import Call, ToolError, tool

_TYPES = {"xfs": 0x58465342, "reiserfs": 0x52654973}
_FRESH_SECONDS = 0.5
_counted: dict[str, tuple[float, int, int]] = {}


def _count(folder: Path) -> tuple[int, int]:
    """Blocks and files below a folder."""
    blocks = files = 0
    for place, _, names in os.walk(folder):
        files += 1
        for name in names:
            try:
                about = os.lstat(os.path.join(place, name))
            except OSError:
                continue
            files += 1
            blocks += -(-about.st_blocks * 512 // BLOCK)
    return blocks, files


def _contents_of(appliance: Appliance, identifier: str) -> tuple[int, int]:
    """Blocks and files of a file system, as they were not long ago."""
    counted = _counted.get(identifier)
    if not counted or time.monotonic() - counted[0] > _FRESH_SECONDS:
        counted = (time.monotonic(), *_count(appliance.volume(identifier)))
        _counted[identifier] = counted
    return counted[1], counted[2]


def _own_blocks(made: FileSystem) -> tuple[int, int]:
    """Blocks that can hold data, and how many of them a fresh file system uses itself."""
    blocks = made.size // BLOCK
    if made.kind == "reiserfs":
        return blocks - 8211 - blocks // 32768, 0
    data = blocks - log_blocks(blocks)
    return data, 24 + blocks // 143


def use(appliance: Appliance, made: FileSystem) -> tuple[int, int, int]:
    """Blocks, free blocks and files."""
    data, own = _own_blocks(made)
    blocks, files = _contents_of(appliance, made.identifier)
    used = min(data, max(own + blocks + 0, made.filled // BLOCK))
    return data, data - used, files


def file_system_of(appliance: Appliance, mount: Mount) -> FileSystem | None:
    """What is mounted there, also when its device is gone meanwhile."""
    contents = contents_at(appliance, mount.device)
    return contents.file_system if contents else None


def statfs(appliance: Appliance, path: str) -> list[str]:
    """The answer for the preloaded library."""
    mount = mount_below(appliance, path)
    made = file_system_of(appliance, mount) if mount else None
    if not made:
        return ["none", ""]
    blocks, free, files = use(appliance, made)
    inodes = blocks * 2
    numbers = (_TYPES[made.kind], BLOCK, blocks, free, inodes, max(0, inodes - files))
    return ["sizes", *(str(number) for number in numbers)]


@tool("/usr/bin/df")
def df(appliance: Appliance, call: Call) -> int:
    """The use of the simulated file systems, and of the appliance's own."""
    unit, chosen, show_type, columns = 1024, [], False, ""
    for word in call.arguments:
        if word.startswith("--output"):
            columns = word.partition("=")[2] or "source,fstype,size,used,avail,pcent,target"
        elif word.startswith("--"):
            continue
        elif word.startswith("-"):
            unit = 1 << 20 if "m" in word else 0 if "h" in word else unit
            show_type = show_type or "T" in word
        else:
            chosen.append(word)
    mounts = [_named_mount(appliance, call, name) for name in chosen]
    mounts = mounts or list(appliance.get(Mounts).mounted)
    columns = columns or f"source,{'fstype,' if show_type else ''}size,used,avail,pcent,target"
    call.out(_df_table(appliance, mounts, unit, columns.split(",")))
    return 0


def _named_mount(appliance: Appliance, call: Call, name: str) -> Mount:
    path = os.path.realpath(os.path.join(call.folder, name))
    if not os.path.exists(path):
        raise ToolError(f"df: {name}: No such file or directory")
    return mount_below(appliance, path) or Mount("/dev/root", "/", "ext4")


_DF_TITLES = {
    "source": "Filesystem", "fstype": "Type", "used": "Used", "avail": "Avail",
    "pcent": "Use%", "target": "Mounted on",
}  # fmt: skip


def _df_table(appliance: Appliance, mounts: list[Mount], unit: int, columns: list[str]) -> str:
    names = {0: "Size", 1024: "1K-blocks", 1 << 20: "1M-blocks"}
    titles = {**_DF_TITLES, "size": names[unit]}
    if unit == 1024:
        titles["avail"] = "Available"
    if unit == 1 << 20:
        titles["avail"] = "Available"
    rows = [[titles[column] for column in columns]]
    rows += [_df_row(appliance, mount, unit, columns) for mount in mounts]
    widths = [max(len(row[place]) for row in rows) for place in range(len(columns))]
    lines = []
    for row in rows:
        cells = [
            text.ljust(max(width, 14 if column == "source" else 0))
            if column in ("source", "fstype", "target")
            else text.rjust(max(width, 5 if column in ("size", "used", "avail") else 4))
            for text, width, column in zip(row, widths, columns)
        ]
        lines.append(" ".join(cells).rstrip() + "\n")
    return "".join(lines)


def _df_row(appliance: Appliance, mount: Mount, unit: int, columns: list[str]) -> list[str]:
    made = file_system_of(appliance, mount)
    if made:
        blocks, free, _ = use(appliance, made)
        size, left = blocks * BLOCK, free * BLOCK
    else:
        about = os.statvfs(mount.target)
        size, left = about.f_blocks * about.f_frsize, about.f_bavail * about.f_frsize
    used = size - left
    percent = -(-100 * used // size) if size else 0
    values = {
        "source": mount.device,
        "fstype": mount.kind,
        "size": _amount(size, unit),
        "used": _amount(used, unit),
        "avail": _amount(left, unit),
        "pcent": f"{percent}%",
        "target": mount.target,
    }
    return [values[column] for column in columns]


def _amount(size: int, unit: int) -> str:
    if unit:
        return str(-(-size // unit))
    value, name = float(size), ""
    for name in ("", "K", "M", "G", "T"):
        if value < 1024:
            break
        value /= 1024
    if value < 10 and name:
        return f"{-(-int(value * 100) // 10) / 10:.1f}{name}"
    return f"{int(-(-value // 1))}{name}"


@tool("/usr/sbin/blkid")
def blkid(appliance: Appliance, call: Call) -> int:
    """What stands on devices."""
    values, rest, names = {}, list(call.arguments), []
    while rest:
        word = rest.pop(0)
        if word in ("-o", "-s"):
            values[word] = rest.pop(0) if rest else ""
        elif not word.startswith("-"):
            names.append(word)
    status = 2
    for name in names:
        tags = _tags(appliance, name)
        chosen = {key: tag for key, tag in tags.items() if values.get("-s", key) == key}
        if chosen:
            status = 0
            call.out(_tag_text(name, chosen, values.get("-o", "full")))
    return status


def _tags(appliance: Appliance, path: str) -> dict[str, str]:
    contents = contents_at(appliance, path)
    if not contents:
        return {}
    if contents.superblock:
        return {"UUID": contents.superblock.array, "TYPE": "linux_raid_member"}
    if contents.volume:
        return {"UUID": contents.volume, "TYPE": "LVM2_member"}
    made = contents.file_system
    if not made:
        return {}
    return {"UUID": made.identifier, "BLOCK_SIZE": "4096", "TYPE": made.kind}


def _tag_text(name: str, tags: dict[str, str], form: str) -> str:
    if form == "value":
        return "".join(value + "\n" for value in tags.values())
    return f"{name}: " + " ".join(f'{key}="{value}"' for key, value in tags.items()) + "\n"


def fill(appliance: Appliance, target: str, percent: int) -> str | None:
    """Makes the file system that is mounted there as full as that; what was wrong, if it fails."""
    mount = mount_at(appliance, target)
    made = file_system_of(appliance, mount) if mount else None
    if not made:
        return f"nothing is mounted on {target}"
    data, _ = _own_blocks(made)
    made.filled = data * BLOCK * percent // 100
    return None
