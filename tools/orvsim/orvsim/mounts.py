"""What is mounted: the simulated file systems, whose files are folders of the state."""

from __future__ import annotations

import os

from orvsim import kernel
from orvsim.appliance import Appliance
from orvsim.devices import contents_at, kernel_path
from orvsim.file_system_state import Mount, Mounts
from orvsim.holders import HOLDERS
from orvsim.kernel_files import KernelFiles
from orvsim.lvm_state import devices_of_volumes, find_pool, missing_volumes
from orvsim.md import written
from orvsim.tools import kernel_files, on_event, on_start

_OPTIONS = {
    "xfs": "relatime,attr2,inode64,logbufs=8,logbsize=32k,noquota",
    "reiserfs": "relatime",
}

_SYSTEM_MOUNTS = """/dev/root / ext4 rw,noatime 0 0
dev /dev devtmpfs rw,relatime,mode=755 0 0
proc /proc proc rw,relatime 0 0
sys /sys sysfs rw,relatime 0 0
devpts /dev/pts devpts rw,relatime,mode=600,ptmxmode=000 0 0
run /run tmpfs rw,relatime 0 0
"""


def mount_at(appliance: Appliance, target: str) -> Mount | None:
    """The latest mount on a folder."""
    found = [mount for mount in appliance.get(Mounts).mounted if mount.target == target]
    return found[-1] if found else None


def mount_of_device(appliance: Appliance, path: str) -> Mount | None:
    """Where a device is mounted."""
    device = kernel_path(appliance, path)
    mounted = appliance.get(Mounts).mounted
    return next((mount for mount in mounted if mount.device == device), None)


def mount_below(appliance: Appliance, path: str) -> Mount | None:
    """The simulated file system that a path is on."""
    best = None
    for mount in appliance.get(Mounts).mounted:
        inside = path == mount.target or path.startswith(mount.target.rstrip("/") + "/")
        if inside and (not best or len(mount.target) >= len(best.target)):
            best = mount
    return best


def attach(appliance: Appliance, mount: Mount) -> None:
    """Makes the file system's folder visible at its place."""
    folder = appliance.volume(mount.volume)
    folder.mkdir(parents=True, exist_ok=True)
    kernel.bind(str(folder), mount.target)
    if mount.read_only:
        kernel.set_read_only(mount.target, True)
        return
    found = find_pool(appliance, mount.device)
    devices = devices_of_volumes(appliance, found[0]).values() if found else [mount.device]
    for device in devices:
        written(appliance, device)


def protect(path: str) -> None:
    """Nothing changes an immutable file: it is bound on itself, read-only."""
    kernel.bind(path, path)
    kernel.set_read_only(path, True)


def release(appliance: Appliance, path: str) -> None:
    """The file can be changed again; what is mounted on it stays."""
    mount = mount_at(appliance, path)
    if mount:
        kernel.unmount(path)
    kernel.unmount(path)
    if mount:
        attach(appliance, mount)


@on_start
def mount_again(appliance: Appliance) -> None:
    """Mounts and immutable marks are part of the state: they outlive the server."""
    mounts = appliance.get(Mounts)
    mounts.immutable = [path for path in mounts.immutable if os.path.lexists(path)]
    for path in mounts.immutable:
        protect(path)
    for mount in list(mounts.mounted):
        try:
            os.makedirs(mount.target, exist_ok=True)
            attach(appliance, mount)
        except OSError:
            mounts.mounted.remove(mount)


def _escaped(text: str) -> str:
    for character in "\\ \t\n":
        text = text.replace(character, f"\\{ord(character):03o}")
    return text


def mount_line(mount: Mount) -> str:
    """The mount's line in /proc/mounts."""
    access = "ro" if mount.read_only else "rw"
    options = f"{access},{_OPTIONS.get(mount.kind, 'relatime')}"
    return f"{mount.device} {_escaped(mount.target)} {mount.kind} {options} 0 0\n"


@kernel_files
def show_mounts(appliance: Appliance, files: KernelFiles) -> None:
    """/proc/mounts."""
    lines = [mount_line(mount) for mount in appliance.get(Mounts).mounted]
    files.put("/proc/mounts", _SYSTEM_MOUNTS + "".join(lines))


def _held_by_mount(appliance: Appliance, device: str) -> str | None:
    mount = mount_of_device(appliance, f"/dev/{device}")
    return mount.target if mount else None


HOLDERS.append(_held_by_mount)


def _has_lost_data(appliance: Appliance, mount: Mount) -> bool:
    found = find_pool(appliance, mount.device)
    if not found:
        return contents_at(appliance, mount.device) is None
    group, pool = found
    lost = set(missing_volumes(appliance, group))
    return any(segment.volume in lost for segment in pool.segments)


@on_event
def shut_down(appliance: Appliance, kind: str, _subject: str) -> None:
    """A file system whose disks are gone takes no more writes."""
    if kind not in ("array-failed", "disk-failed", "disk-pulled"):
        return
    for mount in appliance.get(Mounts).mounted:
        if not mount.read_only and _has_lost_data(appliance, mount):
            mount.read_only = True
            if appliance.running:
                kernel.set_read_only(mount.target, True)
