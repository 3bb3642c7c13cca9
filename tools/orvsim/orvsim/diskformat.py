"""The appliance's tool that wipes a disk, and the disk simulations of a few general tools."""

from __future__ import annotations

import os
import re

from orvsim.appliance import Appliance
from orvsim.disks import find_disk
from orvsim.holders import device_contents, device_size, holder_of
from orvsim.tools import Call, ToolError, tool


@tool("/usr/local/bin/diskformat")
def diskformat(appliance: Appliance, call: Call) -> int:
    """Wipes everything that could make a disk look used. Says what its simulator says."""
    if len(call.arguments) != 1:
        raise ToolError("diskformat: usage: diskformat /dev/sdX")
    path = call.arguments[0]
    match = re.fullmatch(r"/dev/(sd[a-z]+)", path)
    if not match:
        raise ToolError(f"diskformat: '{path}' is not a disk")
    disk = find_disk(appliance, match[1])
    if not disk:
        raise ToolError(f"diskformat: no disk {path}")
    holder = holder_of(appliance, match[1])
    if holder:
        raise ToolError(f"diskformat: {path} is in use by {holder} ")
    if disk.failed:
        raise ToolError(f"blockdev: cannot open {path}: Input/output error")
    disk.contents.wipe()
    return 0


@tool("/sbin/blockdev")
def blockdev(appliance: Appliance, call: Call) -> int:
    """Tells sizes of devices."""
    wanted, paths = call.arguments[:1], call.arguments[1:]
    units = {"--getsize64": 1, "--getsz": 512}
    for path in paths:
        size = device_size(appliance, os.path.realpath(path).removeprefix("/dev/"))
        if not os.path.lexists(path):
            raise ToolError(f"blockdev: cannot open {path}: No such file or directory")
        if wanted and wanted[0] in units:
            call.out(f"{size // units[wanted[0]]}\n")
    return 0


@tool("/sbin/wipefs")
def wipefs(appliance: Appliance, call: Call) -> int:
    """Lists what stands on devices, or wipes it."""
    wipe = any(word in ("-a", "--all") or word in ("-qa", "-aq", "-af") for word in call.arguments)
    rows = []
    for path in (word for word in call.arguments if not word.startswith("-")):
        name = os.path.realpath(path).removeprefix("/dev/")
        contents = device_contents(appliance, name)
        if not contents:
            raise ToolError(
                f"wipefs: error: {path}: probing initialization failed: "
                "No such file or directory"
            )
        if wipe and holder_of(appliance, name):
            raise ToolError(
                f"wipefs: error: {path}: probing initialization failed: Device or resource busy"
            )
        rows += _signatures(path, contents)
        if wipe:
            contents.wipe()
    if rows and not wipe:
        call.out(_table([("DEVICE", "OFFSET", "TYPE", "UUID", "LABEL"), *rows]))
    return 0


def _signatures(path, contents) -> list[tuple[str, ...]]:
    name, rows = os.path.basename(path), []
    if contents.superblock:
        array = contents.superblock.array
        text = f"{array[:8]}-{array[8:12]}-{array[12:16]}-{array[16:20]}-{array[20:]}"
        label = f"{_host()}:{contents.superblock.name.removeprefix('md')}"
        rows.append((name, "0x1000", "linux_raid_member", text, label))
    if contents.volume:
        rows.append((name, "0x218", "LVM2_member", contents.volume, ""))
    if contents.file_system:
        offset = "0x10034" if contents.file_system.kind == "reiserfs" else "0x0"
        text = contents.file_system.identifier
        rows.append((name, offset, contents.file_system.kind, text, ""))
    return rows


def _host() -> str:
    return os.uname().nodename


def _table(rows: list[tuple[str, ...]]) -> str:
    widths = [max(len(row[column]) for row in rows) for column in range(len(rows[0]))]
    lines = (" ".join(text.ljust(width) for text, width in zip(row, widths)) for row in rows)
    return "".join(line.rstrip() + "\n" for line in lines)
