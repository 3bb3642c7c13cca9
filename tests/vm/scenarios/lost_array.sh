#!/bin/bash
# A group that lost its array is whole again on a RAM disk, and the pool on its other disk still has
# its data.
# disks: 2x1G 1x2G
# timeout: 500
# long
set -euo pipefail
# shellcheck source=tests/vm/lib.sh
source "$ORV_VM_LIB"

sysinfo KTA7120X
mvsata sda=1 sdb=2 sdc=3

volumes() { pvs --noheadings -S vg_name=vg1 -o pv_name 2>/dev/null | xargs; }
uuid_of() { pvs --noheadings -o pv_uuid "$1" | xargs; }

check "an array is made" orvctl raid create --level raid0 --disks 1,2 --yes
check "a group is made of it and a disk" orvctl vg create vg1 --pv md0 --pv 3 --yes
lost_uuid=$(uuid_of /dev/md0)
pvchange --allocatable n /dev/md0
check "a pool is made on the disk" orvctl pool create vg1 data 1
random_file /tmp/data 16
dd if=/tmp/data of=/dev/vg1/data conv=fsync status=none

vgchange --activate n vg1
check "a group whose arrays are well is left alone" orvctl vg repair vg1 --yes
same "with its volumes" "/dev/md0 /dev/sdc" "$(volumes)"

# Half of a stripe comes back after a power cut.
mdadm --stop /dev/md0
mdadm --incremental /dev/sda || true
check "the array is inactive" grep -q "^md0 : inactive" /proc/mdstat
same "and the group has lost it" "/dev/sdc [unknown]" "$(volumes | xargs -n1 | sort | xargs)"

modprobe brd rd_nr=2 rd_size=2097152
check "the group is repaired" orvctl vg repair vg1 --yes
same "it is whole" "/dev/ram1 /dev/sdc" "$(volumes)"
same "the RAM disk stands for the lost array" "$lost_uuid" "$(uuid_of /dev/ram1)"
vgchange --activate y vg1
check "the pool has its data" cmp --bytes=$((16 << 20)) /tmp/data /dev/vg1/data
