#!/bin/bash
# From bare disks in bays to a mounted file system, and what is on it outlives the way back.
# disks: 3x1200M 1x300M
# timeout: 400
# long
set -euo pipefail
# shellcheck source=tests/vm/lib.sh
source "$ORV_VM_LIB"

fast_rebuilds
sysinfo KTA7120X
mvsata sda=1 sdb=2 sdc=3 sdd=9

check "disks are listed by bay" orvctl disk list
same "with their channels" "1 2 3 9" "$(orvctl disk list --json | jq -r '[.disks[].channel|tostring]|join(" ")')"
check "an array is made of channels" orvctl raid create --level raid5 --disks 1,2,3 --yes
check "of the disks in these bays" eventually 150 is_idle md0
same "with its level" raid5 "$(mdadm --detail /dev/md0 | awk '/Raid Level/ {print $4}')"
same "and its members" "/dev/sda /dev/sdb /dev/sdc" \
  "$(mdadm --detail /dev/md0 | awk '/active sync/ {print $NF}' | paste -sd ' ')"
check "a write-intent bitmap is kept" grep -q bitmap /proc/mdstat

check "the array carries a volume group" orvctl vg create vg1 --pv md0 --yes
same "that LVM knows" "/dev/md0 vg1" "$(pvs --noheadings -o pv_name,vg_name | xargs)"
check "a pool is made" orvctl pool create vg1 data 2
same "of the size asked for" "2.00g" "$(lvs --noheadings -o lv_size vg1/data | xargs)"
check "it gets a file system" orvctl pool mkfs vg1 data --yes
same "of the model's type" xfs "$(blkid -o value -s TYPE /dev/vg1/data)"
check "a mount point is made" orvctl fs mkdir /mnt/data
same "locked" "444" "$(stat -c %a /mnt/data)"
check "and immutable" bash -c "lsattr -d /mnt/data | grep -q '^....i'"
check "the pool is mounted" orvctl fs mount /mnt/data vg1 data
same "where it was asked for" "/dev/mapper/vg1-data xfs" \
  "$(findmnt -no SOURCE,FSTYPE /mnt/data | xargs)"
check "with large inode numbers" bash -c "findmnt -no OPTIONS /mnt/data | grep -q inode64"
same "and open to all" "777" "$(stat -c %a /mnt/data)"
check "the mount table gets its entry" orvctl fs table-add /mnt/data vg1 data
same "of this form" $'/dev/vg1/data\t/mnt/data\txfs\tdefaults\t0 0' "$(cat /etc/mdfstab)"
same "the file system is listed" "/mnt/data available vg1" \
  "$(orvctl fs list --json | jq -r '.file_systems[] | "\(.mount_point) \(.state) \(.volume_group)"')"

random_file /mnt/data/file 20
sum=$(sha256sum </mnt/data/file)
check "it is unmounted" orvctl fs umount /mnt/data
check_not "then" findmnt /mnt/data
check_not "the array under a group is not stopped" orvctl raid destroy md0 --yes
check "and still runs" test -d /sys/block/md0/md
vgchange -q -an vg1
mdadm -q -S /dev/md0
mdadm -q -A /dev/md0 /dev/sda /dev/sdb /dev/sdc
vgchange -q -ay vg1
check "after stop and reassembly it is mounted again" orvctl fs mount /mnt/data vg1 data
same "and holds what was written" "$sum" "$(sha256sum </mnt/data/file)"

check "it is taken down in order: unmounted" orvctl fs umount /mnt/data
check "its entry removed" orvctl fs table-remove /mnt/data
same "from the mount table" "" "$(cat /etc/mdfstab)"
check "its mount point removed" orvctl fs rmdir /mnt/data --yes
check_not "from the disk" test -e /mnt/data
check "the pool destroyed" orvctl pool destroy vg1 data --yes
same "for LVM too" "" "$(lvs --noheadings)"
check "the group destroyed" orvctl vg destroy vg1 --yes
same "with its physical volume" "" "$(pvs --noheadings)"
check "the array stopped" orvctl raid destroy md0 --yes
check "for the kernel too" eventually 10 test ! -d /sys/block/md0/md
same "nothing is left in /tmp" "" "$(find /tmp -mindepth 1 ! -name nas_state.conf ! -name 'mdfstab.*')"
