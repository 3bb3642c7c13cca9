"""vgcreate, vgextend, vgremove, vgchange, vgcfgrestore."""

from __future__ import annotations

import copy
import re

from orvsim.appliance import Appliance
from orvsim.lvm_activation import activate, deactivate, is_open, remove_pool
from orvsim.lvm_backup import drop_backup, keep_backup
from orvsim.lvm_state import (
    Group,
    Lvm,
    devices_of_volumes,
    find_group,
    group_of_volume,
    missing_volumes,
    new_volume_identifier,
    sorted_groups,
)
from orvsim.lvm_missing import warn_of_missing
from orvsim.lvm_volumes import device_at, make_volume
from orvsim.lvm_words import Words, fail, read_words, say
from orvsim.md import written
from orvsim.tools import Call, tool


def required_group(appliance: Appliance, name: str, call: Call) -> Group:
    """The group, or the words of a tool that does not find it."""
    group = find_group(appliance, name.removeprefix("/dev/"))
    if not group:
        raise fail(f'Volume group "{name}" not found\nCannot process volume group {name}')
    warn_of_missing(appliance, group, call)
    return group


def whole_group(appliance: Appliance, name: str, call: Call) -> Group:
    """The group, if none of its volumes is missing: others are not changed."""
    group = required_group(appliance, name, call)
    if missing_volumes(appliance, group):
        raise fail(
            f"Cannot change VG {name} while PVs are missing.\n"
            "See vgreduce --removemissing and vgextend --restoremissing.\n"
            f"Cannot process volume group {name}"
        )
    return group


def commit(appliance: Appliance, group: Group, call: Call) -> None:
    """The group has changed."""
    group.sequence += 1
    for path in devices_of_volumes(appliance, group).values():
        written(appliance, path)
    keep_backup(appliance, group, call)


@tool("/sbin/vgcreate")
def vgcreate(appliance: Appliance, call: Call) -> int:
    """Makes a group of volumes, and volumes of what is none yet."""
    words = read_words(call)
    if not words.names:
        raise fail("Please provide volume group name and physical volumes")
    name, paths = words.names[0], words.names[1:]
    if not re.fullmatch(r"[A-Za-z0-9_+.][A-Za-z0-9_+.-]{0,126}", name):
        raise fail(f'New volume group name "{name}" is invalid.')
    if find_group(appliance, name):
        raise fail(f"A volume group called {name} already exists.")
    if not paths:
        raise fail("Please enter a physical volume path.")
    volumes = _volumes_for(appliance, paths, words, call)
    group = Group(name, new_volume_identifier(), 0, volumes)
    appliance.get(Lvm).groups.append(group)
    commit(appliance, group, call)
    say(call, words, f'Volume group "{name}" successfully created')
    return 0


def _volumes_for(appliance: Appliance, paths: list[str], words: Words, call: Call) -> list[str]:
    identifiers = []
    for path in paths:
        contents = device_at(appliance, path)
        owner = group_of_volume(appliance, contents.volume) if contents else None
        if owner and contents and contents.volume:
            raise fail(
                f"Physical volume '{path}' is already in volume group '{owner.name}'\n"
                f"Unable to add physical volume '{path}' to volume group '{owner.name}'\n"
                f"{path}: physical volume not initialized."
            )
        if contents and contents.volume:
            identifiers.append(contents.volume)
        else:
            identifiers.append(make_volume(appliance, path, words, call))
    return identifiers


@tool("/sbin/vgextend")
def vgextend(appliance: Appliance, call: Call) -> int:
    """Adds volumes to a group."""
    words = read_words(call)
    if len(words.names) < 2:
        raise fail("Please enter volume group name and physical volume(s)")
    name = words.names[0]
    volumes = _volumes_for(appliance, words.names[1:], words, call)
    group = whole_group(appliance, name, call)
    group.volumes += volumes
    commit(appliance, group, call)
    say(call, words, f'Volume group "{name}" successfully extended')
    return 0


@tool("/sbin/vgremove")
def vgremove(appliance: Appliance, call: Call) -> int:
    """Removes a group; one with pools only when told with force."""
    words = read_words(call)
    for name in words.names:
        group = whole_group(appliance, name, call)
        _remove_pools(appliance, group, words, call)
        appliance.get(Lvm).groups.remove(group)
        drop_backup(appliance, name)
        say(call, words, f'Volume group "{name}" successfully removed')
    return 0


def _remove_pools(appliance: Appliance, group: Group, words: Words, call: Call) -> None:
    if not group.pools:
        return
    if not {"yes", "force"} & words.flags:
        call.err(
            f'Do you really want to remove volume group "{group.name}" containing '
            f"{len(group.pools)} logical volumes? [y/n]: [n]\n"
        )
        raise fail(f'Volume group "{group.name}" not removed')
    for pool in list(group.pools):
        if is_open(appliance, group, pool):
            raise fail(f"Logical volume {group.name}/{pool.name} contains a filesystem in use.")
        remove_pool(appliance, group, pool)
        say(call, words, f'Logical volume "{pool.name}" successfully removed.')


@tool("/sbin/vgchange")
def vgchange(appliance: Appliance, call: Call) -> int:
    """Switches the pools of groups on or off."""
    words = read_words(call)
    on = words.values.get("activate", "y").lstrip("a") != "n"
    names = words.names or [group.name for group in sorted_groups(appliance)]
    status = 0
    for name in names:
        group = required_group(appliance, name, call)
        status |= _switch(appliance, group, on, call)
        count = len([pool for pool in group.pools if pool.active])
        say(call, words, f'{count} logical volume(s) in volume group "{name}" now active')
    return status


def _switch(appliance: Appliance, group: Group, on: bool, call: Call) -> int:
    status = 0
    for pool in group.pools:
        if on and not pool.active:
            activate(appliance, pool)
        elif not on and pool.active and is_open(appliance, group, pool):
            call.err(f"  Logical volume {group.name}/{pool.name} contains a filesystem in use.\n")
            status = 5
        elif not on:
            deactivate(pool)
    if status:
        raise fail(
            f'Can\'t deactivate volume group "{group.name}" with '
            f"{len([p for p in group.pools if is_open(appliance, group, p)])} open logical volume(s)"
        )
    return status


@tool("/sbin/vgcfgrestore")
def vgcfgrestore(appliance: Appliance, call: Call) -> int:
    """Brings a group back to what its backup says."""
    words = read_words(call)
    if not words.names:
        raise fail("Please specify a *single* volume group to restore.")
    name = words.names[0]
    backup = appliance.get(Lvm).backups.get(name)
    if not backup or not (appliance.path("/etc/lvm/backup") / name).exists():
        raise fail("Couldn't read volume group metadata from file.\nRestore failed.")
    group = find_group(appliance, name)
    _refuse_active(group, words, call)
    there = devices_of_volumes(appliance)
    missing = [identifier for identifier in backup.volumes if identifier not in there]
    if missing:
        lines = [f"WARNING: Couldn't find device with uuid {identifier}." for identifier in missing]
        raise fail(
            "\n".join(lines)
            + f"\nCannot restore Volume Group {name} with {len(missing)} PVs marked as missing."
            + "\nRestore failed."
        )
    _restore(appliance, group, backup)
    say(call, words, f"Restored volume group {name}.")
    return 0


def _refuse_active(group: Group | None, words: Words, call: Call) -> None:
    active = [pool for pool in group.pools if pool.active] if group else []
    if not group or not active or {"yes", "force"} & words.flags:
        return
    for pool in active:
        call.err(f"  Volume group {group.name} has active volume: {pool.name}.\n")
    call.err(
        f'  WARNING: Found {len(active)} active volume(s) in volume group "{group.name}".\n'
        "  Restoring VG with active LVs, may cause mismatch with its metadata.\n"
        f'Do you really want to proceed with restore of volume group "{group.name}", '
        f"while {len(active)} volume(s) are active? [y/n]: [n]\n"
    )
    raise fail("Restore aborted.")


def _restore(appliance: Appliance, group: Group | None, backup: Group) -> None:
    """What is on the pools stays: only who belongs to whom is restored."""
    restored = copy.deepcopy(backup)
    for pool in restored.pools:
        known = group.pool(pool.name) if group else None
        if known:
            pool.contents, pool.minor = known.contents, known.minor
    groups = appliance.get(Lvm).groups
    if group:
        groups.remove(group)
        restored.sequence = group.sequence + 1
    groups.append(restored)
