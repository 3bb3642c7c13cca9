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

# libblockdev complains when it has no folder of settings.
mkdir -p /etc/libblockdev/conf.d

# started: sets the variable of this name to how many processes and threads there have been.
started() {
  local key value
  while read -r key value; do [ "$key" != processes ] || started=$value; done </proc/stat
}

# time_of FILE COMMAND...: adds a line to the file: milliseconds that it took, and processes.
time_of() {
  local file=$1 before start end
  shift
  started && before=$started
  start=${EPOCHREALTIME/./}
  "$@" >/dev/null
  end=${EPOCHREALTIME/./}
  started
  echo "$(((end - start) / 1000)) ms, $((started - before)) processes" >>"$file"
}

median() { sort -n "$1" | sed -n "$((rounds / 2 + 1))p"; }

# compare SUBJECT [WORDS...]: the library, a script of the commands that it runs, and libblockdev, in turns.
compare() {
  local round sides=(/tmp/ours /tmp/script /tmp/other)
  rm -f "${sides[@]}" /tmp/commands
  COMMANDS_TO=/tmp/commands LD_PRELOAD=noted_commands.so orv_report "$1" >/dev/null
  for ((round = 0; round < rounds; round++)); do
    time_of /tmp/ours orv_report "$1"
    time_of /tmp/script sh /tmp/commands
    time_of /tmp/other blockdev "$@"
  done
  echo "$1: ours $(median /tmp/ours); its commands by a script $(median /tmp/script);" \
    "libblockdev $(median /tmp/other)"
}

# names COMMAND...: the first words of its lines, in order.
names() { "$@" | awk '{ print $1 }' | sort | xargs; }

for subject in arrays groups pools; do
  # shellcheck disable=SC2086
  same "both name the same $subject" "$(names blockdev $subject $arrays)" "$(names orv_report $subject)"
  # shellcheck disable=SC2086
  compare $subject $arrays
done
