"""The appliance's own root, assembled in namespaces of an ordinary user."""

from __future__ import annotations

import os
import socket
from pathlib import Path

from orvsim import kernel, places
from orvsim.places import OWN_FOLDERS, OWN_PLACES
from orvsim.tools import TOOLS

_DEVICES = ("null", "zero", "full", "random", "urandom", "tty", "pts", "shm")
_PROC_LINKS = (
    "self thread-self cpuinfo meminfo uptime loadavg stat version filesystems devices "
    "interrupts vmstat modules cmdline key-users sysrq-trigger"
).split()

# The appliance's shell knows "echo -e", and its users have a shell of their own.
_LINKS_IN_USR = {"bin/sh": "bash", "bin/nologin": "../sbin/nologin"}

NAMESPACES = ("user", "mnt", "uts", "net", "pid")


def enter_new() -> None:
    """Moves this process into new namespaces; its next child is process 1 there.

    Root of the host keeps all its numbers, which only a process outside can arrange; anybody else
    is root here, and alone.
    """
    user, group, process = os.geteuid(), os.getegid(), os.getpid()
    ready, tell = os.pipe()
    helper = os.fork() if user == 0 else -1
    if helper == 0:
        os.close(tell)
        os.read(ready, 1)
        _map_numbers(process, "0 0 65536", "0 0 65536")
        os._exit(0)
    flags = kernel.CLONE_NEWNS | kernel.CLONE_NEWPID | kernel.CLONE_NEWUTS | kernel.CLONE_NEWNET
    kernel.unshare(flags | kernel.CLONE_NEWUSER)
    os.close(tell)
    os.close(ready)
    if helper > 0:
        os.waitpid(helper, 0)
    else:
        _write("/proc/self/setgroups", "deny")
        _map_numbers(process, f"0 {user} 1", f"0 {group} 1")


def _map_numbers(process: int, users: str, groups: str) -> None:
    _write(f"/proc/{process}/uid_map", users)
    _write(f"/proc/{process}/gid_map", groups)


def _write(path: str, text: str) -> None:
    with open(path, "w", encoding="ascii") as file:
        file.write(text)


def assemble(state: Path) -> None:
    """Builds the appliance's root on the state's folder `machine` and makes it the root."""
    root = str(state / "machine")
    os.makedirs(root, exist_ok=True)
    kernel.mount("none", "/", flags=kernel.MS_REC | kernel.MS_PRIVATE)
    kernel.mount("orvsim", root, "tmpfs", options="mode=755")
    _bind_host(root)
    _bind_own(root, state)
    _bind_shared(root)
    _make_run(root, state)
    _make_usr(root)
    _make_dev(root)
    _make_proc(root)
    os.mkdir(root + "/sys")
    kernel.mount("sys", root + "/sys", "tmpfs", options="mode=755")
    _become_root(root)


def _bind_host(root: str) -> None:
    os.mkdir(root + "/host")
    kernel.bind("/", root + "/host", recursive=True)
    kernel.make_read_only(root + "/host")
    for entry in os.scandir("/"):
        if entry.name in OWN_PLACES or entry.name.startswith("lib"):
            _copy_link(entry, root)
        elif entry.is_dir(follow_symlinks=False):
            _bind_same(root, entry.path)
        else:
            _copy_link(entry, root)


def _bind_same(root: str, path: str) -> None:
    os.mkdir(root + path)
    try:
        kernel.bind(path, root + path, recursive=True)
    except PermissionError:  # somebody else's file system: it is not seen inside
        pass


def _copy_link(entry: os.DirEntry, root: str) -> None:
    if entry.is_symlink():
        os.symlink(os.readlink(entry.path), f"{root}/{entry.name}")


def _bind_own(root: str, state: Path) -> None:
    for name in OWN_FOLDERS:
        os.mkdir(f"{root}/{name}")
        kernel.bind(str(state / "root" / name), f"{root}/{name}")


def _bind_shared(root: str) -> None:
    """Folders that the host shares stay where they are, also below a folder of the appliance."""
    for folder in filter(None, os.environ.get("ORVSIM_SHARE", "").split(":")):
        if places.visible(folder) != folder:
            kernel.bind(folder, _folder(root + folder), recursive=True)


def _make_run(root: str, state: Path) -> None:
    own = root + "/run/orvsim"
    os.makedirs(own + "/usr")
    os.mkdir(root + "/run/lock")
    kernel.bind(str(state), _folder(own + "/state"))
    kernel.bind(str(places.programs()), _folder(own + "/programs"))
    kernel.bind(str(places.simulators()), _folder(own + "/simulators"))


def _folder(path: str) -> str:
    os.makedirs(path, exist_ok=True)
    return path


def _make_usr(root: str) -> None:
    """The host's /usr with the simulated tools before its own."""
    layer = root + "/run/orvsim/usr"
    for tool in TOOLS.values():
        if tool.path.startswith("/etc/"):
            continue
        place = layer + "/" + tool.path.removeprefix("/").removeprefix("usr/")
        os.makedirs(os.path.dirname(place), exist_ok=True)
        os.symlink("/run/orvsim/programs/client", place)
    for place, target in _LINKS_IN_USR.items():
        os.makedirs(os.path.dirname(f"{layer}/{place}"), exist_ok=True)
        os.symlink(target, f"{layer}/{place}")
    os.mkdir(root + "/usr")
    options = f"lowerdir={layer}:/usr"
    kernel.mount("usr", root + "/usr", "overlay", kernel.MS_RDONLY, options)


def _make_dev(root: str) -> None:
    dev = _folder(root + "/dev")
    kernel.mount("dev", dev, "tmpfs", options="mode=755")
    for name in _DEVICES:
        if os.path.isdir(f"/dev/{name}"):
            kernel.bind(f"/dev/{name}", _folder(f"{dev}/{name}"))
        elif os.path.exists(f"/dev/{name}"):
            open(f"{dev}/{name}", "w", encoding="ascii").close()
            kernel.bind(f"/dev/{name}", f"{dev}/{name}")
    os.mkdir(dev + "/mapper")
    for number, name in enumerate(("stdin", "stdout", "stderr")):
        os.symlink(f"/proc/self/fd/{number}", f"{dev}/{name}")
    os.symlink("/proc/self/fd", dev + "/fd")
    os.symlink("pts/ptmx", dev + "/ptmx")


def _make_proc(root: str) -> None:
    """The kernel's own files behind links, so that others can stand beside them."""
    real = _folder(root + "/run/orvsim/proc")
    try:
        kernel.mount("proc", real, "proc")
    except PermissionError:  # a container that hides parts of /proc
        kernel.bind("/proc", real, recursive=True)
    proc = _folder(root + "/proc")
    kernel.mount("proc", proc, "tmpfs", options="mode=755")
    for name in _PROC_LINKS:
        if os.path.lexists(f"{real}/{name}"):
            os.symlink(f"/run/orvsim/proc/{name}", f"{proc}/{name}")
    for folder, real_folder in (("net", "self/net"), ("sys", "sys"), ("sys/dev", "sys/dev")):
        _link_entries(
            f"/run/orvsim/proc/{real_folder}", real + "/" + real_folder, proc + "/" + folder
        )


def _link_entries(target: str, real: str, folder: str) -> None:
    if os.path.islink(folder):
        os.remove(folder)
    os.makedirs(folder, exist_ok=True)
    for name in os.listdir(real):
        os.symlink(f"{target}/{name}", f"{folder}/{name}")


def _become_root(root: str) -> None:
    os.mkdir(root + "/.old")
    os.chdir(root)
    kernel.pivot_root(".", ".old")
    os.chdir("/")
    kernel.unmount("/.old")
    os.rmdir("/.old")


def set_host_name(name: str) -> None:
    """Names the machine, for those inside only."""
    try:
        socket.sethostname(name[:64])
    except OSError:
        pass
