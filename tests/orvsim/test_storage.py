"""The way from bare disks to a file, a failing disk, the spare, the rebuild; and all in between."""

from __future__ import annotations

import subprocess
import time
from collections.abc import Callable, Iterator
from pathlib import Path

import pytest
from conftest import Machine

MAKE_POOL = """
orvctl raid create --level raid5 --disks 1,2,3 --yes
orvctl vg create vg1 --pv md0 --yes
orvctl pool create vg1 data 2
orvctl pool mkfs vg1 data --yes
orvctl fs mkdir /mnt/data
orvctl fs mount /mnt/data vg1 data
orvctl fs table-add /mnt/data vg1 data
"""


@pytest.fixture(name="made_pool", scope="module")
def _made_pool(tmp_path_factory: pytest.TempPathFactory) -> Path:
    """The folder of an appliance at rest with a pool that holds a file; nothing is rebuilt."""
    machine = Machine(tmp_path_factory.mktemp("made") / "appliance")
    machine.tell("new")
    machine.done(MAKE_POOL + "echo 'stored on RAID 5' >/mnt/data/hello")
    machine.tell("clock", "--advance", "1d")
    machine.tell("stop")
    return machine.state


@pytest.fixture(name="pool")
def _pool(made_pool: Path, tmp_path: Path) -> Iterator[Machine]:
    """Such an appliance of the test's own: the folder is all there is of it."""
    machine = Machine(tmp_path / "appliance")
    subprocess.run(["cp", "-a", "--sparse=always", made_pool, machine.state], check=True)
    yield machine
    machine.control("stop")


def array(machine: Machine) -> dict:
    """What orvctl says of the only array."""
    arrays = machine.listed("raid", "list")
    assert len(arrays) == 1
    return arrays[0]


def test_what_is_stored_outlives_the_appliance_being_switched_off(pool: Machine) -> None:
    pool.tell("stop")
    assert pool.done("cat /mnt/data/hello") == "stored on RAID 5\n"
    assert "/dev/vg1/data\t/mnt/data\txfs" in pool.done("cat /etc/mdfstab")
    assert pool.listed("fs", "list")[0]["state"] == "available"


def test_a_disk_fails_and_the_hot_spare_takes_its_place(pool: Machine) -> None:
    pool.done("orvctl spare add 4 --yes")
    pool.tell("fail-disk", "2")
    assert "[U_U]" in pool.done("sleep 0.5; cat /proc/mdstat")
    told = array(pool)
    assert told["state"] == "clean, degraded, recovering"
    assert {member["name"] for member in told["members"]} == {"sda", "sdb", "sdc", "sdd"}
    assert not pool.done("cat /var/lib/orv-sim/hotspares")
    assert "array md0 is degraded" in pool.done("orvctl alarm list")
    pool.tell("clock", "--advance", "90m")
    progress = float(pool.done("grep -o '[0-9.]*%' /proc/mdstat").rstrip("%\n"))
    assert 48 < progress < 52
    assert pool.done("cat /mnt/data/hello") == "stored on RAID 5\n"
    pool.tell("clock", "--advance", "2h")
    assert array(pool)["state"] == "clean"
    assert "[UUU]" in pool.done("cat /proc/mdstat")
    assert pool.done("cat /mnt/data/hello") == "stored on RAID 5\n"


def test_a_rebuild_goes_as_fast_as_the_clock_and_the_kernel_let_it(machine: Machine) -> None:
    machine.done("orvctl raid create --level raid1 --disks 1,2 --yes")
    machine.done("echo 1000 >/proc/sys/dev/raid/speed_limit_max; sleep 0.5")
    assert "speed=1000K/sec" in machine.done("cat /proc/mdstat")
    machine.tell("clock", "--rate", "1000000")
    machine.done("while grep resync /proc/mdstat; do sleep 0.2; done")


def test_two_lost_members_are_too_many(pool: Machine) -> None:
    pool.tell("fail-disk", "sda")
    pool.tell("fail-disk", "sdb")
    told = array(pool)
    assert told["state"] == "inactive"
    assert "FAILED" in pool.done("mdadm --detail /dev/md0")
    assert pool.shell("touch /mnt/data/more").status != 0
    assert pool.listed("fs", "list")[0]["state"] == "not available"


def test_a_pulled_disk_comes_back_with_what_was_on_it(pool: Machine) -> None:
    said = pool.tell("pull-disk", "3")
    serial = said.split("serial number ")[1].split()[0]
    assert "sdc" not in pool.done(
        "ls /dev /sys/block /sys/block/md0/md/../holders 2>/dev/null || true"
    )
    assert [disk["channel"] for disk in pool.listed("disk", "list")] == [1, 2, 4, 5, 6, 7, 8]
    assert "missing" in pool.done("mdadm --detail /dev/md0")
    assert "no disk" in pool.refused("insert-disk", "3", "--serial", "NONE")
    assert "sdc" in pool.tell("insert-disk", "3", "--serial", serial)
    assert "Array UUID" in pool.done("mdadm --examine /dev/sdc")
    pool.done("mdadm /dev/md0 --remove detached; mdadm --manage /dev/md0 --add /dev/sdc")
    pool.tell("clock", "--advance", "1d")
    assert array(pool)["state"] == "clean"


def test_a_new_disk_is_empty_and_has_its_own_size(machine: Machine) -> None:
    machine.tell("pull-disk", "1")
    machine.tell("insert-disk", "--size", "500G", "--model", "SMALL")
    disk = machine.listed("disk", "list")[0]
    assert (disk["channel"], disk["model"]) == (1, "SMALL")
    assert "No md superblock" in machine.shell("mdadm --examine /dev/sda").err
    assert "sits in bay 1" in machine.refused("insert-disk", "1")
    assert "no bay" in machine.refused("insert-disk", "17")


def test_a_file_system_fills_up(pool: Machine) -> None:
    before = pool.listed("fs", "list")[0]
    pool.tell("fill", "vg1/data", "95")
    after = pool.listed("fs", "list")[0]
    assert [key for key in before if before[key] != after[key]], after
    assert pool.done("df /mnt/data --output=pcent | tail -n1").strip() == "95%"
    size, free = pool.done("stat -f -c '%b %f' /mnt/data").split()
    assert 0.04 < int(free) / int(size) < 0.06
    pool.tell("fill", "/mnt/data", "0")
    assert int(pool.done("df /mnt/data --output=pcent | tail -n1").strip().rstrip("%")) < 5
    assert "0 to 100" in pool.refused("fill", "/mnt/data", "101")
    assert "nothing is mounted" in pool.refused("fill", "/mnt/none", "50")


def test_a_tool_fails_and_works_again(machine: Machine) -> None:
    machine.tell("tool-fails", "pvdisplay", "5")
    assert machine.run("/sbin/pvdisplay", "-c").status == 5
    assert machine.run("orvctl", "vg", "list").status != 0
    assert "tool fails   pvdisplay with 5" in machine.tell("status")
    machine.tell("tool-fails", "pvdisplay", "0")
    assert machine.run("orvctl", "vg", "list").status == 0
    assert "no tool" in machine.refused("tool-fails", "nothing", "1")
    assert "0 to 255" in machine.refused("tool-fails", "mdadm", "256")


def test_a_tool_hangs_and_others_do_not(machine: Machine) -> None:
    machine.tell("tool-hangs", "mdadm", "1.5")
    script = "mdadm --version & s=$EPOCHREALTIME; pvdisplay -c; e=$EPOCHREALTIME; wait; echo $s $e $EPOCHREALTIME"
    start, others, end = (float(word) for word in machine.done(script).split())
    assert others - start < 1 and end - start > 1.4


def test_the_clock_is_the_appliance_s_own(machine: Machine) -> None:
    machine.tell("clock", "--set", "2031-05-06 07:08:09")
    assert machine.done("date +%F").strip() == "2031-05-06"
    machine.done(
        "orvctl clock set '2030-01-02 03:04:05' || date -s '2030-01-02 03:04:05' >/dev/null"
    )
    assert machine.done("date '+%F %H:%M'").strip() == "2030-01-02 03:04"
    machine.tell("clock", "--reset")
    assert abs(int(machine.done("date +%s")) - int(time.time())) < 10
    assert "duration" in machine.refused("clock", "--advance", "soon")
    assert "rate" in machine.refused("clock", "--rate", "0")


def test_hundreds_of_disks_in_all_bays(new_machine: Callable[..., Machine]) -> None:
    machine = new_machine("--enclosures", "4", "--disks", "300", "--disk-size", "1T")
    disks = machine.listed("disk", "list")
    assert len(disks) == 80
    assert {(disk["enclosure"], disk["channel"]) for disk in disks} == {
        (str(enclosure) if isinstance(disks[0]["enclosure"], str) else enclosure, bay)
        for enclosure in range(5)
        for bay in range(1, 17)
    }
    assert int(machine.done("grep -c ' sd' /proc/partitions")) == 300
    machine.done(
        "mdadm -C /dev/md0 -l 6 -n 200 -R $(ls -d /sys/block/sd* | sed 's,/sys/block,/dev,' | head -200)"
    )
    assert "[200/200]" in machine.done("cat /proc/mdstat")
    machine.tell("fail-disk", "sdb")
    assert "clean, degraded" in machine.done("mdadm --detail /dev/md0")


def test_disks_have_the_sizes_asked_for(new_machine: Callable[..., Machine]) -> None:
    machine = new_machine("--disks", "4", "--disk-size", "1Gi,2Gi")
    sizes = machine.done("cat /sys/block/sd[a-d]/size").split()
    assert [int(size) // 2**21 for size in sizes] == [1, 2, 2, 2]


def test_an_array_made_again_over_its_disks_has_its_data(pool: Machine) -> None:
    pool.done(
        "orvctl fs umount /mnt/data; vgchange -an vg1; mdadm -S /dev/md0;"
        "mdadm -C --bitmap=internal --bitmap-chunk=16384 /dev/md0 -l 5 -n 3 -R /dev/sda /dev/sdb /dev/sdc"
    )
    assert pool.done(
        "vgchange -ay vg1; mount /dev/vg1/data /mnt/data; cat /mnt/data/hello"
    ).endswith("stored on RAID 5\n")


def test_a_disk_that_is_formatted_has_nothing(machine: Machine) -> None:
    machine.done("pvcreate /dev/sdb; diskformat /dev/sdb")
    assert machine.done("pvdisplay -c") == ""
    machine.done("mdadm -C /dev/md0 -l 1 -n 2 -R /dev/sda /dev/sdb")
    held = machine.shell("diskformat /dev/sdb")
    assert held.status == 1 and "in use by md0" in held.err


def test_an_immutable_mount_point_takes_no_files(pool: Machine) -> None:
    pool.done("orvctl fs umount /mnt/data")
    assert pool.shell("touch /mnt/data/file").status != 0
    pool.tell("stop")
    assert pool.shell("touch /mnt/data/file").status != 0
    pool.done(
        "orvctl fs mount /mnt/data vg1 data; touch /mnt/data/file; orvctl fs umount /mnt/data"
    )
    pool.done(
        "orvctl fs rmdir /mnt/data --yes; test ! -e /mnt/data; mkdir /mnt/data; touch /mnt/data/x"
    )


def test_a_tool_that_is_killed_while_it_hangs_does_nothing(machine: Machine) -> None:
    machine.tell("tool-hangs", "pvcreate", "0.5")
    machine.done("pvcreate -q /dev/sda & kill $!; sleep 1")
    assert machine.done("pvdisplay -c") == ""
    machine.done("pvcreate -q /dev/sda")
    assert machine.done("pvs --noheadings -o pv_name").split() == ["/dev/sda"]


def test_status_tells_what_there_is(pool: Machine) -> None:
    pool.tell("fail-disk", "sdb")
    told = pool.tell("status")
    for line in ("sdb has failed", "md0 raid5 degraded", "vg1/data, 2.00 GiB on /mnt/data"):
        assert line in told
