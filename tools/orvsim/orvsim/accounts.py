"""The account files of the appliance."""

from __future__ import annotations

import os
from pathlib import Path

from orvsim.appliance import Appliance
from orvsim.tools import on_new

DAY = 86400
_FIRST_UID, _LAST_UID = 1000, 60000
ACCOUNT_FILES = ("/etc/passwd", "/etc/group", "/etc/shadow", "/etc/gshadow")

_SYSTEM_USERS = (
    ("root", 0, 0, "root", "/root", "/bin/bash"),
    ("daemon", 1, 1, "daemon", "/usr/sbin", "/usr/sbin/nologin"),
    ("bin", 2, 2, "bin", "/bin", "/usr/sbin/nologin"),
    ("sys", 3, 3, "sys", "/dev", "/usr/sbin/nologin"),
    ("mail", 8, 8, "mail", "/var/mail", "/usr/sbin/nologin"),
    ("www-data", 33, 33, "www-data", "/var/www", "/usr/sbin/nologin"),
    ("nobody", 65534, 65534, "nobody", "/nonexistent", "/usr/sbin/nologin"),
    ("ftp", 100, 105, "ftp daemon,,,", "/srv/ftp", "/usr/sbin/nologin"),
    ("statd", 102, 65534, "", "/var/lib/nfs", "/usr/sbin/nologin"),
)
_SYSTEM_GROUPS = {
    "root": 0,
    "daemon": 1,
    "bin": 2,
    "sys": 3,
    "adm": 4,
    "tty": 5,
    "disk": 6,
    "mail": 8,
    "www-data": 33,
    "shadow": 42,
    "users": 100,
    "ftp": 105,
    "nogroup": 65534,
    "sambashare": 999,
}


@on_new
def _put_account_files(appliance: Appliance) -> None:
    """The users and groups that every appliance has."""
    day = int(appliance.now() // DAY)
    users = [f"{n}:x:{u}:{g}:{info}:{home}:{s}\n" for n, u, g, info, home, s in _SYSTEM_USERS]
    texts = {
        "/etc/passwd": ("".join(users), 0o644),
        "/etc/group": ("".join(f"{n}:x:{g}:\n" for n, g in _SYSTEM_GROUPS.items()), 0o644),
        "/etc/shadow": ("".join(f"{u[0]}:*:{day}:0:99999:7:::\n" for u in _SYSTEM_USERS), 0o640),
        "/etc/gshadow": ("".join(f"{name}:*::\n" for name in _SYSTEM_GROUPS), 0o640),
        "/etc/nas_userfile.conf": ("", 0o600),
        "/etc/samba/private/smbpasswd": ("", 0o600),
        "/etc/shells": ("/bin/sh\n/bin/bash\n/bin/nologin\n", 0o644),
    }
    for path, (text, mode) in texts.items():
        place = appliance.path(path)
        place.parent.mkdir(parents=True, exist_ok=True)
        place.write_text(text, encoding="utf-8")
        place.chmod(mode)


# --- records -------------------------------------------------------------------------------------


def records(appliance: Appliance, path: str) -> list[list[str]]:
    """The fields of every line of an account file."""
    try:
        text = appliance.path(path).read_text(encoding="utf-8", errors="surrogateescape")
    except FileNotFoundError:
        return []
    return [line.split(":") for line in text.splitlines() if line]


def find_user(appliance: Appliance, name: str) -> list[str] | None:
    """The fields of a user in the password file."""
    found = (fields for fields in records(appliance, "/etc/passwd") if fields[0] == name)
    return next((fields for fields in found if len(fields) > 3), None)


def append_line(path: Path, line: str) -> None:
    """Appends a line to an account file."""
    with path.open("a", encoding="utf-8", errors="surrogateescape") as file:
        file.write(line + "\n")


def _replace(path: Path, text: str) -> None:
    """Puts a new file in the place of the old one, which is kept with "-" behind its name."""
    old = path.stat()
    new = path.with_name(path.name + "+")
    new.write_text(text, encoding="utf-8", errors="surrogateescape")
    new.chmod(old.st_mode & 0o7777)
    os.replace(path, path.with_name(path.name + "-"))
    os.replace(new, path)


def remove_name(appliance: Appliance, path: str, name: str) -> None:
    """Takes a name out of an account file."""
    place = appliance.path(path)
    text = place.read_text(encoding="utf-8", errors="surrogateescape")
    kept = [line for line in text.splitlines(keepends=True) if line.split(":")[0] != name]
    if sum(map(len, kept)) != len(text):
        _replace(place, "".join(kept))


def is_taken(appliance: Appliance, path: str, name: str) -> bool:
    """Whether an account file has the name."""
    return any(fields[0] == name for fields in records(appliance, path))


def free_number(appliance: Appliance) -> int | None:
    """The first number that is neither a user's nor a group's."""
    taken: set[int] = set()
    for path in ("/etc/passwd", "/etc/group"):
        numbers = (fields[2] for fields in records(appliance, path) if len(fields) > 2)
        taken.update(int(number) for number in numbers if number.isdigit())
    return next((n for n in range(_FIRST_UID, _LAST_UID + 1) if n not in taken), None)
