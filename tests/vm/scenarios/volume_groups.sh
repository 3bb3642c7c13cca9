#!/bin/bash
# Groups and pools grow and go in order; out of order they are refused.
# disks: 6x1G
# timeout: 850
# long
set -euo pipefail
# shellcheck source=tests/vm/lib.sh
source "$ORV_VM_LIB"

fast_rebuilds
sysinfo KTA7120X
mvsata sda=1 sdb=2 sdc=3 sdd=4 sde=5 sdf=6

check "an array is made" orvctl raid create --level raid1 --disks 1,2 --yes
check "and settled" eventually 150 is_idle md0
check "a group is made of it and a disk" orvctl vg create vg1 --pv md0 --pv 3 --yes
same "as LVM sees it" "/dev/md0 /dev/sdc" \
  "$(pvs --noheadings -S vg_name=vg1 -o pv_name | xargs)"
refused "the same array again" -2045 orvctl vg create vg2 --pv md0 --yes
refused "the same disk again" -2045 orvctl vg create vg2 --pv 3 --yes
refused "a member of the array" -2043 orvctl vg create vg2 --pv 1 --yes
refused "a name that is used" -2041 orvctl vg create vg1 --pv 4 --yes
refused "an unknown array" -2044 orvctl vg create vg2 --pv md7 --yes
refused "an empty bay" -2042 orvctl vg create vg2 --pv 9 --yes

check "the group is extended" orvctl vg extend vg1 4 --yes
same "by the disk in that bay" "/dev/md0 /dev/sdc /dev/sdd" \
  "$(pvs --noheadings -S vg_name=vg1 -o pv_name | xargs)"
refused "an extension in another enclosure" -2042 orvctl vg extend vg1 5 --enclosure 1 --yes

check "a pool is made" orvctl pool create vg1 data 1
refused "a pool of the same name" -2051 orvctl pool create vg1 data 1
refused "a pool larger than the group" -2053 orvctl pool create vg1 more 50
refused "an extension to the same size" -2053 orvctl pool extend vg1 data 1
refused "a group that holds a pool" -2047 orvctl vg destroy vg1 --yes
refused "an unknown pool" -2055 orvctl pool destroy vg1 other --yes
check "another disk joins" orvctl vg extend vg1 5 --yes
check "the pool is extended" orvctl pool extend vg1 data 2
same "to the size asked for" "2.00g" "$(lvs --noheadings -o lv_size vg1/data | xargs)"
check "the pool is destroyed" orvctl pool destroy vg1 data --yes
check "then the group" orvctl vg destroy vg1 --yes
same "with all its volumes" "" "$(pvs --noheadings)"
