"""mdadm --examine."""

from __future__ import annotations

import time
import zlib

from orvsim.appliance import Appliance
from orvsim.blocks import SECTOR, Superblock
from orvsim.disks import Disk
from orvsim.md_devices import disk_at
from orvsim.md_state import KIB_SECTORS, LEVELS, usable_kib
from orvsim.mdadm_detail import human_sizes, identifier_text
from orvsim.mdadm_words import Words
from orvsim.tools import Call


def examine(appliance: Appliance, words: Words, call: Call) -> int:
    """What the members say of their array."""
    status = 0
    for path in words.devices:
        disk = disk_at(appliance, path)
        if not disk:
            call.err(f"mdadm: cannot open {path}: No such file or directory\n")
            status = 1
        elif not disk.contents.superblock:
            call.err(f"mdadm: No md superblock detected on {path}.\n")
            status = 1
        else:
            lines = _lines(disk, disk.contents.superblock)
            call.out("".join(line + "\n" for line in [f"{path}:", *lines]))
    return status


def _line(title: str, value: object) -> str:
    return f"{title:>15} : {value}"


def _lines(disk: Disk, superblock: Superblock) -> list[str]:
    protected = LEVELS[superblock.level].redundancy > 0
    host = _host()
    number = superblock.name.removeprefix("md")
    available = usable_kib(disk.size, superblock.chunk, superblock.data_offset)
    sectors = (disk.size // SECTOR - superblock.data_offset) if protected else available * 2
    lines = [
        _line("Magic", "a92b4efc"),
        _line("Version", "1.2"),
        _line("Feature Map", "0x1" if superblock.bitmap_chunk else "0x0"),
        _line("Array UUID", identifier_text(superblock.array)),
        _line("Name", f"{host}:{number}  (local to host {host})"),
        _line("Creation Time", time.ctime(superblock.created)),
        _line("Raid Level", superblock.level),
        _line("Raid Devices", superblock.raid_disks),
        "",
        _line("Avail Dev Size", f"{sectors} sectors{human_sizes(sectors // 2)}"),
    ]
    used = superblock.used * KIB_SECTORS if protected else sectors
    if protected:
        size = superblock.size
        lines.append(_line("Array Size", f"{size} KiB{human_sizes(size)}"))
        if used != sectors:
            lines.append(_line("Used Dev Size", f"{used} sectors{human_sizes(used // 2)}"))
    after = disk.size // SECTOR - superblock.data_offset - used
    lines += [
        _line("Data Offset", f"{superblock.data_offset} sectors"),
        _line("Super Offset", "8 sectors"),
        _line(
            "Unused Space", f"before={superblock.data_offset - 80} sectors, after={after} sectors"
        ),
        _line("State", "clean"),
        _line("Device UUID", identifier_text(superblock.device)),
        "",
    ]
    return lines + _end(superblock)


def _end(superblock: Superblock) -> list[str]:
    lines = []
    if superblock.bitmap_chunk:
        lines.append("Internal Bitmap : 8 sectors from superblock")
    log_offset = 16 if superblock.bitmap_chunk else 8
    checksum = zlib.crc32(f"{superblock}".encode())
    lines += [
        _line("Update Time", time.ctime(superblock.updated)),
        _line("Bad Block Log", f"512 entries available at offset {log_offset} sectors"),
        _line("Checksum", f"{checksum:x} - correct"),
        _line("Events", superblock.events),
        "",
    ]
    if LEVELS[superblock.level].parity:
        lines.append(_line("Layout", "left-symmetric"))
    if superblock.chunk:
        lines += [_line("Chunk Size", f"{superblock.chunk}K"), ""]
    role = f"Active device {superblock.role}" if superblock.role >= 0 else "spare"
    letters = superblock.letters
    legend = "('A' == active, '.' == missing, 'R' == replacing)"
    return [*lines, f"   Device Role : {role}", f"   Array State : {letters} {legend}"]


def _host() -> str:
    with open("/proc/sys/kernel/hostname", encoding="utf-8") as file:
        return file.read().strip()
