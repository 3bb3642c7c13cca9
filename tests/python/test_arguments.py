"""Arguments are checked before the library sees them, and never shown."""

import inspect
from collections.abc import Callable
from datetime import datetime, timezone
from typing import Any

import pytest

import orv

# One call of every function that takes an argument, with what does not reach the library.
TOO_LONG = "x" * 300

REFUSED_VALUES: list[tuple[Callable[..., Any], dict[str, Any], str]] = [
    (orv.raid_destroy, {"array": TOO_LONG}, "'array' is longer than 31 bytes"),
    (orv.raid_destroy, {"array": "md0\0"}, "'array' holds a NUL character"),
    (orv.raid_destroy, {"array": "ü" * 16}, "'array' is longer than 31 bytes"),
    (orv.raid_add, {"array": "md0", "channel": 0}, "'channel' is not in 1 to 9999999"),
    (orv.raid_add, {"array": "md0", "channel": 10**30}, "'channel' is not in 1 to 9999999"),
    (orv.raid_add, {"array": "md0", "channel": -1}, "'channel' is not in 1 to 9999999"),
    (orv.raid_fail, {"array": "md0", "device": "sdabcdef"}, "'device' is longer than 7 bytes"),
    (orv.raid_create, {"level": "raid10+1", "disks": [1]}, "'level' is longer than 7 bytes"),
    (orv.raid_create, {"level": "raid1", "disks": [1, -2]}, "'disks' is not in 1 to"),
    (orv.raid_create, {"level": "raid1", "disks": range(1, 99)}, "'disks' is longer than 127"),
    (orv.raid_create, {"level": "raid1", "disks": [], "enclosure": "5"}, "is none of: 0 1 2 3 4"),
    (orv.raid_create, {"level": "raid1", "disks": [], "spares": ["a,b"]}, "text with a comma"),
    (orv.raid_create, {"level": "raid1", "disks": [], "spares": [""]}, "holds an empty text"),
    (orv.vg_create, {"name": "vg1", "volumes": ["m" * 32]}, "'volumes' is longer than 31 bytes"),
    (orv.vg_destroy, {"group": "g" * 33}, "'group' is longer than 32 bytes"),
    (orv.pool_create, {"pool": "p", "group": "g", "size": 1}, "not a whole number of GiB"),
    (orv.pool_create, {"pool": "p", "group": "g", "size": -orv.GIB}, "'size' is not in 0 to"),
    (orv.pool_extend, {"pool": "p" * 128, "group": "g", "size": orv.GIB}, "longer than 127"),
    (orv.fs_mounted, {"path": "/" * 128}, "'path' is longer than 127 bytes"),
    (orv.share_add, {"name": "s", "service": "smb", "path": "/mnt/s"}, "samba nfs ftp iscsi"),
    (orv.share_add, {"name": "", "service": "samba", "path": "/mnt/s"}, "the name is empty"),
    (orv.share_add, {"name": "s", "service": "samba", "path": "mnt"}, "the path is not absolute"),
    (orv.share_add, {"name": "s", "service": "nfs", "path": "/mnt/t"}, "which must be its name"),
    (
        orv.share_add,
        {"name": "s", "service": "ftp", "path": "/mnt/s", "users": ["ann"]},
        "has no users and rights",
    ),
    (orv.service_start, {"service": "orv"}, "is none of: samba nfs ftp iscsi"),
    (orv.service_running, {"service": ""}, "is none of: samba nfs ftp iscsi orv"),
    (orv.ftp_limits_set, {"rate": 2**31}, "'rate' is not in 0 to 2147483647"),
    (orv.user_add, {"name": "n" * 24, "password": "p"}, "'name' is longer than 23 bytes"),
    (orv.host_set, {"name": "h" * 65}, "'name' is longer than 64 bytes"),
    (orv.clock_set, {"when": datetime.now(timezone.utc)}, "'when' has a time zone"),
    (orv.smart_list, {"channels": [0]}, "'channels' is not in 1 to"),
]

REFUSED_TYPES: list[tuple[Callable[..., Any], dict[str, Any], str]] = [
    (orv.raid_destroy, {"array": 1}, "'array' must be str, not int"),
    (orv.raid_destroy, {"array": b"md0"}, "'array' must be str, not bytes"),
    (orv.raid_destroy, {"array": None}, "'array' must be str, not NoneType"),
    (orv.raid_add, {"array": "md0", "channel": "1"}, "'channel' must be int, not str"),
    (orv.raid_add, {"array": "md0", "channel": True}, "'channel' must be int, not bool"),
    (orv.raid_add, {"array": "md0", "channel": 1.0}, "'channel' must be int, not float"),
    (orv.raid_create, {"level": "raid1", "disks": "1,2"}, "must be a sequence of int, not str"),
    (orv.raid_create, {"level": "raid1", "disks": ["1"]}, "'disks' must be int, not str"),
    (orv.raid_create, {"level": "raid1", "disks": 1}, "must be a sequence of int, not int"),
    (orv.vg_create, {"name": "vg1", "volumes": "md0"}, "must be a sequence of str, not str"),
    (orv.smart_list, {"detail": 1}, "'detail' must be bool, not int"),
    (orv.clock_set, {"when": "now"}, "'when' must be datetime, not str"),
    (orv.pool_create, {"pool": "p", "group": "g", "size": 1.5}, "'size' must be int, not float"),
]


@pytest.mark.parametrize(("function", "arguments", "complaint"), REFUSED_VALUES)
def test_a_wrong_value_is_refused(
    function: Callable[..., Any], arguments: dict[str, Any], complaint: str
) -> None:
    with pytest.raises(ValueError) as refused:
        function(**arguments)
    assert complaint in str(refused.value)
    assert str(refused.value).startswith(function.__name__ + "()")


@pytest.mark.parametrize(("function", "arguments", "complaint"), REFUSED_TYPES)
def test_a_wrong_type_is_refused(
    function: Callable[..., Any], arguments: dict[str, Any], complaint: str
) -> None:
    with pytest.raises(TypeError) as refused:
        function(**arguments)
    assert complaint in str(refused.value)


def test_no_message_shows_a_password() -> None:
    secret = "opensesame"
    calls: list[dict[str, Any]] = [
        {"name": "ann", "pasword": secret},
        {"name": "ann", "password": secret, "shell": "/bin/sh"},
        {"name": "ann", "password": secret + "x" * 30},
        {"name": "ann", "password": secret + "\0"},
        {"name": "ann", "password": [secret]},
        {"password": secret},
    ]
    for arguments in calls:
        with pytest.raises((TypeError, ValueError)) as refused:
            orv.user_add(**arguments)
        assert secret not in str(refused.value)


def test_a_surrogate_that_is_no_byte_is_refused() -> None:
    with pytest.raises(ValueError):
        orv.raid_destroy(array="\ud800")


def test_positional_surplus_and_missing_arguments_are_refused() -> None:
    destroy: Any = orv.raid_destroy
    with pytest.raises(TypeError, match="takes keyword arguments only"):
        destroy("md0")
    with pytest.raises(TypeError, match="has no keyword argument 'aray'"):
        destroy(aray="md0")
    with pytest.raises(TypeError, match="needs the keyword argument 'array'"):
        destroy()


def functions() -> list[Callable[..., Any]]:
    return [value for name, value in vars(orv).items() if inspect.isbuiltin(value)]


def test_every_function_says_what_it_does_and_takes() -> None:
    assert len(functions()) > 50
    for function in functions():
        assert inspect.getdoc(function), function.__name__
        for parameter in inspect.signature(function).parameters.values():
            assert parameter.kind is inspect.Parameter.KEYWORD_ONLY


def test_fallbacks_are_values_of_their_parameter() -> None:
    shown = inspect.signature(orv.raid_create).parameters
    assert shown["enclosure"].default == "0"
    assert shown["spares"].default == ()
    assert shown["foreground"].default is False
    assert shown["level"].default is inspect.Parameter.empty


def test_every_function_refuses_what_it_does_not_know() -> None:
    for function in functions():
        with pytest.raises(TypeError):
            function(no_such_argument=1)
