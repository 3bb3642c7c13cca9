"""Mounts, and what the appliance notes of files that the host cannot do for it."""

from __future__ import annotations

from dataclasses import dataclass, field

from orvsim.sections import section


@dataclass
class Mount:
    """A file system that is mounted; the device is named as the kernel names it."""

    device: str = ""
    target: str = ""
    kind: str = ""
    volume: str = ""
    read_only: bool = False


@section("mounts")
@dataclass
class Mounts:
    """What is mounted, in order, and the files with the immutable mark."""

    mounted: list[Mount] = field(default_factory=list)
    immutable: list[str] = field(default_factory=list)
