"""Nothing that the library prints reaches the caller's standard output."""

import os
import subprocess
import sys
import threading
from collections.abc import Callable

import pytest

import orv


def ask() -> None:
    """A call in which the library prints "invalide username"."""
    with pytest.raises(orv.Error) as raised:
        orv.user_check(name="no-such-user", password="x")
    assert raised.value.name == "ORV_E_NO_USER"


def test_a_call_prints_nothing(capfd: pytest.CaptureFixture[str]) -> None:
    ask()
    print("mine")
    assert capfd.readouterr().out == "mine\n"


def test_what_the_library_prints_is_seen_at_no_time_later() -> None:
    """The C library writes at the process's end what it holds back."""
    program = (
        "import orv\n"
        "try: orv.user_check(name='no-such-user', password='x')\n"
        "except orv.Error as e: print(e.name)\n"
    )
    ended = subprocess.run([sys.executable, "-c", program], capture_output=True, text=True)
    assert (ended.stdout, ended.returncode) == ("ORV_E_NO_USER\n", 0)


def test_what_others_print_meanwhile_is_not_lost(capfd: pytest.CaptureFixture[str]) -> None:
    lines = 2000
    done = threading.Event()

    def keep_asking() -> None:
        while not done.is_set():
            ask()

    askers = [threading.Thread(target=keep_asking) for _ in range(3)]
    for asker in askers:
        asker.start()
    for number in range(lines):
        os.write(1, b"%d\n" % number)
    done.set()
    for asker in askers:
        asker.join()
    assert capfd.readouterr().out == "".join(f"{number}\n" for number in range(lines))


def test_other_printing_of_c_comes_back_after_a_call(capfd: pytest.CaptureFixture[str]) -> None:
    import ctypes

    libc = ctypes.CDLL(None)
    printf: Callable[[bytes], int] = libc.printf
    ask()
    printf(b"of another library\n")
    libc.fflush(None)
    assert capfd.readouterr().out == "of another library\n"
