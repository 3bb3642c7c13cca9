"""The machine itself."""

from __future__ import annotations

from datetime import datetime

import pytest

import orv

from .conftest import Control


def test_the_machine_tells_about_itself() -> None:
    info = orv.system_info()
    assert info.model == "KTA7120X"
    assert info.fans is not None and info.fans.startswith("fan1:")
    assert info.host_name == orv.host_name()


def test_the_host_name_is_changed() -> None:
    orv.host_set(name="nas-7")
    assert orv.host_name() == "nas-7"


def test_the_clock_is_set() -> None:
    orv.clock_set(when=datetime(2031, 5, 17, 18, 30))
    assert orv.clock().startswith("2031-05-17 18:3")


def test_interfaces_have_addresses() -> None:
    (interface,) = orv.net_list()
    assert interface.name == "eth0" and interface.address.count(".") == 3


def test_alarms_are_those_of_the_daemon(control: Control) -> None:
    before = len(orv.alarm_list())
    control("alarm", "raise", "fan2", "too slow")
    alarm = orv.alarm_list()[-1]
    assert len(orv.alarm_list()) == before + 1
    assert (alarm.name, alarm.text) == ("fan2", "too slow")


def test_processes_are_written_to_a_file() -> None:
    orv.system_processes(path="/tmp/processes.txt")
    with open("/tmp/processes.txt", encoding="utf-8") as listed:
        assert "PID" in listed.readline()


def test_a_machine_that_does_not_stop_is_an_error(control: Control) -> None:
    control("tool-fails", "reboot", "1")
    with pytest.raises(orv.Error) as raised:
        orv.power_reboot()
    assert raised.value.code is orv.Code.ORV_E_FAILED
