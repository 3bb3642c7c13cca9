"""Imports every module of the simulation, so that the registry is complete."""

from __future__ import annotations

import importlib

MODULES = (
    "disks",
    "alarms",
    "storage_alarms",
    "md",
    "md_files",
    "mdadm",
    "hot_spares",
    "diskformat",
    "lvm_volumes",
    "lvm_groups",
    "lvm_pools",
    "lvm_display",
    "lvm_report",
    "block_files",
    "modprobe",
    "mkfs",
    "mounts",
    "mount_tools",
    "file_systems",
    "lvm_status",
    "faults",
    "clock",
    "default_files",
    "accounts",
    "account_tools",
    "smb_passwords",
    "network",
    "services",
    "init_scripts",
    "busybox",
    "clients",
    "samba",
    "nfs",
    "ftp",
    "iscsi",
    "netstat",
    "sensors",
    "smart",
    "smartctl",
    "controller",
    "controller_commands",
    "power",
    "processes",
)


def load() -> None:
    """Fills the registry."""
    for module in MODULES:
        importlib.import_module(f"orvsim.{module}")
