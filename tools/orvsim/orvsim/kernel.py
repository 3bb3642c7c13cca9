"""The system calls for namespaces and mounts that Python 3.11 does not have."""

from __future__ import annotations

import ctypes
import os

CLONE_NEWNS = 0x00020000
CLONE_NEWUTS = 0x04000000
CLONE_NEWUSER = 0x10000000
CLONE_NEWPID = 0x20000000
CLONE_NEWNET = 0x40000000

MS_RDONLY = 1
MS_NOSUID = 2
MS_NODEV = 4
MS_REMOUNT = 32
MS_BIND = 4096
MS_REC = 16384
MS_PRIVATE = 1 << 18
MNT_DETACH = 2

_MOUNT_ATTR_RDONLY = 1
_AT_FDCWD = -100
_AT_RECURSIVE = 0x8000
_SYS_PIVOT_ROOT = {"x86_64": 155, "aarch64": 41}
_SYS_MOUNT_SETATTR = 442

_libc = ctypes.CDLL(None, use_errno=True)


def _check(result: int, what: str) -> None:
    if result != 0:
        number = ctypes.get_errno()
        raise OSError(number, f"{what}: {os.strerror(number)}")


def unshare(flags: int) -> None:
    """Leaves the namespaces named by the flags for new ones."""
    _check(_libc.unshare(flags), "unshare")


def setns(descriptor: int) -> None:
    """Enters the namespace behind the descriptor."""
    _check(_libc.setns(descriptor, 0), "setns")


def mount(source: str, target: str, kind: str = "", flags: int = 0, options: str = "") -> None:
    """mount(2)."""
    arguments = [os.fsencode(text) if text else None for text in (source, target, kind)]
    data = options.encode() if options else None
    _check(
        _libc.mount(arguments[0], arguments[1], arguments[2], ctypes.c_ulong(flags), data),
        f"mount on {target}",
    )


def bind(source: str, target: str, recursive: bool = False) -> None:
    """Makes a file or folder visible at a second place."""
    mount(source, target, flags=MS_BIND | (MS_REC if recursive else 0))


def set_read_only(target: str, read_only: bool) -> None:
    """Changes whether a bound folder can be written."""
    flags = MS_REMOUNT | MS_BIND | (MS_RDONLY if read_only else 0)
    mount("none", target, flags=flags)


def unmount_unused(target: str) -> None:
    """Takes a mount away, if nobody uses it."""
    _check(_libc.umount2(os.fsencode(target), 0), f"umount {target}")


def unmount(target: str) -> None:
    """Takes a mount away, now for every look and in the end when nobody uses it."""
    _check(_libc.umount2(os.fsencode(target), MNT_DETACH), f"umount {target}")


def make_read_only(target: str) -> None:
    """Makes a mount and all mounts below it read-only."""

    class Attributes(ctypes.Structure):  # pylint: disable=too-few-public-methods
        """struct mount_attr"""

        _fields_ = [(name, ctypes.c_uint64) for name in ("set", "clear", "propagation", "user")]

    wanted = Attributes(_MOUNT_ATTR_RDONLY, 0, 0, 0)
    _check(
        _libc.syscall(
            _SYS_MOUNT_SETATTR,
            _AT_FDCWD,
            os.fsencode(target),
            _AT_RECURSIVE,
            ctypes.byref(wanted),
            ctypes.sizeof(wanted),
        ),
        f"read-only {target}",
    )


def pivot_root(new: str, old: str) -> None:
    """Makes NEW the root and puts the old root at OLD."""
    number = _SYS_PIVOT_ROOT[os.uname().machine]
    _check(_libc.syscall(number, os.fsencode(new), os.fsencode(old)), "pivot_root")
