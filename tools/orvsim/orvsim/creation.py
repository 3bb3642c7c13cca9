"""Making a new appliance: its folders, its first files, its disks."""

from __future__ import annotations

import argparse
import os
import re
import shutil
import subprocess
import time
from dataclasses import asdict, dataclass, field
from pathlib import Path

from orvsim import places
from orvsim.appliance import Appliance, Machine
from orvsim.places import OWN_FOLDERS
from orvsim.sections import section
from orvsim.tools import ON_NEW, ControlError

MOST_ENCLOSURES = 4
MOST_DISKS = 2000

# What programs of the host need of their own /etc.
_HOST_ETC = (
    "alternatives ld.so.cache ld.so.conf ld.so.conf.d localtime timezone bash.bashrc profile "
    "terminfo inputrc ssl perl python3.11 python3 magic mime.types protocols services"
).split()


_UNITS = {
    "M": 1000**2,
    "G": 1000**3,
    "T": 1000**4,
    "Mi": 1 << 20,
    "Gi": 1 << 30,
    "Ti": 1 << 40,
}


def size_of(text: str) -> int:
    """Bytes of "500G", "2T" or, in powers of two, "2Gi"; whole blocks of 4 KiB."""
    match = re.fullmatch(r"(\d+(?:\.\d+)?)([MGT]i?)B?", text)
    if not match:
        raise ControlError(f"'{text}' is no size; write 500G, 2T or 2Gi")
    return int(float(match[1]) * _UNITS[match[2]]) & ~4095


@section("made_as")
@dataclass
class Options:
    """What `orvsim new` was asked for; `orvsim reset` makes the same again."""

    model: str = "KTA7120X"
    name: str = "orv"
    enclosures: int = 0
    disks: int = 8
    disk_sizes: list[int] = field(default_factory=lambda: [size_of("2T")])


def add_arguments(parser: argparse.ArgumentParser) -> None:
    """The options of `orvsim new`."""
    usual = Options()
    parser.add_argument("--model", default=usual.model, help="device model (%(default)s)")
    parser.add_argument("--name", default=usual.name, help="host name (%(default)s)")
    parser.add_argument(
        "--enclosures",
        type=int,
        default=usual.enclosures,
        metavar="N",
        help=f"expansion enclosures of 16 bays each, 0 to {MOST_ENCLOSURES} (%(default)s)",
    )
    parser.add_argument(
        "--disks",
        type=int,
        default=usual.disks,
        metavar="N",
        help="disks; those that find no bay are attached without one (%(default)s)",
    )
    parser.add_argument(
        "--disk-size",
        default="2T",
        metavar="SIZE[,SIZE...]",
        help="such as 500G, 2T; with several, one after the other, and the last for the rest "
        "(%(default)s)",
    )
    parser.add_argument("--force", action="store_true", help="replace the appliance that is there")


def options(arguments: argparse.Namespace) -> Options:
    """The options of a command line, checked."""
    made = Options(
        arguments.model,
        arguments.name,
        arguments.enclosures,
        arguments.disks,
        [size_of(text) for text in arguments.disk_size.split(",")],
    )
    if not re.fullmatch(r"[A-Za-z0-9_-]{1,31}", made.model):
        raise ControlError(f"'{made.model}' is no model; letters, digits, - and _ make one")
    if not re.fullmatch(r"[A-Za-z0-9][A-Za-z0-9-]{0,62}", made.name):
        raise ControlError(f"'{made.name}' is no host name")
    if not 0 <= made.enclosures <= MOST_ENCLOSURES:
        raise ControlError(f"an appliance has 0 to {MOST_ENCLOSURES} expansion enclosures")
    if not 0 <= made.disks <= MOST_DISKS:
        raise ControlError(f"an appliance has 0 to {MOST_DISKS} disks")
    if min(made.disk_sizes) < 100 << 20:
        raise ControlError("a disk has at least 100 MiB")
    return made


def new(state: Path, made: Options, replace: bool = False) -> None:
    """Makes an appliance in the folder."""
    if (state / "state.json").exists() and not replace:
        raise ControlError(f"{state} holds an appliance already; use --force or another --state")
    from orvsim import session  # pylint: disable=import-outside-toplevel  # it needs the registry

    if (state / "state.json").exists():
        session.stop(state)
    _make_folders(state)
    appliance = Appliance(state)
    vars(appliance.get(Options)).update(asdict(made))
    machine = appliance.get(Machine)
    machine.model, machine.name, machine.enclosures = made.model, made.name, made.enclosures
    appliance.set_clock(now=time.time(), rate=1.0)
    _make_etc(appliance)
    _tell_system(appliance)
    for function in ON_NEW:
        function(appliance)
    appliance.save()


def _make_folders(state: Path) -> None:
    for name in ("root", "volumes", "state.json", "server.log"):
        path = state / name
        if path.is_dir():
            shutil.rmtree(path)
        elif path.exists():
            path.unlink()
    for name in OWN_FOLDERS:
        (state / "root" / name).mkdir(parents=True)
    (state / "volumes").mkdir()
    for name in ("var/lib", "var/log", "var/run", "var/tmp", "var/lock", "var/cache"):
        (state / "root" / name).mkdir(parents=True)
    os.chmod(state / "root" / "tmp", 0o1777)


def _make_etc(appliance: Appliance) -> None:
    etc = appliance.path("/etc")
    for name in _HOST_ETC:
        if os.path.lexists(f"/etc/{name}"):
            (etc / name).symlink_to(f"/host/etc/{name}")
    host = appliance.get(Machine).name
    texts = {
        "hostname": f"{host}\n",
        "hosts": f"127.0.0.1\tlocalhost\n127.0.1.1\t{host}\n",
        "nsswitch.conf": "passwd: files\ngroup: files\nshadow: files\nhosts: files dns\n",
        "passwd": "root:x:0:0:root:/root:/bin/bash\nnobody:x:65534:65534:nobody:/:/bin/nologin\n",
        "group": "root:x:0:\nnogroup:x:65534:\n",
        "shadow": "root:*:19000:0:99999:7:::\nnobody:*:19000:0:99999:7:::\n",
        "mdfstab": "",
    }
    for name, text in texts.items():
        (etc / name).write_text(text, encoding="utf-8")
    (etc / "shadow").chmod(0o600)
    (etc / "mtab").symlink_to("/proc/mounts")


def _tell_system(appliance: Appliance) -> None:
    environment = {**os.environ, "ORV_SIM_ROOT": str(appliance.folder / "root")}
    script = places.simulators() / "sysinfo"
    subprocess.run([script, appliance.get(Machine).model], env=environment, check=True)


def reset(state: Path) -> None:
    """Makes the appliance anew, as it was asked for."""
    made = Appliance(state).get(Options)
    new(state, made, replace=True)
