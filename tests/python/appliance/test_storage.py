"""Disks, arrays, volume groups, pools and file systems."""

from __future__ import annotations

import time
from contextlib import AbstractContextManager

import pytest

import orv

from .conftest import Control


def one_array(name: str) -> orv.Array:
    return next(array for array in orv.raid_list() if array.name == name)


def failure(name: str) -> AbstractContextManager[pytest.ExceptionInfo[orv.Error]]:
    return pytest.raises(orv.Error, match=rf": {name} \(")


def test_disks_have_bays_and_sizes_in_bytes() -> None:
    disks = orv.disk_list()
    assert [disk.channel for disk in disks] == list(range(1, 9))
    assert {disk.enclosure for disk in disks} == {"0"}
    assert disks[0].name == "sda"
    size = disks[0].size
    assert size is not None and size % orv.GIB == 0 and size > 1000 * orv.GIB
    assert disks[0].smart is None and disks[0].smart_attributes == []


def test_smart_is_read_for_the_disks_that_are_asked_for() -> None:
    (summary,) = orv.smart_list(channels=[3])
    assert summary.channel == 3
    assert summary.smart is not None and summary.smart.health == "PASSED"
    (detail,) = orv.smart_list(channels=[3], detail=True)
    assert "Temperature_Celsius" in {a.name for a in detail.smart_attributes}
    assert all(attribute.threshold >= 0 for attribute in detail.smart_attributes)
    assert len(orv.smart_list()) == 8


def test_a_disk_that_is_not_there_has_a_name_in_the_error() -> None:
    with pytest.raises(orv.Error) as raised:
        orv.smart_list(channels=[99])
    assert raised.value.code is orv.Code.ORV_E_NO_DISK
    assert raised.value.detail == "channels 99 of enclosure 0"


def test_spares_come_and_go() -> None:
    orv.spare_add(channels=[7, 8])
    assert [disk.channel for disk in orv.spare_list()] == [7, 8]
    orv.spare_remove(channels=[7, 8])
    assert orv.spare_list() == []


def test_a_spare_that_the_tool_refuses_is_an_error(control: Control) -> None:
    control("tool-fails", "hotspare", "1")
    try:
        with pytest.raises(orv.Error):
            orv.spare_add(channels=[8])
    finally:
        control("tool-fails", "hotspare", "0")


def test_an_array_is_created_and_taken_apart() -> None:
    name = orv.raid_create(level="raid5", disks=[4, 5, 6], name="md9")
    assert name == "md9"
    array = one_array("md9")
    assert array.level == "raid5" and array.enclosure == "0"
    assert {member.name for member in array.members} == {"sdd", "sde", "sdf"}
    assert array.size is not None and array.size % orv.GIB == 0
    with failure("ORV_E_DISK_USED"):
        orv.raid_create(level="raid1", disks=[6, 7])
    orv.raid_destroy(array="md9")
    with failure("ORV_E_NO_RAID"):
        orv.raid_destroy(array="md9")


def test_a_group_counts_what_its_pools_take(group: str, folder: str) -> None:
    (found,) = orv.vg_list()
    assert found.name == group
    assert [volume.name for volume in found.physical_volumes] == ["md0"]
    assert found.used == 20 * orv.GIB
    assert found.size is not None and found.free == found.size - found.used
    (pool,) = orv.pool_list()
    assert (pool.device, pool.size, pool.state) == ("/dev/vg1/data", 20 * orv.GIB, "available")
    with failure("ORV_E_POOL_SIZE"):
        orv.pool_create(pool="huge", group=group, size=found.size + orv.GIB)
    with failure("ORV_E_VG_IN_USE"):
        orv.vg_destroy(group=group)
    with failure("ORV_E_RAID_IN_VG"):
        orv.raid_destroy(array="md0")
    assert orv.vg_device(group=group) == "md0"


def test_pools_grow_and_go(group: str, folder: str) -> None:
    orv.pool_create(pool="more", group=group, size=orv.GIB)
    orv.pool_extend(pool="more", group=group, size=3 * orv.GIB)
    assert {pool.device: pool.size for pool in orv.pool_list()}["/dev/vg1/more"] == 3 * orv.GIB
    orv.pool_destroy(pool="more", group=group)
    assert [pool.device for pool in orv.pool_list()] == ["/dev/vg1/data"]


def test_a_file_system_is_mounted_and_listed(folder: str) -> None:
    assert orv.fs_mounted(path=folder) and not orv.fs_mounted(path="/mnt")
    assert orv.fs_listed(pool="data") and not orv.fs_listed(pool="other")
    (system,) = orv.fs_list()
    assert (system.mount_point, system.device, system.type) == (folder, "/dev/vg1/data", "xfs")
    assert system.size is not None and 19 * orv.GIB < system.size <= 20 * orv.GIB
    assert system.used is not None and system.used < orv.GIB
    assert [entry.mount_point for entry in orv.fs_table()] == [folder]
    with failure("ORV_E_FAILED"):
        orv.fs_table_add(mount_point=folder, group="vg1", pool="data")


def test_a_directory_is_made_and_removed() -> None:
    orv.fs_mkdir(path="/mnt/spare place")
    orv.fs_rmdir(path="/mnt/spare place")
    with failure("ORV_E_COMMAND"):
        orv.fs_rmdir(path="/")


def test_a_failed_disk_is_seen_in_its_array(folder: str, control: Control) -> None:
    control("fail-disk", "sdb")
    end = time.monotonic() + 20
    while {m.name: m.state for m in one_array("md0").members}.get("sdb") != "failed":
        assert time.monotonic() < end, one_array("md0")
        time.sleep(0.2)
    assert "degraded" in one_array("md0").state
    orv.raid_remove(array="md0", channel=2)
    assert "sdb" not in {member.name for member in one_array("md0").members}
    orv.raid_add(array="md0", channel=3)
    assert "sdc" in {member.name for member in one_array("md0").members}


def test_a_query_that_fails_tells_what_it_found(folder: str, control: Control) -> None:
    control("tool-fails", "pvdisplay", "5")
    try:
        with pytest.raises(orv.Error) as raised:
            orv.vg_list()
    finally:
        control("tool-fails", "pvdisplay", "0")
    assert raised.value.code is orv.Code.ORV_E_COMMAND
    assert [found.name for found in raised.value.found] == ["vg1"]
