"""The limit of time belongs to the thread, as the library has it."""

import threading

import pytest

import orv


def test_limit_is_kept_and_given_back() -> None:
    assert orv.tool_timeout() == 0
    orv.tool_timeout_set(seconds=30)
    assert orv.tool_timeout() == 30
    orv.tool_timeout_set(seconds=0)
    assert orv.tool_timeout() == 0


def test_limit_belongs_to_its_thread() -> None:
    orv.tool_timeout_set(seconds=30)
    found: list[int] = []
    asking = threading.Thread(target=lambda: found.append(orv.tool_timeout()))
    asking.start()
    asking.join()
    orv.tool_timeout_set(seconds=0)
    assert found == [0]


@pytest.mark.parametrize("seconds", [-1, 2**40, 1.5, "1"])
def test_limit_is_a_number_of_seconds(seconds: object) -> None:
    with pytest.raises((TypeError, ValueError)):
        orv.tool_timeout_set(seconds=seconds)  # type: ignore[arg-type]
    assert orv.tool_timeout() == 0
