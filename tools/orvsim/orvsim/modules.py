"""Imports every module of the simulation, so that the registry is complete."""

from __future__ import annotations

import importlib

MODULES = (
    "disks",
    # "md",
    # "hot_spares",
    # "lvm",
    "file_systems",
    # "faults",
    # "clock",
    "default_files",
    "accounts",
    "smb_passwords",
    "network",
    "services",
    "clients",
    "samba",
    "nfs",
    "ftp",
    "iscsi",
    "netstat",
    "alarms",
    "storage_alarms",
    "sensors",
    "smart",
    "controller",
    "power",
    "processes",
)


def load() -> None:
    """Fills the registry."""
    for module in MODULES:
        importlib.import_module(f"orvsim.{module}")
