"""The system log: what programs send to /dev/log stands in /var/log/messages."""

from __future__ import annotations

import re
import socket
import threading
import time

from orvsim.appliance import Appliance

_LARGEST = 1 << 20


def serve_log(path: str, appliance: Appliance) -> None:
    """Starts to write the log."""
    receiver = socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM)
    receiver.bind(path)
    threading.Thread(target=_write_lines, args=(receiver, appliance), daemon=True).start()


def _write_lines(receiver: socket.socket, appliance: Appliance) -> None:
    while True:
        message = receiver.recv(65536).decode(errors="replace").rstrip("\n\0")
        log_line(appliance, re.sub(r"^<\d+>(\w{3} [ \d]\d [\d:]{8} )?", "", message))


def log_line(appliance: Appliance, text: str) -> None:
    """Writes a line of the system log, as the appliance's kernel and programs do."""
    stamp = time.strftime("%b %e %H:%M:%S", time.localtime(appliance.now()))
    path = appliance.path("/var/log/messages")
    path.parent.mkdir(parents=True, exist_ok=True)
    if path.exists() and path.stat().st_size > _LARGEST:
        path.replace(path.with_name("messages.1"))
    with open(path, "a", encoding="utf-8") as file:
        file.write(f"{stamp} {text}\n")
