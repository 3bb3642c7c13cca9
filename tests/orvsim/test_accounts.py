"""Users come, change and go in every account file."""

from __future__ import annotations

from conftest import Machine

ACCOUNTS = (
    "cat /etc/passwd /etc/group /etc/shadow /etc/samba/private/smbpasswd /etc/nas_userfile.conf"
)


def test_user_is_in_every_file_and_goes_without_a_trace(one_machine: Machine) -> None:
    before = one_machine.done(ACCOUNTS)
    one_machine.done("echo 'rose bush' | orvctl user add alice")
    files = one_machine.done(ACCOUNTS)
    assert "alice:x:1000:1000:Linux User,,,:/home/alice:/bin/nologin\n" in files
    assert "alice:x:1000:\n" in files
    assert "alice:$1$" in files
    # What Debian's smbpasswd writes for this password.
    assert (
        "alice:1000:" + "X" * 32 + ":A68F4AB92A4C9CDE22305987E4463057:[U          ]:LCT-" in files
    )
    assert "alice||rose bush\n" in files
    one_machine.done("orvctl user delete alice --yes")
    assert one_machine.done(ACCOUNTS) == before


def test_passwords_are_checked_with_what_a_shell_takes_for_itself(one_machine: Machine) -> None:
    secret = """echo 'p4ss "$w" \\n `'"""
    one_machine.done(f"{secret} | orvctl user add bob; {secret} | orvctl user check bob")
    assert one_machine.shell("echo p4ss | orvctl user check bob").status == 3
    assert one_machine.shell("echo p4ss | orvctl user check nobody-here").status == 3
    one_machine.done("orvctl user delete bob --yes")


def test_user_gets_another_name_and_password(one_machine: Machine) -> None:
    one_machine.done(
        "echo old | orvctl user add alice; echo new | orvctl user modify alice --name anna"
    )
    assert [user["name"] for user in one_machine.listed("user", "list")] == ["anna"]
    one_machine.done("echo new | orvctl user check anna; ! getent passwd alice")
    one_machine.done("orvctl user delete anna --yes")


def test_name_that_is_taken_is_refused(one_machine: Machine) -> None:
    one_machine.done("echo one | orvctl user add alice")
    assert one_machine.shell("echo two | orvctl user add alice").status == 4
    one_machine.done("! echo two | orvctl user add users; echo one | orvctl user check alice")
    one_machine.done("orvctl user delete alice --yes")


TOOL_CALLS = r"""
r() { "$@" 2>&1 || echo "-> $?"; }
r adduser -DH -s /bin/nologin alice
r adduser -DH -s /bin/nologin alice
r adduser -DH -s /bin/nologin users
r adduser -DH -s /bin/nologin 'bad name'
printf 'a\nb\n' | r smbpasswd -a -s alice
printf 'a\na\n' | r smbpasswd -a -s carol
printf 'a\na\n' | r smbpasswd -a -s alice
printf 'b\nb\n' | r smbpasswd -a -s alice
r smbpasswd -x alice
r smbpasswd -x alice
r userdel alice
r userdel alice
"""

# What these tools of Debian and busybox say.
TOOL_ANSWERS = """\
Adding group `alice' (GID 1000) ...
Done.
adduser: user 'alice' in use
-> 1
adduser: group 'users' in use
-> 1
adduser: illegal character with code 32 at position 3
-> 1
Mismatch - password unchanged.
Unable to get new password.
-> 1
Failed to add entry for user carol.
-> 1
Added user alice.
Deleted user alice.
Failed to find entry for user alice.
-> 1
userdel: user 'alice' does not exist
-> 6
"""


def test_tools_say_what_the_real_ones_say(one_machine: Machine) -> None:
    assert one_machine.done(TOOL_CALLS) == TOOL_ANSWERS
