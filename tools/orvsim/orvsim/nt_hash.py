"""The hash of a password that Samba keeps: MD4, which today's hashlib no longer has."""

from __future__ import annotations

import struct

_MASK = 0xFFFFFFFF
_START = (0x67452301, 0xEFCDAB89, 0x98BADCFE, 0x10325476)


def _rotated(value: int, bits: int) -> int:
    value &= _MASK
    return (value << bits | value >> (32 - bits)) & _MASK


def _choice(x: int, y: int, z: int) -> int:
    return (x & y) | (~x & z)


def _majority(x: int, y: int, z: int) -> int:
    return (x & y) | (x & z) | (y & z)


def _parity(x: int, y: int, z: int) -> int:
    return x ^ y ^ z


_COLUMNS = (0, 4, 8, 12, 1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15)
_BIT_REVERSED = (0, 8, 4, 12, 2, 10, 6, 14, 1, 9, 5, 13, 3, 11, 7, 15)

# What is mixed, what is added, the order of the words, and by how much the four are rotated.
_ROUNDS = (
    (_choice, 0, tuple(range(16)), (3, 7, 11, 19)),
    (_majority, 0x5A827999, _COLUMNS, (3, 5, 9, 13)),
    (_parity, 0x6ED9EBA1, _BIT_REVERSED, (3, 9, 11, 15)),
)


def _mixed(state: tuple[int, ...], block: bytes) -> tuple[int, ...]:
    words = struct.unpack("<16I", block)
    a, b, c, d = state
    for mix, constant, order, rotations in _ROUNDS:
        for step, place in enumerate(order):
            total = a + mix(b, c, d) + words[place] + constant
            a, b, c, d = d, _rotated(total, rotations[step % 4]), b, c
    return tuple((old + new) & _MASK for old, new in zip(state, (a, b, c, d)))


def md4(data: bytes) -> bytes:
    """The MD4 digest."""
    padding = b"\x80" + bytes((55 - len(data)) % 64) + struct.pack("<Q", 8 * len(data))
    padded = data + padding
    state: tuple[int, ...] = _START
    for start in range(0, len(padded), 64):
        state = _mixed(state, padded[start : start + 64])
    return struct.pack("<4I", *state)


def nt_hash(password: str) -> str:
    """What the password file of Samba holds of a password."""
    return md4(password.encode("utf-16-le", "replace")).hex().upper()
