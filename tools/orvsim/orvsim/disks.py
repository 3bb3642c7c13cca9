"""Disks in their bays, as the disk driver, sysfs and /proc/partitions show them."""

from __future__ import annotations

import os
import random
import re
import string
import subprocess
from collections.abc import Iterator
from dataclasses import dataclass, field

from orvsim.appliance import Appliance, Machine
from orvsim.blocks import SECTOR, Contents
from orvsim.creation import Options
from orvsim.kernel_files import KernelFiles
from orvsim.sections import section
from orvsim.tools import (
    Call,
    ControlError,
    ExecInstead,
    kernel_files,
    on_new,
    status_lines,
    tell_event,
    tool,
)

BAYS = 16
CONTROLLER_MODEL = "KTA7120U"

_MODELS = ("ST2000NM0011", "WDC WD2003FYYS-0", "HGST HUS724020AL", "TOSHIBA MG03ACA2")
_MAJORS = (8, *range(65, 72), *range(128, 136))


@dataclass
class Disk:
    """A disk. Bay 0: it sits in no bay. Without a name it is not in the machine.

    The alias is a second name below /dev: an array of a RAID controller is called md0 too.
    """

    serial: str = ""
    model: str = ""
    size: int = 0
    name: str = ""
    bay: int = 0
    enclosure: int = 0
    failed: bool = False
    alias: str = ""
    contents: Contents = field(default_factory=Contents)


@section("disks")
@dataclass
class Disks:
    """All disks: in the machine, in the order of their names, and pulled ones, which keep theirs."""

    present: list[Disk] = field(default_factory=list)
    pulled: list[Disk] = field(default_factory=list)


def has_controller(appliance: Appliance) -> bool:
    """On this model the disks belong to the RAID controller and have no device names."""
    return appliance.get(Machine).model == CONTROLLER_MODEL


def index_of(name: str) -> int:
    """0 for sda, 25 for sdz, 26 for sdaa."""
    number = 0
    for letter in name.removeprefix("sd"):
        number = number * 26 + ord(letter) - ord("a") + 1
    return number - 1


def name_of(index: int) -> str:
    """The kernel's name of the disk with that number."""
    letters = ""
    index += 1
    while index:
        index, letter = divmod(index - 1, 26)
        letters = string.ascii_lowercase[letter] + letters
    return "sd" + letters


def numbers_of(name: str) -> tuple[int, int]:
    """Major and minor device number of a disk."""
    index = index_of(name)
    group, within = divmod(index, 16)
    majors = len(_MAJORS)
    return _MAJORS[group % majors], within * 16 + 256 * (group // majors)


def find_disk(appliance: Appliance, name: str) -> Disk | None:
    """The disk with this device name."""
    present = appliance.get(Disks).present
    return next((disk for disk in present if name and name in (disk.name, disk.alias)), None)


def choose_disk(appliance: Appliance, text: str) -> Disk:
    """The disk that a user of orvsim names: sdb, /dev/sdb, bay 3, or bay 3@2 of enclosure 2."""
    place = re.fullmatch(r"(\d+)(?:@(\d+))?", text)
    for disk in appliance.get(Disks).present:
        if place and (disk.bay, disk.enclosure) == (int(place[1]), int(place[2] or 0)):
            return disk
        if disk.name == text.removeprefix("/dev/"):
            return disk
    raise ControlError(f"there is no disk '{text}'; name it sdb, or by its bay: 2, or 2@1")


def new_disk(size: int, model: str = "", serial: str = "") -> Disk:
    """A fresh disk."""
    letters = string.ascii_uppercase + string.digits
    serial = serial or "".join(random.choices(letters, k=8))
    return Disk(serial, model or random.choice(_MODELS), size)


def all_bays(appliance: Appliance) -> Iterator[tuple[int, int]]:
    """Every bay with its enclosure, the main chassis first."""
    for enclosure in range(appliance.get(Machine).enclosures + 1):
        for bay in range(1, BAYS + 1):
            yield bay, enclosure


def free_bay(appliance: Appliance) -> tuple[int, int]:
    """The first empty bay; (0, 0) when none is."""
    taken = {(disk.bay, disk.enclosure) for disk in appliance.get(Disks).present}
    return next((place for place in all_bays(appliance) if place not in taken), (0, 0))


def attach(appliance: Appliance, disk: Disk, bay: int, enclosure: int) -> None:
    """Puts a disk into the machine; it gets the first free name."""
    disks = appliance.get(Disks)
    names = {present.name for present in disks.present}
    disk.name = next(name for name in map(name_of, range(len(names) + 1)) if name not in names)
    disk.bay, disk.enclosure = bay, enclosure
    disks.present.append(disk)
    disks.present.sort(key=lambda present: index_of(present.name))


@on_new
def make_disks(appliance: Appliance) -> None:
    """The disks that `orvsim new` was asked for, bay after bay."""
    made = appliance.get(Options)
    disks = appliance.get(Disks)
    places = list(all_bays(appliance))
    for index in range(made.disks):
        size = made.disk_sizes[min(index, len(made.disk_sizes) - 1)]
        disk = new_disk(size, _MODELS[0], f"Z1X{index:05d}")
        disk.name = name_of(index)
        disk.bay, disk.enclosure = places[index] if index < len(places) else (0, 0)
        disks.present.append(disk)


@tool("/usr/local/bin/mvsata")
def mvsata(appliance: Appliance, call: Call) -> int:
    """Places disks in bays, as the simulator of the disk driver's files does."""
    places = [re.fullmatch(r"([a-z]+)=(\d+)(?:@([0-4]))?", text) for text in call.arguments]
    if any(place is None or not 1 <= int(place[2]) <= BAYS for place in places):
        raise ExecInstead("/run/orvsim/simulators/mvsata")
    for disk in appliance.get(Disks).present:
        disk.bay = disk.enclosure = 0
    for place in filter(None, places):
        disk = find_disk(appliance, place[1])
        if disk:
            disk.bay, disk.enclosure = int(place[2]), int(place[3] or 0)
    return 0


@tool("/usr/local/bin/sysinfo")
def sysinfo(appliance: Appliance, call: Call) -> int:
    """Makes the appliance another model."""
    if len(call.arguments) == 1:
        appliance.get(Machine).model = call.arguments[0]
    raise ExecInstead("/run/orvsim/simulators/sysinfo")


_shown_places: list[str] | None = None  # pylint: disable=invalid-name


def _show_driver(appliance: Appliance) -> None:
    """The disk driver's files come from its simulator, when a disk has moved."""
    global _shown_places  # pylint: disable=global-statement
    places = [
        f"{disk.name}={disk.bay}@{disk.enclosure}"
        for disk in appliance.get(Disks).present
        if disk.bay
    ]
    if has_controller(appliance):
        places = []
    if places == _shown_places:
        return
    _shown_places = places
    subprocess.run(["/run/orvsim/simulators/mvsata", *places], check=True)


def _show_disk(files: KernelFiles, disk: Disk) -> None:
    folder = f"/sys/block/{disk.name}"
    major, minor = numbers_of(disk.name)
    files.put(f"{folder}/size", f"{disk.size // SECTOR}\n")
    files.put(f"{folder}/dev", f"{major}:{minor}\n")
    files.put(f"{folder}/ro", "0\n")
    files.put(f"{folder}/removable", "0\n")
    files.put(f"{folder}/queue/rotational", "1\n")
    files.put(f"{folder}/queue/logical_block_size", "512\n")
    files.put(f"{folder}/device/vendor", "ATA     \n")
    files.put(f"{folder}/device/model", f"{disk.model[:16]:<16}\n")
    files.put(f"{folder}/device/state", "offline\n" if disk.failed else "running\n")
    files.put(f"{folder}/device/delete", "", _remover(disk.name))
    files.device(f"/dev/{disk.name}", disk.size)


def take_out(appliance: Appliance, disk: Disk) -> None:
    """The disk is not in the machine any more."""
    disks = appliance.get(Disks)
    disks.present.remove(disk)
    disks.pulled.append(disk)
    tell_event(appliance, "disk-pulled", disk.name)


def _remover(name: str):
    def remove(appliance: Appliance, text: str) -> None:
        disk = find_disk(appliance, name)
        if disk and text == "1":
            take_out(appliance, disk)

    return remove


@kernel_files
def show_disks(appliance: Appliance, files: KernelFiles) -> None:
    """sysfs, /dev and the disk driver's files."""
    os.makedirs("/proc/scsi", exist_ok=True)
    _show_driver(appliance)
    for disk in appliance.get(Disks).present:
        if not (has_controller(appliance) and disk.bay):
            _show_disk(files, disk)


@status_lines
def status(appliance: Appliance) -> list[str]:
    """How many disks there are, and which are not well."""
    machine, disks = appliance.get(Machine), appliance.get(Disks)
    lines = [f"model        {machine.model}, {machine.enclosures} expansion enclosures"]
    lines.append(f"disks        {len(disks.present)} in the machine, {len(disks.pulled)} pulled")
    for disk in disks.present:
        if disk.failed:
            lines.append(f"             {disk.name} has failed (bay {disk.bay}@{disk.enclosure})")
    return lines
