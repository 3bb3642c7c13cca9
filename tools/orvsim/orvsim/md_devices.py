"""Devices as mdadm is told of them: whether they are there, free, and large enough."""

from __future__ import annotations

import os

from orvsim.appliance import Appliance
from orvsim.disks import Disk, find_disk, numbers_of
from orvsim.holders import holder_of
from orvsim.md_state import Array, find_array
from orvsim.tools import ToolError


def array_name(path: str) -> str:
    """ "md0" of "/dev/md0"."""
    return path.removeprefix("/dev/")


def existing_array(appliance: Appliance, path: str, error: str = "mdadm: cannot open") -> Array:
    """The array behind a path; ToolError as mdadm says it."""
    array = find_array(appliance, array_name(path))
    if array:
        return array
    if not os.path.lexists(path):
        raise ToolError(f"{error} {path}: No such file or directory")
    raise ToolError(f"mdadm: {path} does not appear to be an md device")


def disk_at(appliance: Appliance, path: str) -> Disk | None:
    """The disk behind a path."""
    return find_disk(appliance, path.removeprefix("/dev/")) if path.startswith("/dev/") else None


def is_busy(appliance: Appliance, disk: Disk) -> bool:
    """Does an array, a volume or a mount hold the disk?"""
    return holder_of(appliance, disk.name) is not None


def numbers(device: str) -> tuple[int, int]:
    """Major and minor number of a member."""
    return numbers_of(device)
