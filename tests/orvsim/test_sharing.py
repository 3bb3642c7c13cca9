"""Shares of all services, their clients, and what the tools tell of them."""

from __future__ import annotations

import re
from collections.abc import Callable
from pathlib import Path

import pytest
from compare.normalise import normalise
from conftest import Machine

FIXTURES = Path(__file__).resolve().parents[1] / "fixtures"

SHARES = """
echo 'rose bush' | orvctl user add alice
echo 'oak tree' | orvctl user add bob
orvctl share add data --service samba --path /mnt/data --users alice
orvctl share add docs --service samba --path /mnt/docs --users alice,bob --read-only
orvctl share add pub --service nfs --path /mnt/pub --clients 10.1.0.0/16
orvctl share add files --service ftp --path /mnt/files
orvctl share add vol --service iscsi --path /mnt/vol --users bob
for service in samba nfs ftp iscsi; do orvctl service start $service; done
"""


@pytest.fixture(name="sharing")
def _sharing(machine: Machine) -> Machine:
    """An appliance with a share of every service; all services run."""
    machine.done(SHARES)
    return machine


def running(machine: Machine) -> list[str]:
    """The services that orvctl says run."""
    return [each["name"] for each in machine.listed("service", "list") if each["running"]]


def clients(machine: Machine) -> list[tuple[str, str, str]]:
    """Share, protocol and address of every client that the library sees."""
    listed = machine.listed("client", "list")
    return [(each["share"], each["protocol"], each["address"]) for each in listed]


def test_services_start_and_stop_and_stay_so_between_runs(machine: Machine) -> None:
    assert not running(machine)
    machine.done("orvctl service start samba; orvctl service start ftp; orvctl service start iscsi")
    machine.tell("stop")
    assert running(machine) == ["samba", "ftp", "iscsi"]
    machine.done("orvctl service stop samba; test -e /proc/net/iet/volume")
    machine.done("orvctl service stop iscsi; test ! -e /proc/net/iet")
    assert running(machine) == ["ftp"]


def test_nfs_starts_only_when_something_is_exported(machine: Machine) -> None:
    machine.done("orvctl service start nfs")
    assert not running(machine)
    machine.done("orvctl share add pub --service nfs --path /mnt/pub; orvctl service start nfs")
    assert running(machine) == ["nfs"]


def test_shares_change_and_go(sharing: Machine) -> None:
    sharing.done("orvctl share modify docs --users bob --read-write; orvctl share disable data")
    shares = {share["name"]: share for share in sharing.listed("share", "list")}
    assert shares["docs"]["writable"] and shares["docs"]["users"] in ("bob", ["bob"])
    assert [share["name"] for share in sharing.listed("recycle", "list")] == ["data"]
    sharing.done("orvctl share enable data --service samba; orvctl share delete docs --yes")
    names = {share["name"] for share in sharing.listed("share", "list")}
    assert names == {"data", "pub", "files", "vol"}


def test_clients_of_every_service_are_seen(sharing: Machine) -> None:
    sharing.tell("client", "connect", "samba", "data", "--user", "alice", "--address", "10.1.2.3")
    sharing.tell("client", "connect", "ftp", "--user", "bob", "--address", "10.1.2.4")
    sharing.tell("client", "connect", "nfs", "pub", "--address", "10.1.2.5")
    sharing.tell("client", "connect", "iscsi", "vol", "--user", "bob", "--address", "10.1.2.6")
    seen = clients(sharing)
    assert seen[0] == ("*", "Ftp", "10.1.2.4")
    assert seen[1] == ("data", "CIFS", "10.1.2.3")
    assert re.fullmatch(r"iqn\.2006-05\.org\.orv:vol\.\d{14}", seen[2][0])
    assert seen[2][1:] == ("iSCSI", "10.1.2.6")
    assert "10.1.0.1:nfs            10.1.2.5:" in sharing.done("netstat -t")
    sharing.tell("client", "disconnect", "1")
    sharing.tell("client", "disconnect", "--service", "ftp")
    assert [client[1] for client in clients(sharing)] == ["iSCSI"]
    sharing.done("orvctl service restart iscsi")
    assert not clients(sharing)


@pytest.mark.parametrize(
    "words, reason",
    [
        ("samba data --user bob", "'bob' is no valid user of 'data'"),
        ("samba data --user carol", "Samba has no user 'carol'"),
        ("samba data", "a client of samba needs --user"),
        ("samba none --user bob", "Samba has no share 'none'"),
        ("nfs pub --address 192.168.1.1", "not exported to 192.168.1.1"),
        ("nfs none", "NFS does not export 'none'"),
        ("ftp --user carol", "530 Login incorrect."),
        ("iscsi vol --user alice", "'alice' may not log in to 'vol'"),
        ("iscsi none", "there is no target 'none'"),
        ("samba data --user alice --address 10.1.2", "is no IP address"),
    ],
)
def test_client_that_a_service_would_refuse_is_refused(
    shared_sharing: Machine, words: str, reason: str
) -> None:
    assert reason in shared_sharing.refused("client", "connect", *words.split())
    assert shared_sharing.tell("client", "list") == ""


@pytest.fixture(name="shared_sharing", scope="module")
def _shared_sharing(tmp_path_factory: pytest.TempPathFactory):
    """One appliance for the tests that change nothing."""
    machine = Machine(tmp_path_factory.mktemp("appliance") / "state")
    machine.tell("new")
    machine.done(SHARES)
    yield machine
    machine.control("stop")


def test_a_service_that_does_not_run_has_no_clients(machine: Machine) -> None:
    assert "samba does not run" in machine.refused("client", "connect", "samba", "data")


def test_limits_of_ftp_hold_after_a_restart_for_all_or_none(sharing: Machine) -> None:
    connect = ("client", "connect", "ftp", "--user", "bob", "--count", "3")
    sharing.done("orvctl ftp-limit set --clients 2")
    sharing.tell(*connect)
    sharing.done("orvctl service restart ftp")
    assert "421 There are too many connected users" in sharing.refused(*connect)
    assert sharing.tell("client", "list") == ""


def forms(text: str) -> list[str]:
    """The lines of a table, in which what differs from client to client is replaced."""
    text = re.sub(r"\(ipv4:[\d.:]+\) *", lambda at: f"{'(ADDRESS)':<{len(at[0])}}", text)
    text = re.sub(r"\w{3} \w{3} [ \d]\d [\d:]{8} \d{4} UTC", "Day Mon 00 00:00:00 0000 UTC", text)
    text = re.sub(r"(?m)^\d+ +", lambda pid: f"{'PID':<{len(pid[0])}}", text)
    return re.sub(r"(?m)^(data +)\d+ +", lambda row: f"{row[1]}{'PID':<8}", text).splitlines()


def test_smbstatus_prints_what_the_real_one_prints(sharing: Machine) -> None:
    assert sharing.done("smbstatus") == (FIXTURES / "smbstatus/no_clients.txt").read_text()
    sharing.tell("client", "connect", "samba", "data", "--user", "alice", "--address", "10.11.0.7")
    real = (FIXTURES / "smbstatus/one_client.txt").read_text().replace("user1", "alice")
    assert forms(sharing.done("smbstatus")) == forms(real)


def test_tools_say_what_those_of_the_guest_say(machine: Machine) -> None:
    """Ninety calls of init scripts and of the tools for users and clients.

    The real answers come from the root file system of the virtual machine's guest.
    """
    compare = Path(__file__).parent / "compare"
    said = normalise(machine.script(compare / "sharing.sh").out)
    assert said.splitlines() == (compare / "sharing.real.txt").read_text().splitlines()


def test_netstat_prints_what_the_real_one_prints(sharing: Machine) -> None:
    assert sharing.done("netstat -t") == (FIXTURES / "netstat/no_clients.txt").read_text()
    sharing.done("echo '10.1.0.1 nas' >>/etc/hosts")
    sharing.tell("client", "connect", "ftp", "--user", "bob", "--address", "10.11.0.7")
    real = (FIXTURES / "netstat/clients.txt").read_text().splitlines()
    row = next(line for line in real if "nas:ftp" in line and "10.11.0.7" in line)
    shown = sharing.done("netstat -t").splitlines()[-1]
    assert re.sub(r"\d{5}", "PORT ", shown) == re.sub(r"\d{5}", "PORT ", row)


def test_processes_of_services_and_clients_are_listed(sharing: Machine) -> None:
    alone = sharing.done("/bin/busybox pidof smbd").split()
    sharing.tell("client", "connect", "samba", "data", "--user", "alice")
    pids = sharing.done("busybox pidof smbd").split()
    assert len(pids) == len(alone) + 1 and pids == sorted(pids, key=int, reverse=True)
    listed = sharing.done("orvctl system processes /tmp/list; cat /tmp/list")
    assert {line.split()[1] for line in listed.splitlines() if "smbd" in line} == set(pids)
    assert sharing.shell("busybox pidof nosuch").status == 1


def test_thousands_of_shares_and_users(new_machine: Callable[..., Machine]) -> None:
    machine = new_machine()
    users = "".join(f"u{n}||secret\\n" for n in range(2000))
    shares = "".join(
        f"[s{n}]\\n    sharename = s{n}\\n    path = /mnt/s{n}\\n    size = 1\\n    samba = 1\\n"
        for n in range(3000)
    )
    targets = "".join(
        f"Target iqn.2006-05.org.orv:t{n}\\n\\tLun 0 Path=/mnt/t{n},Type=fileio\\n"
        for n in range(2000)
    )
    machine.done(
        f"printf '{users}' >/etc/nas_userfile.conf; printf '{shares}' >/etc/sharefolder.conf;"
        f"printf '{targets}' >/etc/ietd.conf; orvctl service start iscsi"
    )
    assert len(machine.listed("user", "list")) == 2000
    assert len(machine.listed("share", "list")) == 5000
    assert len(machine.done("cat /proc/net/iet/volume").splitlines()) == 4000
