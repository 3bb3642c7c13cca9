"""Where the parts of orvsim that are not Python stand, in the source tree and when installed."""

from __future__ import annotations

import os
from pathlib import Path

_PACKAGE = Path(__file__).resolve().parent
_TREE = _PACKAGE.parents[2]


def _in_tree() -> bool:
    return (_TREE / "tests" / "simulators").is_dir() and _PACKAGE.parent.name == "orvsim"


def _installed_prefix() -> Path:
    # PREFIX/lib/python3/dist-packages/orvsim, or PREFIX/lib/orvsim/orvsim
    return next(folder.parent for folder in _PACKAGE.parents if folder.name == "lib")


def programs() -> Path:
    """The folder of the client that stands for every tool, and of the preloaded library."""
    told = os.environ.get("ORVSIM_PROGRAMS")
    if told:
        return Path(told).resolve()
    if not _in_tree():
        return _installed_prefix() / "libexec" / "orvsim"
    built = sorted(
        _TREE.glob("build/*/libexec/orvsim/client"), key=lambda client: client.stat().st_mtime
    )
    if not built:
        raise FileNotFoundError("the client is not built: cmake --build build/... --target orvsim")
    return built[-1].parent


def simulators() -> Path:
    """The folder of the scripts that the sandbox and the virtual machine use too."""
    if _in_tree():
        return _TREE / "tests" / "simulators"
    return _installed_prefix() / "share" / "orvsim" / "simulators"


def default_state() -> Path:
    """The folder of the appliance that is meant when none is named."""
    told = os.environ.get("ORVSIM_STATE")
    if told:
        return Path(told).absolute()
    state_home = os.environ.get("XDG_STATE_HOME") or os.path.expanduser("~/.local/state")
    return Path(state_home).absolute() / "orvsim" / "default"


# Folders of the appliance that last; everything else is made anew when it is switched on.
OWN_FOLDERS = ("etc", "tmp", "var", "mnt", "root", "srv")

# The folders of the host that the appliance has in its own form; all others are seen as they are.
OWN_PLACES = {*OWN_FOLDERS, "bin", "sbin", "usr", "dev", "proc", "sys", "run", "host", "boot"}


def visible(path: str) -> str:
    """Where a path of the host is seen inside the appliance."""
    path = os.path.abspath(path)
    first = path.split("/")[1]
    return "/host" + path if first in OWN_PLACES - {"usr", "bin", "sbin"} else path
