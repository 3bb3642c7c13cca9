"""What md does by itself: members fail, spares take their place, rebuilds go on with time."""

from __future__ import annotations

from orvsim.appliance import Appliance
from orvsim.md_state import (
    FAULTY,
    IN_SYNC,
    SPARE,
    Array,
    Arrays,
    Member,
    Sync,
    array_of,
    find_array,
    touch,
)
from orvsim.tools import on_event, on_tick, status_lines, tell_event

# What a disk reads and writes during a rebuild, in KiB a second.
DISK_SPEED = 180000.0
# A bitmap's pages are let go some seconds after the last write.
BITMAP_SECONDS = 10.0


def sync_speed(appliance: Appliance) -> float:
    """How fast rebuilds run: as fast as disks do, within the limits that the kernel was given."""
    arrays = appliance.get(Arrays)
    return float(max(min(DISK_SPEED, arrays.speed_max), min(arrays.speed_min, DISK_SPEED), 1))


def sync_done(appliance: Appliance, array: Array) -> float:
    """How many KiB of each member the running rebuild or check has passed."""
    sync = array.sync
    if not sync:
        return 0.0
    return min(float(array.used), sync.done + (appliance.now() - sync.since) * sync.speed)


def start_sync(appliance: Appliance, array: Array, action: str) -> None:
    """A rebuild or check begins."""
    array.sync = Sync(action, appliance.now(), 0.0, sync_speed(appliance))
    if action == "recover":
        tell_event(appliance, "rebuild-started", array.name)


def set_speed(appliance: Appliance) -> None:
    """What has been rebuilt until now stays; the rest goes at the speed of now."""
    speed = sync_speed(appliance)
    for array in appliance.get(Arrays).running:
        if array.sync and array.sync.speed != speed:
            done, now = sync_done(appliance, array), appliance.now()
            array.sync.done, array.sync.since, array.sync.speed = done, now, speed


def use_spares(appliance: Appliance, array: Array) -> None:
    """Spares take the places that have no member, and are rebuilt."""
    if not array.active or array.read_only or array.failed or array.kind.redundancy == 0:
        return
    if array.sync and array.sync.action != "recover":
        return
    moved = False
    free = [slot for slot in range(array.raid_disks) if not array.in_slot(slot)]
    spares = sorted((m for m in array.of_state(SPARE) if m.slot < 0), key=lambda m: m.number)
    for slot, spare in zip(free, spares):
        spare.slot = slot
        moved = True
    rebuilding = [member for member in array.of_state(SPARE) if member.slot >= 0]
    if rebuilding and (moved or not array.sync):
        start_sync(appliance, array, "recover")
        touch(appliance, array)


def finish_sync(appliance: Appliance, array: Array) -> None:
    """All is rebuilt: who was a spare in a place is a member now."""
    sync, array.sync = array.sync, None
    array.synced = True
    array.last_synced = appliance.now()
    for member in array.of_state(SPARE):
        if member.slot >= 0:
            member.state = IN_SYNC
    touch(appliance, array, 2)
    if sync and sync.action == "recover":
        tell_event(appliance, "rebuild-finished", array.name)


def fail_member(
    appliance: Appliance, array: Array, member: Member, write_error: bool = False
) -> bool:
    """md takes a member out of use; not the last one that has the data of a mirror."""
    if member.state == FAULTY:
        return True
    kind, was_failed = array.kind, array.failed
    if kind.redundancy == 0:
        return False
    mirror_members = [m for m in array.of_state(IN_SYNC) if m.slot >= 0]
    if kind.name == "raid1" and mirror_members == [member]:
        array.shut = True
        return False
    member.state, member.write_error = FAULTY, write_error
    if array.sync and (array.sync.action != "recover" or array.failed or member.slot >= 0):
        array.sync = None
    if not array.failed:
        member.slot = -1
    touch(appliance, array, 2)
    if array.failed and not was_failed:
        tell_event(appliance, "array-failed", array.name)
    elif array.degraded:
        tell_event(appliance, "array-degraded", array.name)
    use_spares(appliance, array)
    return not array.failed


@on_event
def lose_disk(appliance: Appliance, kind: str, subject: str) -> None:
    """A failed or pulled disk cannot be written, so its array gives it up."""
    if kind not in ("disk-failed", "disk-pulled"):
        return
    array = array_of(appliance, subject)
    member = array.member(subject) if array else None
    if not array or not member:
        return
    was_failed = array.failed
    member.present = member.present and kind != "disk-pulled"
    fail_member(appliance, array, member, write_error=True)
    if array.failed and not was_failed and array.kind.redundancy == 0:
        tell_event(appliance, "array-failed", array.name)


@on_tick
def let_rebuild(appliance: Appliance) -> None:
    """Rebuilds end, and others begin."""
    for array in appliance.get(Arrays).running:
        if array.sync and sync_done(appliance, array) >= array.used:
            finish_sync(appliance, array)
        use_spares(appliance, array)


def written(appliance: Appliance, device: str) -> None:
    """Something is written to the device: an array that waited for that begins to work."""
    array = find_array(appliance, device.removeprefix("/dev/"))
    if array and array.read_only == "auto":
        array.read_only = ""
        if not array.synced and not array.degraded and array.kind.redundancy:
            start_sync(appliance, array, "resync")
        use_spares(appliance, array)


def is_busy(appliance: Appliance) -> bool:
    """Is there something that changes with time alone?"""
    now = appliance.now()
    return any(
        array.sync or now - array.last_synced < BITMAP_SECONDS + 1
        for array in appliance.get(Arrays).running
    )


@status_lines
def status(appliance: Appliance) -> list[str]:
    """Every array with its members and its rebuild."""
    lines = []
    for array in appliance.get(Arrays).running:
        marks = {FAULTY: "(F)", SPARE: "(S)", IN_SYNC: ""}
        members = " ".join(member.device + marks[member.state] for member in array.members)
        health = "failed" if array.failed else "degraded" if array.degraded else "clean"
        if array.sync:
            share = 100 * sync_done(appliance, array) / max(array.used, 1)
            health += f", {array.sync.action} {share:.1f}%"
        lines.append(f"array        {array.name} {array.level} {health}: {members}")
    return lines
