"""lvcreate, lvextend, lvremove and lvchange."""

from __future__ import annotations

import re

from orvsim.appliance import Appliance
from orvsim.lvm_activation import activate, deactivate, is_open, remove_pool
from orvsim.lvm_groups import commit, required_group, whole_group
from orvsim.lvm_state import (
    EXTENT_SECTORS,
    Group,
    Pool,
    add_segments,
    allocate,
    find_pool,
    free_extents,
    new_volume_identifier,
)
from orvsim.lvm_words import Words, extents_of, fail, read_words, say, size_in_sectors, size_text
from orvsim.tools import Call, tool


@tool("/sbin/lvcreate")
def lvcreate(appliance: Appliance, call: Call) -> int:
    """Makes a pool."""
    words = read_words(call)
    if not words.names:
        raise fail("Please provide a volume group name")
    group = whole_group(appliance, words.names[0], call)
    name = words.values.get("name") or _free_name(group)
    if not re.fullmatch(r"[A-Za-z0-9_+.][A-Za-z0-9_+.-]*", name):
        raise fail(f'Logical volume name "{name}" is invalid.')
    if group.pool(name):
        raise fail(f'Logical Volume "{name}" already exists in volume group "{group.name}"')
    count = _wanted_extents(appliance, group, words, call)
    free = free_extents(appliance, group)
    if count > free:
        raise fail(
            f'Volume group "{group.name}" has insufficient free space '
            f"({free} extents): {count} required."
        )
    pool = Pool(name, new_volume_identifier(), appliance.now())
    add_segments(pool, allocate(appliance, group, count))
    activate(appliance, pool)
    group.pools.append(pool)
    commit(appliance, group, call)
    say(call, words, f'Logical volume "{name}" created.')
    return 0


def _free_name(group: Group) -> str:
    return next(f"lvol{i}" for i in range(len(group.pools) + 1) if not group.pool(f"lvol{i}"))


def _wanted_extents(appliance: Appliance, group: Group, words: Words, call: Call) -> int:
    if "extents" in words.values:
        return _extents(appliance, group, words.values["extents"])
    if "size" not in words.values:
        raise fail("Please specify either size or extents")
    sectors = size_in_sectors(words.values["size"])
    count = extents_of(sectors)
    if count == 0:
        raise fail("Unable to create new logical volume with no extents.")
    if count * EXTENT_SECTORS != sectors:
        rounded = size_text(count * EXTENT_SECTORS)
        call.out(f"  Rounding up size to full physical extent {rounded}\n")
    return count


def _extents(appliance: Appliance, group: Group, text: str) -> int:
    match = re.fullmatch(r"\+?(\d+)(%FREE|%VG)?", text)
    if not match:
        raise fail(f"Invalid argument for --extents: {text}")
    number = int(match[1])
    if not match[2]:
        return number
    free = free_extents(appliance, group)
    whole = free if match[2] == "%FREE" else free + sum(pool.extents for pool in group.pools)
    return whole * number // 100


def required_pool(appliance: Appliance, path: str, call: Call) -> tuple[Group, Pool]:
    """The pool behind a path, or the words of a tool that does not find it."""
    found = find_pool(appliance, path)
    if found:
        return found
    name = path.removeprefix("/dev/")
    group = required_group(appliance, name.split("/")[0], call)
    pool = name.partition("/")[2]
    if call.name == "lvextend":
        raise fail(f"Logical volume {pool} not found in volume group {group.name}.")
    raise fail(f'Failed to find logical volume "{group.name}/{pool}"')


@tool("/sbin/lvextend")
def lvextend(appliance: Appliance, call: Call) -> int:
    """Makes a pool longer; what is on it does not grow with it."""
    words = read_words(call)
    if not words.names:
        raise fail("Please provide a logical volume path")
    group, pool = required_pool(appliance, words.names[0], call)
    whole_group(appliance, group.name, call)
    text = words.values.get("size") or words.values.get("extents", "")
    count = _wanted_extents(appliance, group, words, call)
    count += pool.extents if text.startswith("+") else 0
    old = pool.extents
    if count == old:
        raise fail(f"New size ({count} extents) matches existing size ({old} extents).")
    if count < old:
        raise fail(
            f"New size given ({count} extents) not larger than existing size ({old} extents)"
        )
    free = free_extents(appliance, group)
    if count - old > free:
        raise fail(
            f"Insufficient free space: {count - old} extents needed, but only {free} available"
        )
    add_segments(pool, allocate(appliance, group, count - old, pool))
    commit(appliance, group, call)
    before, after = size_text(old * EXTENT_SECTORS), size_text(count * EXTENT_SECTORS)
    name = f"{group.name}/{pool.name}"
    say(
        call,
        words,
        f"Size of logical volume {name} changed from {before} ({old} extents) "
        f"to {after} ({count} extents).",
    )
    say(call, words, f"Logical volume {name} successfully resized.")
    return 0


@tool("/sbin/lvremove")
def lvremove(appliance: Appliance, call: Call) -> int:
    """Removes a pool with all that is on it."""
    words = read_words(call)
    for path in words.names:
        group, pool = required_pool(appliance, path, call)
        if is_open(appliance, group, pool):
            raise fail(f"Logical volume {group.name}/{pool.name} contains a filesystem in use.")
        if pool.active and not {"yes", "force"} & words.flags:
            call.err(
                "Do you really want to remove active logical volume "
                f"{group.name}/{pool.name}? [y/n]: [n]\n"
            )
            raise fail(f"Logical volume {group.name}/{pool.name} not removed.")
        remove_pool(appliance, group, pool)
        commit(appliance, group, call)
        say(call, words, f'Logical volume "{pool.name}" successfully removed.')
    return 0


@tool("/sbin/lvchange")
def lvchange(appliance: Appliance, call: Call) -> int:
    """Switches a pool on or off."""
    words = read_words(call)
    on = words.values.get("activate", "y").lstrip("a") != "n"
    for path in words.names:
        group, pool = required_pool(appliance, path, call)
        if on and not pool.active:
            activate(appliance, pool)
        elif not on and is_open(appliance, group, pool):
            raise fail(f"Logical volume {group.name}/{pool.name} contains a filesystem in use.")
        elif not on:
            deactivate(pool)
    return 0
