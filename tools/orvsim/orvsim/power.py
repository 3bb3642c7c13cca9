"""Switching the appliance off and on, and the clock that runs on when it is off."""

from __future__ import annotations

import os
import signal
import threading
import time
from dataclasses import dataclass

from orvsim import services
from orvsim.appliance import Appliance
from orvsim.clients import disconnect
from orvsim.sections import section
from orvsim.sensors import put_start_time
from orvsim.tools import Call, on_start, tool

# A caller has its answer before the machine goes down.
_SECONDS_BEFORE = 0.3
_SECONDS_TO_END = 1.0


@section("power")
@dataclass
class Power:
    """Whether the appliance was shut down, and how far its hardware clock is from its own."""

    is_off: bool = False
    hardware_clock_ahead: float = 0.0


def _end_all_processes(appliance: Appliance) -> None:
    """What process 1 does in the end: everybody is asked to end, then made to."""
    time.sleep(_SECONDS_BEFORE)
    for number in (signal.SIGTERM, signal.SIGKILL):
        try:
            os.kill(-1, number)
        except ProcessLookupError:
            break
        time.sleep(_SECONDS_TO_END if number == signal.SIGTERM else 0)
    with appliance.lock:
        appliance.save()
        os._exit(0)


def _go_down(appliance: Appliance) -> int:
    """The services end with their clients; what ran runs again when the appliance is on again."""
    disconnect(appliance, lambda _client: True)
    appliance.get(Power).is_off = True
    threading.Thread(target=_end_all_processes, args=(appliance,), daemon=True).start()
    return 0


@tool("/sbin/halt")
def halt(appliance: Appliance, _call: Call) -> int:
    """Powers off; the next command that is run inside switches on again."""
    return _go_down(appliance)


@tool("/sbin/poweroff")
def poweroff(appliance: Appliance, _call: Call) -> int:
    """Powers off."""
    return _go_down(appliance)


@tool("/sbin/reboot")
def reboot(appliance: Appliance, _call: Call) -> int:
    """Goes down; the next command finds the appliance started anew."""
    return _go_down(appliance)


@on_start
def _start_again(appliance: Appliance) -> None:
    """After a shutdown the services that ran start anew."""
    power = appliance.get(Power)
    if not power.is_off:
        return
    power.is_off = False
    put_start_time(appliance)
    for service in [name for name in services.SERVICES if services.is_running(appliance, name)]:
        services.stop(appliance, service)
        services.start(appliance, service)


# --- the hardware clock --------------------------------------------------------------------------


@tool("/usr/sbin/hwclock")
def hwclock(appliance: Appliance, call: Call) -> int:
    """Sets the hardware clock from the system's, or the other way round, or shows it."""
    letters = "".join(word[1:] for word in call.arguments if not word.startswith("--"))
    words = {word for word in call.arguments if word.startswith("--")}
    power = appliance.get(Power)
    if "w" in letters or "--systohc" in words:
        power.hardware_clock_ahead = 0.0
    elif "s" in letters or "--hctosys" in words:
        appliance.set_clock(now=appliance.now() + power.hardware_clock_ahead)
        power.hardware_clock_ahead = 0.0
    else:
        now = appliance.now() + power.hardware_clock_ahead
        zone = time.strftime("%z", time.localtime(now))
        shown = time.strftime("%Y-%m-%d %H:%M:%S", time.localtime(now))
        call.out(f"{shown}.{int(now % 1 * 1e6):06}{zone[:3]}:{zone[3:]}\n")
    return 0
