"""pvs, vgs and lvs: reports with chosen columns."""

from __future__ import annotations

import re

from orvsim.appliance import Appliance
from orvsim.lvm_activation import is_open
from orvsim.lvm_missing import warn_of_all_missing
from orvsim.lvm_state import (
    EXTENT_SECTORS,
    Lvm,
    devices_of_volumes,
    group_of_volume,
    missing_volumes,
    sorted_groups,
    used_extents,
)
from orvsim.lvm_words import Words, fail, read_words, size_text
from orvsim.tools import Call, tool

Row = dict[str, str]

_TITLES = {
    "pv_name": "PV", "vg_name": "VG", "pv_fmt": "Fmt", "pv_attr": "Attr", "pv_size": "PSize",
    "pv_free": "PFree", "pv_uuid": "PV UUID", "pv_count": "#PV", "lv_count": "#LV",
    "snap_count": "#SN", "vg_attr": "Attr", "vg_size": "VSize", "vg_free": "VFree",
    "vg_uuid": "VG UUID", "lv_name": "LV", "lv_attr": "Attr", "lv_size": "LSize",
    "lv_uuid": "LV UUID", "lv_path": "Path",
    "pool_lv": "Pool", "origin": "Origin", "data_percent": "Data%", "metadata_percent": "Meta%",
    "move_pv": "Move", "mirror_log": "Log", "copy_percent": "Cpy%Sync", "convert_lv": "Convert",
}  # fmt: skip
_POOL_COLUMNS = (
    "lv_name,vg_name,lv_attr,lv_size,pool_lv,origin,data_percent,metadata_percent,move_pv,mirror_log,"
    "copy_percent,convert_lv"
)
_TO_THE_RIGHT = {"pv_size", "pv_free", "vg_size", "vg_free", "lv_size", "pv_count", "lv_count"}
_TO_THE_RIGHT |= {"snap_count"}


def _short(extents: int) -> str:
    text = size_text(extents * EXTENT_SECTORS)
    return text.replace(" ", "").replace("iB", "").lower() if extents else "0 "


@tool("/sbin/pvs")
def pvs(appliance: Appliance, call: Call) -> int:
    """The physical volumes."""
    devices = devices_of_volumes(appliance)
    rows = [_volume_row(appliance, item) for item in _all_volumes(appliance, devices)]
    return _report(appliance, call, rows, "pv_name,vg_name,pv_fmt,pv_attr,pv_size,pv_free")


def _all_volumes(appliance: Appliance, devices: dict[str, str]) -> list[tuple[str, str]]:
    lost = [
        (identifier, "[unknown]")
        for group in sorted_groups(appliance)
        for identifier in missing_volumes(appliance, group)
    ]
    known = appliance.get(Lvm).volumes
    there = [item for item in devices.items() if item[0] in known]
    return sorted([*there, *lost], key=lambda item: item[1])


def _volume_row(appliance: Appliance, item: tuple[str, str]) -> Row:
    identifier, path = item
    volume, group = appliance.get(Lvm).volumes[identifier], group_of_volume(appliance, identifier)
    size = _short(volume.extents) if group else size_text(volume.size).replace(" ", "")
    free = volume.extents - used_extents(group, identifier) if group else 0
    plain = size_text(volume.size).replace(" ", "").replace("iB", "").lower()
    letters = ("a" if volume.allocatable and group else "-" if group else "-") + "-"
    return {
        "pv_name": path,
        "vg_name": group.name if group else "",
        "pv_fmt": "lvm2",
        "pv_attr": letters + ("m" if path == "[unknown]" else "-"),
        "pv_size": size if group else plain,
        "pv_free": _short(free) if group else plain,
        "pv_uuid": identifier,
    }


@tool("/sbin/vgs")
def vgs(appliance: Appliance, call: Call) -> int:
    """The volume groups."""
    rows = []
    for group in sorted_groups(appliance):
        volumes = appliance.get(Lvm).volumes
        total = sum(volumes[identifier].extents for identifier in group.volumes)
        used = sum(pool.extents for pool in group.pools)
        partial = "p" if missing_volumes(appliance, group) else "-"
        rows.append(
            {
                "vg_name": group.name,
                "pv_count": str(len(group.volumes)),
                "lv_count": str(len(group.pools)),
                "snap_count": "0",
                "vg_attr": f"wz-{partial}n-",
                "vg_size": _short(total),
                "vg_free": _short(total - used),
                "vg_uuid": group.identifier,
            }
        )
    usual = "vg_name,pv_count,lv_count,snap_count,vg_attr,vg_size,vg_free"
    return _report(appliance, call, rows, usual)


@tool("/sbin/lvs")
def lvs(appliance: Appliance, call: Call) -> int:
    """The pools."""
    rows = []
    words = read_words(call)
    names = {name.removeprefix("/dev/") for name in words.names}
    for group in sorted_groups(appliance):
        for pool in sorted(group.pools, key=lambda pool: pool.name):
            if names and not names & {group.name, f"{group.name}/{pool.name}"}:
                continue
            opened = "o" if is_open(appliance, group, pool) else "-"
            rows.append(
                {
                    "lv_name": pool.name,
                    "vg_name": group.name,
                    "lv_attr": f"-wi-{'a' if pool.active else '-'}{opened}----",
                    "lv_size": _short(pool.extents),
                    "lv_uuid": pool.identifier,
                    "lv_path": f"/dev/{group.name}/{pool.name}",
                }
            )
    return _report(appliance, call, rows, _POOL_COLUMNS)


def _report(appliance: Appliance, call: Call, rows: list[Row], usual: str) -> int:
    words = read_words(call)
    warn_of_all_missing(appliance, call)
    columns = words.values.get("options", usual).split(",")
    for column in columns:
        if column not in _TITLES:
            raise fail(f"Unrecognised field: {column}")
    rows = [row for row in rows if _is_selected(row, words)]
    table = [[row.get(column, "") for column in columns] for row in rows]
    titles = [_TITLES[column] for column in columns]
    headed = bool(table) and "noheadings" not in words.flags
    widths = [
        max([len(titles[place]), _LEAST.get(column, 0), *(len(row[place]) for row in table)])
        for place, column in enumerate(columns)
    ]
    if headed:
        call.out("  " + " ".join(t.ljust(width) for t, width in zip(titles, widths)) + "\n")
    call.out("".join(_line(row, columns, widths) for row in table))
    return 0


# The columns that are never narrower than this.
_LEAST = {"pv_name": 10, "data_percent": 6, "metadata_percent": 6}


def _is_selected(row: Row, words: Words) -> bool:
    match = re.fullmatch(r"(\w+)=(.*)", words.values.get("select", ""))
    return not match or row.get(match[1]) == match[2]


def _line(row: list[str], columns: list[str], widths: list[int]) -> str:
    cells = [
        text.rjust(width) if column in _TO_THE_RIGHT else text.ljust(width)
        for text, column, width in zip(row, columns, widths)
    ]
    return "  " + " ".join(cells) + "\n"
