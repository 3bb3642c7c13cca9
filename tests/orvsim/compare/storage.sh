#!/bin/bash
# Arrays, groups, pools and file systems through the system's own tools, in the virtual machine and in
# the simulated appliance: every command with all that it prints and how it ends.
# disks: 7x200M 2x20G 1x150M
# timeout: 600
set -uo pipefail

said=$(mktemp -d)
# The real kernel needs a moment for what it does by itself.
moment=${COMPARE_MOMENT:-1}

# say COMMAND: shows the command, its standard output, its standard error, and its exit status.
say() {
  local status=0
  printf '$ %s\n' "$1"
  bash -c "$1" >"$said/out" 2>"$said/err" </dev/null || status=$?
  sed 's/^/1| /' "$said/out"
  sed 's/^/2| /' "$said/err"
  printf '= %d\n\n' "$status"
}

# settled ARRAY: waits until nothing is rebuilt, and until md has written that down.
settled() {
  local try
  for ((try = 0; try < 600; try++)); do
    [ "$(cat "/sys/block/$1/md/sync_action" 2>/dev/null || echo idle)" != idle ] || break
    sleep 0.1
  done
  sleep "$moment"
}

# members ARRAY: the states that the kernel has for members.
members() {
  say "cd /sys/block/$1/md && for f in raid_disks level array_state degraded sync_action dev-*/state dev-*/slot; do [ ! -e \$f ] || echo \$f: \$(cat \$f); done"
}

# about ARRAY: everything that tells of it.
about() {
  say "mdadm --detail /dev/$1"
  say "cat /proc/mdstat"
  members "$1"
}

speed() {
  echo "$1" >/proc/sys/dev/raid/speed_limit_min
  echo "$2" >/proc/sys/dev/raid/speed_limit_max
}

sysinfo KTA7120X
mvsata sda=1 sdb=2 sdc=3 sdd=4 sde=5 sdf=6 sdg=1@1 sdh=2@3 sdi=16

disks() {
  say "cat /proc/scsi/mvSata/0"
  say "cat /proc/scsi/mvSata/6"
  say "ls /proc/scsi/mvSata"
  say "cat /sys/block/sda/size /sys/block/sda/device/state /sys/block/sda/dev"
  say "grep -E ' (sd|md|dm)' /proc/partitions"
  say "hotspare --list"
  say "hotspare -a /dev/sdg"
  say "hotspare -a /dev/sdg"
  say "hotspare --list"
  say "hotspare -r /dev/sdg"
  say "hotspare -r /dev/sdg"
  say "hotspare -a /dev/sdzz"
  say "diskformat /dev/sda"
  say "diskformat /dev/nothing"
  say "diskformat"
}

nothing_there() {
  say "cat /proc/mdstat"
  say "mdadm --version"
  say "mdadm --detail /dev/md9"
  say "mdadm --detail /dev/sda"
  say "mdadm --examine /dev/sda"
  say "mdadm -S /dev/md9"
  say "mdadm /dev/md9 -f /dev/sda"
  say "mdadm --manage /dev/md9 --add /dev/sda"
  say "mdadm --zero-superblock /dev/sda"
  say "mdadm --nonsense"
  say "mdadm -C /dev/md0 -n 2 /dev/sda /dev/sdb"
  say "mdadm -C /dev/md0 -l 7 -n 2 -R /dev/sda /dev/sdb"
  say "mdadm -C /dev/md0 -l 5 -n 1 -R /dev/sda"
  say "mdadm -C /dev/md0 -l 5 -n 3 -R /dev/sda /dev/sdb"
  say "mdadm -C /dev/md0 -l 1 -n 2 -R /dev/sda /dev/sdb /dev/sdc"
  say "mdadm -C /dev/md0 -l 1 -n 2 -R /dev/sda /dev/sdzz"
}

raid5() {
  speed 2000 2000
  say "mdadm -C --bitmap=internal --bitmap-chunk=16384 /dev/md0 -l 5 -n 4 -R /dev/sda /dev/sdb /dev/sdc /dev/sdd"
  about md0
  speed 1000000 2000000
  settled md0
  about md0
  say "mdadm --examine /dev/sda"
  say "mdadm --examine /dev/sdd"
  say "mdadm -C /dev/md0 -l 1 -n 2 -R /dev/sde /dev/sdf"
  say "mdadm -C /dev/md1 -l 1 -n 2 -R /dev/sda /dev/sdf"
  say "mdadm --manage /dev/md0 --add /dev/sda"
  say "mdadm --manage /dev/md0 --add /dev/sdj"
  say "mdadm --manage /dev/md0 --add /dev/sdzz"
  say "mdadm --manage /dev/md0 -r /dev/sda"
  say "mdadm --manage /dev/md0 -r /dev/sde"
  say "mdadm --manage /dev/md0 -r /dev/sdzz"
  say "mdadm /dev/md0 -f /dev/sde"
  say "mdadm /dev/md0 -f /dev/sdb"
  sleep "$moment"
  about md0
  say "mdadm --manage /dev/md0 -r /dev/sdb"
  about md0
  speed 2000 2000
  say "mdadm --manage /dev/md0 --add /dev/sde"
  sleep 0.5
  about md0
  say "mdadm --manage /dev/md0 -r /dev/sde"
  speed 1000000 2000000
  settled md0
  say "mdadm --manage /dev/md0 --add /dev/sdf"
  about md0
  say "mdadm --examine /dev/sdf"
  say "mdadm /dev/md0 -f /dev/sda"
  settled md0
  about md0
  say "mdadm /dev/md0 -f /dev/sdc"
  sleep "$moment"
  about md0
  say "mdadm /dev/md0 -f /dev/sdd"
  sleep "$moment"
  about md0
  say "mdadm --manage /dev/md0 --add /dev/sdb"
  say "mdadm -S /dev/md0"
  say "mdadm -A /dev/md0 /dev/sde /dev/sdf"
  say "cat /proc/mdstat"
  say "mdadm -S /dev/md0"
  say "mdadm --zero-superblock /dev/sda /dev/sdb /dev/sdc /dev/sdd /dev/sde /dev/sdf"
}

raid1() {
  speed 2000 2000
  say "mdadm -C /dev/md1 -l 1 -n 2 -R /dev/sda /dev/sdb"
  about md1
  speed 1000000 2000000
  settled md1
  about md1
  say "mdadm /dev/md1 -f /dev/sdb"
  sleep "$moment"
  say "mdadm /dev/md1 -f /dev/sda"
  about md1
  say "mdadm --manage /dev/md1 -r /dev/sdb"
  say "mdadm --manage /dev/md1 --add /dev/sdb"
  settled md1
  about md1
  say "echo check >/sys/block/md1/md/sync_action"
  settled md1
  say "mdadm -o /dev/md1"
  about md1
  say "mdadm -w /dev/md1"
  say "mdadm -S /dev/md1"
  say "mdadm -A /dev/md1 /dev/sda /dev/sdb"
  about md1
  say "mdadm -A /dev/md1 /dev/sda /dev/sdb"
  say "mdadm -S /dev/md1"
  say "mdadm -A /dev/md1 /dev/sda"
  say "mdadm -C /dev/md1 -l 1 -n 2 -R /dev/sda /dev/sdb"
  settled md1
  say "mdadm -S /dev/md1"
  say "mdadm --zero-superblock /dev/sda /dev/sdb"
}

raid6() {
  say "mdadm -C /dev/md2 -l 6 -n 4 -R /dev/sda /dev/sdb /dev/sdc /dev/sdd"
  settled md2
  about md2
  say "mdadm /dev/md2 -f /dev/sda"
  say "mdadm /dev/md2 -f /dev/sdb"
  sleep "$moment"
  about md2
  say "mdadm -S /dev/md2"
  say "mdadm -A /dev/md2 /dev/sdc /dev/sdd"
  about md2
  say "mdadm -S /dev/md2"
  say "mdadm --zero-superblock /dev/sda /dev/sdb /dev/sdc /dev/sdd"
}

unprotected() {
  say "mdadm -C /dev/md3 -l 0 -n 2 -R /dev/sda /dev/sdb"
  say "mdadm -C /dev/md4 -l linear -n 2 -R /dev/sdc /dev/sdd"
  about md3
  about md4
  say "mdadm --examine /dev/sda"
  say "mdadm /dev/md3 -f /dev/sda"
  say "mdadm --manage /dev/md3 --add /dev/sde"
  say "mdadm -S /dev/md3"
  say "mdadm -I /dev/sda"
  say "mdadm --detail /dev/md3"
  say "cat /proc/mdstat"
  say "mdadm -I /dev/sdb"
  say "cat /proc/mdstat"
  say "mdadm -S /dev/md3"
  say "mdadm -S /dev/md4"
  say "mdadm --zero-superblock /dev/sda /dev/sdb /dev/sdc /dev/sdd"
}

listings() {
  say "pvdisplay -c"
  say "vgdisplay -c"
  say "lvdisplay -c"
}

groups() {
  mdadm -q -C /dev/md0 -l 1 -n 2 -R /dev/sda /dev/sdb
  settled md0
  listings
  say "pvcreate /dev/md0 /dev/sdh"
  say "pvcreate /dev/sda"
  say "pvcreate /dev/sdzz"
  say "pvremove /dev/sdc"
  listings
  say "vgcreate vg1 /dev/md0"
  say "vgcreate vg1 /dev/sdi"
  say "vgcreate vg2 /dev/md0"
  say "vgcreate vg2 /dev/sdzz"
  say "pvcreate /dev/md0"
  say "pvremove /dev/md0"
  say "vgextend vg1 /dev/sdh"
  say "vgextend vg9 /dev/sdi"
  say "vgextend vg1 /dev/sdh"
  say "vgcreate vg-two /dev/sdi"
  listings
  say "pvs"
  say "vgs"
  say "lvs"
  say "cat /etc/lvm/backup/vg1"
}

pools() {
  say "lvcreate -L 10G -n data vg1"
  say "lvcreate -L 1G -n data vg1"
  say "lvcreate -L 50G -n more vg1"
  say "lvcreate -L 1G -n more vg9"
  say "lvcreate -L 5G -n backup-1 vg1"
  say "lvcreate -l 100%FREE -n all vg-two"
  listings
  say "lvs"
  say "lvextend -L 11G /dev/vg1/data"
  say "lvextend -L 11G /dev/vg1/data"
  say "lvextend -L 1G /dev/vg1/data"
  say "lvextend -L 100G /dev/vg1/data"
  say "lvextend -L 100G /dev/vg1/none"
  say "cat /etc/lvm/backup/vg1"
  say "vgremove vg1"
  say "lvremove vg1/data"
  say "lvremove -f vg1/none"
  say "lvremove -f vg1/backup-1"
  say "pvdisplay /dev/sdh"
  say "vgdisplay vg1"
  say "lvdisplay /dev/vg1/data"
}

file_systems() {
  say "mount -t xfs /dev/vg1/data /mnt"
  say "mkfs.xfs -f -ssize=4k /dev/vg1/data"
  say "mkfs.xfs /dev/vg1/data"
  say "mkfs.xfs -f /dev/vg1/none"
  mkfs.reiserfs -f /dev/vg-two/all >/dev/null 2>&1
  say "blkid -o value -s TYPE /dev/vg1/data"
  say "blkid -o value -s TYPE /dev/vg-two/all"
  mkdir -p /mnt/data "/mnt/with blank"
  say "mount -t xfs -o inode64 /dev/vg1/data /mnt/data"
  say "mount -t xfs -o inode64 /dev/vg1/data /mnt/data"
  say "mount -t xfs -o inode64 /dev/vg1/none /mnt/data"
  say "mount -t xfs /dev/vg-two/all '/mnt/with blank'"
  say "mount -t xfs /dev/vg1/data /mnt/none"
  say "mount -t reiserfs /dev/vg-two/all '/mnt/with blank'"
  say "grep /mnt /proc/mounts"
  say "findmnt -no SOURCE,FSTYPE /mnt/data"
  say "df /mnt/data"
  say "df -m '/mnt/with blank'"
  listings
  say "grep -E ' (sd|md|dm)' /proc/partitions"
  say "lvremove -f vg1/data"
  say "mkfs.xfs -f /dev/vg1/data"
  say "mdadm -S /dev/md0"
  say "vgchange -an vg1"
  say "(cd /mnt/data && umount /mnt/data)"
  say "mount -o remount,ro /mnt/data"
  say "grep /mnt/data /proc/mounts"
  say "touch /mnt/data/file"
  say "umount /mnt/data"
  say "umount /mnt/data"
  say "umount /mnt/none"
  umount "/mnt/with blank"
  say "chattr +i /mnt/data"
  say "lsattr -d /mnt/data"
  say "chattr -i /mnt/data"
  say "chattr +i /mnt/none"
}

losses() {
  say "vgchange -an vg1"
  listings
  echo 1 >/sys/block/sdh/device/delete
  sleep "$moment"
  listings
  say "lvcreate -L 1G -n other vg1"
  say "vgcfgrestore vg1"
  say "vgchange -an vg-two"
  say "lvremove -f vg-two/all"
  say "vgremove vg-two"
  say "pvremove /dev/sdi"
  say "pvremove /dev/sdi"
  listings
}

mkdir -p /var/lib/orv-sim
disks
nothing_there
raid5
raid1
raid6
unprotected
groups
pools
file_systems
losses
rm -rf "$said"
