#!/usr/bin/python3
"""What the appliance has, one line for each: report.py disks|arrays|groups|pools|filesystems|shares

Reads the tools' machine-readable output, and starts no tool twice.
"""

import configparser
import os
import re
import subprocess
import sys
from pathlib import Path


def said_by(*command: str) -> str:
    return subprocess.run(command, stdout=subprocess.PIPE, check=True, text=True).stdout


def columns(*command: str) -> list[list[str]]:
    return [line.strip().split(":") for line in said_by(*command).splitlines()]


def disks() -> None:
    spares = said_by("/usr/local/bin/hotspare", "--list").partition(":")[2].split()
    for host in sorted(Path("/proc/scsi/mvSata").iterdir(), key=lambda file: int(file.name)):
        text = host.read_text()
        first_enclosure = 1 if re.search(r"PCI location: .*2,1$", text, re.M) else 3
        for line in text.splitlines():
            words = line.split()
            if len(words) < 10 or not words[9].startswith("*sd"):
                continue
            name, port, unit = words[9][1:], int(words[1]), int(words[2])
            folder = Path("/sys/block") / name
            size = int((folder / "size").read_text()) / 2097152 + 0.5
            state = (folder / "device/state").read_text().strip()
            spare = "spare" if name in spares else "-"
            channel = 4 * (port % 4) + unit + 1
            print(name, channel, first_enclosure + port // 4, int(size), state, spare)


def arrays() -> None:
    for name in re.findall(r"^(md\S*) :", Path("/proc/mdstat").read_text(), re.M):
        detail = dict(
            re.findall(
                r"^ *(.+?) : (.*?) *$", said_by("/sbin/mdadm", "--detail", f"/dev/{name}"), re.M
            )
        )
        members = sorted(folder.name[4:] for folder in Path(f"/sys/block/{name}/md").glob("dev-*"))
        size = int(detail["Array Size"].split()[0]) / 1048576 + 0.5
        print(name, detail["Raid Level"], int(size), detail["State"], ",".join(members))


def groups() -> None:
    volumes: dict[str, str] = {}
    for volume in columns("/sbin/pvdisplay", "-c"):
        volumes[volume[1]] = volumes.get(volume[1], "") + " " + volume[0].rpartition("/")[2]
    for group in columns("/sbin/vgdisplay", "-c"):
        size, extent, used = int(group[11]), int(group[12]), int(group[14])
        print(f"{group[0]} {size // 1048576} {used * extent // 1048576}{volumes.get(group[0], '')}")


def state_of(pool: list[str]) -> str:
    return "available" if int(pool[3]) else "not available"


def pools() -> None:
    for pool in columns("/sbin/lvdisplay", "-c"):
        print(pool[0], pool[1], int(int(pool[6]) / 2097152 + 0.5), state_of(pool))


def is_writable(folder: str) -> bool:
    path = f"{folder}/test.{os.getpid()}"
    try:
        Path(path).write_text("test fs")
        os.unlink(path)
    except OSError:
        return False
    return True


def filesystems() -> None:
    states = {pool[0]: state_of(pool) for pool in columns("/sbin/lvdisplay", "-c")}
    mounted = {line.split()[1] for line in Path("/proc/mounts").read_text().splitlines()}
    for line in Path("/etc/mdfstab").read_text().splitlines():
        device, folder = line.split()[:2]
        state = states.get(device, "not available") if folder in mounted else "umount"
        figures = os.statvfs(folder)
        block = figures.f_frsize // 1024
        size = figures.f_blocks * block >> 10
        used = (figures.f_blocks - figures.f_bavail) * block >> 10
        if size > used + 1 and not is_writable(folder):
            state = "not available"
        print(folder, device, state, size, used)


SERVICES = {"samba": "samba", "nfs": "nfs", "ftp": "ftp", "iscsi": "iSCSI"}


def ini(path: str) -> configparser.ConfigParser:
    parser = configparser.ConfigParser(strict=False, interpolation=None, delimiters="=")
    parser.read(path)
    return parser


def targets() -> dict[str, str]:
    users: dict[str, str] = {}
    name = ""
    for line in Path("/etc/ietd.conf").read_text().splitlines():
        words = line.split()
        if words[0] == "Target":
            name = words[1].split(":")[1].partition(".")[0]
        elif words[0] == "IncomingUser":
            users[name] = ",".join(filter(None, (users.get(name), words[1])))
    return users


def shares() -> None:
    samba = ini("/etc/samba/smb.conf")
    lines = (line.split(maxsplit=1) for line in Path("/etc/exports").read_text().splitlines())
    clients = {path: rest.partition("(")[0] for path, rest in lines}
    of_target = targets()
    for share in ini("/etc/sharefolder.conf").values():
        if share.name == "DEFAULT":
            continue
        name, path = share["sharename"], share["path"]
        service = ",".join(word for key, word in SERVICES.items() if share.get(key) == "1")
        users = of_target.get(name, "")
        if service == "samba":
            users = samba.get(name, "valid users", fallback="")
        elif service == "nfs":
            users = clients.get(path, "")
        print(name, service, path, users)


globals()[sys.argv[1]]()
