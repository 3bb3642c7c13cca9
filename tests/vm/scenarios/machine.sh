#!/bin/bash
# The machine itself: SMART of an ATA disk, alarms, host name, clock and network interfaces.
# disks: 1x300M
# ata: 64M
# timeout: 500
set -euo pipefail
# shellcheck source=tests/vm/lib.sh
source "$ORV_VM_LIB"

sysinfo KTA7120X
add_ata_disk
check "the ATA disk is there" eventually 20 test -b /dev/sdb
mvsata sda=1 sdb=2
disk='(.disk_health // .disk_attributes)[] | select(.device == "sdb")'
summary=$(orvctl smart list --json | jq "$disk")
asked() { smartctl "$@" /dev/sdb | grep -v "Local Time"; }
same "its health is what smartctl says" \
  "$(asked -H | sed -n 's/.*self-assessment test result: //p')" "$(jq -r .health <<<"$summary")"
same "its model too" "$(asked -i | sed -n 's/^Device Model: *//p')" "$(jq -r .model <<<"$summary")"
same "and its serial number" ata "$(jq -r .serial_number <<<"$summary")"
same "its attributes are those of smartctl" \
  "$(asked -A | awk '$2 ~ /^(Raw_Read_Error_Rate|Spin_Up_Time|Reallocated_Sector_Ct|Seek_Error_Rate|Spin_Retry_Count|Calibration_Retry_Count|Temperature_Celsius)$/ {print $1, $2, $4+0, $5+0, $6+0}')" \
  "$(orvctl smart show sdb --json | jq -r "$disk.attributes[] | \"\(.id) \(.name) \(.value) \(.worst) \(.threshold)\"")"

mkdir -p /var/lib/orv-sim
printf '7|1700000000|Fan|fan 1 stands still\n8|1700000060|Disk|disk 3 failed\n' >/var/lib/orv-sim/alarms
echo 1 3 600 pause 500 1 >/var/lib/orv-sim/alarm_pieces
alarmd &
check "the alarm daemon is there" eventually 10 test -S /dev/alarm.socket
same "alarms are listed, in however many pieces they arrive" \
  $'7 2023-11-14 22:13:20 Fan fan 1 stands still\n8 2023-11-14 22:14:20 Disk disk 3 failed' \
  "$(orvctl alarm list --json | jq -r '.alarms[] | "\(.id) \(.time) \(.name) \(.text)"')"
echo 700 cut >/var/lib/orv-sim/alarm_pieces
check_not "an answer that is cut is an error" orvctl alarm list
kill %1
check_not "so is a daemon that is gone" orvctl alarm list

check "the host name is set" orvctl host set storage-7
same "for the kernel" storage-7 "$(uname -n)"
same "and in its file" "storage-7 9" "$(cat /etc/hostname) $(stat -c %s /etc/hostname)"

check "the clock is set" orvctl clock set 2031-02-03 04:05:06
same "for the kernel" "2031-02-03 04:05" "$(date '+%F %R')"
same "and the hardware clock" "2031-02-03 04:05" "$(hwclock -u -r | cut -c1-16)"

serve_network
ip address add 10.1.0.2/16 dev lan label lan:1
ip link add idle type dummy
ip address add 10.2.0.1/16 dev idle
ip link add other type dummy
ip address add 10.3.0.1/24 dev other
ip link set other up
mkdir -p /etc/network
cat >/etc/network/interfaces <<'END'
auto lo
iface lo inet loopback

auto lan
iface lan inet static
    address 10.1.0.1
    gateway 10.1.0.254
END
mac() { cat "/sys/class/net/$1/address"; }
same "interfaces are listed" \
  "lan 10.1.0.1 255.255.0.0 10.1.0.254 $(mac lan)
lan 10.1.0.1 255.255.0.0 10.1.0.254 $(mac lan)
other 10.3.0.1 255.255.255.0 null $(mac other)" \
  "$(orvctl net list --json | jq -r '.interfaces[] | "\(.name) \(.address) \(.netmask) \(.gateway) \(.mac)"' | sort)"
