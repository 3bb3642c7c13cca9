#!/bin/bash
# A user stores a file on a pool through Samba; who may do what follows the share.
# disks: 3x1200M
# timeout: 400
set -euo pipefail
# shellcheck source=tests/vm/lib.sh
source "$ORV_VM_LIB"

serve_network
make_pools data docs &>/tmp/pools
cp /etc/samba/smb.conf /tmp/globals

# client USER PASSWORD SHARE COMMANDS
client() { smbclient -U "$1%$2" "//$address/$3" -c "$4"; }
# globals: what of the file belongs to no share.
globals() { head -c "$(stat -c %s /tmp/globals)" /etc/samba/smb.conf; }
restart() { orvctl service stop samba && orvctl service start samba; }
users_of() { testparm -s --section-name="$1" --parameter-name="valid users" 2>/dev/null; }

check "a user is added" orvctl user add alice <<<"rose bush"
check "and another" orvctl user add bob <<<"oak tree"
check "a pool is shared" orvctl share add data --service samba --path /mnt/data --users alice \
  --comment "Files of alice"
check "the file is accepted" testparm -s
same "with its global section as it was" "$(cat /tmp/globals)" "$(globals)"
check "Samba is started" orvctl service start samba
same "and runs" true "$(orvctl service list --json | jq '.services[] | select(.name == "samba").running')"

random_file /tmp/file 2
check "the user stores a file" client alice "rose bush" data "put /tmp/file stored"
same "on the pool's file system" "xfs /dev/mapper/vg1-data" \
  "$(findmnt -no FSTYPE,SOURCE --target /mnt/data/stored | xargs)"
check "as it is" cmp /tmp/file /mnt/data/stored
check "and reads it back" client alice "rose bush" data "get stored /tmp/back"
check "as it was" cmp /tmp/file /tmp/back
check_not "not with a wrong password" client alice "rose" data ls
check_not "another user is not let in" client bob "oak tree" data ls

(sleep 60 | smbclient -U "alice%rose bush" "//$address/data" >/dev/null 2>&1) &
check "the client is listed" eventually 20 bash -c \
  "orvctl client list --json | jq -e '.clients[] | select(.protocol == \"CIFS\")'"
same "with share, address and user" "data $address alice" \
  "$(orvctl client list --json | jq -r '.clients[] | "\(.share) \(.address) \(.user)"')"

check "a second share is added" orvctl share add docs --service samba --path /mnt/docs \
  --users bob,alice --read-only
same "its users are known to Samba" "bob alice" "$(users_of docs)"
same "and those of the first have stayed" "alice" "$(users_of data)"
same "the global section too" "$(cat /tmp/globals)" "$(globals)"
check "Samba is restarted" restart
touch /mnt/docs/readme
check "a read-only share is read" client bob "oak tree" docs "get readme /tmp/readme"
check_not "and not written" client bob "oak tree" docs "put /tmp/file file"
check_not "at all" test -e /mnt/docs/file
check "shares are listed" bash -c "orvctl share list --json | jq -e '.shares | length == 2'"

check "rights change" orvctl share modify docs --service samba --users bob --read-write
check "Samba is restarted" restart
check "the share can be written" client bob "oak tree" docs "put /tmp/file file"
check_not "by its new users only" client alice "rose bush" docs ls

check "a share is deleted" orvctl share delete docs --service samba --yes
check "Samba is restarted" restart
check_not "it is gone" client bob "oak tree" docs ls
check "the other is still served" client alice "rose bush" data ls
check "what it holds has stayed" cmp /tmp/file /mnt/docs/file
check "Samba is stopped" orvctl service stop samba
check_not "and runs no more" busybox pidof smbd
same "the global section is what it was" "$(cat /tmp/globals)" "$(globals)"
