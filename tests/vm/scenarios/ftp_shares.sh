#!/bin/bash
# A pool is served over FTP; clients are listed, and the limits hold.
# disks: 3x1200M
# timeout: 500
# long
set -euo pipefail
# shellcheck source=tests/vm/lib.sh
source "$ORV_VM_LIB"

serve_network
make_pools data &>/tmp/pools
login=(lftp -u "alice,rose bush")
# session COMMANDS: one session that ends with the first command that fails.
session() { "${login[@]}" -e "set net:max-retries 1; set net:timeout 10; set cmd:fail-exit yes; $1; bye" "$address"; }
restart() { orvctl service stop ftp && orvctl service start ftp; }

check "a user is added" orvctl user add alice <<<"rose bush"
mkdir -p /home/alice
printf 'local_root=/mnt/data\nwrite_enable=YES\n' >/etc/vsftpd/alice
check "a pool is shared" orvctl share add data --service ftp --path /mnt/data
check "FTP is started" orvctl service start ftp
same "and runs" true "$(orvctl service list --json | jq '.services[] | select(.name == "ftp").running')"
same "the share belongs to the user" "data ftp alice true" \
  "$(orvctl share list --json | jq -r '.shares[] | "\(.name) \(.service) \(.users) \(.writable)"')"

random_file /tmp/file 2
check "the user stores a file" session "put /tmp/file -o stored"
check "on the pool" cmp /tmp/file /mnt/data/stored
check_not "not with a wrong password" lftp -u alice,rose \
  -e "set net:max-retries 1; set cmd:fail-exit yes; ls; bye" "$address"

# stay SECONDS: a session that stays open in the background.
stay() { (sleep "$1" | "${login[@]}" -e "ls" "$address" >/dev/null 2>&1) & }
stay 30
check "the client is listed" eventually 20 bash -c \
  "orvctl client list --json | jq -e '.clients[] | select(.protocol == \"Ftp\" and .address == \"$address\")'"

check "limits are set" orvctl ftp-limit set --rate 500000 --clients 10 --per-address 1
same "and shown" "500000 10 1" \
  "$(orvctl ftp-limit show --json | jq -r '.ftp_limits | "\(.rate) \(.clients) \(.per_address)"')"
same "in the file" $'local_max_rate=500000\nmax_clients=10\nmax_per_ip=1' \
  "$(grep -E '^(local_max|max_)' /etc/vsftpd.conf)"
pkill lftp || true
check "FTP is restarted" restart
started=${EPOCHREALTIME/./}
check "a file of 2 MiB is read" session "get stored -o /tmp/back"
took=$(((${EPOCHREALTIME/./} - started) / 1000))
check "as it was" cmp /tmp/file /tmp/back
check "no faster than the limit: $took ms" test "$took" -ge 3500
stay 30
check "one session from the address" eventually 20 bash -c "netstat -t | grep -q ':ftp .*ESTABLISHED'"
check_not "a second is refused" session ls

check "the share is deleted" orvctl share delete data --service ftp --yes
same "from the list" "0" "$(orvctl share list --json | jq '.shares | length')"
check "FTP is stopped" orvctl service stop ftp
