# shellcheck shell=bash
# The walk of ./demo, from bare disks to a client's file and through the failure of a disk. Whoever
# sources it says where it happens:
#
#   inside COMMAND     runs a command line on the appliance
#   client_reads       a client reads the file "hello" of the share "data", and stays connected
#   disk_fails         the disk in bay 2 fails, and another takes its place

text="stored on RAID 5"

# tell WORDS...: a line between the commands.
tell() { printf '\n# %s\n' "$*"; }

# show COMMAND: prints a command of the appliance and runs it.
show() {
  printf '\n$ %s\n' "$1"
  inside "$1"
}

storage() {
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
  show "echo '$text' > /mnt/data/hello"
  show "cat /mnt/data/hello"

  tell "What the system's own tools say"
  show "df -h /mnt/data"
  show "cat /proc/mdstat"
}

sharing() {
  tell "A user, a share on the pool, and its service"
  show "echo 'rose bush' | orvctl user add alice"
  show "orvctl share add data --service samba --path /mnt/data --users alice --comment 'Files of alice'"
  show "orvctl service start samba"
  show "orvctl service list"
  show "orvctl share list"

  tell "A client of the share is seen"
  client_reads
  show "orvctl client list"
}

failure() {
  tell "The array is built; then the disk in bay 2 fails"
  show "orvctl raid watch md0"
  disk_fails
  tell "The array is whole again, and the data intact"
  show "orvctl raid list"
  show "cat /mnt/data/hello"
  [ "$(inside "cat /mnt/data/hello")" = "$text" ]
  show "orvctl status"
}

walk() {
  storage
  sharing
  failure
}
