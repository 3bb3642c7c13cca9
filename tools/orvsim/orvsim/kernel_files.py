"""The files that the kernel would show: written from the state, removed when it has them no more."""

from __future__ import annotations

import os
from collections.abc import Callable
from typing import TYPE_CHECKING

if TYPE_CHECKING:
    from orvsim.appliance import Appliance

WriteHandler = Callable[["Appliance", str], None]


class KernelFiles:
    """A pass calls `put` and its like for everything there is; what it left out is removed."""

    def __init__(self, root: str = ""):
        self.root = root
        self.shown: dict[str, str] = {}
        self.passing: dict[str, str] = {}
        self.writable: dict[str, tuple[int, WriteHandler]] = {}
        self.handlers: dict[str, WriteHandler] = {}
        self.touched = False

    def put(self, path: str, text: str, on_write: WriteHandler | None = None) -> None:
        """A file with this text. `on_write` is told what somebody else writes into it."""
        self.passing[path] = "f" + text
        if on_write:
            self.handlers[path] = on_write

    def link(self, path: str, target: str) -> None:
        """A symbolic link."""
        self.passing[path] = "l" + target

    def device(self, path: str, size: int) -> None:
        """Stands for a block device: a file of that many bytes without contents."""
        self.passing[path] = f"d{size}"

    def begin(self) -> None:
        """Starts a pass."""
        self.passing, self.handlers = {}, {}

    def end(self) -> None:
        """Brings the files in line with what the pass has put."""
        for path in [path for path in self.shown if path not in self.passing]:
            self._remove(path)
        for path, content in self.passing.items():
            if self.shown.get(path) != content:
                self._write(path, content)
                self.writable.pop(path, None)
        for path, handler in self.handlers.items():
            # What was written since the last look has not been taken yet.
            seen = self.writable[path][0] if path in self.writable else self._changed_at(path)
            self.writable[path] = (seen, handler)
        self.shown = self.passing
        self.touched = False

    def take_writes(self, appliance: Appliance) -> None:
        """Hands what was written into files to their handlers; the next pass shows what came of it.

        Until then a file keeps what was written: nobody sees the old text in between.
        """
        for path, (seen, handler) in list(self.writable.items()):
            changed = self._changed_at(path)
            if changed == seen:
                continue
            with open(self.root + path, encoding="utf-8", errors="replace") as file:
                text = file.read()
            self.writable[path] = (changed, handler)
            self.shown[path] = "written by somebody else"
            self.touched = True
            handler(appliance, text.strip())

    def _changed_at(self, path: str) -> int:
        try:
            return os.stat(self.root + path).st_mtime_ns
        except FileNotFoundError:
            return 0

    def _write(self, path: str, content: str) -> None:
        place = self.root + path
        os.makedirs(os.path.dirname(place), exist_ok=True)
        # Beside the folders that programs list: a listing never shows a file half made.
        new = self.root + "/" + path.split("/")[1] + "/.new"
        kind, rest = content[0], content[1:]
        if kind == "l":
            os.symlink(rest, new)
        else:
            with open(new, "w", encoding="utf-8") as file:
                file.write(rest if kind == "f" else "")
                if kind == "d":
                    file.truncate(int(rest))
        os.replace(new, place)

    def _remove(self, path: str) -> None:
        self.writable.pop(path, None)
        try:
            os.remove(self.root + path)
            folder = os.path.dirname(path)
            while folder.count("/") > 2:
                os.rmdir(self.root + folder)
                folder = os.path.dirname(folder)
        except OSError:
            pass
