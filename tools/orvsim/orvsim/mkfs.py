"""mkfs.xfs and mkfs.reiserfs."""

from __future__ import annotations

import shutil
import uuid

from orvsim.appliance import Appliance
from orvsim.blocks import Contents, FileSystem
from orvsim.devices import contents_at, size_at
from orvsim.md_state import find_array
from orvsim.mounts import mount_of_device
from orvsim.tools import Call, ToolError, tool

BLOCK = 4096


def _make(appliance: Appliance, path: str, contents: Contents, kind: str) -> FileSystem:
    """A new file system: what was there is gone."""
    if contents.file_system:
        shutil.rmtree(appliance.volume(contents.file_system.identifier), ignore_errors=True)
    contents.wipe()
    made = FileSystem(kind, str(uuid.uuid4()), size_at(appliance, path))
    appliance.volume(made.identifier).mkdir(parents=True)
    appliance.volume(made.identifier).chmod(0o755)
    contents.file_system = made
    return made


def _refuse_mounted(appliance: Appliance, path: str, text: str) -> None:
    if mount_of_device(appliance, path):
        raise ToolError(text)


@tool("/sbin/mkfs.xfs")
def mkfs_xfs(appliance: Appliance, call: Call) -> int:
    """Makes an XFS and prints its geometry."""
    force, sector, path = _read_xfs_words(call)
    contents = contents_at(appliance, path)
    if not contents:
        raise ToolError(f"Error accessing specified device {path}: No such file or directory\n"
                        + _XFS_USAGE)  # fmt: skip
    _refuse_mounted(
        appliance, path, f"mkfs.xfs: {path} contains a mounted filesystem\n" + _XFS_USAGE
    )
    found = contents.file_system.kind if contents.file_system else ""
    if found and not force:
        raise ToolError(
            f"mkfs.xfs: {path} appears to contain an existing filesystem ({found}).\n"
            "mkfs.xfs: Use the -f option to force overwrite."
        )
    made = _make(appliance, path, contents, "xfs")
    call.out(_geometry(path, made.size, sector, _stripe(appliance, path)))
    return 0


_XFS_USAGE = """Usage: mkfs.xfs
/* blocksize */		[-b size=num]
/* config file */	[-c options=xxx]
/* metadata */		[-m crc=0|1,finobt=0|1,uuid=xxx,rmapbt=0|1,reflink=0|1,
			    inobtcount=0|1,bigtime=0|1]
/* data subvol */	[-d agcount=n,agsize=n,file,name=xxx,size=num,
			    (sunit=value,swidth=value|su=num,sw=num|noalign),
			    sectsize=num
/* force overwrite */	[-f]
/* inode size */	[-i perblock=n|size=num,maxpct=n,attr=0|1|2,
			    projid32bit=0|1,sparse=0|1,nrext64=0|1]
/* no discard */	[-K]
/* log subvol */	[-l agnum=n,internal,size=num,logdev=xxx,version=n
			    sunit=value|su=num,sectsize=num,lazy-count=0|1]
/* label */		[-L label (maximum 12 characters)]
/* naming */		[-n size=num,version=2|ci,ftype=0|1]
/* no-op info only */	[-N]
/* prototype file */	[-p fname]
/* quiet */		[-q]
/* realtime subvol */	[-r extsize=num,size=num,rtdev=xxx]
/* sectorsize */	[-s size=num]
/* version */		[-V]
			devicename
<devicename> is required unless -d name=xxx is given.
<num> is xxx (bytes), xxxs (sectors), xxxb (fs blocks), xxxk (xxx KiB),
      xxxm (xxx MiB), xxxg (xxx GiB), xxxt (xxx TiB) or xxxp (xxx PiB).
<value> is xxx (512 byte blocks)."""


def _read_xfs_words(call: Call) -> tuple[bool, int, str]:
    force, sector, path, rest = False, 512, "", list(call.arguments)
    while rest:
        word = rest.pop(0)
        if word == "-f":
            force = True
        elif word in ("-q", "-K"):
            continue
        elif word.startswith("-s"):
            value = word[2:] or (rest.pop(0) if rest else "")
            text = value.removeprefix("size=")
            sector = int(text[:-1]) * 1024 if text.endswith("k") else int(text or 512)
        elif word.startswith("-"):
            rest = rest[1:] if len(word) == 2 else rest
        else:
            path = word
    if not path:
        raise ToolError("no device name given in argument list\n" + _XFS_USAGE)
    return force, sector, path


def _stripe(appliance: Appliance, path: str) -> tuple[int, int]:
    array = find_array(appliance, path.removeprefix("/dev/"))
    if not array or not array.chunk:
        return 0, 0
    unit = array.chunk * 1024 // BLOCK
    return unit, unit * array.kind.data_members(array.raid_disks)


def log_blocks(blocks: int) -> int:
    """The internal log: 64 MiB on what is large enough, and 1/2048 of what is very large."""
    if blocks < 300 * 256:
        return 1368 if blocks < 75 * 256 else 3693
    return min(max(16384, blocks // 2048), 521728)


def _groups(blocks: int) -> int:
    if blocks > 4 << 28:
        return -(-blocks // (1 << 28))
    return 4


def _geometry(path: str, size: int, sector: int, stripe: tuple[int, int]) -> str:
    blocks = size // BLOCK
    groups = _groups(blocks)
    group = -(-blocks // groups) if groups == 4 else (1 << 28) - 1
    percent = 25 if blocks < 1 << 28 else 5
    log_unit = stripe[0] or (1 if sector == BLOCK else 0)
    return (
        f"meta-data={path:<22} isize=512    agcount={groups}, agsize={group} blks\n"
        f"         =                       sectsz={sector:<5} attr=2, projid32bit=1\n"
        "         =                       crc=1        finobt=1, sparse=1, rmapbt=0\n"
        "         =                       reflink=1    bigtime=1 inobtcount=1 nrext64=0\n"
        f"data     =                       bsize=4096   blocks={blocks}, imaxpct={percent}\n"
        f"         =                       sunit={stripe[0]:<6} swidth={stripe[1]} blks\n"
        "naming   =version 2              bsize=4096   ascii-ci=0, ftype=1\n"
        f"log      =internal log           bsize=4096   blocks={log_blocks(blocks)}, version=2\n"
        f"         =                       sectsz={sector:<5} sunit={log_unit} blks, lazy-count=1\n"
        "realtime =none                   extsz=4096   blocks=0, rtextents=0\n"
    )


@tool("/sbin/mkfs.reiserfs", "/sbin/mkreiserfs")
def mkfs_reiserfs(appliance: Appliance, call: Call) -> int:
    """Makes a reiserfs; the appliance's takes one -f as consent."""
    paths = [word for word in call.arguments if not word.startswith("-")]
    call.out("mkfs.reiserfs 3.6.27\n\n")
    if not paths:
        raise ToolError("Usage: mkfs.reiserfs [options] device [block-count]")
    contents = contents_at(appliance, paths[0])
    if not contents:
        raise ToolError(f"The device {paths[0]} does not exist: No such file or directory")
    _refuse_mounted(appliance, paths[0], f"{paths[0]} is mounted.")
    made = _make(appliance, paths[0], contents, "reiserfs")
    call.out(
        f"Format 3.6 with standard journal\nCount of blocks on the device: {made.size // BLOCK}\n"
        f'Blocksize: 4096\nHash function used to sort names: "r5"\nUUID: {made.identifier}\n'
        f"Initializing journal - 0%....20%....40%....60%....80%....100%\nSyncing..ok\n"
        f"ReiserFS is successfully created on {paths[0]}.\n"
    )
    return 0
