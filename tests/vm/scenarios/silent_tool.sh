#!/bin/bash
# A tool tells nothing of the arrays: no disk of one is taken or wiped for it. The kernel is asked too,
# and only a real one answers.
# disks: 5x1G
# timeout: 500
# long
set -euo pipefail
# shellcheck source=tests/vm/lib.sh
source "$ORV_VM_LIB"

fast_rebuilds
sysinfo KTA7120X
mvsata sda=1 sdb=2 sdc=3 sdd=4 sde=5

check "an array is made" orvctl raid create --level raid1 --disks 1,2 --yes
check "and settled" eventually 150 is_idle md0

mkdir /liar
cat >/liar/cat <<'LIAR'
#!/bin/sh
[ "$*" = /proc/mdstat ] || exec /bin/cat "$@"
LIAR
chmod +x /liar/cat
lied_to() { PATH=/liar:$PATH orvctl "$@"; }
same "the liar lists no array" 0 "$(lied_to raid list --json | jq '.arrays | length')"
refused "a disk of an array that is not listed" -2030 \
  lied_to raid create --level raid0 --disks 2,5 --yes
refused "and for a volume group" -2043 lied_to vg create vg9 --pv 2 --yes
check_not "nor is it wiped on request" lied_to disk clear 2 --yes
check "the array still runs" is_idle md0
same "its members" "in_sync in_sync" "$(member_state md0 sda) $(member_state md0 sdb)"
