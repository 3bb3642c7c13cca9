#!/bin/bash
# On the model with a hardware RAID controller the same questions are answered by its tool.
# disks: 2x1G
# timeout: 300
set -euo pipefail
# shellcheck source=tests/vm/lib.sh
source "$ORV_VM_LIB"

sysinfo KTA7120U
mkdir -p /var/lib/orv-sim
cat >/var/lib/orv-sim/arcadm.conf <<'END'
disk|0|ST1000NM0011|931|Normal|Array Disk
disk|1|ST1000NM0011|931|Normal|Array Disk
disk|2|ST1000NM0011|931|Normal|Hot Spare
disk|3
raid|md0|1|64|Normal|931|sda|1 2
END
# The controller's array is one disk for the kernel.
pvcreate -q /dev/sda
vgcreate -q vg1 /dev/sda

same "disks come from the controller, empty bays are left out" "1 2 3" \
  "$(orvctl disk list --json | jq -r '[.disks[].channel | tostring] | join(" ")')"
same "hot spares too" "3" \
  "$(orvctl disk list --json | jq -r '[.disks[] | select(.hot_spare) | .channel | tostring] | join(" ")')"
same "arrays come from the controller" "md0 raid1 Normal 931" \
  "$(orvctl raid list --json | jq -r '.arrays[] | "\(.name) \(.level) \(.state) \(.size_bytes / 1073741824)"')"
same "the group's volume is named by its array" "vg1 md0" \
  "$(orvctl vg list --json | jq -r '.volume_groups[] | "\(.name) \(.physical_volumes[0].name)"')"

refused "an array of disks without a name" -2033 \
  orvctl raid create --level raid0 --disks 1,2 --yes
refused "a group on one" -2042 orvctl vg create vg2 --pv 1 --yes
refused "a second group on the same array" -2045 orvctl vg create vg2 --pv md0 --yes
