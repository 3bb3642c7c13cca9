#!/bin/bash
# Two processes add shares at the same time: each succeeds or is told that the file is locked, and no
# share is lost.
# disks: 1x300M
# timeout: 850
set -euo pipefail
# shellcheck source=tests/vm/lib.sh
source "$ORV_VM_LIB"

count=1000
share_writer a "$count" &
first=$!
share_writer b "$count" &
second=$!
wait "$first" && result=0 || result=$?
same "one process adds its shares" 0 "$result"
wait "$second" && result=0 || result=$?
same "the other too" 0 "$result"
same "none is lost" "$((2 * count))" "$(grep -c '^\[' /etc/sharefolder.conf)"
same "of each process" "$count $count" \
  "$(grep -c '^\[a[0-9]*\]$' /etc/sharefolder.conf) $(grep -c '^\[b[0-9]*\]$' /etc/sharefolder.conf)"
same "and every name is there once" "$((2 * count))" "$(grep '^\[' /etc/sharefolder.conf | sort -u | wc -l)"
check "one more share" orvctl share add last --service nfs --path /mnt/last
same "brings every export" "$((2 * count + 1))" "$(wc -l </etc/exports)"
