"""The registry: which tools, kernel files, hooks and control commands a module brings.

A module of the simulation registers functions with the decorators below when it is imported;
`modules.py` imports them all. Every function gets the Appliance first and runs while nobody else
looks at the state, and the state is saved and the kernel files are written after it.

    @tool("/sbin/pvdisplay")
    def pvdisplay(appliance: Appliance, call: Call) -> int:
        call.out("...")
        return 0
"""

from __future__ import annotations

import argparse
import os
from collections.abc import Callable
from dataclasses import dataclass, field
from typing import TYPE_CHECKING

from orvsim import errors

if TYPE_CHECKING:
    from orvsim.appliance import Appliance
    from orvsim.kernel_files import KernelFiles


# For the modules that register controls.
ControlError = errors.ControlError


class ToolError(Exception):
    """Ends a tool with a message on its standard error and an exit status."""

    def __init__(self, message: str, status: int = 1):
        super().__init__(message)
        self.status = status


class ExecInstead(Exception):
    """Makes the caller of a tool continue as another program, with the same or other arguments."""

    def __init__(self, program: str, arguments: list[str] | None = None):
        super().__init__(program)
        self.program = program
        self.arguments = arguments


@dataclass
class Call:
    """One call of a simulated tool: what it was given, and what it says."""

    name: str
    arguments: list[str]
    folder: str = "/"
    input: bytes = b""
    output: list[tuple[int, bytes]] = field(default_factory=list)

    def out(self, text: str) -> None:
        """Says something on standard output."""
        self.output.append((1, text.encode()))

    def err(self, text: str) -> None:
        """Says something on standard error."""
        self.output.append((2, text.encode()))

    def read_input(self) -> bytes:
        """All of standard input; only for tools registered with reads_input."""
        return self.input


ToolFunction = Callable[["Appliance", Call], int]
ReadsInput = bool | Callable[[list[str]], bool]


@dataclass(frozen=True)
class Tool:
    """A simulated tool. An unlocked one takes `appliance.lock` itself (it waits, or runs long)."""

    path: str
    run: ToolFunction
    reads_input: ReadsInput = False
    locked: bool = True

    @property
    def name(self) -> str:
        return os.path.basename(self.path)

    def wants_input(self, arguments: list[str]) -> bool:
        """Whether a call with these arguments reads its standard input, to its end."""
        return self.reads_input(arguments) if callable(self.reads_input) else self.reads_input


@dataclass(frozen=True)
class Control:
    """A subcommand of orvsim that changes or asks the appliance; it returns what is printed."""

    words: tuple[str, ...]
    help: str
    run: Callable[["Appliance", argparse.Namespace], str]
    arguments: Callable[[argparse.ArgumentParser], None]


TOOLS: dict[str, Tool] = {}
CONTROLS: list[Control] = []
KERNEL_FILES: list[Callable[["Appliance", "KernelFiles"], None]] = []
ON_NEW: list[Callable[["Appliance"], None]] = []
ON_START: list[Callable[["Appliance"], None]] = []
ON_TICK: list[Callable[["Appliance"], None]] = []
ON_EVENT: list[Callable[["Appliance", str, str], None]] = []
STATUS: list[Callable[["Appliance"], list[str]]] = []


def tool(
    *paths: str, reads_input: ReadsInput = False, locked: bool = True
) -> Callable[[ToolFunction], ToolFunction]:
    """Registers a tool under its path in the appliance; a call by its bare name is the same."""

    def register(function: ToolFunction) -> ToolFunction:
        for path in paths:
            entry = Tool(path, function, reads_input, locked)
            assert entry.name not in TOOLS, f"{entry.name} is registered twice"
            TOOLS[entry.name] = entry
        return function

    return register


def simulator(path: str, script: str) -> None:
    """Registers one of the scripts that the sandbox and the virtual machine use too.

    It stands in the simulators' folder and keeps its state in files below /var/lib/orv-sim.
    """

    def run(_appliance: Appliance, _call: Call) -> int:
        raise ExecInstead(f"/run/orvsim/simulators/{script}")

    tool(path)(run)


def control(
    *words: str,
    help: str,  # pylint: disable=redefined-builtin
    arguments: Callable[[argparse.ArgumentParser], None] = lambda parser: None,
) -> Callable[[Callable[[Appliance, argparse.Namespace], str]], Callable]:
    """Registers `orvsim WORD...`. It works on a running appliance and on one that is at rest."""

    def register(function: Callable[[Appliance, argparse.Namespace], str]) -> Callable:
        CONTROLS.append(Control(words, help, function, arguments))
        return function

    return register


def kernel_files(function: Callable[[Appliance, KernelFiles], None]) -> Callable:
    """Registers a writer of files of /proc, /sys and /dev; called after every change."""
    KERNEL_FILES.append(function)
    return function


def on_new(function: Callable[[Appliance], None]) -> Callable:
    """Registers what a new appliance needs in its folders (`appliance.path("/etc/...")`)."""
    ON_NEW.append(function)
    return function


def on_start(function: Callable[[Appliance], None]) -> Callable:
    """Registers what happens when the appliance is switched on (the server has started)."""
    ON_START.append(function)
    return function


def on_tick(function: Callable[[Appliance], None]) -> Callable:
    """Registers what goes on by itself; called a few times a second while the appliance runs."""
    ON_TICK.append(function)
    return function


def status_lines(function: Callable[[Appliance], list[str]]) -> Callable:
    """Registers lines for `orvsim status`."""
    STATUS.append(function)
    return function


def on_event(function: Callable[[Appliance, str, str], None]) -> Callable:
    """Registers who wants to know what happens: the kind of event, and what it happened to.

    Kinds: disk-failed, disk-pulled, disk-inserted, array-degraded, array-failed, rebuild-started,
    rebuild-finished, spare-used.
    """
    ON_EVENT.append(function)
    return function


def tell_event(appliance: Appliance, kind: str, subject: str) -> None:
    """Something has happened to a disk (sdb) or an array (md0)."""
    for function in ON_EVENT:
        function(appliance, kind, subject)
