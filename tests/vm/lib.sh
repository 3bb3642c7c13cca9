# shellcheck shell=bash
# What scenarios share. A scenario begins with
#
#   set -euo pipefail
#   source "$ORV_VM_LIB"
#
# and consists of commands that must work and of checks. A failed check is reported and the scenario
# goes on; at its end it fails when a check failed or when nothing was checked.

checks=0
failed_checks=0

close_scenario() {
  local code=$?
  echo "$checks checks, $failed_checks failed"
  [ "$code" -eq 0 ] || echo "the scenario stopped early with exit code $code"
  [ "$checks" -gt 0 ] && [ "$failed_checks" -eq 0 ] && [ "$code" -eq 0 ] || exit 1
}
trap close_scenario EXIT

# report RESULT DESCRIPTION DETAILS
report() {
  checks=$((checks + 1))
  if [ "$1" -eq 0 ]; then
    echo "ok      $2"
  else
    failed_checks=$((failed_checks + 1))
    echo "FAILED  $2"
    printf '        | %s\n' "${3//$'\n'/$'\n        | '}"
  fi
}

# check DESCRIPTION COMMAND...: the command succeeds.
check() {
  local description=$1 output result=0
  shift
  output=$("$@" 2>&1) || result=$?
  report "$result" "$description" "$* -> $result"$'\n'"$output"
}

# check_not DESCRIPTION COMMAND...: the command fails.
check_not() {
  local description=$1 output result=0
  shift
  output=$("$@" 2>&1) || result=$?
  report $((result == 0)) "$description" "$* -> $result"$'\n'"$output"
}

# same DESCRIPTION EXPECTED ACTUAL: two texts are equal.
same() {
  local result=0
  [ "$2" = "$3" ] || result=1
  report "$result" "$1" "expected: $2"$'\n'"actual:   $3"
}

# eventually SECONDS COMMAND...: repeats the command until it succeeds.
eventually() {
  local end=$((SECONDS + $1))
  shift
  until "$@" >/dev/null 2>&1; do
    [ "$SECONDS" -lt "$end" ] || return 1
    sleep 0.2
  done
}

# member_state ARRAY DISK: the word that the kernel has for a member.
member_state() { cat "/sys/block/$1/md/dev-$2/state"; }

sync_action() { cat "/sys/block/$1/md/sync_action"; }

is_idle() { [ "$(sync_action "$1")" = idle ] && [ "$(cat "/sys/block/$1/md/degraded")" = 0 ]; }

# Rebuilds crawl, so that they can be watched, or run as fast as the machine can.
slow_rebuilds() { set_rebuild_speed 2000 2000; }
fast_rebuilds() { set_rebuild_speed 1000000 2000000; }

set_rebuild_speed() {
  echo "$1" >/proc/sys/dev/raid/speed_limit_min
  echo "$2" >/proc/sys/dev/raid/speed_limit_max
}

# examine_all: puts into $examined what every data disk says about itself, for comparing before and
# after. A superblock is written some time after its array changed, to one member after the other,
# so what differs from the last time is looked at again until it stays.
examined=

examine_all() {
  local last=$examined try
  for ((try = 0; try < 20; try++)); do
    examined=$(examine_once)
    [ "$examined" != "$last" ] || return 0
    last=$examined
    sleep 1
  done
}

examine_once() {
  mdadm --examine /dev/sd[a-z] 2>&1 || true
  wipefs /dev/sd[a-z]
}

# refused NAME CODE COMMAND...: the command ends with this code and no disk changes.
refused() {
  local name=$1 code=$2 before output result=0
  shift 2
  examine_all
  before=$examined
  output=$("$@" 2>&1) || result=$?
  report "$((result == 0))" "$name is refused" "$output"
  check "$name: the code is $code" grep -q -- "($code)" <<<"$output"
  examine_all
  same "$name: no disk has changed" "$before" "$examined"
}

# random_file FILE MEGABYTES
random_file() { dd if=/dev/urandom of="$1" bs=1M count="$2" status=none; }

# add_ata_disk: the disk that the scenario asks for with "ata:" gets its driver and the next letter.
add_ata_disk() {
  local host
  modprobe ahci
  eventually 10 test -e /sys/class/scsi_host/host2
  for host in /sys/class/scsi_host/host*; do
    [ "$(cat "$host/proc_name")" != ahci ] || echo "- - -" >"$host/scan"
  done
}

# serve_network: an address that clients of this machine reach its services at.
address=10.1.0.1
serve_network() {
  modprobe dummy numdummies=0
  ip link add lan type dummy
  ip address add "$address/16" dev lan
  ip link set lan up
}

# make_pool NAME...: pools with a file system each, mounted at /mnt/NAME, on an array of the first
# three disks.
make_pools() {
  local name
  fast_rebuilds
  sysinfo KTA7120X
  mvsata sda=1 sdb=2 sdc=3
  orvctl raid create --level raid5 --disks 1,2,3 --yes
  orvctl vg create vg1 --pv md0 --yes
  for name; do
    orvctl pool create vg1 "$name" 1
    orvctl pool mkfs vg1 "$name" --yes
    orvctl fs mkdir "/mnt/$name"
    orvctl fs mount "/mnt/$name" vg1 "$name"
    orvctl fs table-add "/mnt/$name" vg1 "$name"
  done
}

# share_files: the bytes of every file that the share operations write.
share_files() {
  local file
  for file in /etc/{sharefolder.conf,samba/smb.conf,samba/smb_recy.conf,exports,exports_recy,ietd.conf}; do
    echo "$file $(sha256sum <"$file" 2>/dev/null)"
  done
}
