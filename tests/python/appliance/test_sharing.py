"""Shares, services, users and clients."""

from __future__ import annotations

from pathlib import Path

import pytest

import orv


def share(name: str) -> orv.Share:
    return next(share for share in orv.share_list() if share.name == name)


def names() -> set[str]:
    return {share.name for share in orv.share_list()}


def test_adding_a_share_leaves_the_others_as_they_are(folder: str) -> None:
    orv.share_add(name="data", service="samba", path=folder, users=["ann", "bob"], comment="first")
    orv.share_add(name="two", service="samba", path=folder, writable=False)
    assert share("data").users == ["ann", "bob"]
    assert (share("data").writable, share("two").writable) == (True, False)
    assert share("data").service == "samba"
    with pytest.raises(orv.Error) as raised:
        orv.share_add(name="data", service="samba", path=folder)
    assert raised.value.code is orv.Code.ORV_E_SHARE_EXISTS
    assert share("data").users == ["ann", "bob"]


def test_only_what_is_given_is_changed(folder: str) -> None:
    orv.share_modify(name="data", comment="Grüße")
    assert (share("data").comment, share("data").users) == ("Grüße", ["ann", "bob"])
    orv.share_modify(name="data", users=[], writable=False)
    assert (share("data").users, share("data").writable) == ([], False)


def test_a_share_out_of_use_keeps_its_settings(folder: str) -> None:
    orv.share_modify(name="data", users=["ann"])
    orv.share_disable(name="data")
    (kept,) = orv.recycle_list()
    assert (kept.name, kept.service, kept.users) == ("data", "samba", ["ann"])
    orv.share_enable(name="data", service="samba")
    assert orv.recycle_list() == []
    assert share("data").users == ["ann"]
    orv.share_disable(name="two")
    orv.share_forget(name="two")
    assert orv.recycle_list() == [] and "two" not in names()


def test_an_export_stays_read_only_when_another_one_is_added(folder: str) -> None:
    for name in ("quiet", "loud"):
        Path(folder, name).mkdir(exist_ok=True)
    orv.share_add(name="quiet", service="nfs", path=f"{folder}/quiet", writable=False)
    orv.share_add(name="loud", service="nfs", path=f"{folder}/loud", users=["10.0.0.0/8"])
    lines = Path("/etc/exports").read_text().splitlines()
    assert [line for line in lines if "/quiet" in line and "ro" in line]
    assert [line for line in lines if "/loud" in line and "rw" in line]
    orv.share_delete(name="quiet")
    orv.share_delete(name="loud")
    assert names() == {"data"}


def test_a_share_that_is_not_there() -> None:
    for change in (orv.share_delete, orv.share_disable, orv.share_forget, orv.share_modify):
        with pytest.raises(orv.Error) as raised:
            change(name="nobody")  # type: ignore[operator]
        assert raised.value.code is orv.Code.ORV_E_NO_SHARE


def test_services_start_and_stop() -> None:
    for service in ("samba", "ftp", "iscsi"):
        orv.service_start(service=service)
        assert orv.service_running(service=service)
        orv.service_stop(service=service)
        assert not orv.service_running(service=service)


def test_limits_that_are_not_given_stay() -> None:
    orv.ftp_limits_set(rate=1048576, clients=20, per_address=2)
    orv.ftp_limits_set(clients=30)
    assert orv.ftp_limits() == orv.FtpLimits(rate=1048576, clients=30, per_address=2)


def test_users_are_added_changed_and_removed() -> None:
    orv.user_add(name="ann", password="correct horse")
    assert [user.name for user in orv.user_list()] == ["ann"]
    assert orv.user_check(name="ann", password="correct horse")
    assert not orv.user_check(name="ann", password="wrong")
    orv.user_modify(name="ann", password="battery", new_name="anna")
    assert [user.name for user in orv.user_list()] == ["anna"]
    assert orv.user_check(name="anna", password="battery")
    with pytest.raises(orv.Error) as raised:
        orv.user_add(name="anna", password="again")
    assert raised.value.code is orv.Code.ORV_E_LOGIN_USED
    orv.user_delete(name="anna")
    assert orv.user_list() == []


def test_accounts_of_the_system_are_refused() -> None:
    with pytest.raises(orv.Error) as raised:
        orv.user_delete(name="root")
    assert raised.value.code is orv.Code.ORV_E_NO_USER
    assert "root:" in Path("/etc/passwd").read_text()
