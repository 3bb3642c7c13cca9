#!/bin/bash
# Brings arrays, volumes and file systems into the situations that the library has to read, and saves
# what the tools and the kernel say about them.
# disks: 6x200M 4x20G
# ata: 64M
# timeout: 400
set -euo pipefail
# shellcheck source=tests/vm/lib.sh
source "$ORV_VM_LIB"

place=/var/log/orv
index=$place/index.txt

# save FOLDER NAME COMMAND...: standard output of the command.
save() {
  local folder=$1 name=$2
  shift 2
  mkdir -p "$place/$folder"
  "$@" >"$place/$folder/$name.txt"
  printf '%s/%s.txt\t%s\n' "$folder" "$name" "$*" >>"$index"
}

# save_error FOLDER NAME COMMAND...: the error text of a command that fails.
save_error() {
  local folder=$1 name=$2
  shift 2
  mkdir -p "$place/$folder"
  ! "$@" 2>"$place/$folder/$name.txt" >/dev/null || return 1
  printf '%s/%s.txt\t%s\n' "$folder" "$name" "$* (standard error)" >>"$index"
}

# The names of an array's sysfs folder and the contents of those that are read.
sysfs_of_array() {
  local file
  cd "/sys/block/$1/md"
  ls
  for file in raid_disks array_state degraded sync_action dev-*/state dev-*/slot; do
    [ ! -r "$file" ] || echo "$file: $(cat "$file")"
  done
  cd /
}

# Everything about one array in one situation.
save_array() {
  save mdadm_detail "$2" mdadm --detail "/dev/$1"
  save mdstat "$2" cat /proc/mdstat
  save sysfs_md "$2" sysfs_of_array "$1"
}

create() {
  local name=$1
  shift
  mdadm -q -C "/dev/$name" -R "$@"
}

# stop ARRAY DISK...: and forget that the disks were members.
stop() {
  mdadm -q -S "/dev/$1"
  shift
  [ $# -eq 0 ] || mdadm -q --zero-superblock "$@"
}

settle() { eventually 120 is_idle "$1"; }

capture_raid5() {
  local members=(/dev/sda /dev/sdb /dev/sdc /dev/sdd)
  slow_rebuilds
  create md0 --bitmap=internal --bitmap-chunk=16384 -l 5 -n 4 "${members[@]}"
  sleep 2
  save_array md0 raid5_first_rebuild
  fast_rebuilds
  settle md0
  save_array md0 raid5_clean
  save mdadm_examine raid5_member mdadm --examine /dev/sda
  mdadm -q /dev/md0 -f /dev/sdb
  sleep 1
  save_array md0 raid5_degraded_failed
  mdadm -q /dev/md0 --remove /dev/sdb
  save_array md0 raid5_degraded_removed
  slow_rebuilds
  mdadm -q /dev/md0 -a /dev/sde
  sleep 2
  save_array md0 raid5_recovering
  fast_rebuilds
  settle md0
  mdadm -q /dev/md0 -a /dev/sdf
  save_array md0 raid5_clean_spare
  save mdadm_examine raid5_spare mdadm --examine /dev/sdf
  mdadm -q /dev/md0 --remove /dev/sdf
  capture_raid5_lost
  stop md0 "${members[@]}" /dev/sde /dev/sdf
}

# Two members fail, then the array is assembled from too few.
capture_raid5_lost() {
  mdadm -q /dev/md0 -f /dev/sda
  mdadm -q /dev/md0 -f /dev/sdc || true
  sleep 1
  save_array md0 raid5_failed
  save mdadm_examine raid5_member_of_failed mdadm --examine /dev/sdd
  stop md0
  mdadm -q -I /dev/sdd || true
  save_array md0 raid5_inactive
}

capture_raid1() {
  slow_rebuilds
  create md1 -l 1 -n 2 /dev/sda /dev/sdb
  sleep 2
  save_array md1 raid1_resyncing
  stop md1
  mdadm -q -A /dev/md1 /dev/sda /dev/sdb
  save_array md1 raid1_resync_pending
  mdadm -q --readwrite /dev/md1
  fast_rebuilds
  settle md1
  save_array md1 raid1_clean
  slow_rebuilds
  echo check >/sys/block/md1/md/sync_action
  sleep 2
  save_array md1 raid1_checking
  echo idle >/sys/block/md1/md/sync_action
  mdadm -q /dev/md1 -f /dev/sdb
  sleep 1
  save_array md1 raid1_degraded_failed
  mdadm -q -o /dev/md1
  save_array md1 raid1_read_only
  stop md1 /dev/sda /dev/sdb
}

capture_raid6() {
  slow_rebuilds
  create md2 -l 6 -n 4 /dev/sda /dev/sdb /dev/sdc /dev/sdd
  sleep 2
  save_array md2 raid6_resyncing
  fast_rebuilds
  settle md2
  save_array md2 raid6_clean
  mdadm -q /dev/md2 -f /dev/sda /dev/sdb
  sleep 1
  save_array md2 raid6_degraded_two_failed
  stop md2 /dev/sda /dev/sdb /dev/sdc /dev/sdd
}

capture_unprotected() {
  create md3 -l 0 -n 2 /dev/sda /dev/sdb
  save_array md3 raid0_clean
  create md4 -l linear -n 2 /dev/sdc /dev/sdd
  save_array md4 linear_clean
  save mdadm_examine raid0_member mdadm --examine /dev/sda
  stop md3 /dev/sda /dev/sdb
  stop md4 /dev/sdc /dev/sdd
}

# Two arrays on parts of the same disks: the second rebuild waits for the first.
capture_delayed() {
  local disk
  for disk in g h; do
    printf 'label: gpt\nsize=1GiB\nsize=1GiB\n' | sfdisk -q "/dev/sd$disk"
  done
  udevadm settle
  slow_rebuilds
  create md5 -l 1 -n 2 /dev/sdg1 /dev/sdh1
  create md6 -l 1 -n 2 /dev/sdg2 /dev/sdh2
  sleep 2
  save_array md6 raid1_resync_delayed
  save proc partitions_with_parts cat /proc/partitions
  stop md5 /dev/sdg1 /dev/sdh1
  stop md6 /dev/sdg2 /dev/sdh2
  wipefs -qa /dev/sdg /dev/sdh
  udevadm settle
}

capture_no_array() {
  save mdstat no_arrays cat /proc/mdstat
  save_error mdadm_detail missing_device mdadm --detail /dev/md9
  save_error mdadm_detail not_an_array mdadm --detail /dev/sda
  save_error mdadm_examine no_superblock mdadm --examine /dev/sda
}

# save_lvm NAME: the three listings.
save_lvm() {
  save pvdisplay "$1" /sbin/pvdisplay -c
  save vgdisplay "$1" /sbin/vgdisplay -c
  save lvdisplay "$1" /sbin/lvdisplay -c
}

capture_lvm() {
  save_lvm none
  create md0 -l 1 -n 2 /dev/sda /dev/sdb
  pvcreate -q /dev/md0 /dev/sdg /dev/sdh /dev/sdi
  save_lvm pvs_without_group
  vgcreate -q vg1 /dev/md0 /dev/sdg
  vgcreate -q vg-two /dev/sdh
  save_lvm no_pools
  lvcreate -q -L 10G -n data vg1
  lvcreate -q -L 5G -n backup-1 vg1
  lvcreate -q -l 100%FREE -n all vg-two
  save_lvm pools
  save lvm_backup md_and_disk cat /etc/lvm/backup/vg1
  lvchange -q -an vg1/backup-1
  save_lvm inactive_pool
  capture_mounts
  lvcreate -q -s -L 1G -n snap vg1/data
  save_lvm snapshot
  lvremove -qf vg1/snap
  vgchange -q -an vg-two
  vgexport -q vg-two
  save_lvm exported_group
  capture_lost_volume
}

capture_mounts() {
  mkfs.xfs -q -f /dev/vg1/data
  mkfs.reiserfs -q -f /dev/vg-two/all >/dev/null
  mkdir -p /mnt/data "/mnt/with blank"
  mount -t xfs -o inode64 /dev/vg1/data /mnt/data
  mount -t reiserfs /dev/vg-two/all "/mnt/with blank"
  save proc mounts cat /proc/mounts
  save proc partitions cat /proc/partitions
  umount /mnt/data "/mnt/with blank"
}

# A disk of the group is pulled.
capture_lost_volume() {
  vgchange -q -an vg1
  echo 1 >/sys/block/sdg/device/delete
  udevadm settle
  save_lvm lost_disk
}

# Disks are pulled from running arrays.
capture_pulled_members() {
  mdadm -q -S /dev/md0
  mdadm -q --zero-superblock /dev/sda /dev/sdb
  create md7 -l 0 -n 2 /dev/sda /dev/sdb
  create md8 -l 1 -n 2 --assume-clean /dev/sdc /dev/sdd
  echo 1 >/sys/block/sdb/device/delete
  echo 1 >/sys/block/sdd/device/delete
  udevadm settle
  sleep 1
  save_array md7 raid0_member_pulled
  save_array md8 raid1_member_pulled
}

capture_disks() {
  local file
  for file in size device/state device/model; do
    save sysfs_disk "${file##*/}" cat "/sys/block/sda/$file"
  done
}

# A disk with SMART and one without, asked as the library asks.
capture_smart() {
  local ask=(smartctl -d marvell -T permissive -Hi)
  add_ata_disk
  eventually 20 test -b "/dev/$1"
  save smartctl summary "${ask[@]}" "/dev/$1"
  save smartctl attributes "${ask[@]}" --attributes "/dev/$1"
  save smartctl no_smart smartctl -T permissive -Hi /dev/sda
}

tool_versions() {
  uname -sr
  mdadm --version 2>&1
  lvm version | head -n1
  mkfs.xfs -V
  smartctl --version | head -n1
}

mkdir -p "$place"
tool_versions >"$place/versions.txt"
capture_disks
capture_smart sdk
capture_no_array
capture_raid5
capture_raid1
capture_raid6
capture_unprotected
capture_delayed
capture_lvm
capture_pulled_members
check "fixtures were saved" test "$(wc -l <"$index")" -gt 50
