"""What a call does to the rest of the program."""

from __future__ import annotations

import os
import threading
import time

import pytest

import orv

from .conftest import Control


def test_other_threads_run_during_a_call(control: Control) -> None:
    control("tool-hangs", "lvdisplay", "2")
    begun = threading.Event()

    def ask() -> None:
        begun.set()
        orv.pool_list()

    asking = threading.Thread(target=ask)
    asking.start()
    begun.wait()
    beats = 0
    while asking.is_alive():
        beats += 1
        time.sleep(0.02)
    control("tool-hangs", "lvdisplay", "0")
    assert beats > 50


def test_several_calls_run_at_the_same_time(control: Control) -> None:
    control("tool-hangs", "lvdisplay", "2")
    asking = [threading.Thread(target=orv.pool_list) for _ in range(4)]
    start = time.monotonic()
    for each in asking:
        each.start()
    for each in asking:
        each.join()
    control("tool-hangs", "lvdisplay", "0")
    assert 2 <= time.monotonic() - start < 7


def test_what_tools_print_is_not_seen(
    group: str, folder: str, capfd: pytest.CaptureFixture[str]
) -> None:
    """lvcreate and lvremove say what they did, the changes of users print passwords."""
    orv.pool_create(pool="printed", group=group, size=orv.GIB)
    orv.pool_mkfs(pool="printed", group=group)
    orv.pool_destroy(pool="printed", group=group)
    orv.user_add(name="zoe", password="opensesame")
    orv.user_delete(name="zoe")
    os.write(1, b"mine\n")
    shown = capfd.readouterr()
    assert shown.out == "mine\n"
    assert "opensesame" not in shown.err


def test_shares_of_several_threads_are_all_kept(folder: str) -> None:
    """The library wants the changes of shares of a process one at a time."""
    wanted = {f"thread{number}" for number in range(6)}
    adding = [
        threading.Thread(
            target=orv.share_add, kwargs={"name": name, "service": "samba", "path": folder}
        )
        for name in sorted(wanted)
    ]
    for each in adding:
        each.start()
    for each in adding:
        each.join()
    assert wanted <= {share.name for share in orv.share_list()}
    for name in wanted:
        orv.share_delete(name=name)
