"""/proc/partitions, and the device files and sysfs folders of pools and RAM disks."""

from __future__ import annotations

from orvsim.appliance import Appliance
from orvsim.disks import Disks, has_controller, numbers_of
from orvsim.holders import RAM_DISK_SIZE, RAM_DISKS
from orvsim.kernel_files import KernelFiles
from orvsim.lvm_state import (
    MAPPER_MAJOR,
    Group,
    Lvm,
    Pool,
    device_file,
    devices_of_volumes,
    mapper_name,
)
from orvsim.md_state import Arrays
from orvsim.tools import kernel_files


def _partitions(appliance: Appliance) -> str:
    rows = []
    for disk in appliance.get(Disks).present:
        if not (has_controller(appliance) and disk.bay):
            rows.append((*numbers_of(disk.name), disk.size // 1024, disk.name))
    for array in appliance.get(Arrays).running:
        if array.active:
            rows.append((9, array.minor, array.size, array.name))
    pools = [pool for group in appliance.get(Lvm).groups for pool in group.pools if pool.active]
    for pool in sorted(pools, key=lambda pool: pool.minor):
        rows.append((MAPPER_MAJOR, pool.minor, pool.bytes // 1024, f"dm-{pool.minor}"))
    lines = (f"{major:4}  {minor:7} {size:10} {name}\n" for major, minor, size, name in rows)
    return "major minor  #blocks  name\n\n" + "".join(lines)


@kernel_files
def show_blocks(appliance: Appliance, files: KernelFiles) -> None:
    """All block devices but disks and arrays, which show themselves."""
    files.put("/proc/partitions", _partitions(appliance))
    for name in RAM_DISKS:
        files.device(f"/dev/{name}", RAM_DISK_SIZE)
    devices = devices_of_volumes(appliance) if appliance.get(Lvm).groups else {}
    for group in appliance.get(Lvm).groups:
        for pool in group.pools:
            if pool.active:
                _show_pool(appliance, files, group, pool, devices)


def _pool_file(appliance: Appliance, pool: Pool) -> str:
    """Stands for the pool's device: what programs write there themselves lasts."""
    path = device_file(appliance, pool)
    if not path.exists() or path.stat().st_size != pool.bytes:
        with open(path, "ab") as file:
            file.truncate(pool.bytes)
    return str(path)


def _show_pool(
    appliance: Appliance, files: KernelFiles, group: Group, pool: Pool, devices: dict[str, str]
) -> None:
    device, mapper = f"dm-{pool.minor}", mapper_name(group.name, pool.name)
    files.link(f"/dev/{device}", _pool_file(appliance, pool))
    files.link(f"/dev/mapper/{mapper}", f"../{device}")
    files.link(f"/dev/{group.name}/{pool.name}", f"../{device}")
    folder = f"/sys/block/{device}"
    files.put(f"{folder}/size", f"{pool.bytes // 512}\n")
    files.put(f"{folder}/dev", f"{MAPPER_MAJOR}:{pool.minor}\n")
    files.put(f"{folder}/dm/name", mapper + "\n")
    for segment in pool.segments:
        beneath = devices.get(segment.volume, "").removeprefix("/dev/")
        if beneath:
            files.link(f"/sys/block/{beneath}/holders/{device}", f"../../{device}")
