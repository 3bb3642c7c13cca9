"""Alarms, sensors, SMART, the clock, the host name, the network, and power."""

from __future__ import annotations

import json
import re
from collections.abc import Callable
from pathlib import Path

from conftest import Machine

FIXTURES = Path(__file__).resolve().parents[1] / "fixtures"


def alarms(machine: Machine) -> list[tuple[str, str]]:
    """The alarms that the library gets from the daemon."""
    return [(alarm["name"], alarm["text"]) for alarm in machine.listed("alarm", "list")]


def system(machine: Machine) -> dict:
    """What `orvctl system info` says."""
    return json.loads(machine.done("orvctl system info --json"))["system"]


def test_alarms_are_raised_and_cleared(one_machine: Machine) -> None:
    said = one_machine.tell("alarm", "raise", "Fan", "fan 1 | stands still")
    number = said.split()[2].rstrip(".")
    one_machine.tell("alarm", "raise", "Disk", "disk 3 failed")
    assert alarms(one_machine) == [("Fan", "fan 1 | stands still"), ("Disk", "disk 3 failed")]
    one_machine.tell("stop")
    one_machine.tell("alarm", "clear", number)
    assert alarms(one_machine) == [("Disk", "disk 3 failed")]
    assert f"there is no alarm {number}" in one_machine.refused("alarm", "clear", number)
    one_machine.tell("alarm", "clear", "--all")
    assert not alarms(one_machine)


def test_alarm_that_the_daemon_cannot_tell_is_refused(one_machine: Machine) -> None:
    for name, text in (("a|b", "text"), ("", "text"), ("name", "two\nlines"), ("name", "x" * 256)):
        assert "in one line" in one_machine.refused("alarm", "raise", name, text)
    assert one_machine.tell("alarm", "list") == ""


def test_daemon_that_does_not_run_is_an_error(one_machine: Machine) -> None:
    one_machine.tell("alarm", "daemon", "off")
    result = one_machine.run("orvctl", "alarm", "list")
    assert result.status == 1 and "ORV_E_ALARM_CONNECT" in result.err
    one_machine.tell("alarm", "daemon", "on")
    assert not alarms(one_machine)


def test_sensors_are_set_and_raise_alarms(one_machine: Machine) -> None:
    one_machine.tell("sensor", "set", "fan3", "0")
    one_machine.tell("sensor", "set", "temp(cpu)", "71")
    one_machine.tell("sensor", "set", "power", "failed")
    told = system(one_machine)
    assert {"name": "fan3", "speed_rpm": 0} in told["fans"]
    assert told["temperature_celsius"] == 71 and told["power_supply"] == "failed"
    assert [name for name, _ in alarms(one_machine)] == ["Fan", "Temperature", "Power"]
    one_machine.tell("sensor", "set", "fan3", "2990")
    assert [name for name, _ in alarms(one_machine)] == ["Temperature", "Power"]
    assert "no sensor 'fan9'" in one_machine.refused("sensor", "set", "fan9", "1")
    assert "is not a number" in one_machine.refused("sensor", "set", "fan1", "-1")
    one_machine.tell("sensor", "set", "temp(cpu)", "47")
    one_machine.tell("sensor", "set", "power", "normal")
    assert not alarms(one_machine)


def test_every_model_has_its_sensors(new_machine: Callable[..., Machine]) -> None:
    for model, fans in (("KTA7120E", 4), ("KTA7120P", 8), ("ZOR7130LB", 7)):
        machine = new_machine("--model", model, "--disks", "1")
        machine.tell("sensor", "set", "power", "failed")
        told = system(machine)
        assert (told["model"], told["power_supply"]) == (model, "failed")
        assert [fan["name"] for fan in told["fans"]] == [f"fan{n}" for n in range(1, fans + 1)]


def test_smartctl_prints_tables_as_the_real_one_does(one_machine: Machine) -> None:
    real = (FIXTURES / "smartctl/attributes.txt").read_text()
    shown = one_machine.done(
        "/usr/local/sbin/smartctl -d marvell -T permissive -Hi --attributes /dev/sda"
    )
    row = re.compile(
        r"^[ \d]{3} \S{1,23} +0x[0-9a-f]{4}   \d{3}   \d{3}   \d{3}    (Pre-fail|Old_age ) "
        r" (Always |Offline)  (    -      |FAILING_NOW) \d+( \(.*\))?$"
    )
    for text in (real, shown):
        rows = text[text.index("RAW_VALUE\n") + 10 :].rstrip().splitlines()
        assert len(rows) >= 7 and all(row.match(line) for line in rows), text
    same = (
        "SMART Attributes Data",
        "Vendor Specific",
        "ID# ",
        "=== START",
        "SMART support",
        "Copy",
    )
    kept = [
        [re.sub(r"number: \d+", "", line) for line in text.splitlines() if line.startswith(same)]
        for text in (real, shown)
    ]
    assert kept[0] == kept[1]


def test_disk_that_fails_soon_says_so(one_machine: Machine) -> None:
    one_machine.tell("smart", "2", "--failing", "--temperature", "61")
    result = one_machine.run("smartctl", "-d", "marvell", "-H", "/dev/sdb")
    assert result.status == 24 and "self-assessment test result: FAILED!" in result.out
    table = one_machine.run("smartctl", "-A", "/dev/sdb").out
    assert re.search(r"Reallocated_Sector_Ct .* FAILING_NOW \d+\n", table)
    assert re.search(r"Temperature_Celsius .* 61\n", table)
    assert one_machine.run("smartctl", "-H", "/dev/sda").status == 0
    assert [name for name, _ in alarms(one_machine)] == ["SMART", "SMART"]
    one_machine.tell("smart", "sdb", "--healthy")
    assert one_machine.run("smartctl", "-H", "/dev/sdb").status == 0
    assert not alarms(one_machine)
    assert one_machine.run("smartctl", "-i", "/dev/sdzz").status == 2


def test_clock_and_host_name_are_the_appliances_own(machine: Machine) -> None:
    machine.done("orvctl clock set 2031-02-03 04:05:06; orvctl host set storage-7")
    machine.tell("stop")
    told = machine.done("orvctl clock show; hwclock -u -r; date +%F; hostname; cat /etc/hostname")
    clock, hardware_clock, *rest = told.splitlines()
    assert clock.startswith("2031-02-03 04:0") and hardware_clock.startswith("2031-02-03 04:0")
    assert rest == ["2031-02-03", "storage-7", "storage-7"]


def test_interfaces_come_from_their_file(machine: Machine) -> None:
    only = machine.listed("net", "list")
    assert [(card["name"], card["address"], card["gateway"]) for card in only] == [
        ("eth0", "10.1.0.1", "10.1.0.254")
    ]
    machine.done(
        "printf 'iface eth1 inet static\\n address 10.2.0.1/24\\n' >>/etc/network/interfaces"
    )
    machine.tell("stop")
    cards = machine.listed("net", "list")
    assert [(card["name"], card["netmask"]) for card in cards] == [
        ("eth0", "255.255.0.0"),
        ("eth1", "255.255.255.0"),
    ]


def test_restart_ends_clients_and_services_come_back(machine: Machine) -> None:
    machine.done("echo secret | orvctl user add ann; orvctl service start ftp")
    machine.tell("client", "connect", "ftp", "--user", "ann")
    machine.done("echo '2000-01-01 00:00:00' >/etc/nas_start_time.conf; orvctl power reboot --yes")
    machine.tell("stop")
    assert not machine.listed("client", "list")
    running = [each["name"] for each in machine.listed("service", "list") if each["running"]]
    assert running == ["ftp"]
    assert not system(machine)["start_time"].startswith("2000")


def test_power_off_ends_what_runs_inside(machine: Machine) -> None:
    result = machine.shell("orvctl power off --yes; sleep 60; echo still here")
    assert result.status != 0 and "still here" not in result.out


def test_controller_tells_of_disks_arrays_and_their_health(
    new_machine: Callable[..., Machine]
) -> None:
    machine = new_machine("--model", "KTA7120U", "--disks", "5")
    machine.tell("controller", "create", "5", "1,2,3")
    machine.tell("controller", "spare", "5")
    assert [disk["channel"] for disk in machine.listed("disk", "list")] == [1, 2, 3, 4, 5]
    spares = [disk["channel"] for disk in machine.listed("disk", "list") if disk["hot_spare"]]
    assert spares == [5]
    (array,) = machine.listed("raid", "list")
    assert (array["name"], array["level"], array["state"]) == ("md0", "raid5", "Normal")
    assert machine.done("cat /sys/block/sda/size").strip().isdigit()
    attributes = machine.listed("smart", "show")[0]["attributes"]
    assert {each["name"] for each in attributes} >= {"Spin Up Time", "Temperature Celsius"}
    assert "is in use" in machine.refused("controller", "create", "1", "3,4")
    assert "level 5 wants 3" in machine.refused("controller", "create", "5", "4")
    machine.tell("controller", "delete", "md0")
    assert not machine.listed("raid", "list")


def test_only_the_controllers_model_has_a_controller(one_machine: Machine) -> None:
    assert "only the model KTA7120U" in one_machine.refused("controller", "create", "1", "1,2")
    assert one_machine.run("arcadm", "--misc", "--scan").status == 1


def test_controller_rebuilds_onto_its_spare(new_machine: Callable[..., Machine]) -> None:
    machine = new_machine("--model", "KTA7120U", "--disks", "4")
    machine.tell("controller", "create", "5", "1,2,3")
    machine.tell("controller", "spare", "4")
    machine.done("orvctl vg create vg1 --pv md0 --yes")
    assert "is a physical volume" in machine.refused("controller", "delete", "md0")

    def array(state: str) -> dict:
        """The array, once its state is this."""
        machine.done(
            f"for try in $(seq 50); do arcadm --display --scan | grep -q {state} && break; sleep 0.1; done"
        )
        (found,) = machine.listed("raid", "list")
        assert found["state"] == state
        return found

    machine.tell("fail-disk", "2")
    assert "4" in str(array("Rebuilding"))
    assert ("Disk", "disk 2 failed") in alarms(machine)
    machine.tell("clock", "--advance", "1d")
    array("Normal")
    machine.tell("fail-disk", "1")
    array("Degraded")
    assert ("RAID", "array md0 is degraded") in alarms(machine)
    machine.tell("fail-disk", "3")
    array("Failed")
    assert machine.done("cat /sys/block/sda/device/state") == "offline\n"


def test_alarms_of_disks_and_arrays_come_and_go(machine: Machine) -> None:
    machine.done("orvctl raid create --level raid1 --disks 1,2 --yes")
    machine.tell("clock", "--advance", "30d")
    machine.done("while grep -q resync /proc/mdstat; do sleep 0.1; done")
    machine.tell("fail-disk", "sda")
    assert sorted(alarms(machine)) == [
        ("Disk", "disk 1 failed"),
        ("RAID", "array md0 is degraded"),
    ]
    assert "FAILED!" in machine.run("smartctl", "-H", "/dev/sda").out
    machine.tell("pull-disk", "1")
    machine.tell("insert-disk", "1")
    assert alarms(machine) == [("RAID", "array md0 is degraded")]
    machine.done("orvctl raid destroy md0 --yes; sleep 0.5")
    assert not alarms(machine)
