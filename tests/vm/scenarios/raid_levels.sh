#!/bin/bash
# Arrays of every level are made, listed and taken apart; a refusal leaves every disk as it was.
# disks: 6x1G
# timeout: 850
# long
set -euo pipefail
# shellcheck source=tests/vm/lib.sh
source "$ORV_VM_LIB"

fast_rebuilds
sysinfo KTA7120X
mvsata sda=1 sdb=2 sdc=3 sdd=4 sde=5 sdf=1@1

listed() { orvctl raid list --json | jq -r ".arrays[0] | $1"; }

# level LEVEL CHANNELS GIB MEMBERS
level() {
  check "$1 is made" orvctl raid create --level "$1" --disks "$2" --yes
  check "$1 is settled" eventually 150 is_settled
  same "$1 is what mdadm says" "$1" "$(mdadm --detail /dev/md0 | awk '/Raid Level/ {print $4}')"
  same "$1 is listed with level, size and members" "$1 $3 $4" \
    "$(listed '"\(.level) \(.size_bytes / 1073741824) \([.members[].name] | sort | join(","))"')"
  check "$1 is not listed as inactive" bash -c "orvctl raid list | grep md0 | grep -qv inactive"
  check "$1 is taken apart" orvctl raid destroy md0 --yes
  check "$1 is gone" eventually 10 test ! -d /sys/block/md0/md
}

# Levels without redundancy have no sync_action.
is_settled() { [ ! -e /sys/block/md0/md/sync_action ] || is_idle md0; }

level raid0 1,2 2 sda,sdb
level raid1 1,2 1 sda,sdb
level raid5 1,2,3 2 sda,sdb,sdc
level raid6 1,2,3,4 2 sda,sdb,sdc,sdd
level linear 1,2 2 sda,sdb

create() { orvctl raid create --yes "$@"; }

check "an array is in the way" orvctl raid create --level raid1 --disks 1,2 --yes
check "and settled" eventually 150 is_settled
diskformat /dev/sdc
pvcreate -q /dev/sdc
vgcreate -q vgdisk /dev/sdc
hotspare -a /dev/sdd

refused "a disk of an array" -2030 create --level raid0 --disks 2,5
refused "a disk of a volume group" -2030 create --level raid0 --disks 3,5
refused "a hot spare" -2030 create --level raid0 --disks 4,5
refused "a channel without a disk" -2033 create --level raid0 --disks 5,9
refused "a disk of another enclosure" -2033 create --level raid0 --disks 5,1 --enclosure 1
refused "one disk alone" -2034 create --level raid0 --disks 5
refused "a mirror of one disk" -2034 create --level raid1 --disks 5
check "the array still runs" is_idle md0
