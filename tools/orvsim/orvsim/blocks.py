"""Block devices: what stands on them, their numbers, their names."""

from __future__ import annotations

import uuid
from dataclasses import dataclass

SECTOR = 512


@dataclass
class Superblock:
    """What md wrote on a member about its array, and when the member last heard of it."""

    array: str = ""
    device: str = ""
    role: int = -1
    number: int = 0
    in_sync: bool = False
    events: int = 0
    updated: float = 0.0
    name: str = ""
    level: str = ""
    raid_disks: int = 0
    chunk: int = 0
    used: int = 0
    size: int = 0
    data_offset: int = 0
    bitmap_chunk: int = 0
    created: float = 0.0
    synced: bool = False
    letters: str = ""


@dataclass
class FileSystem:
    """A file system on a block device; its files are in the folder `volumes/IDENTIFIER`."""

    kind: str = ""
    identifier: str = ""
    size: int = 0
    filled: int = 0


@dataclass
class Contents:
    """What a block device holds: a member's superblock, a physical volume, or a file system."""

    superblock: Superblock | None = None
    volume: str = ""
    file_system: FileSystem | None = None

    def wipe(self) -> None:
        """As if it had been written over."""
        self.superblock, self.volume, self.file_system = None, "", None


def new_identifier() -> str:
    """A random identifier of 32 hexadecimal digits."""
    return uuid.uuid4().hex
