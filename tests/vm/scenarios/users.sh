#!/bin/bash
# Users come, log in, change and go, in every account file at once.
# disks: 1x300M
# timeout: 500
set -euo pipefail
# shellcheck source=tests/vm/lib.sh
source "$ORV_VM_LIB"

serve_network
orvctl service start ftp
orvctl service start samba
# shellcheck disable=SC2016  # the characters that shells and echo take for themselves
password='p4ss "$w" \n `'

# logs_in USER PASSWORD: to the FTP service, which asks the shadow file.
logs_in() {
  mkdir -p "/home/$1"
  python3 -c 'import ftplib, sys; ftplib.FTP(sys.argv[1]).login(*sys.argv[2:])' "$address" "$@"
}
# accounts: every file that knows users.
accounts() {
  cat /etc/{passwd,shadow,group} /etc/samba/private/smbpasswd /etc/nas_userfile.conf 2>/dev/null || true
}
names() { orvctl user list --json | jq -r '[.users[] | .name] | join(" ")'; }

accounts >/tmp/before
check "a user is added" orvctl user add alice <<<"$password"
check "the system knows the account" getent passwd alice
same "which cannot log in to a shell" /bin/nologin "$(getent passwd alice | cut -d: -f7)"
same "Samba knows it" alice "$(pdbedit -L | cut -d: -f1)"
same "and the appliance" alice "$(names)"
same "its password is stored for the services only" 600 "$(stat -c %a /etc/nas_userfile.conf)"
same "the shadow file keeps owner and mode" "root shadow 640" "$(stat -c '%U %G %a' /etc/shadow)"
check "the password is right" orvctl user check alice <<<"$password"
check_not "another is wrong" orvctl user check alice <<<'p4ss'
check_not "an unknown user has none" orvctl user check carol <<<'p4ss'
check "Samba has it too" smbclient -L "$address" -U "alice%$password"
check "the user logs in" logs_in alice "$password"
check_not "not with another password" logs_in alice wrong
check_not "Samba lets no other in either" smbclient -L "$address" -U alice%wrong
check_not "a second one of the name is refused" orvctl user add alice <<<other

check "the user is changed" orvctl user modify alice --name anna <<<"new secret"
same "to a new name" anna "$(names)"
check_not "the old one is gone" getent passwd alice
check "the new one logs in" logs_in anna "new secret"

# A foreign process that holds the lock of whatever file is the shadow file.
python3 - <<'END' &
import fcntl, os
open('/tmp/holding', 'w').close()
held = []
while os.path.exists('/tmp/holding'):
    if not held or os.stat('/etc/shadow').st_ino != os.fstat(held[-1].fileno()).st_ino:
        held.append(open('/etc/shadow', 'r+'))
        fcntl.lockf(held[-1], fcntl.LOCK_EX)
END
holder=$!
eventually 10 test -e /tmp/holding
sleep 1
cp /etc/nas_userfile.conf /tmp/userfile
cp /etc/samba/private/smbpasswd /tmp/smbpasswd
output=$(orvctl user add bob <<<secret 2>&1) && result=0 || result=$?
rm /tmp/holding
wait "$holder"
same "while another process holds the shadow file's lock no user is added" 5 "$result"
check "with -2010" grep -q -- "(-2010)" <<<"$output"
check "the appliance's users are as they were" cmp /tmp/userfile /etc/nas_userfile.conf
check "Samba's too" cmp /tmp/smbpasswd /etc/samba/private/smbpasswd
same "nobody has the password" '!' "$(awk -F: '$1 == "bob" {print $2}' /etc/shadow)"
userdel bob

check "the user is deleted" orvctl user delete anna --yes
accounts >/tmp/after
check "without a trace" cmp /tmp/before /tmp/after
orvctl service stop ftp
orvctl service stop samba
