"""pvcreate, pvremove and pvchange."""

from __future__ import annotations

import os

from orvsim.appliance import Appliance
from orvsim.blocks import SECTOR, Contents
from orvsim.holders import RAM_DISKS, device_contents, device_size, holder_of
from orvsim.lvm_backup import keep_backup
from orvsim.lvm_state import (
    Lvm,
    PhysicalVolume,
    devices_of_volumes,
    group_of_volume,
    new_volume_identifier,
    stripe_start,
)
from orvsim.lvm_words import Words, fail, read_words, say
from orvsim.md import written
from orvsim.md_state import array_of
from orvsim.tools import Call, tool


def device_at(appliance: Appliance, path: str) -> Contents | None:
    """What stands on the device behind a path."""
    if not path.startswith("/dev/"):
        return None
    return device_contents(appliance, os.path.normpath(path).removeprefix("/dev/"))


@tool("/sbin/pvcreate")
def pvcreate(appliance: Appliance, call: Call) -> int:
    """Makes physical volumes."""
    words = read_words(call)
    if not words.names:
        raise fail("Please enter a physical volume path.")
    for path in words.names:
        make_volume(appliance, path, words, call)
    return 0


def make_volume(appliance: Appliance, path: str, words: Words, call: Call) -> str:
    """Makes one volume, if the device is free for it; its identifier."""
    contents = device_at(appliance, path)
    name = path.removeprefix("/dev/")
    if not contents:
        raise fail(f"No device found for {path}.")
    if array_of(appliance, name):
        raise fail(f"Cannot use {path}: device is an md component")
    _refuse_used(appliance, path, contents)
    _refuse_signature(path, contents, words, call)
    identifier = words.values.get("uuid") or new_volume_identifier()
    if contents.volume:
        appliance.get(Lvm).volumes.pop(contents.volume, None)
    size = device_size(appliance, name) // SECTOR
    start = stripe_start(appliance, name)
    known = appliance.get(Lvm).volumes.get(identifier)
    if known and name in RAM_DISKS:
        size, start = known.size, known.start
    volume = PhysicalVolume(identifier, size, start, device_hint=path)
    appliance.get(Lvm).volumes[identifier] = volume
    contents.wipe()
    contents.volume = identifier
    written(appliance, path)
    say(call, words, f'Physical volume "{path}" successfully created.')
    return identifier


def _refuse_used(appliance: Appliance, path: str, contents: Contents) -> None:
    group = group_of_volume(appliance, contents.volume) if contents.volume else None
    if group:
        raise fail(
            f'Can\'t initialize physical volume "{path}" of volume group "{group.name}" '
            f"without -ff\n{path}: physical volume not initialized."
        )
    if holder_of(appliance, path.removeprefix("/dev/")):
        raise fail(f"Can't open {path} exclusively.  Mounted filesystem?")


def _refuse_signature(path: str, contents: Contents, words: Words, call: Call) -> None:
    """Without a terminal nobody says that a file system or a superblock may be wiped."""
    kind, offset = "", 0
    if contents.superblock:
        kind, offset = "linux_raid_member", 4096
    elif contents.file_system:
        kind = contents.file_system.kind
        offset = 65588 if kind == "reiserfs" else 0
    if not kind:
        return
    if {"yes", "force"} & words.flags:
        call.out(f"  Wiping {kind} signature on {path}.\n")
        return
    call.err(
        f"WARNING: {kind} signature detected on {path} at offset {offset}. Wipe it? [y/n]: [n]\n"
    )
    raise fail(f"Aborted wiping of {kind}.\n1 existing signature left on the device.\n"
               f"Failed to wipe signatures on device {path}.")  # fmt: skip


@tool("/sbin/pvremove")
def pvremove(appliance: Appliance, call: Call) -> int:
    """Takes the label off physical volumes that no group has."""
    words = read_words(call)
    for path in words.names:
        contents = device_at(appliance, path)
        if not contents:
            raise fail(f"No device found for {path}.")
        if not contents.volume:
            raise fail(f"No PV found on device {path}.")
        group = group_of_volume(appliance, contents.volume)
        if group:
            raise fail(
                f"PV {path} is used by VG {group.name} so please use vgreduce first.\n"
                "(If you are certain you need pvremove, then confirm by using --force twice.)\n"
                f"{path}: physical volume label not removed."
            )
        appliance.get(Lvm).volumes.pop(contents.volume, None)
        contents.volume = ""
        say(call, words, f'Labels on physical volume "{path}" successfully wiped.')
    return 0


@tool("/sbin/pvchange")
def pvchange(appliance: Appliance, call: Call) -> int:
    """Says whether new pools may use a volume."""
    words = read_words(call)
    allowed = words.values.get("allocatable", "y").startswith("y")
    devices = {path: identifier for identifier, path in devices_of_volumes(appliance).items()}
    for path in words.names:
        if path not in devices:
            raise fail(f'Failed to find physical volume "{path}".')
        appliance.get(Lvm).volumes[devices[path]].allocatable = allowed
        group = group_of_volume(appliance, devices[path])
        if group:
            group.sequence += 1
            keep_backup(appliance, group, call)
        say(call, words, f'Physical volume "{path}" changed')
        say(call, words, "1 physical volume changed / 0 physical volumes not changed")
    return 0
