"""The appliance: its state, its folders, its clock, and the saving of all that."""

from __future__ import annotations

import json
import os
import threading
import time
from collections.abc import Callable
from dataclasses import dataclass, field
from pathlib import Path
from typing import TypeVar

from orvsim.sections import SECTIONS, decode, section

Section = TypeVar("Section")

FORMAT_VERSION = 1


@section("machine")
@dataclass
class Machine:
    """What kind of appliance it is."""

    model: str = "KTA7120X"
    name: str = "orv"
    kernel: str = "6.1.0"
    enclosures: int = 0


@section("clock")
@dataclass
class Clock:
    """The appliance's time: `since` of the host was `at` here, and it runs `rate` times as fast."""

    since: float = 0.0
    at: float = 0.0
    rate: float = 1.0


@section("faults")
@dataclass
class Faults:
    """Tools that fail with an exit status, and tools that answer only after some seconds."""

    fails: dict[str, int] = field(default_factory=dict)
    hangs: dict[str, float] = field(default_factory=dict)


class Appliance:
    """One simulated appliance. Whoever looks at its state holds `lock`."""

    def __init__(self, folder: Path, running: bool = False):
        self.folder = folder
        self.running = running
        self.lock = threading.RLock()
        self.saved = ""
        # The server's: saves, and brings the kernel files in line.
        self.settle: Callable[[], object] = self.save
        self.sections = decode(self._load())

    def _load(self) -> dict:
        try:
            self.saved = (self.folder / "state.json").read_text(encoding="utf-8")
        except FileNotFoundError:
            return {}
        return json.loads(self.saved)

    def get(self, kind: type[Section]) -> Section:
        """The section of the state that was declared with this class."""
        for name, declared in SECTIONS.items():
            if declared is kind:
                return self.sections[name]
        raise KeyError(kind.__name__)

    def path(self, path: str) -> Path:
        """Where a file of the appliance's lasting folders is, whether it runs or not."""
        return Path(path) if self.running else self.folder / "root" / path.lstrip("/")

    def volume(self, identifier: str) -> Path:
        """The folder with the contents of a file system."""
        return self.folder / "volumes" / identifier

    def now(self) -> float:
        """The appliance's time in seconds since 1970."""
        clock = self.get(Clock)
        return clock.at + (time.time() - clock.since) * clock.rate

    def set_clock(self, now: float | None = None, rate: float | None = None) -> None:
        """Moves the appliance's clock or changes its speed; the host's clock is never touched."""
        clock = self.get(Clock)
        at = self.now() if now is None else now
        clock.since, clock.at = time.time(), at
        clock.rate = clock.rate if rate is None else rate

    def save(self) -> bool:
        """Saves the state when it differs from what was saved last; tells whether it did."""
        state = {"format_version": FORMAT_VERSION, **self.sections}
        text = json.dumps(state, default=vars) + "\n"
        if text == self.saved:
            return False
        new = self.folder / "state.json.new"
        new.write_text(text, encoding="utf-8")
        os.replace(new, self.folder / "state.json")
        self.saved = text
        return True
