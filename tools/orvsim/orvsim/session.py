"""From outside: starting the server, entering the appliance, telling it something."""

from __future__ import annotations

import fcntl
import json
import os
import signal
import sys
import time
from pathlib import Path

from orvsim import kernel, places, protocol
from orvsim.errors import ControlError

START_SECONDS = 30.0
NOT_STARTED = 126
NOT_FOUND = 127

PATH = "/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin"


def is_appliance(state: Path) -> bool:
    """Does the folder hold an appliance?"""
    return (state / "state.json").is_file()


def _lock(state: Path, wait: bool) -> int | None:
    """The lock of the state, held by the server or by one who changes an appliance at rest."""
    lock = os.open(state / "lock", os.O_RDWR | os.O_CREAT | os.O_CLOEXEC, 0o600)
    try:
        fcntl.flock(lock, fcntl.LOCK_EX | (0 if wait else fcntl.LOCK_NB))
    except BlockingIOError:
        os.close(lock)
        return None
    return lock


def _connect(state: Path):
    try:
        return protocol.connect(state / "socket")
    except (FileNotFoundError, ConnectionRefusedError):
        return None


def control(state: Path, arguments: str) -> tuple[str, str]:
    """A control command: by the server if there is one, or else directly on the state."""
    end = time.monotonic() + START_SECONDS
    while time.monotonic() < end:
        connection = _connect(state)
        if connection:
            try:
                with connection:
                    protocol.send(connection, ["control", arguments])
                    fields, _ = protocol.receive(connection)
                    return fields[0], fields[1]
            except ConnectionError:  # the server was about to end, and has not heard it
                pass
        lock = _lock(state, wait=False)
        if lock is not None:
            return _control_at_rest(state, arguments, lock)
        time.sleep(0.02)
    raise ControlError("the appliance does not answer")


def _control_at_rest(state: Path, arguments: str, lock: int) -> tuple[str, str]:
    from orvsim.appliance import Appliance  # pylint: disable=import-outside-toplevel
    from orvsim.control import run_control  # pylint: disable=import-outside-toplevel

    try:
        appliance = Appliance(state)
        answer = run_control(appliance, json.loads(arguments))
        appliance.save()
        return answer
    finally:
        os.close(lock)


def stop(state: Path) -> None:
    """Switches the appliance off and waits until it is."""
    connection = _connect(state)
    if connection:
        with connection:
            try:
                protocol.send(connection, ["stop"])
                protocol.receive(connection)
            except ConnectionError:
                pass
    lock = _lock(state, wait=True)
    if lock is not None:
        (state / "socket").unlink(missing_ok=True)
        os.close(lock)


def _enter(state: Path):
    """A connection that keeps the appliance on, and its namespaces."""
    end = time.monotonic() + START_SECONDS
    while time.monotonic() < end:
        connection = _connect(state)
        if connection:
            try:
                protocol.send(connection, ["run"])
                _, namespaces = protocol.receive(connection)
                return connection, namespaces
            except ConnectionError:
                connection.close()
        lock = _lock(state, wait=False)
        if lock is not None:
            # Only who starts a server needs its parts, and they take a while to load.
            from orvsim.starting import start_server  # pylint: disable=import-outside-toplevel

            start_server(state, lock)
            os.close(lock)
            _await_server(state)
        time.sleep(0.005)
    raise ControlError("the appliance does not start; see " + str(state / "server.log"))


def _await_server(state: Path) -> None:
    """Waits until the server answers; an error when it ended instead."""
    time.sleep(0.02)
    end = time.monotonic() + START_SECONDS
    while time.monotonic() < end and not (state / "socket").exists():
        lock = _lock(state, wait=False)
        if lock is not None:
            os.close(lock)
            if not (state / "socket").exists():
                raise ControlError("the appliance did not start:\n" + _last_error(state))
        time.sleep(0.005)


def _last_error(state: Path) -> str:
    return (state / "server.log").read_text(errors="replace")[-2000:]


def run(state: Path, words: list[str]) -> int:
    """Runs a command inside and gives its exit status."""
    connection, namespaces = _enter(state)
    words = [_program(words[0]), *words[1:]]
    folder = places.visible(os.getcwd())
    for descriptor in namespaces:
        kernel.setns(descriptor)
    child = os.fork()
    if child == 0:
        connection.close()
        _become(words, folder)
    return _wait(child)


def _program(word: str) -> str:
    return places.visible(word) if "/" in word else word


def _environment() -> dict[str, str]:
    environment = dict(os.environ)
    extra = environment.get("ORVSIM_PATH", "")
    visible = [places.visible(folder) for folder in extra.split(":") if folder]
    environment["PATH"] = ":".join([*visible, PATH])
    environment["HOME"] = "/root"
    environment["LD_PRELOAD"] = "/run/orvsim/programs/preload.so"
    # A program built with the address sanitizer would insist on coming first, and on processes in
    # /proc by their numbers.
    options = environment.get("ASAN_OPTIONS", "")
    environment["ASAN_OPTIONS"] = ":".join(
        filter(None, [options, "verify_asan_link_order=0:detect_leaks=0"])
    )
    return environment


def _become(words: list[str], folder: str) -> None:
    environment = _environment()
    try:
        os.chdir(folder)
    except OSError:
        os.chdir("/root")
    try:
        os.execvpe(words[0], words, environment)
    except FileNotFoundError:
        print(f"orvsim: {words[0]}: command not found", file=sys.stderr)
        os._exit(NOT_FOUND)
    except OSError as error:
        print(f"orvsim: {words[0]}: {error.strerror}", file=sys.stderr)
        os._exit(NOT_STARTED)


def _wait(child: int) -> int:
    """Waits for the command, stops with it, and ends as it ended. The terminal's signals are its."""
    for number in (signal.SIGINT, signal.SIGQUIT):
        signal.signal(number, signal.SIG_IGN)
    for number in (signal.SIGTERM, signal.SIGHUP):
        signal.signal(number, lambda received, _: os.kill(child, received))
    while True:
        _, status = os.waitpid(child, os.WUNTRACED)
        if not os.WIFSTOPPED(status):
            break
        os.kill(os.getpid(), signal.SIGSTOP)
        os.kill(child, signal.SIGCONT)
    if os.WIFSIGNALED(status):
        return _end_like(os.WTERMSIG(status))
    return os.WEXITSTATUS(status)


def _end_like(number: int) -> int:
    signal.signal(number, signal.SIG_DFL) if number not in (signal.SIGKILL,) else None
    os.kill(os.getpid(), number)
    return 128 + number
