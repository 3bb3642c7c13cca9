"""mount, umount, findmnt, chattr and lsattr."""

from __future__ import annotations

import errno
import os

from orvsim import kernel
from orvsim.appliance import Appliance
from orvsim.devices import contents_at, kernel_path
from orvsim.file_system_state import Mount, Mounts
from orvsim.mounts import attach, mount_at, mount_line, mount_of_device, protect, release
from orvsim.tools import Call, ExecInstead, ToolError, tool

_FAILED = 32


class _Words:
    """The words of mount and umount: -t KIND, -o OPTION,..., and what stands without an option."""

    def __init__(self, call: Call):
        self.kind, self.options, self.names, self.lazy = "", [], [], False
        rest = list(call.arguments)
        while rest:
            word = rest.pop(0)
            if word.startswith("-t"):
                self.kind = word[2:] or (rest.pop(0) if rest else "")
            elif word.startswith("-o"):
                self.options += (word[2:] or (rest.pop(0) if rest else "")).split(",")
            elif word == "-r":
                self.options.append("ro")
            elif word.startswith("-"):
                self.lazy = self.lazy or "l" in word
            else:
                self.names.append(word)


def _absolute(call: Call, path: str) -> str:
    return os.path.realpath(os.path.join(call.folder, path))


@tool("/usr/bin/mount")
def mount_tool(appliance: Appliance, call: Call) -> int:
    """Mounts simulated devices; the host's mount does what is not about them."""
    words = _Words(call)
    if not call.arguments or words.kind and not words.names:
        call.out(_listing())
        return 0
    if "remount" in words.options:
        return _remount(appliance, call, words)
    if len(words.names) != 2 or not words.names[0].startswith("/dev/"):
        raise ExecInstead("/host/usr/bin/mount")
    _mount(appliance, call, words, words.names[0], _absolute(call, words.names[1]))
    return 0


def _listing() -> str:
    with open("/proc/mounts", encoding="utf-8") as file:
        rows = [line.split() for line in file]
    return "".join(f"{r[0]} on {r[1]} type {r[2]} ({r[3]})\n" for r in rows)


def _failed(text: str) -> ToolError:
    more = "       dmesg(1) may have more information after failed mount system call."
    return ToolError(f"mount: {text}\n{more}", _FAILED)


def _mount(appliance: Appliance, call: Call, words: _Words, device: str, target: str) -> None:
    named = words.names[1]
    if not os.path.isdir(target):
        raise _failed(f"{named}: mount point does not exist.")
    if not os.path.lexists(device):
        raise _failed(f"{named}: special device {device} does not exist.")
    contents, path = contents_at(appliance, device), kernel_path(appliance, device)
    made = contents.file_system if contents else None
    if not made or words.kind not in ("", "auto", made.kind):
        raise _failed(
            f"{named}: wrong fs type, bad option, bad superblock on {path}, missing "
            "codepage or helper program, or other error."
        )
    there = mount_of_device(appliance, device)
    if there and there.target == target:
        raise _failed(f"{named}: {path} already mounted on {target}.")
    mount = Mount(path, target, made.kind, made.identifier, "ro" in words.options)
    attach(appliance, mount)
    appliance.get(Mounts).mounted.append(mount)


def _remount(appliance: Appliance, call: Call, words: _Words) -> int:
    mount = mount_at(appliance, _absolute(call, words.names[-1])) if words.names else None
    if not mount:
        raise ToolError(f"mount: {(words.names or ['?'])[-1]}: mount point not mounted or bad option.",
                        _FAILED)  # fmt: skip
    if "ro" in words.options or "rw" in words.options:
        mount.read_only = "ro" in words.options
        kernel.set_read_only(mount.target, mount.read_only)
    return 0


@tool("/usr/bin/umount")
def umount_tool(appliance: Appliance, call: Call) -> int:
    """Unmounts simulated file systems, by place or by device."""
    words = _Words(call)
    status = 0
    for name in words.names:
        mount = mount_at(appliance, _absolute(call, name)) or mount_of_device(appliance, name)
        if not mount:
            call.err(_not_mounted(call, name))
            status = _FAILED
            continue
        try:
            (kernel.unmount if words.lazy else kernel.unmount_unused)(mount.target)
        except OSError as error:
            if error.errno != errno.EBUSY:
                raise
            call.err(f"umount: {name}: target is busy.\n")
            status = _FAILED
            continue
        appliance.get(Mounts).mounted.remove(mount)
    return status


def _not_mounted(call: Call, name: str) -> str:
    if not os.path.lexists(os.path.join(call.folder, name)):
        return f"umount: {name}: no mount point specified.\n"
    return f"umount: {name}: not mounted.\n"


@tool("/usr/bin/findmnt")
def findmnt(appliance: Appliance, call: Call) -> int:
    """Shows mounts of the simulation."""
    columns, heading, names, rest = "TARGET,SOURCE,FSTYPE,OPTIONS", True, [], list(call.arguments)
    while rest:
        word = rest.pop(0)
        if word.startswith("-") and not word.startswith("--"):
            heading = heading and "n" not in word
            if word.endswith("o") and rest:
                columns = rest.pop(0)
        elif word == "--noheadings":
            heading = False
        else:
            names.append(word)
    rows = [_row(mount) for mount in _chosen(appliance, call, names)]
    if not rows:
        return 1
    table = [[row[column] for column in columns.upper().split(",")] for row in rows]
    if heading:
        table.insert(0, columns.upper().split(","))
    call.out("".join(_aligned(table, row) for row in table))
    return 0


def _chosen(appliance: Appliance, call: Call, names: list[str]) -> list[Mount]:
    mounted = appliance.get(Mounts).mounted
    if not names:
        return mounted
    found = mount_at(appliance, _absolute(call, names[-1])) or mount_of_device(appliance, names[-1])
    return [found] if found else []


def _row(mount: Mount) -> dict[str, str]:
    fields = mount_line(mount).split(" ")
    return {
        "TARGET": mount.target,
        "SOURCE": mount.device,
        "FSTYPE": mount.kind,
        "OPTIONS": fields[3],
    }


def _aligned(table: list[list[str]], row: list[str]) -> str:
    widths = [max(len(other[place]) for other in table) for place in range(len(row))]
    return " ".join(text.ljust(width) for text, width in zip(row, widths)).rstrip() + "\n"


@tool("/usr/bin/chattr")
def chattr(appliance: Appliance, call: Call) -> int:
    """The immutable mark, which the host does not let an ordinary user set: the file is read-only."""
    words = [word for word in call.arguments if word]
    marks = [word for word in words if word[0] in "+-="]
    immutable = appliance.get(Mounts).immutable
    status = 0
    for name in (word for word in words if word[0] not in "+-="):
        path = _absolute(call, name)
        if not os.path.lexists(path):
            call.err(f"chattr: No such file or directory while trying to stat {name}\n")
            status = 1
        elif any(mark[0] in "+=" and "i" in mark for mark in marks):
            if path not in immutable and not mount_at(appliance, path):
                protect(path)
                immutable.append(path)
        elif path in immutable:
            release(appliance, path)
            immutable.remove(path)
    return status


@tool("/usr/bin/lsattr")
def lsattr(appliance: Appliance, call: Call) -> int:
    """Shows the immutable mark."""
    for name in (word for word in call.arguments if not word.startswith("-")):
        mark = "i" if _absolute(call, name) in appliance.get(Mounts).immutable else "-"
        call.out(f"----{mark}---------e------- {name}\n")
    return 0
