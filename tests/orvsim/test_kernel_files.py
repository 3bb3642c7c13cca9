"""What is written into the files that stand for the kernel's, at whatever moment."""

from __future__ import annotations

from pathlib import Path

import pytest
from orvsim.kernel_files import KernelFiles

LIMIT = "/proc/sys/limit"


class Kernel:
    """A limit that can be written, in a folder of its own."""

    def __init__(self, root: Path):
        (root / "proc").mkdir()
        self.file = root / LIMIT[1:]
        self.files = KernelFiles(str(root))
        self.limit = "1000"
        self.told: list[str] = []
        self.show()

    def show(self) -> None:
        """A pass."""
        self.files.begin()
        self.files.put(LIMIT, self.limit + "\n", self._set)
        self.files.end()

    def tick(self) -> None:
        """A look at what was written, and a pass, as every tool and every tick has them."""
        self.files.take_writes(None)
        self.show()

    def _set(self, _appliance: None, text: str) -> None:
        self.told.append(text)
        if text.isdigit():
            self.limit = text


@pytest.fixture(name="kernel")
def _kernel(tmp_path: Path) -> Kernel:
    return Kernel(tmp_path)


def test_every_write_is_told_however_soon_it_comes(kernel: Kernel) -> None:
    for number in range(200):
        kernel.file.write_text(f"{number}\n")
        kernel.tick()
        assert kernel.file.read_text() == f"{number}\n"
    assert kernel.told == [str(number) for number in range(200)]


def test_write_that_is_under_way_is_waited_for(kernel: Kernel) -> None:
    with kernel.file.open("w") as file:  # empty now
        kernel.tick()
        kernel.limit = "5"
        kernel.tick()
        assert not kernel.told
        file.write("2000\n")
    kernel.tick()
    assert kernel.told == ["2000"]
    assert kernel.file.read_text() == "2000\n"


def test_write_between_a_look_and_the_pass_is_taken_by_the_next_look(kernel: Kernel) -> None:
    kernel.file.write_text("2000\n")
    kernel.files.take_writes(None)
    kernel.file.write_text("3000\n")
    kernel.show()
    kernel.tick()
    assert kernel.told == ["2000", "3000"]
    assert kernel.file.read_text() == "3000\n"


def test_reader_sees_the_text_of_when_it_opened_the_file(kernel: Kernel) -> None:
    with kernel.file.open() as file:
        kernel.limit = "5"
        kernel.tick()
        assert file.read() == "1000\n"
    kernel.tick()
    assert kernel.file.read_text() == "5\n"


def test_refused_text_is_replaced_by_what_holds(kernel: Kernel) -> None:
    kernel.file.write_text("fast\n")
    kernel.tick()
    assert kernel.file.read_text() == "1000\n"
    kernel.file.unlink()
    kernel.limit = "7"
    kernel.tick()
    assert kernel.file.read_text() == "7\n"
