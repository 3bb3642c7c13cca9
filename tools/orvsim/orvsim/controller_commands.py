"""What an administrator does in the RAID controller's own menu: arrays and hot spares."""

from __future__ import annotations

import argparse
import re

from orvsim.appliance import Appliance
from orvsim.controller import (
    LEVELS,
    Controller,
    Volume,
    disks_by_channel,
    is_well,
    size_of,
    usage_of,
)
from orvsim.disks import Disk, Disks, attach, find_disk, has_controller
from orvsim.tools import ControlError, control


def _controller(appliance: Appliance) -> Controller:
    if not has_controller(appliance):
        raise ControlError("only the model KTA7120U has a RAID controller")
    return appliance.get(Controller)


def _free_disks(appliance: Appliance, channels: list[int]) -> list[Disk]:
    controller, disks = _controller(appliance), disks_by_channel(appliance)
    for channel in channels:
        if not is_well(disks, channel):
            raise ControlError(f"there is no working disk in channel {channel}")
        if usage_of(controller, channel) != "Free" or channels.count(channel) > 1:
            raise ControlError(f"the disk in channel {channel} is in use")
    return [disks[channel] for channel in channels]


def _channels(text: str) -> list[int]:
    if not re.fullmatch(r"[0-9]{1,4}(,[0-9]{1,4})*", text):
        raise argparse.ArgumentTypeError(f"'{text}' is no list of channels such as 1,2,3")
    return [int(word) for word in text.split(",")]


def _create_arguments(parser: argparse.ArgumentParser) -> None:
    parser.add_argument("level", choices=sorted(LEVELS))
    parser.add_argument("channels", type=_channels, help="such as 1,2,3")


@control("controller", "create", help="make an array (KTA7120U)", arguments=_create_arguments)
def _create(appliance: Appliance, given: argparse.Namespace) -> str:
    controller = _controller(appliance)
    disks = _free_disks(appliance, given.channels)
    fewest = LEVELS[given.level][0]
    if len(disks) < fewest or (given.level == "1" and len(disks) != 2):
        raise ControlError(f"level {given.level} wants {fewest} disks or more, level 1 two")
    taken = {volume.name for volume in controller.volumes}
    name = next(name for name in (f"md{n}" for n in range(len(taken) + 1)) if name not in taken)
    drive = Disk(f"ARC{name}", "Arc RAID Volume", size_of(given.level, disks), alias=name)
    attach(appliance, drive, 0, 0)
    controller.volumes.append(Volume(name, given.level, drive.name, list(given.channels)))
    return f"Made {name} of level {given.level}, the disk {drive.name}.\n"


def _delete_arguments(parser: argparse.ArgumentParser) -> None:
    parser.add_argument("name", help="such as md0")


@control("controller", "delete", help="remove an array (KTA7120U)", arguments=_delete_arguments)
def _delete(appliance: Appliance, given: argparse.Namespace) -> str:
    controller = _controller(appliance)
    found = [volume for volume in controller.volumes if volume.name == given.name]
    if not found:
        raise ControlError(f"the controller has no array '{given.name}'")
    drive = find_disk(appliance, found[0].device)
    if drive and drive.contents.volume:
        raise ControlError(f"{given.name} is a physical volume; take its group apart first")
    controller.volumes.remove(found[0])
    if drive:
        appliance.get(Disks).present.remove(drive)
    return f"Removed {given.name}.\n"


def _spare_arguments(parser: argparse.ArgumentParser) -> None:
    parser.add_argument("channel", type=_channels, help="such as 4")
    parser.add_argument("--remove", action="store_true", help="make it an ordinary disk again")


@control("controller", "spare", help="make disks hot spares (KTA7120U)", arguments=_spare_arguments)
def _set_spare(appliance: Appliance, given: argparse.Namespace) -> str:
    controller = _controller(appliance)
    if given.remove:
        strangers = set(given.channel) - set(controller.spares)
        if strangers:
            raise ControlError(f"the disk in channel {min(strangers)} is no hot spare")
        controller.spares = [each for each in controller.spares if each not in given.channel]
        return "They are ordinary disks.\n"
    _free_disks(appliance, given.channel)
    controller.spares += given.channel
    return "They are hot spares.\n"
