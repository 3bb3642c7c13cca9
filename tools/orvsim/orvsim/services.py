"""The sharing services: their init scripts, their daemons, and who asks whether they run."""

from __future__ import annotations

import os
import re
from collections.abc import Callable
from dataclasses import dataclass, field

from orvsim.appliance import Appliance
from orvsim.sections import section
from orvsim.tools import Call, ExecInstead, status_lines, tool

_FIRST_PID = 600
_HIGHEST_PID = 32767

# The processes that are not simulated; the appliance's /proc has a place for its own files.
REAL_PROC = "/run/orvsim/proc"


@dataclass
class Process:
    """A process of a daemon."""

    pid: int
    name: str
    command: str
    user: str = "root"
    started: float = 0.0


@section("services")
@dataclass
class Services:
    """The processes of every service that runs, and what services know from when they started."""

    processes: dict[str, list[Process]] = field(default_factory=dict)
    last_pid: int = _FIRST_PID
    smb_has_run: bool = False


# What each process of a service is called, and its command line; kernel threads have brackets.
_SMBD = ("smbd", "/usr/sbin/smbd -D")
_DAEMONS: dict[str, tuple[tuple[str, str], ...]] = {
    "samba": (_SMBD, _SMBD, _SMBD, ("nmbd", "/usr/sbin/nmbd -D")),
    "nfs": (*(("nfsd", "[nfsd]"),) * 8, ("rpc.mountd", "/usr/sbin/rpc.mountd")),
    "ftp": (("vsftpd", "/usr/sbin/vsftpd"),),
    "iscsi": (("ietd", "/usr/sbin/ietd"),),
}
SERVICES = tuple(_DAEMONS)

ServiceHook = Callable[[Appliance], None]
_AFTER_START: dict[str, list[ServiceHook]] = {}
_AFTER_STOP: dict[str, list[ServiceHook]] = {}


def after_start(service: str) -> Callable[[ServiceHook], ServiceHook]:
    """Registers what a service does when it starts: it reads its configuration."""
    return lambda hook: _AFTER_START.setdefault(service, []).append(hook) or hook


def after_stop(service: str) -> Callable[[ServiceHook], ServiceHook]:
    """Registers what the end of a service entails."""
    return lambda hook: _AFTER_STOP.setdefault(service, []).append(hook) or hook


def is_running(appliance: Appliance, service: str) -> bool:
    """Whether the daemons of a service run."""
    return service in appliance.get(Services).processes


def new_process(appliance: Appliance, name: str, command: str, user: str = "root") -> Process:
    """A process that has just begun."""
    services = appliance.get(Services)
    services.last_pid = services.last_pid + 1 if services.last_pid < _HIGHEST_PID else _FIRST_PID
    return Process(services.last_pid, name, command, user, appliance.now())


def start(appliance: Appliance, service: str) -> bool:
    """Starts a service; tells whether it did not run yet."""
    services = appliance.get(Services)
    if service in services.processes:
        return False
    services.processes[service] = [
        new_process(appliance, name, command) for name, command in _DAEMONS[service]
    ]
    for hook in _AFTER_START.get(service, ()):
        hook(appliance)
    return True


def stop(appliance: Appliance, service: str) -> bool:
    """Stops a service; tells whether it ran."""
    if appliance.get(Services).processes.pop(service, None) is None:
        return False
    for hook in _AFTER_STOP.get(service, ()):
        hook(appliance)
    return True


ProcessSource = Callable[[Appliance], list[Process]]
_FURTHER_PROCESSES: list[ProcessSource] = []


def has_processes(source: ProcessSource) -> ProcessSource:
    """Registers what else has processes: those that serve clients."""
    _FURTHER_PROCESSES.append(source)
    return source


def processes(appliance: Appliance) -> list[Process]:
    """The processes of all services, by number."""
    running = appliance.get(Services).processes
    found = [each for group in running.values() for each in group]
    for source in _FURTHER_PROCESSES:
        found += source(appliance)
    return sorted(found, key=lambda process: process.pid)


# --- init scripts --------------------------------------------------------------------------------


@dataclass(frozen=True)
class _Script:
    """What an init script says: how it names itself and what it does."""

    service: str
    path: str
    verbs: str
    starts: Callable[[Appliance, Call], int]
    stops: Callable[[Appliance, Call], int]
    daemons: tuple[str, ...]


def _run_script(appliance: Appliance, call: Call, script: _Script) -> int:
    verb = call.arguments[0] if call.arguments else ""
    if verb == "start":
        return script.starts(appliance, call)
    if verb == "stop":
        return script.stops(appliance, call)
    if verb in ("restart", "force-reload", "reload") and verb in script.verbs:
        return script.stops(appliance, call) or script.starts(appliance, call)
    if verb == "status" and verb in script.verbs:
        return _tell_status(appliance, call, script)
    call.out(f"Usage: {script.path} {{{script.verbs}}}\n")
    return 1


def _tell_status(appliance: Appliance, call: Call, script: _Script) -> int:
    if is_running(appliance, script.service):
        for daemon in script.daemons:
            call.out(f"{daemon} is running.\n")
        return 0
    call.out(f"{script.daemons[0]} is not running ... failed!\n")
    return 3


def _start_samba(appliance: Appliance, call: Call) -> int:
    start(appliance, "samba")
    appliance.get(Services).smb_has_run = True
    call.out("Starting Samba SMB/CIFS daemon: smbd.\nStarting NetBIOS name server: nmbd.\n")
    return 0


def _stop_samba(appliance: Appliance, call: Call) -> int:
    stop(appliance, "samba")
    call.out("Stopping Samba SMB/CIFS daemon: smbd.\nStopping NetBIOS name server: nmbd.\n")
    return 0


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
    call.out("Exporting directories for NFS kernel daemon....\n")
    start(appliance, "nfs")
    call.out("Starting NFS kernel daemon: nfsd mountd.\n")
    return 0


def _stop_nfs(appliance: Appliance, call: Call) -> int:
    stop(appliance, "nfs")
    call.out("Stopping NFS kernel daemon: mountd nfsd.\n")
    call.out("Unexporting directories for NFS kernel daemon....\n")
    return 0


def _start_ftp(appliance: Appliance, call: Call) -> int:
    call.out("Starting FTP server: vsftpd")
    if not start(appliance, "ftp"):
        call.out("/usr/sbin/vsftpd already running.\n")
    call.out(".\n")
    return 0


def _stop_ftp(appliance: Appliance, call: Call) -> int:
    call.out("Stopping FTP server: vsftpd")
    if not stop(appliance, "ftp"):
        call.out("No /usr/sbin/vsftpd found running; none killed.\n")
    call.out(".\n")
    return 0


def _start_iscsi(appliance: Appliance, call: Call) -> int:
    start(appliance, "iscsi")
    call.out("Starting iSCSI enterprise target service:.\n")
    return 0


def _stop_iscsi(appliance: Appliance, call: Call) -> int:
    stop(appliance, "iscsi")
    call.out("Stopping iSCSI enterprise target service:.\n")
    return 0


_SCRIPTS = {
    "/etc/init.d/samba": _Script(
        "samba",
        "/etc/init.d/smbd",
        "start|stop|reload|restart|force-reload|status",
        _start_samba,
        _stop_samba,
        ("smbd", "nmbd"),
    ),
    "/etc/init.d/nfs": _Script(
        "nfs",
        "nfs-kernel-server",
        "start|stop|status|reload|force-reload|restart",
        _start_nfs,
        _stop_nfs,
        ("nfsd",),
    ),
    "/etc/init.d/vsftpd": _Script(
        "ftp",
        "/etc/init.d/vsftpd",
        "start|stop|restart|reload|status",
        _start_ftp,
        _stop_ftp,
        ("vsftpd",),
    ),
    "/etc/init.d/iscsi-target": _Script(
        "iscsi",
        "/etc/init.d/iscsi-target",
        "start|stop|restart|status",
        _start_iscsi,
        _stop_iscsi,
        ("ietd",),
    ),
}


def _register_script(path: str, script: _Script) -> None:
    tool(path)(lambda appliance, call: _run_script(appliance, call, script))


for _path, _script in _SCRIPTS.items():
    _register_script(_path, _script)


# --- pidof ---------------------------------------------------------------------------------------

_BUSYBOX = "BusyBox v1.35.0 (Debian 1:1.35.0-4+deb12u1+b1) multi-call binary."
_PIDOF_USAGE = f"""{_BUSYBOX}

Usage: pidof [NAME]...

List PIDs of all processes with names that match NAMEs
"""


def _other_pids(name: str) -> list[int]:
    """Programs of that name which really run in the appliance, as a management daemon may."""
    found = []
    for entry in os.listdir(REAL_PROC):
        if not entry.isdigit():
            continue
        try:
            with open(f"{REAL_PROC}/{entry}/comm", encoding="utf-8", errors="replace") as file:
                if file.read().rstrip("\n") == name[:15]:
                    found.append(int(entry))
        except OSError:
            continue
    return found


def pids_of(appliance: Appliance, name: str) -> list[int]:
    """The processes of that name, the newest first."""
    simulated = [each.pid for each in processes(appliance) if each.name == name]
    return sorted(simulated + _other_pids(name), reverse=True)


def pidof(appliance: Appliance, call: Call) -> int:
    """What busybox says about processes with some names."""
    for word in call.arguments:
        if word.startswith("-") and len(word) > 1:
            call.err(f"pidof: invalid option -- '{word[1]}'\n{_PIDOF_USAGE}")
            return 1
    pids = [pid for name in call.arguments for pid in pids_of(appliance, os.path.basename(name))]
    if not pids:
        return 1
    call.out(" ".join(str(pid) for pid in pids) + "\n")
    return 0


@tool("/bin/busybox")
def busybox(appliance: Appliance, call: Call) -> int:
    """The applets that know the simulated appliance; for others the real programs are run."""
    if not call.arguments:
        call.out(f"{_BUSYBOX}\n\nUsage: busybox [function [arguments]...]\n")
        return 0
    applet, arguments = call.arguments[0], call.arguments[1:]
    if applet == "pidof":
        return pidof(appliance, Call("pidof", arguments, call.folder, call.input, call.output))
    for folder in ("/usr/local/sbin", "/usr/local/bin", "/usr/sbin", "/usr/bin"):
        if os.path.basename(applet) == applet and os.access(f"{folder}/{applet}", os.X_OK):
            raise ExecInstead(f"{folder}/{applet}", arguments)
    call.err(f"{applet}: applet not found\n")
    return 127


@status_lines
def _services_line(appliance: Appliance) -> list[str]:
    running = [name for name in SERVICES if is_running(appliance, name)]
    return [f"{'services':<12} {', '.join(running) or 'none'}"]
