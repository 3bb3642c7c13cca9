"""The passwords of Samba, and the tool that changes them."""

from __future__ import annotations

import os

from orvsim.accounts import find_user
from orvsim.appliance import Appliance
from orvsim.nt_hash import nt_hash
from orvsim.tools import Call, tool

PASSWORD_FILE = "/etc/samba/private/smbpasswd"
_NO_HASH = "X" * 32

_USAGE = """When run by root:
    smbpasswd [options] [username]
otherwise:
    smbpasswd [options]

options:
  -L                   local mode (must be first option)
  -h                   print this usage message
  -s                   use stdin for password prompt
  -c smb.conf file     Use the given path to the smb.conf file
  -D LEVEL             debug level
  -r MACHINE           remote machine
  -U USER              remote username (e.g. SAM/user)
extra options when run by root or in local mode:
  -a                   add user
  -d                   disable user
  -e                   enable user
  -i                   interdomain trust account
  -m                   machine trust account
  -n                   set no password
  -W                   use stdin ldap admin password
  -w PASSWORD          ldap admin password
  -x                   delete user
  -R ORDER             name resolve order
"""


def _lines(appliance: Appliance) -> list[str]:
    try:
        text = appliance.path(PASSWORD_FILE).read_text(encoding="utf-8", errors="surrogateescape")
    except FileNotFoundError:
        return []
    return text.splitlines()


def _write(appliance: Appliance, lines: list[str]) -> None:
    place = appliance.path(PASSWORD_FILE)
    place.parent.mkdir(parents=True, exist_ok=True)
    new = place.with_name(place.name + ".new")
    with open(os.open(new, os.O_WRONLY | os.O_CREAT | os.O_TRUNC, 0o600), "wb") as file:
        file.write("".join(f"{line}\n" for line in lines).encode("utf-8", "surrogateescape"))
    os.replace(new, place)


def has_password(appliance: Appliance, name: str) -> bool:
    """Whether Samba knows the user."""
    return any(line.split(":")[0] == name for line in _lines(appliance))


def _new_password(given: bytes) -> tuple[str, str] | None:
    """The password and its repetition, on two lines; None when there are no two."""
    first, end, rest = given.decode("utf-8", "surrogateescape").partition("\n")
    second, second_end, _ = rest.partition("\n")
    return (first, second) if end and (second or second_end) else None


def _add(appliance: Appliance, call: Call, name: str) -> int:
    given = _new_password(call.read_input())
    if given is None or given[0] != given[1]:
        if given is not None:
            call.err("Mismatch - password unchanged.\n")
        call.err("Unable to get new password.\n")
        return 1
    account = find_user(appliance, name)
    if account is None:
        call.err(f"Failed to add entry for user {name}.\n")
        return 1
    if not appliance.path(PASSWORD_FILE).exists():
        call.err(
            f"startsmbfilepwent_internal: file {PASSWORD_FILE} did not exist."
            " File successfully created.\n"
        )
    time = f"{int(appliance.now()):08X}"
    entry = f"{name}:{account[2]}:{_NO_HASH}:{nt_hash(given[0])}:[U          ]:LCT-{time}:"
    lines = _lines(appliance)
    places = [place for place, line in enumerate(lines) if line.split(":")[0] == name]
    if places:
        lines[places[0]] = entry
    else:
        lines.append(entry)
        call.out(f"Added user {name}.\n")
    _write(appliance, lines)
    return 0


def _delete(appliance: Appliance, call: Call, name: str) -> int:
    lines = _lines(appliance)
    kept = [line for line in lines if line.split(":")[0] != name]
    if len(kept) == len(lines):
        call.err(f"Failed to find entry for user {name}.\n")
        return 1
    _write(appliance, kept)
    call.out(f"Deleted user {name}.\n")
    return 0


def _letters(arguments: list[str]) -> str:
    return "".join(word[1:] for word in arguments if word.startswith("-"))


def _adds(arguments: list[str]) -> bool:
    return set(_letters(arguments)) <= set("as")


@tool("/usr/bin/smbpasswd", reads_input=_adds)
def smbpasswd(appliance: Appliance, call: Call) -> int:
    """Adds a user with a password from its input, or deletes one."""
    options = _letters(call.arguments)
    names = [word for word in call.arguments if not word.startswith("-")]
    unknown = [letter for letter in options if letter not in "axs"]
    if unknown or len(names) > 1:
        if unknown:
            call.err(f"smbpasswd: invalid option -- '{unknown[0]}'\n")
        call.out(_USAGE)
        return 1
    name = names[0] if names else "root"
    return (_delete if "x" in options else _add)(appliance, call, name)
