"""Running commands inside: exit statuses, signals, several at once, servers that are killed."""

from __future__ import annotations

import json
import os
import signal
import subprocess
import time
from collections.abc import Callable
from pathlib import Path

from conftest import TREE, Machine, _build


def started(machine: Machine, *words: str) -> subprocess.Popen:
    """A command inside that goes on while the test does."""
    return subprocess.Popen(
        [TREE / "tools" / "orvsim" / "orvsim-dev", "run", *words],
        env=machine.environment,
        stdout=subprocess.PIPE,
        stderr=subprocess.PIPE,
        text=True,
        start_new_session=True,
    )


def test_a_command_s_exit_status_is_orvsim_s(machine: Machine) -> None:
    assert machine.run("sh", "-c", "exit 37").status == 37
    assert machine.run("true").status == 0
    missing = machine.run("no-such-command")
    assert missing.status == 127 and "not found" in missing.err
    assert machine.run("/etc/hostname").status == 126
    assert machine.run("sh", "-c", "kill -TERM $$").status == -signal.SIGTERM


def test_input_and_outputs_are_the_command_s(machine: Machine) -> None:
    result = machine.run("sh", "-c", "cat; echo wrong >&2", typed="typed\n")
    assert (result.out, result.err) == ("typed\n", "wrong\n")
    assert machine.done("orvctl disk list | head -n1").startswith("ENCLOSURE")


def test_the_host_is_seen_and_not_changed(machine: Machine, tmp_path: Path) -> None:
    (tmp_path / "mine").write_text("host\n", encoding="utf-8")
    assert machine.done(f"cat /host{tmp_path}/mine") == "host\n"
    assert machine.shell(f"echo more >/host{tmp_path}/mine").status != 0
    assert machine.shell("touch /usr/bin/mine").status != 0
    before = Path("/etc/hostname").read_text(encoding="utf-8")
    machine.done("echo other >/etc/hostname; hostname other")
    assert Path("/etc/hostname").read_text(encoding="utf-8") == before
    assert os.uname().nodename != "other"


def test_a_program_of_the_host_runs_by_its_path(machine: Machine, tmp_path: Path) -> None:
    program = tmp_path / "program"
    program.write_text("#!/bin/sh\ncat /etc/sys_info\n", encoding="utf-8")
    program.chmod(0o755)
    assert "type=KTA7120X" in machine.run(str(program)).out


def test_ctrl_c_ends_the_command_and_keeps_the_state(machine: Machine) -> None:
    process = started(machine, "sh", "-c", "echo ready; sleep 60")
    assert process.stdout and process.stdout.readline() == "ready\n"
    os.killpg(process.pid, signal.SIGINT)
    assert process.wait(10) == -signal.SIGINT
    assert machine.run("true").status == 0


def test_several_commands_share_the_appliance(machine: Machine) -> None:
    machine.run("true")
    processes = [started(machine, "sh", "-c", f"pvcreate -q /dev/sd{disk}") for disk in "abcdefgh"]
    assert [process.wait(30) for process in processes] == [0] * 8
    assert machine.done("pvs --noheadings -o pv_name").split() == [
        f"/dev/sd{d}" for d in "abcdefgh"
    ]


def test_several_first_commands_start_one_server(machine: Machine) -> None:
    processes = [started(machine, "readlink", "/proc/self/ns/mnt") for _ in range(5)]
    answers = {process.communicate(timeout=30)[0] for process in processes}
    assert len(answers) == 1


def test_a_killed_server_leaves_a_state_that_loads(machine: Machine) -> None:
    machine.done("orvctl raid create --level raid1 --disks 1,2 --yes")
    outer = machine.done("ls -l /run/orvsim/proc/1/exe; cut -d' ' -f4 /host/proc/1/stat; hostname")
    assert outer
    server = server_of(machine)
    os.kill(server, signal.SIGKILL)
    assert "md0" in machine.done("cat /proc/mdstat")
    assert server_of(machine) != server


def server_of(machine: Machine) -> int:
    """The process that holds the appliance's lock, as the host counts."""
    inode = os.stat(machine.state / "lock").st_ino
    for line in Path("/proc/locks").read_text(encoding="ascii").splitlines():
        words = line.split()
        if words[5].endswith(f":{inode}"):
            holders = [int(words[4])]
            return holder_process(machine, holders)
    raise AssertionError("nobody holds the lock")


def holder_process(machine: Machine, _holders: list[int]) -> int:
    """The process that has the state's lock file open; the lock itself names one that has ended."""
    lock = os.path.realpath(machine.state / "lock")
    for process in Path("/proc").glob("[0-9]*"):
        for descriptor in (process / "fd").glob("*"):
            try:
                if os.readlink(descriptor) in (lock, "/run/orvsim/state/lock"):
                    if os.stat(descriptor).st_ino == os.stat(lock).st_ino:
                        return int(process.name)
            except OSError:
                continue
    raise AssertionError("nobody has the lock open")


def test_a_server_ends_when_nobody_uses_it(machine: Machine) -> None:
    machine.environment["ORVSIM_LINGER"] = "0.2"
    machine.run("true")
    end = time.monotonic() + 10
    while (machine.state / "socket").exists() and time.monotonic() < end:
        time.sleep(0.05)
    assert not (machine.state / "socket").exists()
    assert (
        json.loads((machine.state / "state.json").read_text(encoding="utf-8"))["format_version"]
        == 1
    )


def test_controls_work_on_an_appliance_at_rest(machine: Machine) -> None:
    machine.tell("stop")
    machine.tell("fail-disk", "sdb")
    assert not (machine.state / "socket").exists()
    assert "sdb has failed" in machine.tell("status")


def test_reset_makes_it_as_it_was(new_machine: Callable[..., Machine]) -> None:
    machine = new_machine("--model", "KTA7120A", "--disks", "3", "--name", "first")
    machine.done("pvcreate /dev/sda; echo more >/mnt/file")
    machine.tell("fail-disk", "sdb")
    machine.tell("reset")
    assert "model        KTA7120A" in machine.tell("status")
    assert machine.done("pvdisplay -c; ls /mnt; hostname") == "first\n"


def test_an_appliance_is_not_replaced_unasked(machine: Machine) -> None:
    assert "holds an appliance already" in machine.refused("new")
    machine.tell("new", "--force", "--disks", "2")
    assert "2 in the machine" in machine.tell("status")


def test_what_makes_no_sense_is_refused(tmp_path: Path) -> None:
    machine = Machine(tmp_path / "none")
    assert "no appliance" in machine.refused("status")
    for words in (
        ("new", "--disks", "-1"),
        ("new", "--disks", "many"),
        ("new", "--disk-size", "0"),
        ("new", "--disk-size", "big"),
        ("new", "--enclosures", "5"),
        ("new", "--model", "a/b"),
        ("new", "--name", "-x"),
        ("fail-disk",),
        ("nonsense",),
    ):
        machine.refused(*words)
    assert not (tmp_path / "none").exists()


def test_a_pipe_that_breaks_ends_the_tool(machine: Machine) -> None:
    machine.done("mdadm -C /dev/md0 -l 6 -n 8 -R /dev/sd[a-h] 2>/dev/null")
    assert machine.done("mdadm --detail /dev/md0 | head -n1") == "/dev/md0:\n"
    script = "(mdadm --detail /dev/md0 || echo $? >/tmp/status) | sleep 0; cat /tmp/status || true"
    assert machine.done(script) in ("", "141\n")


def test_it_runs_where_it_is_installed(tmp_path: Path) -> None:
    prefix, state = tmp_path / "usr", tmp_path / "appliance"
    install = ["cmake", "--install", str(_build()), "--prefix", str(prefix)]
    subprocess.run(install, check=True, stdout=subprocess.DEVNULL)
    environment = {
        name: value for name, value in os.environ.items() if not name.startswith("ORVSIM_")
    }
    orvsim = [str(prefix / "bin" / "orvsim"), "--state", str(state)]
    try:
        done = subprocess.run(
            [*orvsim, "run", "sh", "-c", "cat /etc/sys_info; pvcreate /dev/sda; hotspare --list"],
            env=environment,
            capture_output=True,
            text=True,
            check=False,
        )
        assert done.returncode == 0, done.stderr
        assert "type=KTA7120X" in done.stdout and "successfully created" in done.stdout
        assert done.stdout.endswith("Global hotspare disk:\n")
    finally:
        subprocess.run([*orvsim, "stop"], env=environment, check=True)
