#!/bin/bash
# The walk of ./demo, on the simulated appliance.
#
#   simulated.sh ORVSIM     the command that starts orvsim; ORVSIM_PATH has the folder of orvctl
set -euo pipefail
# shellcheck source=scripts/demo/walk.sh
source "$(dirname "$0")/walk.sh"

orvsim=$1
ORVSIM_STATE=$(mktemp -d "${TMPDIR:-/tmp}/orv-demo.XXXXXX")/appliance
export ORVSIM_STATE

leave() {
  "$orvsim" stop >/dev/null 2>&1 || true
  rm -rf "${ORVSIM_STATE%/appliance}"
}
trap leave EXIT

inside() { "$orvsim" run bash -c "$1"; }

# happen COMMAND...: what happens to the appliance from outside.
happen() {
  printf '\n$ orvsim %s\n' "$*"
  "$orvsim" "$@"
}

client_reads() {
  happen client connect samba data --user alice --address 10.1.0.7
}

# A hot spare takes the failed disk's place by itself.
disk_fails() {
  show "orvctl spare add 4 --yes"
  happen fail-disk 2
  show "orvctl alarm list"
  show "orvctl status"
  show "orvctl raid watch md0"
  show "orvctl raid remove md0 2"
  happen pull-disk 2
  happen insert-disk 2
}

happen new --model KTA7120X --disks 6 --disk-size 2G
walk
