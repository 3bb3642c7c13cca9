"""The server of a running appliance: process 1 inside, the one that holds the state."""

from __future__ import annotations

import json
import os
import signal
import socket
import struct
import sys
import threading
import time
import traceback
from pathlib import Path

from orvsim import file_systems, md, namespace, protocol
from orvsim.appliance import Appliance, Clock, Machine
from orvsim.control import run_control
from orvsim.disks import has_controller
from orvsim.kernel_files import KernelFiles
from orvsim.log import serve_log
from orvsim.tool_call import run_tool
from orvsim.tools import KERNEL_FILES, ON_START, ON_TICK, TOOLS

INSIDE = Path("/run/orvsim/state")
CLOCK_PAGE = Path("/run/orvsim/clock")

TICK_SECONDS = 0.2
# How long the appliance stays on when nobody uses it: the next command finds it running.
LINGER_SECONDS = float(os.environ.get("ORVSIM_LINGER", "5"))


class Server:
    """Answers tools, commands and faults, and lets time pass."""

    def __init__(self) -> None:
        self.appliance = Appliance(INSIDE, running=True)
        self.files = KernelFiles()
        self.users = 0
        self.answers: set[threading.Thread] = set()
        self.busy_until = time.monotonic() + LINGER_SECONDS
        self.namespaces = tuple(
            os.open(f"/run/orvsim/proc/self/ns/{name}", os.O_RDONLY | os.O_CLOEXEC)
            for name in namespace.NAMESPACES
        )
        self.appliance.settle = self.settle

    def start(self) -> None:
        """Brings the appliance up: its links, its mounts, its kernel files."""
        namespace.set_host_name(self._host_name())
        for tool in TOOLS.values():
            if tool.path.startswith("/etc/"):
                _link_tool(self.appliance.path(tool.path))
        for function in ON_START:
            function(self.appliance)
        self.appliance.save()
        self.show()

    def _host_name(self) -> str:
        try:
            return self.appliance.path("/etc/hostname").read_text().split("\n")[0]
        except OSError:
            return self.appliance.get(Machine).name

    def settle(self) -> None:
        """Saves what has changed and brings the kernel files in line with it."""
        if self.appliance.save() or self.files.touched:
            self.show()

    def show(self) -> None:
        """Writes the kernel files that are not as they should be."""
        _show_clock(self.appliance)
        self.files.begin()
        for function in KERNEL_FILES:
            function(self.appliance, self.files)
        self.files.end()

    def tick(self) -> None:
        """Lets things happen by themselves."""
        with self.appliance.lock:
            self.files.take_writes(self.appliance)
            for function in ON_TICK:
                function(self.appliance)
            # What nobody has changed is as it was, but for rebuilds, which go on.
            if self.appliance.save() or self.files.touched or self._is_busy():
                self.show()

    def _is_busy(self) -> bool:
        return md.is_busy(self.appliance) or has_controller(self.appliance)

    def serve(self, listener: socket.socket) -> None:
        """Accepts callers until nobody has used the appliance for a while."""
        next_tick = time.monotonic() + TICK_SECONDS
        while True:
            if time.monotonic() >= next_tick:
                self._tick_safely()
                next_tick = time.monotonic() + TICK_SECONDS
                if self._is_idle():
                    return
            listener.settimeout(max(0.001, next_tick - time.monotonic()))
            try:
                connection, _ = listener.accept()
            except TimeoutError:
                continue
            answer = threading.Thread(target=self._answer, args=(connection,), daemon=True)
            self.answers.add(answer)
            answer.start()

    def _tick_safely(self) -> None:
        try:
            self.tick()
        except Exception:  # pylint: disable=broad-except
            traceback.print_exc()

    def _is_idle(self) -> bool:
        """What is being answered is answered to its end: the caller may not ask a second time."""
        _reap()
        self.answers = {answer for answer in self.answers if answer.is_alive()}
        if self.users or self.answers or _others_alive():
            self.busy_until = time.monotonic() + LINGER_SECONDS
        return time.monotonic() > self.busy_until

    def _answer(self, connection: socket.socket) -> None:
        descriptors: list[int] = []
        try:
            fields, descriptors = protocol.receive(connection)
            handler = getattr(self, "_on_" + fields[0])
            handler(connection, fields[1:], descriptors)
        except (ConnectionError, BrokenPipeError):
            pass
        except Exception:  # pylint: disable=broad-except
            traceback.print_exc()
        finally:
            protocol.close_all(descriptors)
            connection.close()

    def _on_tool(self, connection: socket.socket, fields: list[str], files: list[int]) -> None:
        answer = run_tool(
            self.appliance, self.files, fields[0], fields[1:], files, lambda: _is_closed(connection)
        )
        protocol.send(connection, answer)

    def _on_statfs(self, connection: socket.socket, fields: list[str], _files: list[int]) -> None:
        with self.appliance.lock:
            protocol.send(connection, file_systems.statfs(self.appliance, fields[0]))

    def _on_settime(self, connection: socket.socket, fields: list[str], _files: list[int]) -> None:
        with self.appliance.lock:
            self.appliance.set_clock(now=float(fields[0]))
            self.settle()
        protocol.send(connection, ["ok", ""])

    def _on_control(self, connection: socket.socket, fields: list[str], _files: list[int]) -> None:
        with self.appliance.lock:
            self.files.take_writes(self.appliance)
            answer = run_control(self.appliance, json.loads(fields[0]))
            self.tick()
        protocol.send(connection, list(answer))

    def _on_run(self, connection: socket.socket, _fields: list[str], _files: list[int]) -> None:
        """A user of the appliance: gets the namespaces, and holds the connection while it lives."""
        self.users += 1
        try:
            protocol.send(connection, ["ok"], self.namespaces)
            while connection.recv(1):
                pass
        finally:
            self.users -= 1

    def _on_stop(self, connection: socket.socket, _fields: list[str], _files: list[int]) -> None:
        """Switches the appliance off at once."""
        with self.appliance.lock:
            self.appliance.save()
            protocol.send(connection, ["ok", ""])
            os._exit(0)


def _is_closed(connection: socket.socket) -> bool:
    """Has the other side gone?"""
    try:
        return not connection.recv(1, socket.MSG_PEEK | socket.MSG_DONTWAIT)
    except BlockingIOError:
        return False
    except ConnectionError:
        return True


def _show_clock(appliance: Appliance) -> None:
    """For the preloaded library, which maps this file."""
    clock = appliance.get(Clock)
    still = clock.rate == 1.0 and abs(clock.at - clock.since) < 0.001
    page = struct.pack("ddd", clock.since, clock.since if still else clock.at, clock.rate)
    with open(CLOCK_PAGE, "r+b" if CLOCK_PAGE.exists() else "wb") as file:
        file.write(page)


def _link_tool(path: Path) -> None:
    path.parent.mkdir(parents=True, exist_ok=True)
    if not path.is_symlink() and not path.exists():
        path.symlink_to("/run/orvsim/programs/client")


def _reap() -> None:
    try:
        while os.waitpid(-1, os.WNOHANG)[0]:
            pass
    except ChildProcessError:
        pass


def _others_alive() -> bool:
    """Is there another process than this one? Only process 1 of a machine can ask like that."""
    try:
        os.kill(-1, 0)
    except ProcessLookupError:
        return False
    return True


def _listen(state: Path) -> socket.socket:
    """The socket stands in the state's folder, and from there inside, too."""
    listener = socket.socket(socket.AF_UNIX, socket.SOCK_STREAM)
    os.chdir(state)
    if os.path.lexists("socket"):
        os.remove("socket")
    listener.bind("socket")
    listener.listen(512)
    os.chdir("/")
    return listener


def main(state: Path) -> None:
    """Process 1: makes the machine and serves it to its end."""
    signal.signal(signal.SIGTERM, lambda *_: sys.exit(0))
    signal.signal(signal.SIGINT, signal.SIG_IGN)
    signal.signal(signal.SIGIO, signal.SIG_IGN)  # says that somebody waits for a kernel file
    namespace.assemble(state)
    os.symlink("/run/orvsim/state/socket", "/run/orvsim/socket")
    server = Server()
    server.start()
    serve_log("/dev/log", server.appliance)
    listener = _listen(INSIDE)
    try:
        server.serve(listener)
    finally:
        with server.appliance.lock:
            server.appliance.save()
        os.remove(INSIDE / "socket")
