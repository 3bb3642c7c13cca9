"""The init scripts of the sharing services, as Debian's and the appliance's own say things."""

from __future__ import annotations

import re
from collections.abc import Callable

from orvsim import services
from orvsim.appliance import Appliance
from orvsim.services import Services, is_running
from orvsim.tools import Call, tool

_NOT_RUNNING = 3

Verb = Callable[[Appliance, Call], int]
Script = dict[str, Verb]


def _run(appliance: Appliance, call: Call, script: Script, usage: str) -> int:
    verb = call.arguments[0] if call.arguments else ""
    if verb in script:
        return script[verb](appliance, call)
    call.out(f"Usage: {usage}\n")
    return 1


def _in_turn(*verbs: Verb) -> Verb:
    """What restarts: one after the other, until one fails."""

    def run(appliance: Appliance, call: Call) -> int:
        return next((status for verb in verbs if (status := verb(appliance, call))), 0)

    return run


def _status(service: str, daemon: str) -> Verb:
    """What `status_of_proc` says."""

    def run(appliance: Appliance, call: Call) -> int:
        if is_running(appliance, service):
            call.out(f"{daemon} is running.\n")
            return 0
        call.out(f"{daemon} is not running ... failed!\n")
        return _NOT_RUNNING

    return run


def _says(text: str) -> Verb:
    """A verb that changes nothing that others see."""

    def run(_appliance: Appliance, call: Call) -> int:
        call.out(text)
        return 0

    return run


# --- samba ---------------------------------------------------------------------------------------


def _start_smbd(appliance: Appliance, call: Call) -> int:
    services.start(appliance, "samba")
    appliance.get(Services).smb_has_run = True
    call.out("Starting Samba SMB/CIFS daemon: smbd.\n")
    return 0


def _stop_smbd(appliance: Appliance, call: Call) -> int:
    services.stop(appliance, "samba")
    call.out("Stopping Samba SMB/CIFS daemon: smbd.\n")
    return 0


_SMBD: Script = {
    "start": _start_smbd,
    "stop": _stop_smbd,
    "reload": _says("Reloading Samba SMB/CIFS daemon: smbd.\n"),
    "restart": _in_turn(_stop_smbd, _start_smbd),
    "force-reload": _in_turn(_stop_smbd, _start_smbd),
    "status": _status("samba", "smbd"),
}
_START_NMBD = _says("Starting NetBIOS name server: nmbd.\n")
_STOP_NMBD = _says("Stopping NetBIOS name server: nmbd.\n")
_NMBD: Script = {
    "start": _START_NMBD,
    "stop": _STOP_NMBD,
    "restart": _in_turn(_STOP_NMBD, _START_NMBD),
    "force-reload": _in_turn(_STOP_NMBD, _START_NMBD),
    "status": _status("samba", "nmbd"),
}


@tool("/etc/init.d/samba")
def samba(appliance: Appliance, call: Call) -> int:
    """Debian's scripts of both daemons, one after the other."""
    verbs = "{start|stop|reload|restart|force-reload|status}"
    status = _run(appliance, call, _SMBD, f"/etc/init.d/smbd {verbs}")
    if status != 0:
        return status
    verbs = "{start|stop|restart|force-reload|status}"
    return _run(appliance, call, _NMBD, f"/etc/init.d/nmbd {verbs}")


# --- nfs -----------------------------------------------------------------------------------------


def _has_exports(appliance: Appliance) -> bool:
    try:
        text = appliance.path("/etc/exports").read_text(encoding="utf-8", errors="replace")
    except FileNotFoundError:
        return False
    return re.search(r"^\s*[^#\n]*/", text, re.MULTILINE) is not None


def _start_nfs(appliance: Appliance, call: Call) -> int:
    if not _has_exports(appliance):
        call.out("Not starting NFS kernel daemon: no exports ... (warning).\n")
        return 0
    call.out("Exporting directories for NFS kernel daemon...done.\n")
    services.start(appliance, "nfs")
    call.out("Starting NFS kernel daemon: nfsd mountd.\n")
    return 0


def _stop_nfs(appliance: Appliance, call: Call) -> int:
    services.stop(appliance, "nfs")
    call.out("Stopping NFS kernel daemon: mountd nfsd.\n")
    call.out("Unexporting directories for NFS kernel daemon...done.\n")
    return 0


def _export_again(appliance: Appliance, call: Call) -> int:
    services.reload(appliance, "nfs")
    call.out("Re-exporting directories for NFS kernel daemon....\n")
    return 0


_NFS: Script = {
    "start": _start_nfs,
    "stop": _stop_nfs,
    "status": _status("nfs", "nfsd"),
    "reload": _export_again,
    "force-reload": _export_again,
    "restart": _in_turn(_stop_nfs, _start_nfs),
}


@tool("/etc/init.d/nfs")
def nfs(appliance: Appliance, call: Call) -> int:
    """Debian's script of the kernel's NFS server."""
    verbs = "{start|stop|status|reload|force-reload|restart}."
    return _run(appliance, call, _NFS, f"nfs-kernel-server {verbs}")


# --- ftp -----------------------------------------------------------------------------------------


def _start_ftp(appliance: Appliance, call: Call) -> int:
    call.out("Starting FTP server: vsftpd")
    if not services.start(appliance, "ftp"):
        call.out("/usr/sbin/vsftpd already running.\n")
    call.out(".\n")
    return 0


def _stop_ftp(appliance: Appliance, call: Call) -> int:
    call.out("Stopping FTP server: vsftpd")
    if not services.stop(appliance, "ftp"):
        call.out("No /usr/sbin/vsftpd found running; none killed.\n")
    call.out(".\n")
    return 0


def _reload_ftp(appliance: Appliance, call: Call) -> int:
    services.reload(appliance, "ftp")
    call.out("Reloading FTP server configuration:.\n")
    return 0


_FTP: Script = {
    "start": _start_ftp,
    "stop": _stop_ftp,
    "restart": _in_turn(_stop_ftp, _start_ftp),
    "reload": _reload_ftp,
    "status": _status("ftp", "FTP server"),
}


@tool("/etc/init.d/vsftpd")
def ftp(appliance: Appliance, call: Call) -> int:
    """Debian's script of vsftpd."""
    return _run(appliance, call, _FTP, "/etc/init.d/vsftpd {start|stop|restart|reload|status}")


# --- iscsi ---------------------------------------------------------------------------------------


def _start_iscsi(appliance: Appliance, call: Call) -> int:
    services.start(appliance, "iscsi")
    call.out("Starting iSCSI enterprise target service:.\n")
    return 0


def _stop_iscsi(appliance: Appliance, call: Call) -> int:
    services.stop(appliance, "iscsi")
    call.out("Stopping iSCSI enterprise target service:.\n")
    return 0


_ISCSI: Script = {
    "start": _start_iscsi,
    "stop": _stop_iscsi,
    "restart": _in_turn(_stop_iscsi, _start_iscsi),
    "status": _status("iscsi", "ietd"),
}


@tool("/etc/init.d/iscsi-target")
def iscsi(appliance: Appliance, call: Call) -> int:
    """The appliance's script of the iSCSI target."""
    return _run(appliance, call, _ISCSI, "/etc/init.d/iscsi-target {start|stop|restart|status}")
