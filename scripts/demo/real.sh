#!/bin/bash
# The walk of ./demo --real, in the virtual machine: real disks, md, LVM, XFS and Samba.
# timeout: 600
set -euo pipefail
# shellcheck source=scripts/demo/walk.sh
source /orv/demo/walk.sh

sysinfo KTA7120X
mvsata sda=1 sdb=2 sdc=3 sdd=4
modprobe dummy numdummies=0
ip link add lan type dummy
ip address add 10.1.0.1/16 dev lan
ip link set lan up
echo 1000000 >/proc/sys/dev/raid/speed_limit_min
echo 2000000 >/proc/sys/dev/raid/speed_limit_max

inside() { bash -c "$1"; }

client_reads() {
  show "smbclient -U 'alice%rose bush' //10.1.0.1/data -c 'get hello -'"
  (sleep 60 | smbclient -U 'alice%rose bush' //10.1.0.1/data >/dev/null 2>&1) &
  until smbstatus --shares | grep -q '^data '; do sleep 0.2; done
}

disk_fails() {
  show "orvctl raid fail md0 2 --yes"
  show "orvctl raid list"
  show "orvctl raid remove md0 2"
  show "orvctl raid add md0 4 --yes"
  show "orvctl raid watch md0"
}

alarmd &
walk
smbclient -U 'alice%rose bush' //10.1.0.1/data -c 'get hello /tmp/hello' >/dev/null 2>&1
[ "$(cat /tmp/hello)" = "$text" ]
