#!/bin/bash
# A member fails, is seen, removed and replaced; the rebuild is watched and the data is intact.
# disks: 5x1G
# timeout: 500
# long
set -euo pipefail
# shellcheck source=tests/vm/lib.sh
source "$ORV_VM_LIB"

fast_rebuilds
sysinfo KTA7120X
mvsata sda=1 sdb=2 sdc=3 sdd=4 sde=5

members() { orvctl raid list | awk '/^md0/ {print $NF}' | tr ',' '\n' | sort | paste -sd ,; }
progress() { orvctl raid list --json | jq -r '.arrays[0].progress // ""'; }

check "an array is made" orvctl raid create --level raid5 --disks 1,2,3 --yes
check "and settled" eventually 150 is_idle md0
check "a group" orvctl vg create vg1 --pv md0 --yes
check "a pool" orvctl pool create vg1 data 1
check "a file system" orvctl pool mkfs vg1 data --yes
check "a mount point" orvctl fs mkdir /mnt/data
check "and a mount" orvctl fs mount /mnt/data vg1 data
random_file /mnt/data/file 30
sync
sum=$(sha256sum </mnt/data/file)

check_not "a healthy member is not removed" orvctl raid remove md0 2
same "and still in use" in_sync "$(member_state md0 sdb)"
check "a member is marked failed" orvctl raid fail md0 sdb --yes
check "for the kernel too" eventually 5 grep -q faulty /sys/block/md0/md/dev-sdb/state
same "it is listed with its mark" "sda,sdb(F),sdc" "$(members)"
check "data can be read meanwhile" bash -c "sha256sum </mnt/data/file | grep -q '${sum%% *}'"
check "the failed member is removed" eventually 10 orvctl raid remove md0 2
check "from the array" eventually 10 test ! -e /sys/block/md0/md/dev-sdb
same "its place is listed as missing" "*(M),sda,sdc" "$(members)"

slow_rebuilds
check "a new disk is added" orvctl raid add md0 4 --yes
check "and rebuilt" eventually 10 grep -q recovery /proc/mdstat
check "progress is told while it runs" eventually 20 bash -c \
  "orvctl raid list --json | jq -r '.arrays[0].progress' | grep -qE '^[0-9.]+%\([0-9]+\.00MB/s\)$'"
fast_rebuilds
check "the array is whole again" eventually 150 is_idle md0
same "with the new member" "sda,sdc,sdd" "$(members)"
same "clean" "clean" "$(mdadm --detail /dev/md0 | awk -F' : ' '/State :/ {print $2}' | xargs)"
same "no progress is told any more" "" "$(progress)"
echo 3 >/proc/sys/vm/drop_caches
same "the data is intact" "$sum" "$(sha256sum </mnt/data/file)"
