"""Tests that run inside a simulated appliance, as a front end does; see ../run_in_appliance.

ORVSIM is the command that controls the appliance, ORVSIM_STATE its folder.
"""

from __future__ import annotations

import os
import subprocess
from collections.abc import Callable, Iterator

import pytest

import orv

Control = Callable[..., str]


def _control(*words: str) -> str:
    return subprocess.run(
        [os.environ["ORVSIM"], *words], check=True, capture_output=True, text=True, timeout=60
    ).stdout


@pytest.fixture(name="control")
def _fixture_control() -> Control:
    """A command of orvsim, such as control("fail-disk", "sdb")."""
    return _control


@pytest.fixture(name="group", scope="session")
def _group() -> Iterator[str]:
    """The volume group vg1 on a mirror of the channels 1 and 2."""
    array = orv.raid_create(level="raid1", disks=[1, 2])
    orv.vg_create(name="vg1", volumes=[array])
    yield "vg1"


@pytest.fixture(name="folder", scope="session")
def _folder(group: str) -> str:
    """The mount point of a pool with a file system, which the mount table lists."""
    orv.pool_create(pool="data", group=group, size=20 * orv.GIB)
    orv.pool_mkfs(pool="data", group=group)
    orv.fs_mkdir(path="/mnt/data")
    orv.fs_mount(mount_point="/mnt/data", group=group, pool="data")
    orv.fs_table_add(mount_point="/mnt/data", group=group, pool="data")
    return "/mnt/data"
