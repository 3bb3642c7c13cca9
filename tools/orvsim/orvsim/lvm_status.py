"""Groups and pools in `orvsim status`."""

from __future__ import annotations

from orvsim.appliance import Appliance
from orvsim.lvm_state import EXTENT_SECTORS, mapper_name, missing_volumes, sorted_groups
from orvsim.lvm_words import size_text
from orvsim.mounts import mount_of_device
from orvsim.tools import status_lines


@status_lines
def status(appliance: Appliance) -> list[str]:
    """Every group with its pools and where they are mounted."""
    lines = []
    for group in sorted_groups(appliance):
        lost = len(missing_volumes(appliance, group))
        lines.append(f"group        {group.name}" + (f", {lost} volumes missing" if lost else ""))
        for pool in group.pools:
            device = f"/dev/mapper/{mapper_name(group.name, pool.name)}"
            mount = mount_of_device(appliance, device)
            place = f" on {mount.target}" if mount else ""
            size = size_text(pool.extents * EXTENT_SECTORS)
            lines.append(f"pool         {group.name}/{pool.name}, {size}{place}")
    return lines
