"""Simulated appliances for tests, each in a folder of its own.

The programs come from the build tree ORVSIM_BUILD, or from the newest one.
"""

from __future__ import annotations

import contextlib
import io
import json
import os
import subprocess
import sys
import time
from collections.abc import Callable, Iterator
from dataclasses import dataclass
from pathlib import Path

import pytest

TREE = Path(__file__).resolve().parents[2]
TIMEOUT = 120.0

sys.path.insert(0, str(TREE / "tools" / "orvsim"))
os.environ["TZ"] = "UTC"
time.tzset()

from orvsim import cli, places  # pylint: disable=wrong-import-position  # noqa: E402


def _build() -> Path:
    told = os.environ.get("ORVSIM_BUILD")
    if told:
        return Path(told).resolve()
    built = sorted(TREE.glob("build/*/tools/orvctl/orvctl"), key=lambda file: file.stat().st_mtime)
    return built[-1].parents[2]


@dataclass
class Result:
    """How a command ended and what it said."""

    status: int
    out: str
    err: str

    def __str__(self) -> str:
        return f"status {self.status}\n{self.out}{self.err}"


class Machine:
    """An appliance in a folder, with orvctl in its PATH."""

    def __init__(self, state: Path):
        self.state = state
        build = _build()
        folders = [str(build / "tools" / "orvctl")]
        self.environment = {
            **os.environ,
            "ORVSIM_STATE": str(state),
            "ORVSIM_PATH": ":".join(folders),
            "LC_ALL": "C",
        }
        programs = build / "libexec" / "orvsim"
        if programs.is_dir():
            self.environment["ORVSIM_PROGRAMS"] = str(programs)

    def orvsim(self, *words: str, typed: str = "") -> Result:
        """A command line of orvsim."""
        done = subprocess.run(
            [TREE / "tools" / "orvsim" / "orvsim-dev", *words],
            input=typed,
            capture_output=True,
            text=True,
            timeout=TIMEOUT,
            env=self.environment,
            check=False,
        )
        return Result(done.returncode, done.stdout, done.stderr)

    def control(self, *words: str) -> Result:
        """A command of orvsim that runs nothing inside, without a new process: that takes longer."""
        out, err = io.StringIO(), io.StringIO()
        with contextlib.redirect_stdout(out), contextlib.redirect_stderr(err):
            try:
                status = cli.main(["--state", str(self.state), *words])
            except SystemExit as end:  # the command line makes no sense
                status = int(end.code or 0)
        return Result(status, out.getvalue(), err.getvalue())

    def tell(self, *words: str) -> str:
        """A command of orvsim that must work; what it says."""
        result = self.control(*words)
        assert result.status == 0, result
        return result.out

    def refused(self, *words: str) -> str:
        """A command of orvsim that must not work; why not."""
        result = self.control(*words)
        assert result.status != 0 and not result.out, result
        return result.err

    def run(self, *words: str, typed: str = "") -> Result:
        """A command inside the appliance."""
        return self.orvsim("run", *words, typed=typed)

    def script(self, path: Path) -> Result:
        """A script of the host, in bash inside the appliance."""
        return self.run("bash", places.visible(str(path)))

    def shell(self, script: str) -> Result:
        """Commands inside the appliance, in one go; the first that fails ends them."""
        return self.run("bash", "-e", "-s", typed=script)

    def done(self, script: str) -> str:
        """Commands that must all work; what they print."""
        result = self.shell(script)
        assert result.status == 0, result
        return result.out

    def listed(self, *words: str) -> list[dict]:
        """The first list in what `orvctl WORDS --json` prints."""
        result = self.run("orvctl", *words, "--json")
        assert result.status == 0, result
        document = json.loads(result.out)
        return next(value for value in document.values() if isinstance(value, list))


@pytest.fixture(name="new_machine")
def _new_machine(tmp_path: Path) -> Iterator[Callable[..., Machine]]:
    """Makes appliances with options of `orvsim new`; they are switched off in the end."""
    machines: list[Machine] = []

    def make(*options: str) -> Machine:
        machine = Machine(tmp_path / f"appliance{len(machines)}")
        machines.append(machine)
        machine.tell("new", *options)
        return machine

    yield make
    for machine in machines:
        machine.control("stop")


@pytest.fixture(name="machine")
def _machine(new_machine: Callable[..., Machine]) -> Machine:
    """An appliance as `orvsim new` makes it."""
    return new_machine()


@pytest.fixture(name="one_machine", scope="module")
def _one_machine(tmp_path_factory: pytest.TempPathFactory) -> Iterator[Machine]:
    """An appliance for the tests of a file that leave nothing behind: each start takes time."""
    machine = Machine(tmp_path_factory.mktemp("machine") / "appliance")
    machine.tell("new")
    yield machine
    machine.control("stop")
