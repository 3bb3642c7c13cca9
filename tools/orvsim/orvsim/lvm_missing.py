"""What LVM says of physical volumes whose device is not there."""

from __future__ import annotations

from orvsim.appliance import Appliance
from orvsim.lvm_state import Group, Lvm, missing_volumes, sorted_groups
from orvsim.tools import Call


def warn_of_missing(appliance: Appliance, group: Group, call: Call) -> None:
    """Every tool that looks at a group says which of its volumes are not there."""
    for identifier in missing_volumes(appliance, group):
        hint = appliance.get(Lvm).volumes[identifier].device_hint
        call.err(f"  WARNING: Couldn't find device with uuid {identifier}.\n")
        call.err(
            f"  WARNING: VG {group.name} is missing PV {identifier} (last written to {hint}).\n"
        )


def warn_of_all_missing(appliance: Appliance, call: Call) -> None:
    """The same for all groups."""
    for group in sorted_groups(appliance):
        warn_of_missing(appliance, group, call)
