"""modprobe: the appliance's kernel has everything built in."""

from __future__ import annotations

from orvsim.appliance import Appliance
from orvsim.tools import Call, tool


@tool("/sbin/modprobe")
def modprobe(_appliance: Appliance, _call: Call) -> int:
    """Nothing is to be loaded."""
    return 0
