#!/bin/bash
# The walk of ./demo: every command is shown before its answer.
# timeout: 400
set -euo pipefail

sysinfo KTA7120X
mvsata sda=1 sdb=2 sdc=3 sdd=4
modprobe dummy numdummies=0
ip link add lan type dummy
ip address add 10.1.0.1/16 dev lan
ip link set lan up

# tell WORDS...: a line between the commands.
tell() { printf '\n# %s\n' "$*"; }

# show COMMAND: prints the command and runs it.
show() {
  printf '\n$ %s\n' "$1"
  bash -c "$1"
}

tell "An appliance with disks in its bays"
show "orvctl system info"
show "orvctl disk list"

tell "An array of three of them"
show "orvctl raid create --level raid5 --disks 1,2,3 --yes"
show "orvctl raid list"

tell "A volume group on the array, a pool in the group, a file system on the pool"
show "orvctl vg create vg1 --pv md0 --yes"
show "orvctl pool create vg1 data 2"
show "orvctl pool mkfs vg1 data --yes"
show "orvctl vg list"
show "orvctl pool list"

tell "A mount point, the mount, and its entry in the mount table"
show "orvctl fs mkdir /mnt/data"
show "orvctl fs mount /mnt/data vg1 data"
show "orvctl fs table-add /mnt/data vg1 data"
show "orvctl fs list"

tell "A file is written and read back"
show "echo 'stored on RAID 5' > /mnt/data/hello"
show "cat /mnt/data/hello"

tell "What the system's own tools say"
show "findmnt /mnt/data"
show "cat /proc/mdstat"

tell "A user, a share on the pool, and its service"
show "echo 'rose bush' | orvctl user add alice"
show "orvctl share add data --service samba --path /mnt/data --users alice --comment 'Files of alice'"
show "orvctl service start samba"
show "orvctl service list"
show "orvctl share list"

tell "A client reads the file through it, and is seen"
show "smbclient -U 'alice%rose bush' //10.1.0.1/data -c 'get hello -'"
(sleep 30 | smbclient -U 'alice%rose bush' //10.1.0.1/data >/dev/null 2>&1) &
until smbstatus --shares | grep -q '^data '; do sleep 0.2; done
show "orvctl client list"

smbclient -U 'alice%rose bush' //10.1.0.1/data -c 'get hello /tmp/hello' >/dev/null 2>&1
[ "$(cat /tmp/hello)" = "stored on RAID 5" ]
