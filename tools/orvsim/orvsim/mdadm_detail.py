"""mdadm --detail."""

from __future__ import annotations

import time

from orvsim.appliance import Appliance
from orvsim.disks import numbers_of
from orvsim.md import sync_done
from orvsim.md_devices import existing_array
from orvsim.md_state import FAULTY, IN_SYNC, SPARE, Array, Member
from orvsim.mdadm_words import Words
from orvsim.tools import Call

_SYNC_WORDS = {
    "recover": "recovering",
    "resync": "resyncing",
    "check": "checking",
    "repair": "resyncing",
}
_SYNC_TITLES = {"recover": "Rebuild", "resync": "Resync", "check": "Check", "repair": "Resync"}


def detail(appliance: Appliance, words: Words, call: Call) -> int:
    """Everything about arrays, one after the other."""
    for path in words.devices:
        array = existing_array(appliance, path)
        call.out(f"{path}:\n")
        lines = _active(appliance, array) if array.active else _inactive(array)
        call.out("".join(line + "\n" for line in lines))
    return 0


def human_sizes(kib: int) -> str:
    """ " (594.00 MiB 622.85 MB)"; nothing for less than 5000 KiB."""
    size = kib * 1024
    if size < 5000 * 1024:
        return ""
    if size < 2 * 1024 * 1024 * 1024:
        return f" ({size / (1 << 20):.2f} MiB {size / 1e6:.2f} MB)"
    if size < 2 * 1024 * 1024 * 1024 * 1024:
        return f" ({size / (1 << 30):.2f} GiB {size / 1e9:.2f} GB)"
    return f" ({size / (1 << 40):.2f} TiB {size / 1e12:.2f} TB)"


def _line(title: str, value: object) -> str:
    return f"{title:>18} : {value}"


def _active(appliance: Appliance, array: Array) -> list[str]:
    protected = array.kind.redundancy > 0
    lines = [
        _line("Version", "1.2"),
        _line("Creation Time", time.ctime(array.created)),
        _line("Raid Level", array.level),
        _line("Array Size", f"{array.size}{human_sizes(array.size)}"),
    ]
    if protected:
        lines.append(_line("Used Dev Size", f"{array.used}{human_sizes(array.used)}"))
    lines += [
        _line("Raid Devices", array.raid_disks),
        _line("Total Devices", len(array.members)),
        _line("Persistence", "Superblock is persistent"),
        "",
    ]
    if array.bitmap_chunk:
        lines += [_line("Intent Bitmap", "Internal"), ""]
    lines += [
        _line("Update Time", time.ctime(array.updated)),
        _line("State", _state(array) + " "),
        *_counts(array),
        "",
        *_shape(array),
    ]
    policy = "none" if not protected else "bitmap" if array.bitmap_chunk else "resync"
    lines += [_line("Consistency Policy", policy), ""]
    if array.sync:
        share = int(100 * sync_done(appliance, array) / max(array.used, 1))
        title = _SYNC_TITLES[array.sync.action]
        lines += [_line(f"{title} Status", f"{share}% complete"), ""]
    return lines + _identity(array) + _table(array)


def _state(array: Array) -> str:
    words = ["broken" if array.broken else "clean"]
    if array.failed:
        words.append("FAILED")
    elif array.degraded:
        words.append("degraded")
    if array.sync:
        words.append(_SYNC_WORDS[array.sync.action])
    elif array.pending:
        words.append("resyncing (PENDING)")
    return ", ".join(words)


def _counts(array: Array) -> list[str]:
    good, spares = len(array.of_state(IN_SYNC)), len(array.of_state(SPARE))
    return [
        _line("Active Devices", good),
        _line("Working Devices", good + spares),
        _line("Failed Devices", len(array.of_state(FAULTY))),
        _line("Spare Devices", spares),
    ]


def _shape(array: Array) -> list[str]:
    if array.level == "linear":
        return [_line("Rounding", "0K"), ""]
    lines = []
    if array.level == "raid0":
        lines.append(_line("Layout", "-unknown-"))
    elif array.kind.parity:
        layout = "left-symmetric"
        lines += [_line("Layout", layout)] if array.level != "raid4" else []
    if array.chunk:
        lines += [_line("Chunk Size", f"{array.chunk}K"), ""]
    return lines


def identifier_text(identifier: str) -> str:
    """Four words of eight digits."""
    return ":".join(identifier[i : i + 8] for i in range(0, 32, 8))


def _identity(array: Array) -> list[str]:
    number = array.name.removeprefix("md")
    return [
        _line("Name", f"{_host()}:{number}  (local to host {_host()})"),
        _line("UUID", identifier_text(array.identifier)),
        _line("Events", array.events),
        "",
    ]


def _host() -> str:
    with open("/proc/sys/kernel/hostname", encoding="utf-8") as file:
        return file.read().strip()


def _table(array: Array) -> list[str]:
    lines = ["    Number   Major   Minor   RaidDevice State"]
    for slot in range(array.raid_disks):
        member = array.in_slot(slot)
        lines.append(_row(member, str(slot)) if member else _gap(slot))
    others = sorted((m for m in array.members if m.slot < 0), key=lambda member: member.number)
    if others:
        lines += ["", *(_row(member, "-") for member in others)]
    return lines


def _gap(slot: int) -> str:
    return f"       -       0        0   {slot:6}      removed"


def _row(member: Member, slot: str) -> str:
    major, minor = numbers_of(member.device)
    path = f"/dev/{member.device}" if member.present else "missing"
    return (
        f"   {member.number:5}   {major:5}    {minor:5}    {slot:>5}      {_words(member)}   {path}"
    )


def _words(member: Member) -> str:
    if member.state == FAULTY:
        return "faulty"
    if member.state == SPARE:
        return "spare rebuilding" if member.slot >= 0 else "spare"
    return "active sync"


def _inactive(array: Array) -> list[str]:
    lines = [
        _line("Version", "1.2"),
        _line("Raid Level", array.level),
        _line("Total Devices", len(array.members)),
        _line("Persistence", "Superblock is persistent"),
        "",
        _line("State", "inactive"),
        _line("Working Devices", len(array.members)),
        "",
        *_identity(array),
        "    Number   Major   Minor   RaidDevice",
        "",
    ]
    for member in array.members:
        major, minor = numbers_of(member.device)
        lines.append(f"       -   {major:5}    {minor:5}        -        /dev/{member.device}")
    return lines
