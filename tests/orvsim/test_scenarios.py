"""Scenarios of the virtual machine in the simulated appliance: the same checks hold.

Those that take long for what they do (they wait for what a real disk needs) are left to the machine.
"""

from __future__ import annotations

import re
from collections.abc import Callable

import pytest
from conftest import TREE, Machine

SCENARIOS = TREE / "tests" / "vm" / "scenarios"


def disk_options(scenario: str) -> list[str]:
    """The disks that the scenario asks the virtual machine for: "4x2G 1x300M"."""
    found = re.search(r"^# disks: (.*)$", scenario, re.MULTILINE)
    sizes = []
    for group in (found[1] if found else "6x2G").split():
        count, size = group.split("x")
        sizes += [size + "i"] * int(count)
    return ["--disks", str(len(sizes)), "--disk-size", ",".join(sizes)]


@pytest.mark.parametrize(
    "name",
    [
        "typical_request",
        "failed_member",
        "lost_array",
        "park_and_restore",
        "raid_levels",
        "volume_groups",
    ],
)
def test_scenario(new_machine: Callable[..., Machine], name: str) -> None:
    path = SCENARIOS / f"{name}.sh"
    machine = new_machine(*disk_options(path.read_text(encoding="utf-8")))
    machine.environment["ORV_VM_LIB"] = f"/host{TREE}/tests/vm/lib.sh"
    machine.tell("clock", "--rate", "10")  # rebuilds are not what is waited for
    result = machine.script(path)
    checks = re.search(r"^(\d+) checks, 0 failed$", result.out, re.MULTILINE)
    assert result.status == 0 and checks and int(checks[1]) > 10, result
