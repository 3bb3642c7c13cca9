"""The classes of the record families."""

import dataclasses
import pickle
import typing

import pytest

import orv

RECORDS = [value for value in vars(orv).values() if dataclasses.is_dataclass(value)]


def sample(**changed: typing.Any) -> orv.Pool:
    values: dict[str, typing.Any] = {
        "device": "/dev/vg1/data",
        "state": "available",
        "size": 500 * orv.GIB,
        "volume_group": "vg1",
        "enclosure": "0",
    }
    return orv.Pool(**(values | changed))


def test_there_is_a_class_for_each_family() -> None:
    assert {record.__name__ for record in RECORDS} == {
        *("Disk", "SmartSummary", "SmartAttribute", "Array", "ArrayMember", "PhysicalVolume"),
        *("VolumeGroup", "Pool", "FileSystem", "Share", "Client", "FtpLimits", "User", "Alarm"),
        *("Interface", "SystemInfo"),
    }


@pytest.mark.parametrize("record", RECORDS)
def test_every_attribute_has_a_type_and_a_line_in_the_docstring(record: type) -> None:
    types = typing.get_type_hints(record)
    for field in dataclasses.fields(record):
        assert field.name in types
        assert f"\n    {field.name}: " in (record.__doc__ or "")


def test_a_record_shows_itself() -> None:
    assert repr(sample()) == (
        "Pool(device='/dev/vg1/data', state='available', size=536870912000, "
        "volume_group='vg1', enclosure='0')"
    )


def test_records_are_compared_by_value_and_cannot_be_changed() -> None:
    assert sample() == sample()
    assert sample() != sample(size=None)
    with pytest.raises(dataclasses.FrozenInstanceError):
        setattr(sample(), "size", 1)


def test_a_record_becomes_a_dictionary_and_can_be_sent_to_a_process() -> None:
    assert dataclasses.asdict(sample())["volume_group"] == "vg1"
    assert pickle.loads(pickle.dumps(sample())) == sample()


def test_no_record_has_a_password() -> None:
    assert all("password" not in field.name for r in RECORDS for field in dataclasses.fields(r))
