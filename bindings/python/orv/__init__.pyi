"""The storage of a network storage appliance: disks, arrays, volume groups, pools, file systems,
shares, services, users and the machine itself.

Queries return lists of objects, changes take keyword arguments; both raise Error with the
result's code, name and meaning. Sizes are bytes. Other threads run during a call.
"""

from collections.abc import Sequence
from dataclasses import dataclass
from datetime import datetime
from enum import IntEnum
from typing import Any

__version__: str
MIB: int
GIB: int

class Code(IntEnum):
    """Every result of the library, by the name that its headers give it."""

    ORV_OK = 0
    ORV_E_FAILED = -1
    ORV_E_NO_GATEWAY = -2
    ORV_E_SHARE_OPEN = -10
    ORV_E_SHARE_READ = -12
    ORV_E_SHARE_WRITE = -13
    ORV_E_SHARE_SYNTAX = -14
    ORV_E_MODEL = -1001
    ORV_E_POWER = -1002
    ORV_E_POWER_TOOL = -1003
    ORV_E_START_TIME = -1004
    ORV_E_CLOCK = -1005
    ORV_E_HOSTNAME = -1006
    ORV_E_HARDWARE_VERSION = -1007
    ORV_E_SOFTWARE_VERSION = -1008
    ORV_E_FANS = -1009
    ORV_E_TEMPERATURE = -1010
    ORV_E_STATUS_OUTPUT = -1011
    ORV_E_PARTITIONS = -1020
    ORV_E_DISK_DRIVER = -1021
    ORV_E_DISK_DUMP = -1022
    ORV_E_SPARE_LIST = -1023
    ORV_E_SPARE_LINE = -1024
    ORV_E_DISK_SCAN = -1025
    ORV_E_MD_DETAIL = -1030
    ORV_E_MD_KEY = -1031
    ORV_E_MD_SYSFS = -1032
    ORV_E_MDSTAT = -1033
    ORV_E_VGDISPLAY = -1040
    ORV_E_PVDISPLAY = -1042
    ORV_E_LVDISPLAY = -1050
    ORV_E_LVDISPLAY_TOOL = -1051
    ORV_E_EXPORTS = -1060
    ORV_E_IETD = -1061
    ORV_E_FTP_USERS = -1062
    ORV_E_FTP_CONFIG = -1063
    ORV_E_NETSTAT = -1064
    ORV_E_SMBSTATUS = -1065
    ORV_E_MOUNT_TABLE = -1066
    ORV_E_FTP_TEMPORARY = -1067
    ORV_E_SMART_SUMMARY = -1070
    ORV_E_SMART_DETAIL = -1071
    ORV_E_ALARM_CONNECT = -1080
    ORV_E_ALARM_BIND = -1081
    ORV_E_ALARM_SEND = -1082
    ORV_E_ALARM_REPLY = -1083
    ORV_E_ALARM_ITEM = -1084
    ORV_E_HOSTNAME_OPEN = -2001
    ORV_E_HOSTNAME_WRITE = -2002
    ORV_E_HOSTNAME_SET = -2003
    ORV_E_CLOCK_ZONE = -2004
    ORV_E_CLOCK_SET = -2005
    ORV_E_USER_FILE = -2006
    ORV_E_NO_SHADOW = -2008
    ORV_E_SHADOW_OPEN = -2009
    ORV_E_SHADOW_LOCKED = -2010
    ORV_E_SHADOW_BACKUP = -2011
    ORV_E_SHADOW_CREATE = -2012
    ORV_E_SHADOW_WRITE = -2013
    ORV_E_SHADOW_RENAME = -2014
    ORV_E_DISK_USED = -2030
    ORV_E_RAID_NAME_USED = -2031
    ORV_E_RAID_LEVEL = -2032
    ORV_E_NO_DISK = -2033
    ORV_E_RAID_COUNT = -2034
    ORV_E_RAID_IN_VG = -2035
    ORV_E_NOT_FAULTY = -2036
    ORV_E_RAID_LEVEL_FIXED = -2037
    ORV_E_NO_RAID = -2038
    ORV_E_NO_VG = -2040
    ORV_E_VG_NAME_USED = -2041
    ORV_E_PV_CHANNEL = -2042
    ORV_E_PV_DISK_USED = -2043
    ORV_E_PV_NO_RAID = -2044
    ORV_E_PV_USED = -2045
    ORV_E_VG_NOT_FOUND = -2046
    ORV_E_VG_IN_USE = -2047
    ORV_E_POOL_NAME = -2050
    ORV_E_POOL_NAME_USED = -2051
    ORV_E_POOL_VG = -2052
    ORV_E_POOL_SIZE = -2053
    ORV_E_NO_POOL = -2055
    ORV_E_SHARES_LOCKED = -2060
    ORV_E_SERVICE_LOCKED = -2061
    ORV_E_FILE_LOCKED = -2062
    ORV_E_SHARES_READ = -2063
    ORV_E_SHARES_WRITE = -2064
    ORV_E_SERVICE_WRITE = -2065
    ORV_E_SHARE_EXISTS = -2066
    ORV_E_NO_SHARE = -2067
    ORV_E_SHARE_MODE = -2068
    ORV_E_PASSWORDS = -2069
    ORV_E_COMMAND = -11000
    ORV_E_MODEL_QUERY = -11001
    ORV_E_SMART_MODE = -11002
    ORV_E_NO_USER = -12001
    ORV_E_PASSWORD = -12002
    ORV_E_PASSWD_FILE = -12003
    ORV_E_LOGIN_USED = -12004
    ORV_E_NO_UID = -12005
    ORV_E_GROUP_USED = -12006

class Error(Exception):
    """A request that the library could not carry out.

    Attributes:
        code: the result, a member of Code; an int where the library has no name for it
        name: the result's name, such as 'ORV_E_NO_RAID'
        meaning: the result's one-line meaning
        detail: what exactly it is about; often empty
        function: the function that failed
        found: of a query, the records that it had listed by then
    """

    code: Code | int
    name: str
    meaning: str
    detail: str
    function: str
    found: list[Any]

@dataclass(frozen=True, kw_only=True)
class SmartSummary:
    """What a disk tells about itself; None for what it does not tell.

    Attributes:
        model: disk model
        serial_number: serial number
        firmware: version of the firmware
        capacity: capacity as the disk words it
        ata_version: version of ATA
        ata_standard: standard that the disk follows
        smart_support: whether the disk has SMART
        smart_enabled: whether SMART is switched on
        health: the disk's own verdict, such as PASSED
    """

    model: str | None
    serial_number: str | None
    firmware: str | None
    capacity: str | None
    ata_version: str | None
    ata_standard: str | None
    smart_support: str | None
    smart_enabled: str | None
    health: str | None

@dataclass(frozen=True, kw_only=True)
class SmartAttribute:
    """One SMART attribute of a disk.

    Attributes:
        id: number of the attribute
        name: name as the tool prints it
        value: normalised current value
        worst: worst value so far
        threshold: value at which the disk is failing
        raw: raw value; its first 4 digits
        status: when it failed, or a status word
    """

    id: str
    name: str
    value: int
    worst: int
    threshold: int
    raw: int
    status: str

@dataclass(frozen=True, kw_only=True)
class Disk:
    """One physical disk.

    Attributes:
        name: kernel device name such as sda; empty on model KTA7120U
        channel: bay within the enclosure, from 1
        enclosure: '0' for the chassis, '1' to '4'
        size: bytes, in whole GiB
        state: state word of the kernel or the controller
        model: disk model
        usage: the controller's usage word; only on model KTA7120U
        hot_spare: True for a global hot spare
        smart: what smart_list() read
        smart_attributes: what smart_list(detail=True) read
    """

    name: str
    channel: int
    enclosure: str
    size: int | None
    state: str
    model: str
    usage: str
    hot_spare: bool
    smart: SmartSummary | None
    smart_attributes: list[SmartAttribute]

@dataclass(frozen=True, kw_only=True)
class ArrayMember:
    """One member of an array.

    Attributes:
        name: device name such as sda, or the channel on model KTA7120U; None where
            the member is missing
        state: 'active', 'failed', 'spare' or 'missing'
    """

    name: str | None
    state: str

@dataclass(frozen=True, kw_only=True)
class Array:
    """One RAID array.

    Attributes:
        name: device name such as md0
        level: 'raid0', 'raid1', 'raid5', 'raid6' or 'linear'
        state: state, such as 'clean' or 'clean, degraded'
        progress: of a rebuild, such as '12.6%(48.00MB/s)'; else empty
        size: bytes, in whole GiB
        members: the members, also those that failed or are missing
        spares: spares given at creation
        enclosure: of the members; on model KTA7120U the device
    """

    name: str
    level: str
    state: str
    progress: str
    size: int | None
    members: list[ArrayMember]
    spares: list[str]
    enclosure: str

@dataclass(frozen=True, kw_only=True)
class PhysicalVolume:
    """One physical volume.

    Attributes:
        name: array name such as md1, or the disk's channel
        attributes: such as 'Allocatable:yes'
        enclosure: of the array or disk
        size: bytes, in whole GiB
        used: allocated bytes, in whole GiB
        volume_group: group that it belongs to
    """

    name: str
    attributes: str
    enclosure: str
    size: int | None
    used: int | None
    volume_group: str

@dataclass(frozen=True, kw_only=True)
class VolumeGroup:
    """One volume group.

    Attributes:
        name: name of the group
        attributes: such as 'resizable'
        enclosure: of its last physical volume
        size: bytes, in whole GiB
        used: allocated bytes, in whole GiB
        free: bytes that pools can still take, in whole GiB
        physical_volumes: what the group is made of
    """

    name: str
    attributes: str
    enclosure: str
    size: int | None
    used: int | None
    free: int | None
    physical_volumes: list[PhysicalVolume]

@dataclass(frozen=True, kw_only=True)
class Pool:
    """One pool: a volume that carries one file system.

    Attributes:
        device: device path, '/dev/GROUP/POOL'
        state: 'available' or 'not available'
        size: bytes, in whole GiB
        volume_group: group that it belongs to
        enclosure: of the group
    """

    device: str
    state: str
    size: int | None
    volume_group: str
    enclosure: str

@dataclass(frozen=True, kw_only=True)
class FileSystem:
    """One file system of the mount table.

    Attributes:
        mount_point: absolute path
        device: device path of the pool, '/dev/GROUP/POOL'
        type: 'xfs' or 'reiserfs'
        state: 'available', 'not available' or 'umount'
        size: bytes, in whole MiB
        used: bytes, in whole MiB
        volume_group: group of the pool
        enclosure: of the group
    """

    mount_point: str
    device: str
    type: str
    state: str
    size: int | None
    used: int | None
    volume_group: str
    enclosure: str

@dataclass(frozen=True, kw_only=True)
class Share:
    """One share.

    Attributes:
        name: name of the share
        service: 'samba', 'nfs', 'ftp' or 'iSCSI', or several with commas; empty out of use
        path: directory, or backing file of an iSCSI volume
        comment: free text
        users: users; of an NFS share its clients
        writable: False when clients may only read
        size: bytes, in whole GiB
        used: bytes, in units of 10 MiB
        status: 'N.A.'; not interpreted
    """

    name: str
    service: str
    path: str
    comment: str
    users: list[str]
    writable: bool
    size: int | None
    used: int | None
    status: str

@dataclass(frozen=True, kw_only=True)
class Client:
    """One connection of a client.

    Attributes:
        share: SMB: the first share in use; iSCSI: the target; FTP: '*'
        protocol: 'Ftp', 'CIFS' or 'iSCSI'
        address: IPv4 address; empty when not known
        user: SMB: user; iSCSI: initiator; FTP: port and state
    """

    share: str
    protocol: str
    address: str
    user: str

@dataclass(frozen=True, kw_only=True)
class FtpLimits:
    """Limits of the FTP service: 0 for no limit, None where its configuration has
    no such line.

    Attributes:
        rate: bytes per second of a local user
        clients: connections at the same time
        per_address: connections at the same time from one address
    """

    rate: int | None
    clients: int | None
    per_address: int | None

@dataclass(frozen=True, kw_only=True)
class User:
    """One user of the shares.

    Attributes:
        name: login name
        type: 'NAS', or 'SAN' for a password of 12 characters or more
    """

    name: str
    type: str

@dataclass(frozen=True, kw_only=True)
class Alarm:
    """One alarm.

    Attributes:
        id: number of the alarm
        time: local time as 'YYYY-MM-DD HH:MM:SS'
        name: what raised it
        text: description
    """

    id: str
    time: str
    name: str
    text: str

@dataclass(frozen=True, kw_only=True)
class Interface:
    """One network interface.

    Attributes:
        name: without the alias suffix
        address: IPv4 address, dotted
        netmask: dotted
        gateway: dotted; empty when none is configured
        mac: hardware address, as in '00:1b:21:0a:0b:0c'
    """

    name: str
    address: str
    netmask: str
    gateway: str
    mac: str

@dataclass(frozen=True, kw_only=True)
class SystemInfo:
    """What the machine tells about itself; None for what cannot be read.

    Attributes:
        model: device model, such as 'KTA7120X'
        host_name: host name
        software_version: version of the software
        hardware_version: version of the hardware
        start_time: when the machine started, as the platform words it
        temperature: temperature, as the platform words it
        fans: 'fan1:SPEED,fan2:SPEED,...'
        power_supply: state of the power supply; empty on a model that does not tell
    """

    model: str | None
    host_name: str | None
    software_version: str | None
    hardware_version: str | None
    start_time: str | None
    temperature: str | None
    fans: str | None
    power_supply: str | None

def disk_list() -> list[Disk]:
    """The machine's disks, in discovery order."""

def spare_list() -> list[Disk]:
    """The disks that are global hot spares."""

def smart_list(
    *, detail: bool = False, channels: Sequence[int] = (), enclosure: str = "0"
) -> list[Disk]:
    """The disks of these channels, or all of them, with what they tell about their health: their
    summaries, or with detail their attributes. Model KTA7120U tells attributes only.
    """

def disk_clear(*, channels: Sequence[int], enclosure: str = "0") -> None:
    """Wipes disks: all data on them is lost."""

def spare_add(*, channels: Sequence[int], enclosure: str = "0") -> None:
    """Makes disks hot spares for every array. They are wiped: all data on them is lost."""

def spare_remove(*, channels: Sequence[int], enclosure: str = "0") -> None:
    """Makes hot spares ordinary disks again."""

def raid_list() -> list[Array]:
    """The machine's RAID arrays."""

def raid_create(
    *,
    level: str,
    disks: Sequence[int],
    enclosure: str = "0",
    name: str = "",
    spares: Sequence[str] = (),
    foreground: bool = False
) -> str:
    """Creates an array of the disks of these channels, which are wiped: all data on them is lost.
    Without a name it gets the next free one. Spares are devices that must be free too;
    foreground asks for initialisation before the array is used. Returns the array's name.
    """

def raid_recreate(*, name: str, level: str, devices: Sequence[str]) -> None:
    """Creates an array anew over its devices, in the array's order, without wiping them. Another
    level or order than before destroys the data on them; a raid1 becomes a raid0.
    """

def raid_add(*, array: str, channel: int) -> None:
    """Adds the disk of a channel of the array's enclosure; all data on it is lost."""

def raid_remove(*, array: str, channel: int) -> None:
    """Removes a failed disk from an array."""

def raid_fail(*, array: str, device: str) -> None:
    """Marks a member, such as 'sdb', as failed: the array goes on without it, or stops."""

def raid_fail_all(*, array: str) -> None:
    """Marks every member as failed: what the array holds cannot be reached any more."""

def raid_destroy(*, array: str) -> None:
    """Stops an array that carries no volume group; its members are not wiped."""

def vg_list() -> list[VolumeGroup]:
    """The machine's volume groups."""

def vg_create(*, name: str, volumes: Sequence[str], enclosure: str = "0") -> None:
    """Creates a volume group of arrays, such as 'md0', and whole disks, such as the channel '4'.
    Whole disks are wiped: all data on them is lost.
    """

def vg_extend(*, group: str, volume: str, enclosure: str = "0") -> None:
    """Adds an array or a whole disk of the group's enclosure; all data on it is lost."""

def vg_destroy(*, group: str) -> None:
    """Removes a group that holds no pools, and its physical volumes."""

def vg_device(*, group: str) -> str:
    """The group's first device, such as 'md0', from LVM's backup of its metadata."""

def vg_repair(*, group: str) -> bool:
    """Handles one inactive array of a group: its members are marked as failed, and the group's
    metadata is restored without it. Returns False when no array is inactive. Whether the tools
    succeeded shows in vg_list().
    """

def vg_resume(*, group: str, volume: str) -> None:
    """Replaces a lost physical volume by the RAM disk and restores the group's metadata: what the
    volume held is given up. Whether the tools succeeded shows in vg_list().
    """

def vg_restore(*, group: str) -> None:
    """Restores a group's metadata from its last backup."""

def pool_list() -> list[Pool]:
    """The machine's pools."""

def pool_create(*, pool: str, group: str, size: int) -> None:
    """Creates a pool of this size, a whole number of GiB."""

def pool_extend(*, pool: str, group: str, size: int) -> None:
    """Makes a pool larger, to a new total size that the group must have free."""

def pool_destroy(*, pool: str, group: str) -> None:
    """Removes a pool: all data on it is lost."""

def pool_mkfs(*, pool: str, group: str) -> None:
    """Makes the pool's file system: all data on the pool is lost."""

def fs_list() -> list[FileSystem]:
    """The file systems of the mount table with their pool, state, size and use."""

def fs_mounted(*, path: str) -> bool:
    """Whether something is mounted on a path."""

def fs_mount(*, mount_point: str, group: str, pool: str) -> None:
    """Mounts a pool; everybody may write to it."""

def fs_umount(*, mount_point: str) -> None:
    """Unmounts a pool."""

def fs_mkdir(*, path: str) -> None:
    """Makes an empty, locked directory to mount a pool on, and its parents."""

def fs_rmdir(*, path: str) -> None:
    """Removes a directory with everything below it, unless something is mounted there."""

def fs_table() -> list[FileSystem]:
    """The entries of the mount table; state, sizes and enclosure are not filled."""

def fs_listed(*, pool: str) -> bool:
    """Whether the mount table has an entry of a pool of this name."""

def fs_table_add(*, mount_point: str, group: str, pool: str) -> None:
    """Adds a pool to the mount table."""

def fs_table_remove(*, mount_point: str) -> None:
    """Removes a mount point from the mount table, if it is there."""

def share_list() -> list[Share]:
    """All shares, and the volumes of the iSCSI target."""

def share_add(
    *,
    name: str,
    service: str,
    path: str,
    size: int = 0,
    comment: str | None = None,
    users: Sequence[str] | None = None,
    writable: bool | None = None
) -> None:
    """Offers a directory, or a volume over iSCSI. Users and rights of the service's other shares
    stay what they are. NFS knows a share by the last part of its path, which its name must be;
    an FTP share has no users and rights of its own.
    """

def share_modify(
    *,
    name: str,
    service: str | None = None,
    comment: str | None = None,
    users: Sequence[str] | None = None,
    writable: bool | None = None
) -> None:
    """Changes comment, users or right of a share; what is None stays as it is."""

def share_delete(*, name: str, service: str | None = None) -> None:
    """Removes a share; the files in it stay."""

def share_disable(*, name: str) -> None:
    """Takes a share out of use and keeps its settings. The directory of an FTP share
    is unmounted, and its mount point is removed.
    """

def share_enable(
    *,
    name: str,
    service: str,
    comment: str | None = None,
    users: Sequence[str] | None = None,
    writable: bool | None = None
) -> None:
    """Takes a share into use again, with the settings kept of it. NFS keeps no right: say whether
    the share is to be writable.
    """

def share_forget(*, name: str) -> None:
    """Removes a share that is out of use, and the settings kept of it."""

def recycle_list() -> list[Share]:
    """The shares that are out of use, with their former service where that is kept."""

def client_list() -> list[Client]:
    """The connected clients of FTP, SMB and iSCSI."""

def service_running(*, service: str) -> bool:
    """Whether a service runs: samba, nfs, ftp, iscsi, or the management daemon orv."""

def service_start(*, service: str) -> None:
    """Starts a service: samba, nfs, ftp or iscsi."""

def service_stop(*, service: str) -> None:
    """Stops a service: its clients lose their connections."""

def ftp_limits() -> FtpLimits:
    """The limits of the FTP service."""

def ftp_limits_set(
    *, rate: int | None = None, clients: int | None = None, per_address: int | None = None
) -> None:
    """Changes limits of the FTP service; 0 is no limit, None leaves a limit as it is. They hold
    after a restart of the service. Comments and empty lines of its configuration go.
    """

def user_list() -> list[User]:
    """The users of the shares."""

def user_add(*, name: str, password: str) -> None:
    """Adds a user."""

def user_modify(*, name: str, password: str, new_name: str | None = None) -> None:
    """Changes a user's password, and its name when a new one is given. The user is deleted and
    added: when that fails, the user is gone.
    """

def user_delete(*, name: str) -> None:
    """Removes a user; its files stay. Accounts of the system are refused."""

def user_check(*, name: str, password: str) -> bool:
    """Whether this is the user's password."""

def alarm_list() -> list[Alarm]:
    """The current alarms, in the alarm daemon's order."""

def net_list() -> list[Interface]:
    """The interfaces that are up and have an IPv4 address."""

def system_info() -> SystemInfo:
    """What the machine tells about itself."""

def system_processes(*, path: str) -> None:
    """Writes the list of processes, as ps prints it, to a file."""

def host_name() -> str:
    """The host name."""

def host_set(*, name: str) -> None:
    """Stores the host name and applies it."""

def clock() -> str:
    """The machine's local time as 'YYYY-MM-DD HH:MM:SS'."""

def clock_set(*, when: datetime) -> None:
    """Sets the clock, and the hardware clock from it, to a local time."""

def tool_timeout() -> int:
    """How many seconds a tool may take that the library runs for this thread; 0: any time."""

def tool_timeout_set(*, seconds: int) -> None:
    """From here on every tool that the library runs for this thread is ended when it takes
    longer, and the call fails with the code of a tool that failed; 0: tools may take any
    time, which is what a thread begins with. A change that was cut short may have been made
    in part.
    """

def power_off() -> None:
    """Powers the machine off."""

def power_reboot() -> None:
    """Restarts the machine."""
