"""Starting the server of an appliance in the background."""

from __future__ import annotations

import os
import signal
import sys
import traceback
from pathlib import Path

from orvsim import modules, namespace, server


def start_server(state: Path, lock: int) -> None:
    """Becomes a server in the background; the lock goes with it."""
    if os.fork():
        return
    try:
        _become_server(state, lock)
    except BaseException:  # pylint: disable=broad-except
        traceback.print_exc()
    os._exit(1)


def _become_server(state: Path, lock: int) -> None:
    os.setsid()
    log = os.open(state / "server.log", os.O_WRONLY | os.O_CREAT | os.O_TRUNC, 0o600)
    null = os.open("/dev/null", os.O_RDWR)
    for number, source in enumerate((null, log, log)):
        os.dup2(source, number)
    os.closerange(3, lock)
    os.closerange(lock + 1, 1 << 16)
    for number in (signal.SIGHUP, signal.SIGINT, signal.SIGQUIT):
        signal.signal(number, signal.SIG_IGN)
    os.umask(0o022)
    sys.stdout = sys.stderr = os.fdopen(2, "w", buffering=1)
    modules.load()
    namespace.enter_new()
    if os.fork():
        os._exit(0)
    server.main(state)
    os._exit(0)
