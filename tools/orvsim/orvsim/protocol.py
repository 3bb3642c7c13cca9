"""Messages on the server's socket: a length, then fields with a NUL between them, both ways."""

from __future__ import annotations

import array
import os
import socket
import struct
from pathlib import Path

MOST_DESCRIPTORS = 8
LONGEST = 16 << 20


def send(connection: socket.socket, fields: list[str], descriptors: tuple[int, ...] = ()) -> None:
    """Sends the fields, and the descriptors with their first byte."""
    body = b"\0".join(os.fsencode(text) for text in fields)
    message = struct.pack("<I", len(body)) + body
    rights = [(socket.SOL_SOCKET, socket.SCM_RIGHTS, array.array("i", descriptors))]
    sent = connection.sendmsg([message], rights if descriptors else [])
    if sent < len(message):  # sending nothing fails when the other side has answered and is gone
        connection.sendall(message[sent:])


def receive(connection: socket.socket) -> tuple[list[str], list[int]]:
    """The next message and its descriptors; ConnectionError when there is none."""
    head, descriptors = _receive_first(connection)
    try:
        body = _receive_rest(connection, struct.unpack("<I", head)[0])
    except Exception:
        close_all(descriptors)
        raise
    return [os.fsdecode(field) for field in body.split(b"\0")], descriptors


def _receive_first(connection: socket.socket) -> tuple[bytes, list[int]]:
    numbers = array.array("i")
    space = socket.CMSG_SPACE(MOST_DESCRIPTORS * numbers.itemsize)
    head, rights, _, _ = connection.recvmsg(4, space, socket.MSG_CMSG_CLOEXEC)
    for level, kind, data in rights:
        if (level, kind) == (socket.SOL_SOCKET, socket.SCM_RIGHTS):
            numbers.frombytes(data[: len(data) - len(data) % numbers.itemsize])
    try:
        return head + _receive_rest(connection, 4 - len(head)), list(numbers)
    except Exception:
        close_all(list(numbers))
        raise


def _receive_rest(connection: socket.socket, size: int) -> bytes:
    if size > LONGEST:
        raise ConnectionError("the message is too long")
    body = bytearray()
    while len(body) < size:
        part = connection.recv(min(size - len(body), 1 << 16))
        if not part:
            raise ConnectionError("the other side is gone")
        body += part
    return bytes(body)


def close_all(descriptors: list[int]) -> None:
    """Closes descriptors that came with a message."""
    for descriptor in descriptors:
        os.close(descriptor)


def connect(path: Path) -> socket.socket:
    """Connects to a socket whose path may be longer than a socket address can be."""
    folder = os.open(path.parent, os.O_PATH | os.O_DIRECTORY | os.O_CLOEXEC)
    connection = socket.socket(socket.AF_UNIX, socket.SOCK_STREAM)
    try:
        connection.connect(f"/proc/self/fd/{folder}/{path.name}")
    except BaseException:
        connection.close()
        raise
    finally:
        os.close(folder)
    return connection
