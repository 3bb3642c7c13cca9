"""The appliance's hot spares: the daemon gives one to an array that has lost a member.

The list is kept by the simulator of the appliance's tool, in its file.
"""

from __future__ import annotations

from orvsim.appliance import Appliance
from orvsim.disks import find_disk
from orvsim.holders import holder_of
from orvsim.md import use_spares
from orvsim.md_state import SPARE, Array, Arrays, Member, touch, usable_kib
from orvsim.tools import on_tick, simulator, status_lines, tell_event

simulator("/usr/local/bin/hotspare", "hotspare")

LIST = "/var/lib/orv-sim/hotspares"


def hot_spares(appliance: Appliance) -> list[str]:
    """The names of the hot spares."""
    try:
        return appliance.path(LIST).read_text(encoding="utf-8").split()
    except OSError:
        return []


def _keep(appliance: Appliance, names: list[str]) -> None:
    appliance.path(LIST).write_text("".join(name + "\n" for name in names), encoding="utf-8")


def _fits(appliance: Appliance, array: Array, name: str) -> bool:
    disk = find_disk(appliance, name)
    if not disk or disk.failed or holder_of(appliance, name):
        return False
    return usable_kib(disk.size, array.chunk, array.data_offset) >= array.used


def _wants_spare(array: Array) -> bool:
    rebuilding = [member for member in array.of_state(SPARE) if not member.write_error]
    usable = array.active and not array.read_only and not array.failed
    return usable and array.kind.redundancy > 0 and array.degraded > len(rebuilding)


@on_tick
def give_spares(appliance: Appliance) -> None:
    """An array that runs without a member gets the first hot spare that is large enough."""
    wanting = [array for array in appliance.get(Arrays).running if _wants_spare(array)]
    names = hot_spares(appliance) if wanting else []
    for array in wanting:
        fitting = next((name for name in names if _fits(appliance, array, name)), None)
        if fitting:
            names.remove(fitting)
            _keep(appliance, names)
            _give(appliance, array, fitting)


def _give(appliance: Appliance, array: Array, name: str) -> None:
    number = max([array.raid_disks - 1, *(member.number for member in array.members)]) + 1
    array.members.append(Member(name, number, -1, SPARE))
    tell_event(appliance, "spare-used", name)
    touch(appliance, array)
    use_spares(appliance, array)
    touch(appliance, array, 0)


@status_lines
def status(appliance: Appliance) -> list[str]:
    """The hot spares, if there are any."""
    names = hot_spares(appliance)
    return [f"hot spares   {' '.join(names)}"] if names else []
