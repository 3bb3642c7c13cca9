"""smartctl: who a disk is, whether it is healthy, and its attributes."""

from __future__ import annotations

import time
import zlib
from collections.abc import Iterator
from dataclasses import dataclass, field

from orvsim.appliance import Appliance, Machine
from orvsim.disks import Disk, find_disk
from orvsim.smart import disk_attributes, health_of
from orvsim.smart_attributes import Attribute, table_text
from orvsim.tools import Call, tool

_COULD_NOT_PARSE, _COULD_NOT_OPEN, _IS_FAILING, _ATTRIBUTE_FAILS = 1, 2, 8, 16

# The family, the whole model, the firmware and the standards of a disk, by its model.
_FAMILIES = {
    "ST2000NM0011": ("Seagate Constellation ES (SATA 6Gb/s)", "ST2000NM0011", "SN03"),
    "WDC WD2003FYYS-0": ("Western Digital RE4", "WDC WD2003FYYS-02W0B0", "01.01D01"),
    "HGST HUS724020AL": ("HGST Ultrastar 7K4000", "HGST HUS724020ALA640", "MF6OAA70"),
    "TOSHIBA MG03ACA2": ("Toshiba MG03ACAxxx(Y) Enterprise HDD", "TOSHIBA MG03ACA200", "FL1A"),
}


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


def _take_long(question: _Question, word: str, rest: Iterator[str]) -> None:
    name, _, value = word.partition("=")
    if name in _LONG:
        question.take_option(_LONG[name], "")
    elif name in _WITH_VALUE:
        question.take_option(_WITH_VALUE[name], value or next(rest, ""))
    else:
        raise ValueError(f"UNRECOGNIZED OPTION: {name}")


def _take_short(question: _Question, letters: str, rest: Iterator[str]) -> None:
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
