"""The account files of the appliance, and the tools that change them."""

from __future__ import annotations

import os
import re
from collections.abc import Iterator
from pathlib import Path

from orvsim.appliance import Appliance
from orvsim.tools import Call, on_new, tool

_DAY = 86400
_FIRST_UID, _LAST_UID = 1000, 60000
_LONGEST_GROUP_NAME = 32
_FILES = ("/etc/passwd", "/etc/group", "/etc/shadow", "/etc/gshadow")

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
    day = int(appliance.now() // _DAY)
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


def _append(path: Path, line: str) -> None:
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


def _without(appliance: Appliance, path: str, name: str) -> None:
    place = appliance.path(path)
    text = place.read_text(encoding="utf-8", errors="surrogateescape")
    kept = [line for line in text.splitlines(keepends=True) if line.split(":")[0] != name]
    if sum(map(len, kept)) != len(text):
        _replace(place, "".join(kept))


def _is_taken(appliance: Appliance, path: str, name: str) -> bool:
    return any(fields[0] == name for fields in records(appliance, path))


def _free_number(appliance: Appliance) -> int | None:
    """The first number that is neither a user's nor a group's."""
    taken = set()
    for path in ("/etc/passwd", "/etc/group"):
        numbers = (fields[2] for fields in records(appliance, path) if len(fields) > 2)
        taken.update(int(number) for number in numbers if number.isdigit())
    return next((n for n in range(_FIRST_UID, _LAST_UID + 1) if n not in taken), None)


# --- adduser -------------------------------------------------------------------------------------


def _wrong_character(name: str) -> str | None:
    """What busybox has against a name."""
    raw = os.fsencode(name)
    for place, code in enumerate(raw or b"\0"):
        letter = chr(code)
        is_good = code < 128 and (letter.isalnum() or letter == "_")
        is_good = is_good or (place > 0 and letter in "-.")
        is_good = is_good or (letter == "$" and place > 0 and place == len(raw) - 1)
        if not is_good:
            return f"illegal character with code {code} at position {place}"
    return None


def _options_of(call: Call) -> tuple[dict[str, str], list[str]] | None:
    """The options of adduser, such as "-DH -s SHELL", and its other words; None when one is not."""
    options: dict[str, str] = {}
    words: list[str] = []
    arguments = iter(call.arguments)
    for word in arguments:
        if word == "--":
            words += arguments
        elif word.startswith("-") and len(word) > 1:
            if not _take_options(word, arguments, options, call):
                return None
        else:
            words.append(word)
    return options, words


def _take_options(word: str, rest: Iterator[str], options: dict[str, str], call: Call) -> bool:
    """The options of a word; False when one is unknown."""
    for place, letter in enumerate(word[1:], 2):
        if letter in "DHS":
            options[letter] = ""
        elif letter in "sghGuk":
            options[letter] = word[place:] or next(rest, "")
            break
        else:
            call.err(f"adduser: invalid option -- '{letter}'\n")
            return False
    return True


_LONG_NAME = """addgroup: Usernames must be no more than 32 bytes in length;
            note that if you are using Unicode characters, the character
            limit will be less than 32.
"""
_STRANGE_NAME = """addgroup: Please enter a username matching the regular expression
            configured via the NAME_REGEX configuration variable.  Use the
            `--allow-bad-names' option to relax this check or reconfigure
            NAME_REGEX in configuration.
"""


def _group_refusal(name: str) -> str | None:
    """What Debian's addgroup, which busybox calls, has against a name; the user is made anyhow."""
    if len(os.fsencode(name)) > _LONGEST_GROUP_NAME:
        return _LONG_NAME
    return None if re.fullmatch(r"[a-z][-a-z0-9_]*\$?", name) else _STRANGE_NAME


def _add_account(appliance: Appliance, name: str, number: int, options: dict[str, str]) -> None:
    information = options.get("g", "Linux User,,,")
    home = options.get("h", f"/home/{name}")
    account = f"{name}:x:{number}:{number}:{information}:{home}:{options.get('s', '/bin/sh')}"
    _append(appliance.path("/etc/passwd"), account)
    day = int(appliance.now() // _DAY)
    _append(appliance.path("/etc/shadow"), f"{name}:!:{day}:0:99999:7:::")
    if _group_refusal(name) is None:
        _append(appliance.path("/etc/group"), f"{name}:x:{number}:")
        _append(appliance.path("/etc/gshadow"), f"{name}:!::")


def _refusal(appliance: Appliance, name: str) -> str | None:
    wrong = _wrong_character(name)
    if wrong:
        return wrong
    if _is_taken(appliance, "/etc/passwd", name):
        return f"user '{name}' in use"
    if _is_taken(appliance, "/etc/group", name):
        return f"group '{name}' in use"
    return None


@tool("/usr/local/sbin/adduser")
def adduser(appliance: Appliance, call: Call) -> int:
    """Adds an account as busybox's adduser does."""
    given = _options_of(call)
    if given is None or not given[1]:
        return 1
    options, name = given[0], given[1][0]
    refusal = _refusal(appliance, name)
    number = _free_number(appliance)
    if refusal or number is None:
        call.err(f"adduser: {refusal or 'no free uids left'}\n")
        return 1
    _add_account(appliance, name, number, options)
    refusal = _group_refusal(name)
    if refusal:
        call.err(refusal)
    else:
        call.out(f"Adding group `{name}' (GID {number}) ...\nDone.\n")
    return 0


# --- userdel -------------------------------------------------------------------------------------

_USERDEL_USAGE = """Usage: userdel [options] LOGIN

Options:
  -f, --force                   force some actions that would fail otherwise
                                e.g. removal of user still logged in
                                or files, even if not owned by the user
  -h, --help                    display this help message and exit
  -r, --remove                  remove home directory and mail spool
  -R, --root CHROOT_DIR         directory to chroot into
  -P, --prefix PREFIX_DIR       prefix directory where are located the /etc/* files
  -Z, --selinux-user            remove any SELinux user mapping for the user

"""


@tool("/usr/sbin/userdel")
def userdel(appliance: Appliance, call: Call) -> int:
    """Deletes an account, and the group of its name when it is its own."""
    words = [word for word in call.arguments if not re.fullmatch(r"-[fr]+|--force|--remove", word)]
    unknown = next((word for word in words if re.match(r"-[^-]", word)), None)
    if unknown:
        call.err(f"userdel: invalid option -- '{unknown[1]}'\n")
    if len(words) != 1 or unknown:
        call.err(_USERDEL_USAGE)
        return 2
    name = words[0]
    if find_user(appliance, name) is None:
        call.err(f"userdel: user '{name}' does not exist\n")
        return 6
    for path in _FILES:
        _without(appliance, path, name)
    return 0
