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
)


def load() -> None:
    """Fills the registry."""
    for module in MODULES:
        importlib.import_module(f"orvsim.{module}")
