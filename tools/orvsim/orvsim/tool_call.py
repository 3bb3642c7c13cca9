"""Runs a simulated tool for a client: its faults first, then its function, then its output."""

from __future__ import annotations

import os
import signal
import time
import traceback
from collections.abc import Callable

from orvsim.appliance import Appliance, Faults
from orvsim.kernel_files import KernelFiles
from orvsim.tools import TOOLS, Call, ExecInstead, Tool, ToolError

NOT_FOUND = 127


def run_tool(
    appliance: Appliance,
    files: KernelFiles,
    folder: str,
    words: list[str],
    descriptors: list[int],
    is_gone: Callable[[], bool],
) -> list[str]:
    """The answer for the client: how it is to end. One that was killed meanwhile does nothing."""
    name = os.path.basename(words[0])
    call = Call(name, words[1:], folder)
    tool = TOOLS.get(name)
    if not tool:
        return ["exit", str(NOT_FOUND)]
    fault = _fault(appliance, name)
    if is_gone():
        raise ConnectionError(f"{name} was killed")
    if fault is not None:
        call.err(f"{name}: failed as told by orvsim tool-fails\n")
        return _deliver(call, fault, descriptors)
    if tool.wants_input(call.arguments):
        call.input = _read_all(descriptors[0])
    try:
        status = _run(appliance, files, tool, call)
    except ExecInstead as program:
        arguments = program.arguments
        return [
            "exec",
            program.program,
            name,
            *(call.arguments if arguments is None else arguments),
        ]
    return _deliver(call, status, descriptors)


def _fault(appliance: Appliance, name: str) -> int | None:
    """Waits as long as the tool is to hang; the exit status if it is to fail."""
    with appliance.lock:
        faults = appliance.get(Faults)
        seconds, status = faults.hangs.get(name, 0.0), faults.fails.get(name)
    if seconds:
        time.sleep(seconds)
    return status


def _run(appliance: Appliance, files: KernelFiles, tool: Tool, call: Call) -> int:
    if not tool.locked:
        return _run_function(appliance, tool, call)
    with appliance.lock:
        files.take_writes(appliance)
        status = _run_function(appliance, tool, call)
        appliance.settle()
        return status


def _run_function(appliance: Appliance, tool: Tool, call: Call) -> int:
    try:
        return tool.run(appliance, call)
    except ToolError as error:
        call.err(f"{error}\n" if str(error) else "")
        return error.status
    except ExecInstead:
        raise
    except Exception:  # pylint: disable=broad-except
        traceback.print_exc()
        call.err(f"orvsim: {call.name}: {traceback.format_exc(limit=-2)}")
        return 70


def _read_all(descriptor: int) -> bytes:
    parts = []
    while part := os.read(descriptor, 65536):
        parts.append(part)
    return b"".join(parts)


def _deliver(call: Call, status: int, descriptors: list[int]) -> list[str]:
    for number, data in call.output:
        try:
            while data:
                data = data[os.write(descriptors[number], data) :]
        except BrokenPipeError:
            return ["signal", str(int(signal.SIGPIPE))]
        except OSError:
            return ["exit", "1"]
    return ["exit", str(status)]
