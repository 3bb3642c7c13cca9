"""What the tools say in the simulated appliance is what the real ones say in the virtual machine.

`compare/storage.real.txt` is what `compare/storage.sh` printed there; `compare/record storage` makes it anew, and
`ctest -C compare -R vm.compare` tells whether the virtual machine still prints it.
"""

from __future__ import annotations

import difflib
import sys
from collections.abc import Callable
from pathlib import Path

from conftest import Machine

COMPARE = Path(__file__).parent / "compare"
sys.path.insert(0, str(COMPARE))

from normalise import normalise  # pylint: disable=wrong-import-position  # noqa: E402

# As the first lines of the scenario ask the virtual machine for.
DISKS = ("--disks", "10", "--disk-size", ",".join(["200Mi"] * 7 + ["20Gi"] * 2 + ["150Mi"]))


def commands(text: str) -> dict[str, str]:
    """Every command of an output, numbered, with what it printed and how it ended."""
    parts = ("\n" + text).split("\n$ ")[1:]
    return {f"{number} {part.splitlines()[0]}": part for number, part in enumerate(parts)}


def test_storage_tools_say_what_the_real_ones_say(new_machine: Callable[..., Machine]) -> None:
    machine = new_machine(*DISKS)
    machine.environment["COMPARE_MOMENT"] = "0.3"
    simulated = machine.script(COMPARE / "storage.sh")
    assert simulated.status == 0, simulated.err
    real = (COMPARE / "storage.real.txt").read_text(encoding="utf-8")
    before, after = commands(normalise(real)), commands(normalise(simulated.out))
    assert list(before) == list(after)
    assert len(before) > 250
    differences = [
        "\n".join(
            difflib.unified_diff(before[key].split("\n"), after[key].split("\n"), "real", "sim")
        )
        for key in before
        if before[key].strip() != after[key].strip()
    ]
    assert not differences, "\n".join(differences)
