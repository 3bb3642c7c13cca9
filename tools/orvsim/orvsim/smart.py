"""SMART of every disk, as smartctl tells it."""

from __future__ import annotations

import argparse
import re
import time
import zlib
from dataclasses import dataclass, field

from orvsim.alarms import clear_alarms, raise_alarm
from orvsim.appliance import Appliance, Machine
from orvsim.disks import Disk, choose_disk, find_disk
from orvsim.sections import section
from orvsim.smart_attributes import Attribute, attributes_of, table_text
from orvsim.storage_alarms import place_of
from orvsim.tools import Call, control, tool

_COULD_NOT_PARSE, _COULD_NOT_OPEN, _IS_FAILING, _ATTRIBUTE_FAILS = 1, 2, 8, 16
_HOTTEST_DISK = 55
_HOUR = 3600.0
_MOST_HOURS = 30000

# The family, the whole model, the firmware and the standards of a disk, by its model.
_FAMILIES = {
    "ST2000NM0011": ("Seagate Constellation ES (SATA 6Gb/s)", "ST2000NM0011", "SN03"),
    "WDC WD2003FYYS-0": ("Western Digital RE4", "WDC WD2003FYYS-02W0B0", "01.01D01"),
    "HGST HUS724020AL": ("HGST Ultrastar 7K4000", "HGST HUS724020ALA640", "MF6OAA70"),
    "TOSHIBA MG03ACA2": ("Toshiba MG03ACAxxx(Y) Enterprise HDD", "TOSHIBA MG03ACA200", "FL1A"),
}


@dataclass
class Health:
    """What is known of a disk's health besides what its serial number says."""

    temperature: int | None = None
    reallocated: int = 0
    pending: int = 0
    failing: bool = False


@section("smart")
@dataclass
class Smart:
    """The health of disks that have one of their own, by serial number."""

    disks: dict[str, Health] = field(default_factory=dict)


def health_of(appliance: Appliance, disk: Disk) -> Health:
    """The health of a disk; one that has failed is failing for SMART too."""
    health = appliance.get(Smart).disks.get(disk.serial, Health())
    return Health(
        temperature_of(health, disk),
        health.reallocated or (1992 if disk.failed else 0),
        health.pending or (24 if disk.failed else 0),
        health.failing or disk.failed,
    )


def temperature_of(health: Health, disk: Disk) -> int:
    """A temperature that differs from disk to disk, unless it was set."""
    if health.temperature is not None:
        return health.temperature
    return 33 + zlib.crc32(disk.serial.encode()) % 8


def disk_attributes(appliance: Appliance, disk: Disk) -> list[Attribute]:
    """The attributes that the disk reports now."""
    health = health_of(appliance, disk)
    seed = zlib.crc32(disk.serial.encode())
    hours = (int(appliance.now() // _HOUR) + seed) % _MOST_HOURS
    return attributes_of(
        seed,
        hours,
        health.temperature or 0,
        health.reallocated,
        health.pending,
    )


# --- smartctl ------------------------------------------------------------------------------------


def _head(appliance: Appliance) -> str:
    kernel = appliance.get(Machine).kernel
    return (
        f"smartctl 7.3 2022-02-28 r5338 [x86_64-linux-{kernel}] (local build)\n"
        "Copyright (C) 2002-22, Bruce Allen, Christian Franke, www.smartmontools.org\n\n"
    )


def capacity_text(size: int) -> str:
    """ "2,000,398,934,016 bytes [2.00 TB]": three digits, the others cut off."""
    units = iter(("B", "KB", "MB", "GB", "TB", "PB"))
    whole, rest, unit = size, 0, next(units)
    while whole >= 1000:
        whole, rest = divmod(whole, 1000)
        unit = next(units)
    short = f"{whole}.{rest // 10:02}" if whole < 10 else f"{whole}.{rest // 100}"
    return f"{size:,} bytes [{whole if whole >= 100 else short} {unit}]"


def _information(appliance: Appliance, disk: Disk) -> str:
    family, model, firmware = _FAMILIES.get(disk.model, ("", disk.model, "1.0"))
    name = f"{zlib.crc32(disk.serial.encode()):09x}"[-9:]
    now = time.strftime("%a %b %e %H:%M:%S %Y %Z", time.localtime(appliance.now()))
    lines = [
        "=== START OF INFORMATION SECTION ===",
        *([f"Model Family:     {family}"] if family else []),
        f"Device Model:     {model}",
        f"Serial Number:    {disk.serial}",
        f"LU WWN Device Id: 5 000c50 {name}",
        f"Firmware Version: {firmware}",
        f"User Capacity:    {capacity_text(disk.size)}",
        "Sector Size:      512 bytes logical/physical",
        "Rotation Rate:    7200 rpm",
        f"Device is:        {'In' if family else 'Not in'} smartctl database 7.3/5319",
        "ATA Version is:   ATA8-ACS T13/1699-D revision 4",
        "SATA Version is:  SATA 3.0, 6.0 Gb/s (current: 3.0 Gb/s)",
        f"Local Time is:    {now}",
        "SMART support is: Available - device has SMART capability.",
        "SMART support is: Enabled",
    ]
    return "\n".join(lines) + "\n\n"


def _health_text(is_failing: bool, attributes: list[Attribute], with_table: bool) -> str:
    result = "SMART overall-health self-assessment test result: "
    if not is_failing:
        return result + "PASSED\n\n"
    text = result + "FAILED!\nDrive failure expected in less than 24 hours. SAVE ALL DATA.\n"
    failed = [attribute for attribute in attributes if attribute.is_failing]
    if not failed:
        return text + "No failed Attributes found.\n\n"
    if with_table:
        return text + "See vendor-specific Attribute list for failed Attributes.\n\n"
    return text + "Failed Attributes:\n" + table_text(failed) + "\n"


_LONG = {"info": "i", "health": "H", "attributes": "A", "all": "a", "xall": "x"}
_WITH_VALUE = {"device": "d", "tolerance": "T", "nocheck": "n", "smart": "s", "format": "f"}
_DEVICE_TYPES = ("marvell", "sat", "ata", "auto")
_ALL_TYPES = (
    "ata, scsi[+TYPE], nvme[,NSID], sat[,auto][,N][+TYPE], usbcypress[,X], "
    "usbjmicron[,p][,x][,N], usbprolific, usbsunplus, sntasmedia, sntjmicron[,NSID], sntrealtek, "
    "intelliprop,N[+TYPE], jmb39x[-q],N[,sLBA][,force][+TYPE], jms56x,N[,sLBA][,force][+TYPE], "
    "marvell, areca,N/E, 3ware,N, hpt,L/M/N, megaraid,N, aacraid,H,L,ID, cciss,N, auto, test"
)


@dataclass
class _Question:
    """What smartctl was asked."""

    wanted: set[str] = field(default_factory=set)
    kind: str = "auto"
    devices: list[str] = field(default_factory=list)

    def take_option(self, letter: str, value: str) -> None:
        """An option; those about the way to ask are not needed here."""
        if letter == "d":
            self.kind = value
        elif letter in "iHA":
            self.wanted.add(letter)
        elif letter in "ax":
            self.wanted.update("iHA")


def _parse(words: list[str]) -> _Question:
    question = _Question()
    rest = iter(words)
    for word in rest:
        if word.startswith("--"):
            _take_long(question, word[2:], rest)
        elif word.startswith("-") and len(word) > 1:
            _take_short(question, word[1:], rest)
        else:
            question.devices.append(word)
    return question


def _take_long(question: _Question, word: str, rest) -> None:
    name, _, value = word.partition("=")
    if name in _LONG:
        question.take_option(_LONG[name], "")
    elif name in _WITH_VALUE:
        question.take_option(_WITH_VALUE[name], value or next(rest, ""))
    else:
        raise ValueError(f"UNRECOGNIZED OPTION: {name}")


def _take_short(question: _Question, letters: str, rest) -> None:
    for place, letter in enumerate(letters, 1):
        if letter in _WITH_VALUE.values():
            question.take_option(letter, letters[place:] or next(rest, ""))
            return
        if letter not in "iHAax":
            raise ValueError(f"UNRECOGNIZED OPTION: {letter}")
        question.take_option(letter, "")


def _wrong(question: _Question) -> str | None:
    """What is wrong with the question."""
    if not question.devices:
        return "ERROR: smartctl requires a device name as the final command-line argument.\n\n"
    if len(question.devices) > 1:
        names = "\n".join(question.devices)
        count = len(question.devices)
        return (
            "ERROR: smartctl takes ONE device name as the final command-line argument.\n"
            f"You have provided {count} device names:\n{names}\n"
        )
    if question.kind not in _DEVICE_TYPES:
        return (
            f"{question.devices[0]}: Unknown device type '{question.kind}'\n"
            f"=======> VALID ARGUMENTS ARE: {_ALL_TYPES} <=======\n"
        )
    return None


@tool("/usr/local/sbin/smartctl")
def smartctl(appliance: Appliance, call: Call) -> int:
    """Tells who a disk is, whether it is healthy, and its attributes."""
    call.out(_head(appliance))
    try:
        question = _parse(call.arguments)
        wrong = _wrong(question)
    except ValueError as error:
        wrong = f"=======> {error}\n"
    if wrong:
        call.out(f"{wrong}\nUse smartctl -h to get a usage summary\n\n")
        return _COULD_NOT_PARSE
    device = question.devices[0]
    disk = find_disk(appliance, device.removeprefix("/dev/")) if "/dev/" in device else None
    if disk is None:
        call.out(f"Smartctl open device: {device} failed: No such device\n")
        return _COULD_NOT_OPEN
    return _answer(appliance, call, disk, question.wanted)


def _answer(appliance: Appliance, call: Call, disk: Disk, wanted: set[str]) -> int:
    attributes = disk_attributes(appliance, disk)
    is_failing = health_of(appliance, disk).failing
    status = 0
    if "i" in wanted:
        call.out(_information(appliance, disk))
    if wanted & set("HA"):
        call.out("=== START OF READ SMART DATA SECTION ===\n")
    if "H" in wanted:
        call.out(_health_text(is_failing, attributes, "A" in wanted))
        status = _IS_FAILING if is_failing else 0
    if wanted & set("HA") and any(attribute.is_failing for attribute in attributes):
        status |= _ATTRIBUTE_FAILS
    if "A" in wanted:
        call.out("SMART Attributes Data Structure revision number: 16\n")
        call.out(table_text(attributes) + "\n")
    if not wanted:
        call.out("ATA device successfully opened\n\n")
        call.out("Use 'smartctl -a' (or '-x') to print SMART (and more) information\n\n")
    return status


# --- control -------------------------------------------------------------------------------------


def _number(text: str) -> int:
    if not re.fullmatch(r"[0-9]{1,5}", text):
        raise argparse.ArgumentTypeError(f"'{text}' is not a number from 0 to 99999")
    return int(text)


def _smart_arguments(parser: argparse.ArgumentParser) -> None:
    parser.add_argument("disk", help="sdb, or its bay: 2, or 2@1 in enclosure 1")
    parser.add_argument("--temperature", type=_number, help="degrees Celsius")
    parser.add_argument("--reallocated", type=_number, help="sectors that were reallocated")
    parser.add_argument("--pending", type=_number, help="sectors that cannot be read for now")
    state = parser.add_mutually_exclusive_group()
    state.add_argument("--failing", action="store_true", help="the disk expects to fail soon")
    state.add_argument("--healthy", action="store_true", help="as it was when it was new")


@control("smart", help="change what a disk reports of its health", arguments=_smart_arguments)
def _set_health(appliance: Appliance, given: argparse.Namespace) -> str:
    disk = choose_disk(appliance, given.disk)
    disks = appliance.get(Smart).disks
    health = Health() if given.healthy else disks.get(disk.serial, Health())
    for name in ("temperature", "reallocated", "pending"):
        if getattr(given, name) is not None:
            setattr(health, name, getattr(given, name))
    health.failing = health.failing or given.failing
    if given.failing and not health.reallocated:
        health.reallocated = 1992
    disks[disk.serial] = health
    _tell_alarms(appliance, disk)
    reported = health_of(appliance, disk)
    word = "is failing" if reported.failing else "is healthy"
    return f"Disk {given.disk} {word}, {reported.temperature} degrees.\n"


def _tell_alarms(appliance: Appliance, disk: Disk) -> None:
    health = health_of(appliance, disk)
    cause = f"smart {disk.serial}"
    clear_alarms(appliance, cause)
    clear_alarms(appliance, cause + " temperature")
    where = place_of(disk)
    if health.failing:
        raise_alarm(appliance, "SMART", f"{where} expects to fail", cause)
    if (health.temperature or 0) > _HOTTEST_DISK:
        text = f"{where} has {health.temperature} degrees"
        raise_alarm(appliance, "SMART", text, cause + " temperature")
