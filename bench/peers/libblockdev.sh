#!/bin/bash
# The library and libblockdev asked in turns for the same arrays, groups and pools. (Of pools of one name
# in several groups libblockdev lists the first one.)
# disks: 6x1G
# timeout: 850
set -euo pipefail
# shellcheck source=tests/vm/lib.sh
source "$ORV_VM_LIB"

rounds=5
arrays="md0 md1 md2"

fast_rebuilds
sysinfo KTA7120X
mvsata sda=1 sdb=2 sdc=3 sdd=4 sde=5 sdf=6
disks=(sda sdb sdc sdd sde sdf)
for i in 0 1 2; do
  mdadm --create "/dev/md$i" --run --assume-clean --level=1 --raid-devices=2 \
    "/dev/${disks[2 * i]}" "/dev/${disks[2 * i + 1]}" 2>/dev/null
  pvcreate -q "/dev/md$i" && vgcreate -q "vg$i" "/dev/md$i"
  lvcreate -q -y -n "data$i" -L 100M "vg$i"
done >/dev/null

# milliseconds COMMAND...: how long it took.
milliseconds() {
  local start=$EPOCHREALTIME
  "$@" >/dev/null
  echo $(((${EPOCHREALTIME/./} - ${start/./}) / 1000))
}

median() { sort -n | sed -n "$((rounds / 2 + 1))p"; }

# compare SUBJECT [WORDS...]: both in turns.
compare() {
  local round
  : >/tmp/ours && : >/tmp/other
  for ((round = 0; round < rounds; round++)); do
    milliseconds orv_report "$1" >>/tmp/ours
    milliseconds blockdev "$@" >>/tmp/other
  done
  echo "$1: ours $(median </tmp/ours) ms, libblockdev $(median </tmp/other) ms"
}

# names COMMAND...: the first words of its lines, in order.
names() { "$@" | awk '{ print $1 }' | sort | xargs; }

for subject in arrays groups pools; do
  # shellcheck disable=SC2086
  same "both name the same $subject" "$(names blockdev $subject $arrays)" "$(names orv_report $subject)"
  # shellcheck disable=SC2086
  compare $subject $arrays
done
