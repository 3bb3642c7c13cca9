"""Any block device behind a path: disk, array, RAM disk or pool."""

from __future__ import annotations

from orvsim.appliance import Appliance
from orvsim.blocks import Contents
from orvsim.holders import device_contents, device_size
from orvsim.lvm_state import find_pool, mapper_name


def contents_at(appliance: Appliance, path: str) -> Contents | None:
    """What stands on the device."""
    found = find_pool(appliance, path)
    if found:
        return found[1].contents if found[1].active else None
    if not path.startswith("/dev/"):
        return None
    return device_contents(appliance, path.removeprefix("/dev/"))


def size_at(appliance: Appliance, path: str) -> int:
    """Bytes of the device."""
    found = find_pool(appliance, path)
    return found[1].bytes if found else device_size(appliance, path.removeprefix("/dev/"))


def kernel_path(appliance: Appliance, path: str) -> str:
    """The device's name in /proc/mounts."""
    found = find_pool(appliance, path)
    if found:
        return f"/dev/mapper/{mapper_name(found[0].name, found[1].name)}"
    return path
