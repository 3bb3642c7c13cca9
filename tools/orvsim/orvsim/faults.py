"""Faults on demand: disks fail and are pulled, file systems fill up, tools fail or hang."""

from __future__ import annotations

import argparse
import os

from orvsim import file_systems
from orvsim.appliance import Appliance, Faults
from orvsim.creation import size_of
from orvsim.disks import (
    Disk,
    Disks,
    all_bays,
    attach,
    choose_disk,
    free_bay,
    new_disk,
    take_out,
)
from orvsim.lvm_state import find_pool
from orvsim.mounts import mount_of_device
from orvsim.tools import TOOLS, ControlError, control, status_lines, tell_event


def _disk_argument(parser: argparse.ArgumentParser) -> None:
    parser.add_argument("disk", help="sdb, or its bay: 2, or 2@1 for bay 2 of enclosure 1")


@control("fail-disk", help="a disk fails: it cannot be read or written", arguments=_disk_argument)
def fail_disk(appliance: Appliance, arguments: argparse.Namespace) -> str:
    """Arrays lose the member; SMART and the alarms report it."""
    disk = choose_disk(appliance, arguments.disk)
    if disk.failed:
        raise ControlError(f"{disk.name} has failed already")
    disk.failed = True
    tell_event(appliance, "disk-failed", disk.name)
    return f"{disk.name} in {_place(disk)} has failed\n"


def _place(disk: Disk) -> str:
    if not disk.bay:
        return "no bay"
    return f"bay {disk.bay}" + (f" of enclosure {disk.enclosure}" if disk.enclosure else "")


@control("pull-disk", help="a disk is pulled out of its bay", arguments=_disk_argument)
def pull_disk(appliance: Appliance, arguments: argparse.Namespace) -> str:
    """The disk is gone with all that is on it; insert-disk --serial puts it back."""
    disk = choose_disk(appliance, arguments.disk)
    take_out(appliance, disk)
    return f"{disk.name} with serial number {disk.serial} was pulled out of {_place(disk)}\n"


def _insert_arguments(parser: argparse.ArgumentParser) -> None:
    parser.add_argument("bay", nargs="?", help="3, or 3@2 of enclosure 2; the first empty one")
    parser.add_argument("--serial", help="a disk that was pulled, with all that is on it")
    parser.add_argument("--size", help="of a new disk, such as 2T; as the appliance's others")
    parser.add_argument("--model", default="", help="of a new disk")


@control("insert-disk", help="a disk is put into a bay", arguments=_insert_arguments)
def insert_disk(appliance: Appliance, arguments: argparse.Namespace) -> str:
    """A new disk, or one that was pulled."""
    bay, enclosure = _chosen_bay(appliance, arguments.bay)
    disk = _chosen_disk(appliance, arguments)
    attach(appliance, disk, bay, enclosure)
    tell_event(appliance, "disk-inserted", disk.name)
    return f"{disk.name} with serial number {disk.serial} was put into {_place(disk)}\n"


def _chosen_bay(appliance: Appliance, text: str | None) -> tuple[int, int]:
    if text is None:
        return free_bay(appliance)
    bay, _, enclosure = text.partition("@")
    place = (int(bay or 0), int(enclosure or 0)) if (bay + enclosure).isdigit() else (0, 0)
    if place not in set(all_bays(appliance)):
        raise ControlError(f"there is no bay '{text}'")
    for disk in appliance.get(Disks).present:
        if (disk.bay, disk.enclosure) == place:
            raise ControlError(f"{disk.name} sits in bay {text}")
    return place


def _chosen_disk(appliance: Appliance, arguments: argparse.Namespace) -> Disk:
    disks = appliance.get(Disks)
    if not arguments.serial:
        usual = disks.present[0].size if disks.present else size_of("2T")
        size = size_of(arguments.size) if arguments.size else usual
        return new_disk(size, arguments.model)
    for disk in disks.pulled:
        if disk.serial == arguments.serial:
            disks.pulled.remove(disk)
            return disk
    raise ControlError(f"no disk with serial number '{arguments.serial}' was pulled")


def _fill_arguments(parser: argparse.ArgumentParser) -> None:
    parser.add_argument("place", help="a mount point, or a pool: /mnt/data, or vg1/data")
    parser.add_argument("percent", type=int, help="0 to 100; 0 leaves what really is there")


@control("fill", help="a file system fills up", arguments=_fill_arguments)
def fill(appliance: Appliance, arguments: argparse.Namespace) -> str:
    """Its use is at least so many percent."""
    if not 0 <= arguments.percent <= 100:
        raise ControlError("a file system is filled to 0 to 100 percent")
    target = os.path.normpath(arguments.place)
    if find_pool(appliance, arguments.place):
        mount = mount_of_device(appliance, "/dev/" + arguments.place.removeprefix("/dev/"))
        target = mount.target if mount else target
    problem = file_systems.fill(appliance, target, arguments.percent)
    if problem:
        raise ControlError(problem)
    return f"{target} is filled to {arguments.percent}%\n"


def _tool(name: str) -> str:
    if name not in TOOLS:
        raise ControlError(f"'{name}' is no tool of the simulation: {' '.join(sorted(TOOLS))}")
    return name


def _fails_arguments(parser: argparse.ArgumentParser) -> None:
    parser.add_argument("name", help="such as mdadm")
    parser.add_argument("code", type=int, help="the exit status; 0: it works again")


@control("tool-fails", help="a tool fails from now on", arguments=_fails_arguments)
def tool_fails(appliance: Appliance, arguments: argparse.Namespace) -> str:
    """The tool does nothing and ends with this status."""
    fails, name = appliance.get(Faults).fails, _tool(arguments.name)
    if not 0 <= arguments.code <= 255:
        raise ControlError("an exit status is 0 to 255")
    fails.pop(name, None)
    if arguments.code:
        fails[name] = arguments.code
        return f"{name} ends with {arguments.code}\n"
    return f"{name} works\n"


def _hangs_arguments(parser: argparse.ArgumentParser) -> None:
    parser.add_argument("name", help="such as pvdisplay")
    parser.add_argument("seconds", type=float, help="0: it answers at once again")


@control("tool-hangs", help="a tool answers late from now on", arguments=_hangs_arguments)
def tool_hangs(appliance: Appliance, arguments: argparse.Namespace) -> str:
    """The tool waits before it does what it does."""
    hangs, name = appliance.get(Faults).hangs, _tool(arguments.name)
    if arguments.seconds < 0:
        raise ControlError("the seconds are not negative")
    hangs.pop(name, None)
    if arguments.seconds:
        hangs[name] = arguments.seconds
        return f"{name} waits for {arguments.seconds:g} seconds\n"
    return f"{name} answers at once\n"


@status_lines
def status(appliance: Appliance) -> list[str]:
    """The tools that do not work."""
    faults = appliance.get(Faults)
    lines = [f"tool fails   {name} with {code}" for name, code in faults.fails.items()]
    return lines + [f"tool hangs   {name} for {time:g} s" for name, time in faults.hangs.items()]
