"""adduser as busybox has it, and userdel."""

from __future__ import annotations

import os
import re
from collections.abc import Iterator

from orvsim.accounts import (
    ACCOUNT_FILES,
    DAY,
    append_line,
    find_user,
    free_number,
    is_taken,
    remove_name,
)
from orvsim.appliance import Appliance
from orvsim.tools import Call, tool

_LONGEST_GROUP_NAME = 32

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
    append_line(appliance.path("/etc/passwd"), account)
    day = int(appliance.now() // DAY)
    append_line(appliance.path("/etc/shadow"), f"{name}:!:{day}:0:99999:7:::")
    if _group_refusal(name) is None:
        append_line(appliance.path("/etc/group"), f"{name}:x:{number}:")
        append_line(appliance.path("/etc/gshadow"), f"{name}:!::")


def _refusal(appliance: Appliance, name: str) -> str | None:
    wrong = _wrong_character(name)
    if wrong:
        return wrong
    if is_taken(appliance, "/etc/passwd", name):
        return f"user '{name}' in use"
    if is_taken(appliance, "/etc/group", name):
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
    number = free_number(appliance)
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
    for path in ACCOUNT_FILES:
        remove_name(appliance, path, name)
    return 0
