"""The files that the kernel would show: written from the state, removed when it has them no more."""

from __future__ import annotations

import contextlib
import fcntl
import os
import time
from collections.abc import Callable, Iterator
from typing import TYPE_CHECKING

if TYPE_CHECKING:
    from orvsim.appliance import Appliance

WriteHandler = Callable[["Appliance", str], None]

# What a file shows that is to be shown anew.
_STALE = "stale"


class KernelFiles:
    """A pass calls `put` and its like for everything there is; what it left out is removed."""

    def __init__(self, root: str = ""):
        self.root = root
        self.shown: dict[str, str] = {}
        self.passing: dict[str, str] = {}
        # Of the files that others write: who is told, and the time that each had at the last look.
        self.handlers: dict[str, WriteHandler] = {}
        self.seen: dict[str, int] = {}
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
        self.touched = False
        for path in [path for path in self.shown if path not in self.passing]:
            self._remove(path)
        for path, content in self.passing.items():
            if self.shown.get(path) != content and not self._show(path, content):
                self.passing[path] = _STALE
                self.touched = True
        self.shown = self.passing

    def take_writes(self, appliance: Appliance) -> None:
        """Hands what was written into files to their handlers; the next pass shows what came of it.

        Until then a file keeps what was written: nobody sees the old text in between.
        """
        for path, handler in self.handlers.items():
            if self._changed_at(path) in (0, self.seen[path]):
                continue
            with _alone(self.root + path, os.O_RDONLY, fcntl.F_RDLCK) as file:
                if file is None:  # somebody has opened it and is about to write
                    continue
                text = os.read(file, 65536).decode(errors="replace")
                self.seen[path] = _stamp(file)
            self.shown[path] = _STALE
            self.touched = True
            handler(appliance, text.strip())

    def _changed_at(self, path: str) -> int:
        try:
            return os.stat(self.root + path).st_mtime_ns
        except FileNotFoundError:
            return 0

    def _show(self, path: str, content: str) -> bool:
        """Writes a file anew; not one that somebody else writes or is about to."""
        if path not in self.handlers or not self._changed_at(path):
            self._write(path, content)
            return True
        with _alone(self.root + path, os.O_RDWR, fcntl.F_WRLCK) as file:
            if file is None or os.fstat(file).st_mtime_ns != self.seen[path]:
                return False
            os.ftruncate(file, 0)
            os.write(file, content[1:].encode())
            self.seen[path] = _stamp(file)
        return True

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
                file.flush()
                self.seen[path] = _stamp(file.fileno())
        os.replace(new, place)

    def _remove(self, path: str) -> None:
        try:
            os.remove(self.root + path)
            folder = os.path.dirname(path)
            while folder.count("/") > 2:
                os.rmdir(self.root + folder)
                folder = os.path.dirname(folder)
        except OSError:
            pass


@contextlib.contextmanager
def _alone(place: str, flags: int, lease: int) -> Iterator[int | None]:
    """The open file if nobody else writes it, or has it open at all; who opens it then waits."""
    file = os.open(place, flags | os.O_CLOEXEC)
    try:
        try:
            fcntl.fcntl(file, fcntl.F_SETLEASE, lease)
        except BlockingIOError:
            yield None
            return
        except OSError:  # a file system without leases
            pass
        yield file
    finally:
        os.close(file)


def _stamp(file: int) -> int:
    """Gives the file a time that no write gives it: those are some milliseconds apart."""
    now = time.time_ns()
    os.utime(file, ns=(now, now))
    return os.fstat(file).st_mtime_ns
