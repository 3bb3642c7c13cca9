"""Users come, change and go in every account file."""

from __future__ import annotations

from conftest import Machine

ACCOUNTS = (
    "cat /etc/passwd /etc/group /etc/shadow /etc/samba/private/smbpasswd /etc/nas_userfile.conf"
)


def test_user_is_in_every_file_and_goes_without_a_trace(machine: Machine) -> None:
    before = machine.done(ACCOUNTS)
    machine.done("echo 'rose bush' | orvctl user add alice")
    files = machine.done(ACCOUNTS)
    assert "alice:x:1000:1000:Linux User,,,:/home/alice:/bin/nologin\n" in files
    assert "alice:x:1000:\n" in files
    assert "alice:$1$" in files
    # What Debian's smbpasswd writes for this password.
    assert (
        "alice:1000:" + "X" * 32 + ":A68F4AB92A4C9CDE22305987E4463057:[U          ]:LCT-" in files
    )
    assert "alice||rose bush\n" in files
    machine.done("orvctl user delete alice --yes")
    assert machine.done(ACCOUNTS) == before


def test_passwords_are_checked_with_what_a_shell_takes_for_itself(machine: Machine) -> None:
    machine.done("""echo 'p4ss "$w" \\n `' | orvctl user add bob""")
    machine.done("""echo 'p4ss "$w" \\n `' | orvctl user check bob""")
    assert machine.shell("echo p4ss | orvctl user check bob").status == 3
    assert machine.shell("echo p4ss | orvctl user check nobody-here").status == 3


def test_user_gets_another_name_and_password(machine: Machine) -> None:
    machine.done(
        "echo old | orvctl user add alice; echo new | orvctl user modify alice --name anna"
    )
    assert [user["name"] for user in machine.listed("user", "list")] == ["anna"]
    machine.done("echo new | orvctl user check anna; ! getent passwd alice")


def test_name_that_is_taken_is_refused(machine: Machine) -> None:
    machine.done("echo one | orvctl user add alice")
    assert machine.shell("echo two | orvctl user add alice").status == 4
    assert machine.shell("echo two | orvctl user add users").status == 4
    machine.done("echo one | orvctl user check alice")


def said(machine: Machine, command: str) -> tuple[int, str]:
    """The exit status of a tool and all that it prints."""
    result = machine.shell(f"{command} 2>&1")
    return result.status, result.out


def test_tools_refuse_as_the_real_ones_do(machine: Machine) -> None:
    add = "adduser -DH -s /bin/nologin "
    assert said(machine, add + "alice") == (0, "Adding group `alice' (GID 1000) ...\nDone.\n")
    assert said(machine, add + "alice") == (1, "adduser: user 'alice' in use\n")
    assert said(machine, add + "users") == (1, "adduser: group 'users' in use\n")
    wrong = "adduser: illegal character with code 32 at position 3\n"
    assert said(machine, add + "'bad name'") == (1, wrong)
    assert said(machine, "printf 'a\\nb\\n' | smbpasswd -a -s alice") == (
        1,
        "Mismatch - password unchanged.\nUnable to get new password.\n",
    )
    assert said(machine, "printf 'a\\na\\n' | smbpasswd -a -s carol") == (
        1,
        "Failed to add entry for user carol.\n",
    )
    assert said(machine, "smbpasswd -x alice") == (1, "Failed to find entry for user alice.\n")
    assert said(machine, "userdel carol") == (6, "userdel: user 'carol' does not exist\n")
