#!/bin/bash
# Both file systems by model; read-only and full ones; the mount table; a blank in a mount point.
# disks: 2x2G
# timeout: 500
# long
set -euo pipefail
# shellcheck source=tests/vm/lib.sh
source "$ORV_VM_LIB"

sysinfo KTA7120X
mvsata sda=1 sdb=2

states() { orvctl fs list --json | jq -r '[.file_systems[] | "\(.mount_point)=\(.state)"] | join(" ")'; }

check "a group of two disks" orvctl vg create vg1 --pv 1 --pv 2 --yes
check "a pool" orvctl pool create vg1 data 1
check "xfs on most models" orvctl pool mkfs vg1 data --yes
same "it is xfs" xfs "$(blkid -o value -s TYPE /dev/vg1/data)"
sysinfo KTA7120E
check "a second pool" orvctl pool create vg1 old 1
check "reiserfs on others" orvctl pool mkfs vg1 old --yes
same "it is reiserfs" reiserfs "$(blkid -o value -s TYPE /dev/vg1/old)"

blank="/mnt/my files"
check "a mount point with a blank" orvctl fs mkdir "$blank"
check "is mounted on" orvctl fs mount "$blank" vg1 old
same "as reiserfs" reiserfs "$(findmnt -no FSTYPE "$blank")"
check "and listed in the mount table" orvctl fs table-add "$blank" vg1 old
same "as fstab writes it" $'/dev/vg1/old\t/mnt/my\\040files\treiserfs\tdefaults\t0 0' \
  "$(cat /etc/mdfstab)"
sysinfo KTA7120X
check "the other is mounted" orvctl fs mkdir /mnt/data
check "too" orvctl fs mount /mnt/data vg1 data
check "and listed" orvctl fs table-add /mnt/data vg1 data
check_not "but not twice" orvctl fs table-add /mnt/data vg1 data
same "both are available" "$blank=available /mnt/data=available" "$(states)"
same "the probe leaves nothing behind" "" "$(ls /mnt/data)"
same "sizes are those of df" "$(df --output=size -m /mnt/data | tail -n1 | xargs)" \
  "$(orvctl fs list --json | jq -r '.file_systems[1].size_bytes / 1048576')"

echo mine >/mnt/data/test
check "a user's file named test" orvctl fs list
same "is left alone" mine "$(cat /mnt/data/test)"
dd if=/dev/zero of=/mnt/data/fill bs=1M status=none 2>/dev/null || true
same "a full file system stays available" "$blank=available /mnt/data=available" "$(states)"
rm /mnt/data/fill
mount -o remount,ro /mnt/data
same "a read-only one is not" "$blank=available /mnt/data=not available" "$(states)"
mount -o remount,rw /mnt/data

check "one is unmounted" orvctl fs umount /mnt/data
same "and shown so by the pool list too" "available" \
  "$(orvctl pool list --json | jq -r '.pools[] | select(.name == "data") | .state')"
check_not "a mounted tree is not removed" orvctl fs rmdir "$blank" --yes
check "its file system is still there" findmnt "$blank"
check "the unmounted one is" orvctl fs rmdir /mnt/data --yes
check_not "from the disk" test -e /mnt/data
check "entries are removed by mount point" orvctl fs table-remove "$blank"
same "and the other stays" $'/dev/vg1/data\t/mnt/data\txfs\tdefaults\t0 0' "$(cat /etc/mdfstab)"
