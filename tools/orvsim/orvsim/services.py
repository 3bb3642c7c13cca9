"""The sharing services: their init scripts, their daemons, and who asks whether they run."""

from __future__ import annotations

from collections.abc import Callable
from dataclasses import dataclass, field

from orvsim.appliance import Appliance
from orvsim.sections import section
from orvsim.tools import status_lines

_FIRST_PID = 600
_HIGHEST_PID = 32767


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
    return _register(_AFTER_START, service)


def after_stop(service: str) -> Callable[[ServiceHook], ServiceHook]:
    """Registers what the end of a service entails."""
    return _register(_AFTER_STOP, service)


def _register(
    hooks: dict[str, list[ServiceHook]], service: str
) -> Callable[[ServiceHook], ServiceHook]:
    def register(hook: ServiceHook) -> ServiceHook:
        hooks.setdefault(service, []).append(hook)
        return hook

    return register


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


def reload(appliance: Appliance, service: str) -> None:
    """Makes a service that runs read its configuration again."""
    if is_running(appliance, service):
        for hook in _AFTER_START.get(service, ()):
            hook(appliance)


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


@status_lines
def _services_line(appliance: Appliance) -> list[str]:
    running = [name for name in SERVICES if is_running(appliance, name)]
    return [f"{'services':<12} {', '.join(running) or 'none'}"]
