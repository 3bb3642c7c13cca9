#!/bin/bash
# The walk of ./demo: every command is shown before its answer.
# timeout: 180
set -euo pipefail

sysinfo KTA7120X
mvsata sda=1 sdb=2 sdc=3 sdd=4

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
[ "$(cat /mnt/data/hello)" = "stored on RAID 5" ]
