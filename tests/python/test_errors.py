"""What the library reports becomes orv.Error."""

import pickle
import re
from pathlib import Path

import pytest

import orv

HEADER = Path(__file__).parents[2] / "include" / "orv" / "errors.h"


def test_every_code_of_the_header_is_a_member() -> None:
    named = re.findall(r"X\((ORV_\w+), (-?\d+),", HEADER.read_text())
    assert len(named) > 90
    assert {code.name: int(code) for code in orv.Code} == {n: int(v) for n, v in named}


def test_a_failure_carries_code_name_and_meaning() -> None:
    with pytest.raises(orv.Error) as raised:
        orv.vg_device(group="no-such-group")
    error = raised.value
    assert error.code is orv.Code.ORV_E_NO_VG
    assert error.name == "ORV_E_NO_VG"
    assert error.meaning == "there is no such volume group, or no backup of its metadata"
    assert error.function == "vg_device"
    assert error.detail == ""
    assert error.found == []
    assert str(error) == f"vg_device: ORV_E_NO_VG (-2040): {error.meaning}"


def test_an_error_is_an_exception_of_this_module_that_can_be_kept() -> None:
    assert issubclass(orv.Error, Exception)
    assert orv.Error.__module__ == "orv"
    with pytest.raises(orv.Error) as raised:
        orv.vg_device(group="no-such-group")
    again = pickle.loads(pickle.dumps(raised.value))
    assert (again.code, again.name, str(again)) == (
        orv.Code.ORV_E_NO_VG,
        "ORV_E_NO_VG",
        str(raised.value),
    )
