"""The mdadm of Debian 12 (4.2), as far as it works on whole disks and version 1.2 superblocks."""

from __future__ import annotations

import time

from orvsim.appliance import Appliance
from orvsim.md_state import Array, Arrays, find_array
from orvsim.mdadm_assemble import assemble, incremental
from orvsim.mdadm_create import create
from orvsim.mdadm_detail import detail
from orvsim.mdadm_examine import examine
from orvsim.mdadm_manage import manage, set_read_only, set_writable, stop, zero
from orvsim.mdadm_words import Words, read_words
from orvsim.tools import Call, ToolError, tool

VERSION = "mdadm - v4.2 - 2021-12-30 - Debian 4.2-5\n"

_MODES = {
    "create": create,
    "assemble": assemble,
    "incremental": incremental,
    "stop": stop,
    "detail": detail,
    "examine": examine,
    "manage": manage,
    "zero": zero,
    "readonly": set_read_only,
    "readwrite": set_writable,
}


@tool("/sbin/mdadm", locked=False)
def mdadm(appliance: Appliance, call: Call) -> int:
    """Does what the command line says; only waiting is done without the lock."""
    words = read_words(call.arguments)
    if words.mode == "version":
        call.err(VERSION)
        return 0
    if words.mode == "wait":
        return _wait(appliance, words)
    function = _MODES.get(words.mode)
    if not function:
        raise ToolError("mdadm: No action given for " + (words.devices or ["mdadm"])[0], 2)
    with appliance.lock:
        try:
            return function(appliance, words, call)
        finally:
            if "quiet" in words.flags:
                _keep_errors(call)
            appliance.settle()


# What --quiet leaves out: the words of success.
_NOTICES = (
    "Note: this array",
    "started.",
    "Defaulting to",
    "stopped /dev",
    "added /dev",
    "re-added",
    "hot removed",
)


def _keep_errors(call: Call) -> None:
    kept = []
    for descriptor, data in call.output:
        if descriptor != 2 or not any(notice in data.decode() for notice in _NOTICES):
            kept.append((descriptor, data))
    call.output = kept


def _wait(appliance: Appliance, words: Words) -> int:
    """Until no rebuild runs on the arrays; 1 when none did."""
    waited = False
    while True:
        with appliance.lock:
            busy = [array for array in _named(appliance, words) if array.sync or array.pending]
        if not busy:
            return 0 if waited else 1
        waited = True
        time.sleep(0.1)


def _named(appliance: Appliance, words: Words) -> list[Array]:
    if not words.devices:
        return list(appliance.get(Arrays).running)
    arrays = (find_array(appliance, device.removeprefix("/dev/")) for device in words.devices)
    return [array for array in arrays if array]
