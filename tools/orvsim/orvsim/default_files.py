"""The configuration that the services of a new appliance have."""

from __future__ import annotations

import shutil
from pathlib import Path

from orvsim import places
from orvsim.appliance import Appliance
from orvsim.tools import on_new

# Those that the virtual machine has too; with its other files they stand in one folder.
_COPIED = ("/etc/samba/smb.conf", "/etc/vsftpd.conf", "/etc/ietd.conf")
_EMPTY = ("/etc/exports", "/etc/sharefolder.conf", "/etc/mdfstab")
_FOLDERS = ("/etc/samba/private", "/etc/vsftpd", "/var/log/samba", "/var/lib/orv-sim")


def _source(path: str) -> Path:
    shared = places.simulators().parent
    in_tree = shared / "vm" / "guest" / "rootfs"
    return (in_tree if in_tree.is_dir() else shared / "defaults") / path.lstrip("/")


@on_new
def _put_default_files(appliance: Appliance) -> None:
    """The files that the library expects, and those of the services."""
    for path in _FOLDERS:
        appliance.path(path).mkdir(parents=True, exist_ok=True)
    for path in _COPIED:
        shutil.copyfile(_source(path), appliance.path(path))
    for path in _EMPTY:
        appliance.path(path).touch()
