#!/bin/bash
# The machine itself is fit for the other scenarios: disks in their order, real arrays, volumes and
# both file systems, and the simulators. Nothing of the product is used.
# disks: 4x300M 2x200M
# timeout: 300
set -euo pipefail
# shellcheck source=tests/vm/lib.sh
source "$ORV_VM_LIB"

disk_order() { lsblk -dnro NAME,SERIAL | grep ^sd | paste -sd ' '; }

same "disks come in the order of their serial numbers" \
  "sda disk01 sdb disk02 sdc disk03 sdd disk04 sde disk05 sdf disk06" "$(disk_order)"
same "disks have the sizes that were asked for" \
  "314572800 209715200" "$(lsblk -bdnro SIZE /dev/sda /dev/sde | paste -sd ' ')"

fast_rebuilds
check "an array is made" mdadm -C /dev/md0 -l 5 -n 3 -R /dev/sda /dev/sdb /dev/sdc
check "its node appears" test -b /dev/md0
check "its first rebuild ends" eventually 150 is_idle md0
mdadm -q /dev/md0 -f /dev/sdb
eventually 5 test ! -e /sys/block/md0/md/rd1
check "a failed member can be removed with -r" mdadm --manage /dev/md0 -r /dev/sdb
check "and is no member any more" eventually 10 test ! -e /sys/block/md0/md/dev-sdb
pvcreate -q /dev/md0
vgcreate -q vg1 /dev/md0
check "a volume is made" lvcreate -q -L 500M -n data vg1
check "its node appears" test -b /dev/vg1/data

mkdir /mnt/data
for type in xfs reiserfs; do
  check "mkfs.$type asks nothing" "mkfs.$type" -f /dev/vg1/data
  check "$type can be mounted" mount -t "$type" /dev/vg1/data /mnt/data
  random_file /mnt/data/file 4
  check "$type can be written" test -s /mnt/data/file
  umount /mnt/data
done
check "an empty folder can be made immutable" chattr +i /mnt/data
check_not "and refuses a file then" touch /mnt/data/file

lvremove -qf vg1/data
check "the node of a removed volume goes" eventually 10 test ! -e /dev/vg1/data
vgremove -qf vg1
pvremove -q /dev/md0
mdadm -S /dev/md0
check "the node of a stopped array goes" eventually 10 test ! -e /dev/md0

modprobe brd
check "a lost physical volume can be made anew on a RAM disk" \
  /sbin/pvcreate -u 36ZMSo-YG0w-Uj9O-7xlG-zwUp-j1BV-4igjV1 /dev/ram1

mvsata sda=1 sdb=9 sdc=7@3
same "the disk driver has a file for each disk" 3 "$(find /proc/scsi/mvSata -type f | wc -l)"
check "a disk that was in an array can be wiped" diskformat /dev/sdb
check_not "then it has no superblock" mdadm --examine /dev/sdb
mkfs.ext4 -q /dev/sde
mount /dev/sde /mnt
check_not "a mounted disk is not wiped" diskformat /dev/sde
umount /mnt
mdadm -q -A /dev/md0 -R /dev/sda /dev/sdc
check_not "a member of an array is not wiped" diskformat /dev/sdc

same "there is no hot spare at first" "Global hotspare disk:" "$(hotspare --list)"
hotspare -a /dev/sdd
hotspare -a /dev/sde
check_not "a spare is not added twice" hotspare -a /dev/sdd
same "hot spares are listed" "Global hotspare disk: sdd sde" "$(hotspare --list)"
hotspare -r /dev/sdd
same "a removed one is not" "Global hotspare disk: sde" "$(hotspare --list)"

logger -t orv "line for the system log"
check "the system log is written" eventually 5 grep -q "line for the system log" /var/log/messages
