"""Pools that are active have a device; one that is mounted is open."""

from __future__ import annotations

import shutil

from orvsim.appliance import Appliance
from orvsim.file_system_state import Mounts
from orvsim.holders import HOLDERS, device_contents
from orvsim.lvm_state import device_file, Group, Lvm, Pool, group_of_volume, mapper_name


def activate(appliance: Appliance, pool: Pool) -> None:
    """Gives the pool a device with the first free number."""
    used = {other.minor for group in appliance.get(Lvm).groups for other in group.pools}
    pool.minor = next(minor for minor in range(len(used) + 1) if minor not in used)


def deactivate(pool: Pool) -> None:
    """Takes the pool's device away."""
    pool.minor = -1


def remove_pool(appliance: Appliance, group: Group, pool: Pool) -> None:
    """The pool is gone with all that is on it."""
    deactivate(pool)
    group.pools.remove(pool)
    device_file(appliance, pool).unlink(missing_ok=True)
    if pool.contents.file_system:
        shutil.rmtree(appliance.volume(pool.contents.file_system.identifier), ignore_errors=True)


def is_open(appliance: Appliance, group: Group, pool: Pool) -> bool:
    """Is the pool mounted?"""
    device = f"/dev/mapper/{mapper_name(group.name, pool.name)}"
    return any(mount.device == device for mount in appliance.get(Mounts).mounted)


def times_open(appliance: Appliance, group: Group, pool: Pool) -> int:
    """How often the pool is open: a mounted reiserfs opens its device once more for its journal."""
    made = pool.contents.file_system
    journals = 1 if made and made.kind == "reiserfs" else 0
    return 1 + journals if is_open(appliance, group, pool) else 0


def _held_by_pool(appliance: Appliance, device: str) -> str | None:
    """An active pool holds the devices that its extents are on."""
    contents = device_contents(appliance, device)
    if not contents or not contents.volume:
        return None
    group = group_of_volume(appliance, contents.volume)
    for pool in group.pools if group else []:
        if pool.active and any(part.volume == contents.volume for part in pool.segments):
            return f"dm-{pool.minor}"
    return None


HOLDERS.append(_held_by_pool)
